#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "dbman/LinkThread.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;

/// Starts a thread that ends when the promise is kept.
std::unique_ptr<std::promise<void>> startStuck(LinkThread& thread) {
    auto release = std::make_unique<std::promise<void>>();
    thread.start("stuck", [end = release->get_future().share()] { end.wait(); });
    return release;
}

TEST(LinkThread, ThatWasNeverStartedHasEnded) {
    LinkThread thread;
    EXPECT_TRUE(thread.finishWithin(hours(1)));
    EXPECT_FALSE(thread.isLeftBehind());
}

TEST(LinkThread, ThatEndsIsWaitedFor) {
    LinkThread thread;
    startStuck(thread)->set_value();
    EXPECT_TRUE(thread.finishWithin(hours(1)));
}

TEST(LinkThread, ThatIsStuckMayStillEndLater) {
    LinkThread thread;
    const auto release = startStuck(thread);
    EXPECT_FALSE(thread.finishWithin(milliseconds(1)));
    release->set_value();
    EXPECT_TRUE(thread.finishWithin(hours(1)));
}

TEST(LinkThread, ThatWasLeftBehindIsNotWaitedForAgain) {
    LinkThread thread;
    const auto release = startStuck(thread);
    thread.leaveBehind();
    // An hour that isn't waited out.
    EXPECT_FALSE(thread.finishWithin(hours(1)));
    EXPECT_TRUE(thread.isLeftBehind());
    release->set_value();
}

}  // namespace

}  // namespace ponmgr::dbman
