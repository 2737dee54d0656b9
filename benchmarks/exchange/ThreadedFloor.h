#pragma once

#include <netinet/in.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "benchmarks/support/CardQuestion.h"
#include "benchmarks/support/UdpEnd.h"

namespace ponmgr::bench {

/// The least that an exchange costs when, as the daemon must, one thread receives for all cards and
/// the card's own thread waits for it with a limit.
class ThreadedFloor {
public:
    ThreadedFloor(const std::string& source, const sockaddr_in& card);
    ThreadedFloor(const ThreadedFloor&) = delete;
    ThreadedFloor& operator=(const ThreadedFloor&) = delete;
    ~ThreadedFloor();

    /// Throws std::runtime_error when the card is silent for five seconds.
    void exchange(unsigned times);

private:
    void receive();

    UdpEnd socket;
    sockaddr_in card;
    CardQuestion question;
    std::mutex mutex;
    std::condition_variable arrived;
    unsigned answers = 0;  // guarded by mutex
    std::atomic<bool> ends = false;
    std::thread receiver;
};

}  // namespace ponmgr::bench
