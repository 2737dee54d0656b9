#include "ProcessState.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

namespace ponmgr::test {

std::set<int> openDescriptors() {
    std::set<int> candidates;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        candidates.insert(std::stoi(entry.path().filename()));
    }
    // The listing itself needed one, which is closed again.
    std::set<int> open;
    for (const int descriptor : candidates) {
        if (!descriptorTarget(descriptor).empty()) {
            open.insert(descriptor);
        }
    }
    return open;
}

std::string descriptorTarget(int descriptor) {
    std::error_code missing;
    return std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), missing);
}

bool isAsleep(pid_t thread) {
    std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
    const std::string line{std::istreambuf_iterator<char>(file), {}};
    // The state is the word behind the name, which stands in parentheses.
    const auto nameEnd = line.rfind(')');
    return nameEnd != std::string::npos && line.substr(nameEnd, 3) == ") S";
}

NoMoreDescriptors::NoMoreDescriptors() {
    // The sanitizers look at a type for the first time with descriptors of their own. By this one,
    // what fails says why.
    static_cast<void>(std::generic_category().message(0));
    getrlimit(RLIMIT_NOFILE, &before);
    rlimit none = before;
    none.rlim_cur = 0;
    setrlimit(RLIMIT_NOFILE, &none);
}

NoMoreDescriptors::~NoMoreDescriptors() {
    setrlimit(RLIMIT_NOFILE, &before);
}

}  // namespace ponmgr::test
