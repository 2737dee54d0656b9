#include "LoopbackCard.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

#include "unit/model/SleepingThread.h"

namespace ponmgr::test {

namespace {

constexpr std::uint16_t kPort = 14113;
constexpr int kPollMilliseconds = 5;
constexpr std::size_t kIdDigits = 5;     // "00 07"
constexpr std::size_t kHeadDigits = 11;  // "00 07 00 01"

int openSocket(const char* address) {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    sockaddr_in local{};
    local.sin_family = AF_INET;
    local.sin_addr.s_addr = inet_addr(address);
    local.sin_port = htons(kPort);
    if (descriptor < 0 ||
        bind(descriptor, reinterpret_cast<const sockaddr*>(&local), sizeof local) != 0) {
        throw std::system_error(errno, std::generic_category(), address);
    }
    return descriptor;
}

}  // namespace

LoopbackCard::LoopbackCard(const char* address)
    : asker(currentThread()),
      descriptor(openSocket(address)),
      thread([this](const std::stop_token& stop) { run(stop); }) {}

LoopbackCard::~LoopbackCard() {
    thread.request_stop();
    thread.join();
    close(descriptor);
}

void LoopbackCard::answer(const std::string& id, const std::string& rest) {
    const std::lock_guard lock(mutex);
    answers[id] = rest;
    silent.erase(id);
}

void LoopbackCard::beSilentTo(const std::string& id) {
    const std::lock_guard lock(mutex);
    silent.insert(id);
}

void LoopbackCard::sendBeforeNextAnswer(const std::string& event) {
    const std::lock_guard lock(mutex);
    events.push_back(bytes(event));
}

std::vector<Bytes> LoopbackCard::takeEvents() {
    const std::lock_guard lock(mutex);
    return std::exchange(events, {});
}

std::vector<std::string> LoopbackCard::takeRequests() {
    const std::lock_guard lock(mutex);
    return std::exchange(requests, {});
}

void LoopbackCard::run(const std::stop_token& stop) {
    std::array<unsigned char, 1500> buffer{};
    while (!stop.stop_requested()) {
        pollfd waiting{descriptor, POLLIN, 0};
        if (poll(&waiting, 1, kPollMilliseconds) != 1) {
            continue;
        }
        sockaddr_in sender{};
        socklen_t size = sizeof sender;
        const ssize_t received = recvfrom(descriptor, buffer.data(), buffer.size(), 0,
                                          reinterpret_cast<sockaddr*>(&sender), &size);
        if (received < 0) {
            continue;
        }
        const Bytes response = answerTo({buffer.begin(), buffer.begin() + received});
        if (!response.empty()) {
            waitUntilAskerSleeps(stop);
            std::vector<Bytes> datagrams = takeEvents();
            datagrams.push_back(response);
            for (const Bytes& datagram : datagrams) {
                sendto(descriptor, datagram.data(), datagram.size(), 0,
                       reinterpret_cast<const sockaddr*>(&sender), size);
            }
        }
    }
}

void LoopbackCard::waitUntilAskerSleeps(const std::stop_token& stop) const {
    while (!isAsleep(asker) && !stop.stop_requested()) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

Bytes LoopbackCard::answerTo(const Bytes& request) {
    const std::string text = hexText(request);
    const std::string id = text.substr(0, kIdDigits);
    const std::lock_guard lock(mutex);
    if (text != last) {
        last = text;
        requests.push_back(text);
    }
    if (silent.contains(id)) {
        return {};
    }
    const auto found = answers.find(id);
    return bytes(text.substr(0, kHeadDigits) + " " +
                 (found == answers.end() ? "00 02 00 00" : found->second));
}

}  // namespace ponmgr::test
