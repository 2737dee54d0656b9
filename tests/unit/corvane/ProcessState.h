#pragma once

#include <sys/resource.h>
#include <sys/types.h>

#include <set>
#include <string>

namespace ponmgr::test {

/// The numbers of all descriptors that this process has open.
std::set<int> openDescriptors();

/// What `descriptor` is, as /proc names it: "socket:[4711]".
std::string descriptorTarget(int descriptor);

/// Whether the thread of this process with the system's number `thread` sleeps, as in a blocking
/// call.
bool isAsleep(pid_t thread);

/// While it lives, this process can open no further descriptor.
class NoMoreDescriptors {
public:
    NoMoreDescriptors();
    NoMoreDescriptors(const NoMoreDescriptors&) = delete;
    NoMoreDescriptors& operator=(const NoMoreDescriptors&) = delete;
    ~NoMoreDescriptors();

private:
    rlimit before{};
};

}  // namespace ponmgr::test
