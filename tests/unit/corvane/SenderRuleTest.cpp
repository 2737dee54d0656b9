#include <gtest/gtest.h>

#include "SenderRule.h"

namespace {

using corvane::mayWrite;

TEST(SenderRule, RootMayWriteToEveryUser) {
    EXPECT_TRUE(mayWrite(0, 0));
    EXPECT_TRUE(mayWrite(0, 1000));
}

TEST(SenderRule, AUserMayWriteToItself) {
    EXPECT_TRUE(mayWrite(1000, 1000));
}

TEST(SenderRule, AnotherUserMayNotWrite) {
    EXPECT_FALSE(mayWrite(1001, 1000));
    EXPECT_FALSE(mayWrite(1001, 0));
    EXPECT_FALSE(mayWrite(65534, 0));
}

TEST(SenderRule, ASenderWithoutAUserMayNotWrite) {
    EXPECT_FALSE(mayWrite(static_cast<uid_t>(-1), 0));
    EXPECT_FALSE(mayWrite(static_cast<uid_t>(-1), 1000));
}

}  // namespace
