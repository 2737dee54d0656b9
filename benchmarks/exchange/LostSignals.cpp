#include "benchmarks/exchange/LostSignals.h"

#include <atomic>
#include <thread>
#include <vector>

#include "benchmarks/exchange/ProductExchange.h"

namespace ponmgr::bench {

namespace {

/// Threads that keep cores busy as long as this lives.
class BusyThreads {
public:
    explicit BusyThreads(unsigned count) {
        for (unsigned i = 0; i < count; i++) {
            threads.emplace_back([this] {
                while (!ends) {
                    turns.fetch_add(1, std::memory_order_relaxed);
                }
            });
        }
    }
    BusyThreads(const BusyThreads&) = delete;
    BusyThreads& operator=(const BusyThreads&) = delete;
    ~BusyThreads() {
        ends = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

private:
    std::atomic<bool> ends = false;
    std::atomic<unsigned> turns = 0;
    std::vector<std::thread> threads;
};

}  // namespace

unsigned countLostSignals(const std::string& source, const std::string& card, unsigned times,
                          unsigned busyThreads) {
    ExchangeTiming timing;
    timing.responseTime = std::chrono::milliseconds(200);
    timing.clockStep = std::chrono::milliseconds(1);
    timing.tries = 10;
    ProductExchange product(source, card, timing);
    const BusyThreads busy(busyThreads);
    unsigned lost = 0;
    for (unsigned i = 0; i < times; i++) {
        lost += product.answersToOne() > 1 ? 1 : 0;
    }
    return lost;
}

}  // namespace ponmgr::bench
