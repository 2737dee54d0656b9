#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <thread>

#include "WallClockOffset.h"
#include "tk/ResponseSignal.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

constexpr auto kLongest = 60s;

TEST(ResponseSignal, WaitEndsByTimeOutNotBeforeTheDeadline) {
    ResponseSignal signal;
    const auto deadline = system_clock::now() + 30ms;
    bool awoken = true;
    for (int spuriousWakes = 0; awoken && spuriousWakes < 100; spuriousWakes++) {
        awoken = signal.waitUntil(deadline, kLongest);
    }
    EXPECT_FALSE(awoken);
    EXPECT_GE(system_clock::now(), deadline);
}

TEST(ResponseSignal, DeadlineInThePastTimesOutAtOnce) {
    ResponseSignal signal;
    EXPECT_FALSE(signal.waitUntil(system_clock::now() - 1s, kLongest));
}

TEST(ResponseSignal, DeadlineBeforeTheEpochTimesOutAtOnce) {
    ResponseSignal signal;
    EXPECT_FALSE(signal.waitUntil(system_clock::time_point(-1ms), kLongest));
}

TEST(ResponseSignal, NoWaitIsLongerThanTheLongestHoweverFarTheDeadline) {
    ResponseSignal signal;
    const auto start = std::chrono::steady_clock::now();
    bool awoken = true;
    for (int spuriousWakes = 0; awoken && spuriousWakes < 100; spuriousWakes++) {
        awoken = signal.waitUntil(system_clock::now() + 1h, 30ms);
    }
    EXPECT_FALSE(awoken);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 30ms);
}

// The test's clock is an hour fast when the wait begins. Then it is right again, which the wait
// must take for a clock that was set back.
TEST(ResponseSignal, AClockSetBackDuringTheWaitDoesNotMakeItLonger) {
    test::WallClockOffset clock(1h);
    ResponseSignal signal;
    std::jthread adjuster([&clock] {
        std::this_thread::sleep_for(50ms);
        clock.set(0s);
    });
    EXPECT_FALSE(signal.waitUntil(system_clock::now() + 200ms, kLongest));
}

TEST(ResponseSignal, AClockThatFallsALittleBehindIsWaitedFor) {
    test::WallClockOffset clock(10ms);
    ResponseSignal signal;
    const auto deadline = system_clock::now() + 100ms;
    std::jthread adjuster([&clock] {
        std::this_thread::sleep_for(30ms);
        clock.set(0s);
    });
    EXPECT_FALSE(signal.waitUntil(deadline, kLongest));
    EXPECT_GE(system_clock::now(), deadline);
}

TEST(ResponseSignal, SignalEndsTheWaitBeforeItsDeadline) {
    ResponseSignal signal;
    std::atomic<bool> ended = false;
    std::jthread receiver([&] {
        while (!ended) {  // a signal that comes too early is lost
            signal.signal();
            std::this_thread::yield();
        }
    });
    EXPECT_TRUE(signal.waitUntil(system_clock::now() + 60s, kLongest));
    ended = true;
}

TEST(ResponseSignal, SignalThatFindsNobodyIsLost) {
    ResponseSignal signal;
    signal.signal();
    const auto deadline = system_clock::now() + 30ms;
    EXPECT_FALSE(signal.waitUntil(deadline, kLongest));
    EXPECT_GE(system_clock::now(), deadline);
}

}  // namespace
}  // namespace ponmgr
