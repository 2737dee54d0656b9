#include <gtest/gtest.h>

#include "TrustRule.h"

namespace {

using corvane::isTrusted;

TEST(TrustRule, RootIsTrustedByEveryUser) {
    EXPECT_TRUE(isTrusted(0, 0));
    EXPECT_TRUE(isTrusted(0, 1000));
}

TEST(TrustRule, AUserTrustsItself) {
    EXPECT_TRUE(isTrusted(1000, 1000));
}

TEST(TrustRule, AnotherUserIsNotTrusted) {
    EXPECT_FALSE(isTrusted(1001, 1000));
    EXPECT_FALSE(isTrusted(1001, 0));
    EXPECT_FALSE(isTrusted(65534, 0));
}

TEST(TrustRule, AProcessWithoutAUserIsNotTrusted) {
    EXPECT_FALSE(isTrusted(static_cast<uid_t>(-1), 0));
    EXPECT_FALSE(isTrusted(static_cast<uid_t>(-1), 1000));
}

}  // namespace
