#include "SleepingThread.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <string>

namespace ponmgr::test {

pid_t currentThread() {
    return static_cast<pid_t>(syscall(SYS_gettid));
}

bool isAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    // number (name) state ...
    const auto nameEnd = text.rfind(") ");
    return nameEnd != std::string::npos && text.compare(nameEnd, 3, ") S") == 0;
}

}  // namespace ponmgr::test
