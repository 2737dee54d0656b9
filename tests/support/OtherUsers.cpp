#include "support/OtherUsers.h"

#include <cstdint>
#include <fstream>

namespace ponmgr::test {

namespace {

// Whether a number is a user or a group here, by the namespace's map of them.
bool isMapped(const char* mapFile, std::uint64_t number) {
    std::ifstream map(mapFile);
    std::uint64_t first = 0;
    std::uint64_t outside = 0;
    std::uint64_t count = 0;
    while (map >> first >> outside >> count) {
        if (number >= first && number - first < count) {
            return true;
        }
    }
    return false;
}

}  // namespace

bool otherUsersExist() {
    constexpr auto kUsers = "/proc/self/uid_map";
    constexpr auto kGroups = "/proc/self/gid_map";
    return isMapped(kUsers, kOtherUser) && isMapped(kUsers, kThirdUser) &&
           isMapped(kGroups, kOtherUser) && isMapped(kGroups, kThirdUser);
}

}  // namespace ponmgr::test
