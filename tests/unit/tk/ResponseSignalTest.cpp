#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "tk/ResponseSignal.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using std::chrono::system_clock;

TEST(ResponseSignal, WaitEndsByTimeOutNotBeforeTheDeadline) {
    ResponseSignal signal;
    const auto deadline = system_clock::now() + 30ms;
    bool awoken = true;
    for (int spuriousWakes = 0; awoken && spuriousWakes < 100; spuriousWakes++) {
        awoken = signal.waitUntil(deadline);
    }
    EXPECT_FALSE(awoken);
    EXPECT_GE(system_clock::now(), deadline);
}

TEST(ResponseSignal, DeadlineInThePastTimesOutAtOnce) {
    ResponseSignal signal;
    EXPECT_FALSE(signal.waitUntil(system_clock::now() - 1s));
}

TEST(ResponseSignal, DeadlineBeforeTheEpochTimesOutAtOnce) {
    ResponseSignal signal;
    EXPECT_FALSE(signal.waitUntil(system_clock::time_point(-1ms)));
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
    EXPECT_TRUE(signal.waitUntil(system_clock::now() + 60s));
    ended = true;
}

TEST(ResponseSignal, SignalThatFindsNobodyIsLost) {
    ResponseSignal signal;
    signal.signal();
    const auto deadline = system_clock::now() + 30ms;
    EXPECT_FALSE(signal.waitUntil(deadline));
    EXPECT_GE(system_clock::now(), deadline);
}

}  // namespace
}  // namespace ponmgr
