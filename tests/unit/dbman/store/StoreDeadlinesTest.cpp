// When the store commits and when it holds a receiver back, as it is set up in the product.

#include <future>

#include "../FakeDaemon.h"
#include "../RunningServer.h"
#include "HeldTime.h"
#include "StoreFixture.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using test::kDatabaseFile;
using test::notification;
using test::notify;
using test::valuesIn;
using testing::ElementsAre;

// What docs/dbman.md promises, and how it is kept.
constexpr milliseconds kPromise(100);
constexpr milliseconds kCommitDelay(20);
constexpr milliseconds kCrowdAge(40);
constexpr nanoseconds kMoment(1);

class StoreDeadlines : public test::StoreFixture {
protected:
    Store::Options usual() const {
        Store::Options result;
        result.file = kDatabaseFile;
        result.time = held;
        return result;
    }

    /// The same with commits that nothing but a flush asks for.
    Store::Options withoutCommits() const {
        auto result = usual();
        result.commitDelay = std::chrono::hours(1);
        return result;
    }

    bool waitForCommit() const {
        return ponmgr::test::waitFor([this] { return store->status().lastCommit.has_value(); });
    }

    std::shared_ptr<test::HeldTime> held = std::make_shared<test::HeldTime>();
    const SteadyTime::Moment begin = held->now();
};

TEST_F(StoreDeadlines, ACommitIsDue20MillisecondsAfterTheFirstRowThatWaits) {
    start(usual());
    store->post(event(1));
    held->moveOn(kCommitDelay - kMoment);
    store->post(event(2));
    ASSERT_TRUE(held->isWaitedFor(begin + kCommitDelay));
    EXPECT_EQ(store->status().waitingWrites, 2U);
    held->moveOn(kMoment);
    ASSERT_TRUE(waitForCommit());
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT id FROM events"), ElementsAre("1", "2"));
}

TEST_F(StoreDeadlines, TheNextCommitIsDue20MillisecondsAfterTheNextRow) {
    auto chosen = usual();
    chosen.pruneInterval = std::chrono::hours(1);
    start(chosen);
    // What pruning at the start has changed is committed first.
    ASSERT_TRUE(held->isWaitedFor(begin + kCommitDelay));
    held->moveOn(kCommitDelay);
    ASSERT_TRUE(held->isWaitedFor(begin + chosen.pruneInterval));
    held->moveOn(milliseconds(7));
    store->post(event(1));
    ASSERT_TRUE(held->isWaitedFor(begin + kCommitDelay + milliseconds(7) + kCommitDelay));
    held->moveOn(kCommitDelay);
    EXPECT_TRUE(waitForCommit());
}

TEST_F(StoreDeadlines, AReceiverIsHeldBackWhenARowHasWaited40Milliseconds) {
    auto chosen = withoutCommits();
    chosen.roomLimit = milliseconds(0);
    start(chosen);
    store->post(event(1));
    held->moveOn(kCrowdAge - kMoment);
    store->post(event(2));
    EXPECT_FALSE(store->waitForRoom());
    held->moveOn(kMoment);
    EXPECT_TRUE(store->waitForRoom());
}

TEST_F(StoreDeadlines, AReceiverIsHeldBackFor100MillisecondsAtMostAndOnce) {
    start(withoutCommits());
    store->post(event(1));
    held->moveOn(kCrowdAge);
    auto waiting = std::async(std::launch::async, [this] { return store->waitForRoom(); });
    EXPECT_TRUE(held->isWaitedFor(begin + kCrowdAge + kPromise));
    held->moveOn(kPromise);
    EXPECT_TRUE(waiting.get());
    EXPECT_FALSE(store->waitForRoom());
}

TEST_F(StoreDeadlines, AReceiverIsLetGoByACommitAndHeldBackAgainLater) {
    start(withoutCommits());
    for (int round = 0; round < 2; ++round) {
        store->post(event(round));
        held->moveOn(kCrowdAge);
        auto waiting = std::async(std::launch::async, [this] { return store->waitForRoom(); });
        EXPECT_TRUE(held->isWaitedFor(held->now() + kPromise));
        EXPECT_TRUE(store->flush());
        EXPECT_TRUE(waiting.get());
    }
}

TEST_F(StoreDeadlines, DbmanTakesNoNotificationWhileItsReceiverIsHeldBack) {
    auto options = test::RunningServer::options();
    options.store = withoutCommits();
    Server server(options, output.stream());
    server.start();
    notify(notification("/olt/new", R"({"slot_id":"3","online_status":"1"})"));
    ASSERT_TRUE(ponmgr::test::waitFor([&] { return output.contains("/olt/new slot 3"); }));
    held->moveOn(kCrowdAge);
    notify(notification("/olt/new", R"({"slot_id":"1","online_status":"1"})"));
    ASSERT_TRUE(held->isWaitedFor(begin + kCrowdAge + kPromise));
    EXPECT_FALSE(output.contains("/olt/new slot 1"));
    held->moveOn(kPromise);
    EXPECT_TRUE(ponmgr::test::waitFor([&] { return output.contains("/olt/new slot 1"); }));
}

}  // namespace

}  // namespace ponmgr::dbman
