#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include "sim/EventLoop.h"

namespace ponmgr::sim {
namespace {

FileDescriptor signalledEvent() {
    return {eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"};
}

TEST(EventLoop, CallsTheHandlerOfAReadyDescriptor) {
    EventLoop loop;
    const auto event = signalledEvent();
    std::uint32_t got = 0;
    loop.add(event.get(), EPOLLIN, [&](std::uint32_t events) {
        got = events;
        loop.stop();
    });
    loop.run();
    EXPECT_EQ(got, std::uint32_t{EPOLLIN});
}

TEST(EventLoop, RunsTimersThatAreFinerThanAMillisecond) {
    EventLoop loop;
    bool ran = false;
    loop.timers().after(std::chrono::microseconds(300), [&] {
        ran = true;
        loop.stop();
    });
    loop.run();
    EXPECT_TRUE(ran);
}

TEST(EventLoop, LetsTimersAddTimers) {
    EventLoop loop;
    int runs = 0;
    std::function<void()> next = [&] {
        if (++runs == 5) {
            loop.stop();
        } else {
            loop.timers().after(Duration::zero(), next);
        }
    };
    loop.timers().after(Duration::zero(), next);
    loop.run();
    EXPECT_EQ(runs, 5);
}

TEST(EventLoop, CallsNobodyForADescriptorRemovedInTheSameBatch) {
    EventLoop loop;
    const auto first = signalledEvent();
    const auto second = signalledEvent();
    int calls = 0;
    const auto removeBoth = [&](std::uint32_t) {
        ++calls;
        loop.remove(first.get());
        loop.remove(second.get());
        loop.stop();
    };
    loop.add(first.get(), EPOLLIN, removeBoth);
    loop.add(second.get(), EPOLLIN, removeBoth);
    loop.run();
    EXPECT_EQ(calls, 1);
}

TEST(EventLoop, CallsBackAfterEveryBatch) {
    EventLoop loop;
    const auto event = signalledEvent();
    int batches = 0;
    loop.add(event.get(), EPOLLIN, [](std::uint32_t) {});
    loop.setAfterBatch([&] {
        if (++batches == 3) {
            loop.stop();
        }
    });
    loop.run();
    EXPECT_EQ(batches, 3);
}

}  // namespace
}  // namespace ponmgr::sim
