#include "dbman/LinkThread.h"

#include <pthread.h>

#include <utility>

namespace ponmgr::dbman {

LinkThread::~LinkThread() {
    leaveBehind();
}

void LinkThread::leaveBehind() {
    if (thread.joinable()) {
        thread.detach();
        leftBehind = true;
    }
}

void LinkThread::start(const char* name, std::function<void()> body) {
    std::promise<void> end;
    ended = end.get_future();
    thread = std::thread([name, body = std::move(body), end = std::move(end)]() mutable {
        pthread_setname_np(pthread_self(), name);
        body();
        end.set_value();
    });
}

bool LinkThread::finishWithin(std::chrono::milliseconds limit) {
    if (!thread.joinable()) {
        return !leftBehind;
    }
    if (ended.wait_for(limit) != std::future_status::ready) {
        return false;
    }
    thread.join();
    return true;
}

}  // namespace ponmgr::dbman
