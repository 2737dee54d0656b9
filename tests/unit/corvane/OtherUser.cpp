#include "OtherUser.h"

#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <iostream>
#include <system_error>

#include "RawSocket.h"

namespace ponmgr::test {

namespace {

// Makes this process one of `user` for good, also when it works as another user at present.
bool become(uid_t user) {
    if (seteuid(0) != 0) {
        return false;
    }
    return user == 0 || (setgroups(0, nullptr) == 0 && setresgid(user, user, user) == 0 &&
                         setresuid(user, user, user) == 0);
}

// Runs in the process of the other user; the result is its exit status.
int sendInChild(uid_t user, const std::string& path, const std::string& text, bool withDescriptor) {
    try {
        if (!become(user)) {
            return errno;
        }
        RawSocket raw;
        const int passed = raw.get();
        raw.send(path, text, withDescriptor ? std::vector<int>{passed} : std::vector<int>{});
        return 0;
    } catch (const std::system_error& error) {
        return error.code().value();
    }
}

}  // namespace

SentBy sendAs(uid_t user, const std::string& path, const std::string& text, bool withDescriptor) {
    SentBy result;
    result.process = fork();
    if (result.process == 0) {
        _exit(sendInChild(user, path, text, withDescriptor));
    }
    int status = 0;
    if (result.process < 0 || waitpid(result.process, &status, 0) != result.process) {
        throw std::system_error(errno, std::generic_category(), "process of another user");
    }
    result.error = WIFEXITED(status) ? WEXITSTATUS(status) : EINTR;
    return result;
}

WorkingAs::WorkingAs(uid_t user)
    : groupsBefore(static_cast<std::size_t>(std::max(0, getgroups(0, nullptr)))) {
    const auto count = static_cast<int>(groupsBefore.size());
    if (getgroups(count, groupsBefore.data()) != count || setgroups(0, nullptr) != 0 ||
        setegid(user) != 0 || seteuid(user) != 0) {
        throw std::system_error(errno, std::generic_category(), "work as another user");
    }
}

WorkingAs::~WorkingAs() {
    if (seteuid(0) != 0 || setegid(0) != 0 ||
        setgroups(groupsBefore.size(), groupsBefore.data()) != 0) {
        std::cerr << "can't become root again\n";
        std::terminate();
    }
}

}  // namespace ponmgr::test
