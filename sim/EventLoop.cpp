#include "sim/EventLoop.h"

#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>

namespace ponmgr::sim {

namespace {

constexpr int kBatch = 64;
constexpr std::uint64_t kTimerToken = 0;

epoll_event eventOf(std::uint32_t events, std::uint64_t token) {
    epoll_event event{};
    event.events = events;
    event.data.u64 = token;
    return event;
}

void control(int epoll, int operation, int descriptor, epoll_event event) {
    if (epoll_ctl(epoll, operation, descriptor, &event) != 0) {
        throw std::system_error(errno, std::generic_category(), "epoll_ctl");
    }
}

itimerspec oneShotAt(TimePoint due) {
    const auto since = std::max(due.time_since_epoch(), Duration(1));
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(since);
    itimerspec value{};
    value.it_value.tv_sec = seconds.count();
    value.it_value.tv_nsec =
        std::chrono::duration_cast<std::chrono::nanoseconds>(since - seconds).count();
    return value;
}

}  // namespace

EventLoop::EventLoop()
    : epoll(epoll_create1(EPOLL_CLOEXEC), "epoll_create1"),
      timer(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC), "timerfd_create") {
    control(epoll.get(), EPOLL_CTL_ADD, timer.get(), eventOf(EPOLLIN, kTimerToken));
}

void EventLoop::add(int descriptor, std::uint32_t events, Handler handler) {
    const auto token = ++lastToken;
    control(epoll.get(), EPOLL_CTL_ADD, descriptor, eventOf(events, token));
    watched[token] = std::make_shared<Watched>(Watched{descriptor, std::move(handler)});
    tokens[descriptor] = token;
}

void EventLoop::change(int descriptor, std::uint32_t events) {
    control(epoll.get(), EPOLL_CTL_MOD, descriptor, eventOf(events, tokens.at(descriptor)));
}

void EventLoop::remove(int descriptor) {
    const auto found = tokens.find(descriptor);
    if (found != tokens.end()) {
        control(epoll.get(), EPOLL_CTL_DEL, descriptor, {});
        watched.erase(found->second);
        tokens.erase(found);
    }
}

void EventLoop::armTimer() {
    const auto due = queue.nextDue();
    if (due == armedFor) {
        return;
    }
    const auto value = due ? oneShotAt(*due) : itimerspec{};
    timerfd_settime(timer.get(), TFD_TIMER_ABSTIME, &value, nullptr);
    armedFor = due;
}

void EventLoop::runBatch() {
    std::array<epoll_event, kBatch> events{};
    const int count = epoll_wait(epoll.get(), events.data(), kBatch, -1);
    if (count < 0 && errno != EINTR) {
        throw std::system_error(errno, std::generic_category(), "epoll_wait");
    }
    for (int i = 0; i < count; ++i) {
        const auto& event = events.at(static_cast<std::size_t>(i));
        // By value: the event is packed, so that no reference to its token is aligned.
        const std::uint64_t token = event.data.u64;
        if (token == kTimerToken) {
            std::uint64_t expirations = 0;
            (void)!read(timer.get(), &expirations, sizeof expirations);
            armedFor.reset();
            continue;
        }
        const auto found = watched.find(token);
        if (found != watched.end()) {
            const auto kept = found->second;
            kept->handler(event.events);
        }
    }
}

void EventLoop::run() {
    stopped = false;
    while (!stopped) {
        armTimer();
        runBatch();
        queue.runDue();
        if (afterBatch) {
            afterBatch();
        }
    }
}

}  // namespace ponmgr::sim
