#include "support/PrivateNamespace.h"

#include <fcntl.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>

namespace ponmgr::test {

namespace {

void check(bool succeeded, const char* what) {
    if (!succeeded) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

void writeFile(const char* path, const std::string& text) {
    std::ofstream file(path);
    file << text << std::flush;
    check(file.good(), path);
}

void becomeRootInAUserNamespace() {
    const auto user = std::to_string(getuid());
    const auto group = std::to_string(getgid());
    check(unshare(CLONE_NEWUSER) == 0, "unshare user namespace");
    writeFile("/proc/self/setgroups", "deny");
    writeFile("/proc/self/uid_map", "0 " + user + " 1");
    writeFile("/proc/self/gid_map", "0 " + group + " 1");
}

void bringLoopbackUp() {
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    check(descriptor >= 0, "socket");
    ifreq request{};
    std::strncpy(request.ifr_name, "lo", sizeof request.ifr_name - 1);
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    const bool up = ioctl(descriptor, SIOCSIFFLAGS, &request) == 0;
    close(descriptor);
    check(up, "bring loopback up");
}

void replaceTmp(const std::filesystem::path& keep) {
    const int kept = open(keep.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
    check(kept >= 0, keep.c_str());
    check(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "make mounts private");
    check(mount("tmpfs", "/tmp", "tmpfs", 0, "mode=1777") == 0, "mount /tmp");
    if (keep.string().starts_with("/tmp/")) {
        std::filesystem::create_directories(keep);
        const auto source = "/proc/self/fd/" + std::to_string(kept);
        check(mount(source.c_str(), keep.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0,
              "bind the kept folder");
    }
    close(kept);
}

}  // namespace

void enterPrivateNamespace(const char* keep) {
    if (geteuid() != 0) {
        becomeRootInAUserNamespace();
    }
    check(unshare(CLONE_NEWNET | CLONE_NEWNS) == 0, "unshare network and mount namespace");
    bringLoopbackUp();
    replaceTmp(std::filesystem::canonical(keep));
}

}  // namespace ponmgr::test
