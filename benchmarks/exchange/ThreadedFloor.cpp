#include "benchmarks/exchange/ThreadedFloor.h"

#include <array>
#include <chrono>
#include <stdexcept>

namespace ponmgr::bench {

namespace {

constexpr std::chrono::seconds kPatience{5};

}  // namespace

ThreadedFloor::ThreadedFloor(const std::string& source, const sockaddr_in& cardAddress)
    : socket(source, 0), card(cardAddress), receiver([this] { receive(); }) {}

ThreadedFloor::~ThreadedFloor() {
    ends = true;
    const unsigned char wake = 0;
    socket.send({&wake, 1}, socket.getAddress());
    receiver.join();
}

void ThreadedFloor::receive() {
    std::array<unsigned char, 1500> buffer{};
    sockaddr_in from{};
    while (!ends) {
        if (socket.receive(buffer, from) > 1) {
            const std::lock_guard lock(mutex);
            answers++;
            arrived.notify_one();
        }
    }
}

void ThreadedFloor::exchange(unsigned times) {
    for (unsigned i = 0; i < times; i++) {
        std::unique_lock lock(mutex);
        answers = 0;
        lock.unlock();
        socket.send(question.next(), card);
        lock.lock();
        if (!arrived.wait_for(lock, kPatience, [this] { return answers > 0; })) {
            throw std::runtime_error("the card didn't answer within 5 s");
        }
    }
}

}  // namespace ponmgr::bench
