#pragma once

#include <pthread.h>

#include <string>
#include <thread>
#include <utility>

namespace ponmgr {

/// Starts a thread that runs `body` under `name` (15 characters at most), which `top -H` and gdb
/// show. The thread names itself before anything else, so that nothing it does is seen under
/// another name. Throws std::system_error when no thread can be made.
template <typename Body>
std::thread startNamedThread(std::string name, Body body) {
    return std::thread([name = std::move(name), body = std::move(body)]() mutable {
        pthread_setname_np(pthread_self(), name.c_str());
        body();
    });
}

}  // namespace ponmgr
