#include "benchmarks/exchange/LostSignals.h"

#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

#include "benchmarks/exchange/AnswerArrivals.h"
#include "benchmarks/exchange/ProductExchange.h"
#include "benchmarks/support/Clock.h"
#include "tk/SocketHelper.h"

namespace ponmgr::bench {

namespace {

constexpr std::chrono::milliseconds kLimit{100};
constexpr std::chrono::milliseconds kStep{1};
/// A wait ends on a whole step.
constexpr std::int64_t kShortestWait = std::chrono::nanoseconds(kLimit - kStep).count();

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

AskedAgain countAskedAgain(const std::string& source, const std::string& card, unsigned times,
                           unsigned busyThreads) {
    ExchangeTiming timing;
    timing.responseTime = kLimit;
    timing.clockStep = kStep;
    ProductExchange product(source, card, timing);
    AnswerArrivals arrivals(*SocketHelper::getInstance(SocketHelper::kAnyInterface), card);
    const BusyThreads busy(busyThreads);
    AskedAgain found;
    for (unsigned i = 0; i < times; i++) {
        const std::uint16_t tag = product.prepare();
        arrivals.forget(tag);
        const std::int64_t start = steadyNow();
        const Sent sent = product.send();
        if (sent.answers > 1 && arrivals.firstOf(tag) - start < kShortestWait) {
            found.lost++;
        } else if (steadyNow() - start >= kShortestWait) {
            found.late++;
        }
        found.givenUp += sent.givenUp ? 1 : 0;
    }
    return found;
}

}  // namespace ponmgr::bench
