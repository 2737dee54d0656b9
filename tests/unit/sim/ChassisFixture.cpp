#include "ChassisFixture.h"

namespace ponmgr::sim {

namespace {

std::string hexOf16(std::size_t value) {
    const Bytes both{static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    return hexText(both);
}

}  // namespace

std::string hex(const std::string& digitsAndBlanks) {
    auto digits = digitsAndBlanks;
    std::erase(digits, ' ');
    return digits;
}

Bytes bytesOf(const std::string& text) {
    const auto digits = hex(text);
    Bytes bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        bytes.push_back(static_cast<std::uint8_t>(std::stoul(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string zeros(std::size_t count) {
    return std::string(2 * count, '0');
}

ChassisFixture::ChassisFixture() {
    settings.slots = {1, 2};
    settings.onusPerPort = 0;
    settings.opticsInterval = Duration::zero();
    build();
}

void ChassisFixture::build() {
    // What the chassis before has still to do must not outlive it.
    timers = TimerQueue([this] { return now; });
    chassis = std::make_unique<Chassis>(
        settings, timers,
        [this](const Card& from, Endpoint to, std::span<const std::uint8_t> datagram) {
            sent.push_back({from.slot, to, hexText(datagram)});
            return transmitSucceeds;
        });
}

Card& ChassisFixture::card(int slot) {
    return *chassis->findCard(slot);
}

Onu& ChassisFixture::onu(std::uint8_t port, std::uint8_t index) {
    return *card().findOnu({1, port, index});
}

void ChassisFixture::buildWithOnus(unsigned perPort) {
    settings.onusPerPort = perPort;
    build();
    for (unsigned i = 0; i < 2 * perPort; ++i) {
        advance(settings.discoveryInterval);
    }
    sent.clear();
}

std::vector<std::string> ChassisFixture::takeSent() {
    std::vector<std::string> frames;
    for (const auto& datagram : sent) {
        frames.push_back(datagram.hex);
    }
    sent.clear();
    return frames;
}

void ChassisFixture::deliver(const std::string& text) {
    chassis->receive(card(), kManager, bytesOf(text));
    advance(settings.latency);
}

std::string ChassisFixture::ask(std::uint16_t id, const std::string& payloadHex) {
    sent.clear();
    deliver(hexOf16(id) + "0001" + hexOf16(bytesOf(payloadHex).size()) + payloadHex);
    return sent.empty() ? "" : sent.front().hex;
}

int ChassisFixture::resultOf(std::uint16_t id, const std::string& payloadHex) {
    const auto answer = ask(id, payloadHex);
    return answer.empty() ? -1 : std::stoi(answer.substr(12, 4), nullptr, 16);
}

void ChassisFixture::advance(Duration step) {
    now += step;
    timers.runDue();
}

}  // namespace ponmgr::sim
