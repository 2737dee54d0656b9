#include "sim/Simulator.h"

#include <signal.h>
#include <sys/signalfd.h>

#include <iostream>
#include <stdexcept>
#include <system_error>

#include "sim/DatagramLine.h"

namespace ponmgr::sim {

namespace {

/// The largest datagram there is.
constexpr std::size_t kReceiveBufferSize = 65536;
/// Datagrams of one card in a row, so that a flood at one doesn't keep the others waiting.
constexpr int kMostInARow = 64;

sigset_t endSignals() {
    sigset_t set{};
    sigemptyset(&set);
    sigaddset(&set, SIGINT);
    sigaddset(&set, SIGTERM);
    return set;
}

Chassis::Observer observerFor(bool verbose) {
    if (!verbose) {
        return {};
    }
    return [](const DatagramEvent& event) {
        std::cout << describeDatagram(event) + '\n' << std::flush;
    };
}

}  // namespace

void prepareSignals() {
    const auto set = endSignals();
    pthread_sigmask(SIG_BLOCK, &set, nullptr);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, nullptr);
}

Simulator::Simulator(const ServeOptions& given)
    : options(given),
      chassis(
          options.chassis, loop.timers(),
          [this](const Card& card, Endpoint to, std::span<const std::uint8_t> datagram) {
              return transmit(card, to, datagram);
          },
          observerFor(options.verbose)),
      verbs(chassis, loop.timers()),
      receiveBuffer(kReceiveBufferSize) {
    bindCards();
    control = std::make_unique<ControlServer>(loop, options.controlPath, verbs);
    loop.setAfterBatch([this] { verbs.check(); });
    watchSignals();
}

Simulator::~Simulator() {
    for (const auto& [slot, endpoint] : endpoints) {
        loop.remove(endpoint.descriptor());
    }
}

void Simulator::bindCards() {
    for (auto& card : chassis.cards()) {
        try {
            endpoints.emplace(card.slot, card.address);
        } catch (const std::system_error& error) {
            throw std::runtime_error("can't bind the card in slot " + std::to_string(card.slot) +
                                     " to " + toText(card.address) + ": " + error.code().message());
        }
        loop.add(endpoints.at(card.slot).descriptor(), EPOLLIN,
                 [this, &card](std::uint32_t) { receiveAll(card); });
    }
}

void Simulator::receiveAll(Card& card) {
    const auto& endpoint = endpoints.at(card.slot);
    for (int i = 0; i < kMostInARow; ++i) {
        Endpoint from;
        const auto size = endpoint.receive(receiveBuffer, from);
        if (!size) {
            return;
        }
        chassis.receive(card, from, std::span(receiveBuffer).first(*size));
    }
}

bool Simulator::transmit(const Card& card, Endpoint to,
                         std::span<const std::uint8_t> datagram) const {
    return endpoints.at(card.slot).send(to, datagram);
}

void Simulator::watchSignals() {
    const auto set = endSignals();
    signals = FileDescriptor(signalfd(-1, &set, SFD_NONBLOCK | SFD_CLOEXEC), "signalfd");
    loop.add(signals.get(), EPOLLIN, [this](std::uint32_t) { loop.stop(); });
}

std::string Simulator::readyLine() const {
    std::string slots;
    for (const auto slot : options.chassis.slots) {
        slots += (slots.empty() ? "" : ",") + std::to_string(slot);
    }
    return "chassis-sim ready: slots " + slots + " at " + addressText(options.chassis.base) +
           " + slot, port " + std::to_string(options.chassis.port) + ", control " +
           options.controlPath + ", seed " + std::to_string(options.chassis.seed);
}

void Simulator::run() {
    loop.run();
}

}  // namespace ponmgr::sim
