#pragma once

#include <sys/types.h>

namespace ponmgr::test {

/// Two ordinary users that no process here belongs to.
constexpr uid_t kOtherUser = 65534;
constexpr uid_t kThirdUser = 65533;

/// Whether this process can become the users above. Not so in a user namespace that knows root
/// only, which is what the tests of an ordinary user run in.
bool otherUsersExist();

/// The first line of a test that can't do without them. When root runs the tests they are there,
/// and ./test fails if one was skipped; tools/count_tests.py knows the text.
#define PONMGR_NEEDS_OTHER_USERS()                                         \
    if (!ponmgr::test::otherUsersExist())                                  \
    GTEST_SKIP() << "needs other users: this user namespace has no users " \
                 << ponmgr::test::kOtherUser << " and " << ponmgr::test::kThirdUser

}  // namespace ponmgr::test
