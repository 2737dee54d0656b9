#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <memory>
#include <thread>

#include "LinkTest.h"

namespace ponmgr::test {

namespace {

constexpr mode_t kPermissions = 07777;

// While it lives, the process has this umask.
class Umask {
public:
    explicit Umask(mode_t mask) : before(umask(mask)) {}
    Umask(const Umask&) = delete;
    Umask& operator=(const Umask&) = delete;
    ~Umask() { umask(before); }

private:
    mode_t before;
};

class SocketFileModeTest : public LinkTest, public testing::WithParamInterface<mode_t> {};

TEST_P(SocketFileModeTest, TheModeIs0660WhateverTheUmaskWhichStaysAsItIs) {
    const Umask mask(GetParam());
    ASSERT_TRUE(receiver.createSocket());
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    struct stat status {};
    ASSERT_EQ(lstat(kPath, &status), 0);
    EXPECT_EQ(status.st_mode & kPermissions, 0660U);
    EXPECT_EQ(umask(GetParam()), GetParam());
}

INSTANTIATE_TEST_SUITE_P(Umasks, SocketFileModeTest,
                         testing::Values(mode_t{0}, mode_t{022}, mode_t{0177}, mode_t{0777}));

TEST_F(SocketFileModeTest, AtNoMomentIsTheFileOpenToOthers) {
    const Umask mask(0);
    std::atomic<bool> done{false};
    std::atomic<int> seen{0};
    std::atomic<mode_t> widest{0};
    std::jthread watcher([&] {
        struct stat status {};
        while (!done) {
            if (lstat(kPath, &status) == 0) {
                widest |= status.st_mode & kPermissions;
                ++seen;
            }
        }
    });
    for (int times = 0; times < 2'000 || seen == 0; ++times) {
        Corvane listener(2010);
        ASSERT_TRUE(listener.createSocket());
        ASSERT_TRUE(listener.bind(kPath)) << listener.getErrorMessage();
    }
    done = true;
    watcher.join();
    EXPECT_EQ(widest, 0660U);
}

}  // namespace

}  // namespace ponmgr::test
