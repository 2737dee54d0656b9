#include <gtest/gtest.h>

#include <string>

#include "sim/TimerQueue.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;

class TimerQueueTest : public testing::Test {
protected:
    void add(Duration delay, char mark) {
        queue.after(delay, [this, mark] { ran += mark; });
    }

    TimePoint now{};
    TimerQueue queue{[this] { return now; }};
    std::string ran;
};

TEST_F(TimerQueueTest, RunsNothingBeforeItsTime) {
    add(10ms, 'a');
    now += 9ms;
    queue.runDue();
    EXPECT_EQ(ran, "");
    now += 1ms;
    queue.runDue();
    EXPECT_EQ(ran, "a");
}

TEST_F(TimerQueueTest, RunsTheEarlierFirstAndEqualTimesInTheirOrder) {
    add(20ms, 'c');
    add(10ms, 'a');
    add(10ms, 'b');
    now += 20ms;
    queue.runDue();
    EXPECT_EQ(ran, "abc");
}

TEST_F(TimerQueueTest, LeavesWhatACallbackAddsToTheNextRun) {
    queue.after(0ms, [this] { add(0ms, 'b'); });
    queue.runDue();
    EXPECT_EQ(ran, "");
    queue.runDue();
    EXPECT_EQ(ran, "b");
}

TEST_F(TimerQueueTest, ForgetsACancelledTimer) {
    const auto timer = queue.after(1ms, [this] { ran += 'x'; });
    queue.cancel(timer);
    now += 1ms;
    queue.runDue();
    EXPECT_EQ(ran, "");
    EXPECT_EQ(queue.nextDue(), std::nullopt);
}

TEST_F(TimerQueueTest, TellsWhenTheFirstIsDue) {
    add(20ms, 'b');
    add(10ms, 'a');
    EXPECT_EQ(queue.nextDue(), now + 10ms);
}

}  // namespace
}  // namespace ponmgr::sim
