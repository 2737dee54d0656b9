#include <atomic>
#include <future>
#include <mutex>

#include "FakeDaemon.h"
#include "dbman/CommandSender.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;
using test::DeafDaemon;
using test::FakeDaemon;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr milliseconds kLong = std::chrono::minutes(1);
constexpr CommandSender::Timing kFast{milliseconds(1), milliseconds(20)};

/// Keeps what a message's `done` is told.
class Results {
public:
    CommandSender::Done collect() {
        return [this](const std::string& error) {
            const std::lock_guard lock(mutex);
            errors.push_back(error);
        };
    }

    std::vector<std::string> wait(std::size_t count) {
        ponmgr::test::waitFor([&] { return get().size() >= count; });
        return get();
    }

    std::vector<std::string> get() {
        const std::lock_guard lock(mutex);
        return errors;
    }

private:
    std::mutex mutex;
    std::vector<std::string> errors;
};

TEST(CommandSender, SendsInTheOrderOfPosting) {
    const FakeDaemon daemon;
    Results results;
    CommandSender sender(kFast);
    sender.start();
    for (const auto* text : {"a", "b", "c"}) {
        sender.post(text, milliseconds(0), results.collect());
    }
    EXPECT_THAT(daemon.waitForCommands(3), ElementsAre("a", "b", "c"));
    EXPECT_THAT(results.wait(3), ElementsAre("", "", ""));
}

TEST(CommandSender, WithoutPatienceSaysAtOnceThatNobodyListens) {
    Results results;
    CommandSender sender({kLong, milliseconds(20)});
    sender.start();
    sender.post("a", milliseconds(0), results.collect());
    sender.post("b", milliseconds(0), results.collect());
    const auto errors = results.wait(2);
    ASSERT_EQ(errors.size(), 2U);
    EXPECT_THAT(errors[0], HasSubstr("/tmp/dbpman.ipc"));
    EXPECT_THAT(errors[1], HasSubstr("nobody listens there"));
}

TEST(CommandSender, TriesAPatientMessageUntilTheDaemonListens) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    sender.post("patient", kLong, results.collect());
    sender.post("impatient", milliseconds(0), results.collect());
    // The second one's failure shows that at least one try has been made.
    ASSERT_EQ(results.wait(1).size(), 1U);
    const FakeDaemon daemon;
    EXPECT_THAT(daemon.waitForCommands(1), ElementsAre("patient"));
    EXPECT_THAT(results.wait(2), ElementsAre(HasSubstr("nobody listens"), ""));
}

TEST(CommandSender, TellsOnceThatAMessageIsTriedAgain) {
    Results results;
    Results triedAgain;
    CommandSender sender(kFast);
    sender.start();
    sender.post("a", kLong, results.collect(), triedAgain.collect());
    ASSERT_THAT(triedAgain.wait(1), ElementsAre(HasSubstr("nobody listens")));
    // Its failure shows that another try has been made.
    sender.post("impatient", milliseconds(0), results.collect(), triedAgain.collect());
    ASSERT_EQ(results.wait(1).size(), 1U);
    const FakeDaemon daemon;
    EXPECT_EQ(results.wait(2).size(), 2U);
    EXPECT_EQ(triedAgain.get().size(), 1U);
}

TEST(CommandSender, GivesUpWhenThePatienceIsOver) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    sender.post("a", milliseconds(5), results.collect());
    EXPECT_THAT(results.wait(1), ElementsAre(HasSubstr("nobody listens")));
}

TEST(CommandSender, FindsADaemonThatWasStartedAgain) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    {
        const FakeDaemon first;
        sender.post("a", kLong, results.collect());
        first.waitForCommands(1);
    }
    sender.post("b", kLong, results.collect());
    const FakeDaemon second;
    EXPECT_THAT(second.waitForCommands(1), ElementsAre("b"));
}

TEST(CommandSender, FailsWhatIsLeftWhenItStops) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    sender.post("a", kLong, results.collect());
    sender.stop();
    EXPECT_THAT(results.get(), ElementsAre("dbman is stopping"));
}

TEST(CommandSender, RefusesWhatIsPostedAfterTheStop) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    sender.stop();
    sender.post("a", kLong, results.collect());
    EXPECT_THAT(results.get(), ElementsAre("dbman is stopping"));
}

TEST(CommandSender, RefusesMoreThanMayWait) {
    Results results;
    CommandSender sender(kFast);
    sender.start();
    for (std::size_t number = 0; number < CommandSender::kMaximumWaiting; ++number) {
        sender.post("a", kLong, results.collect());
    }
    EXPECT_TRUE(results.get().empty());
    sender.post("one more", kLong, results.collect());
    EXPECT_THAT(results.get(), ElementsAre("too many messages wait for the daemon"));
}

TEST(CommandSender, StopsAlthoughTheDaemonReadsNothing) {
    Results results;
    auto deaf = std::make_unique<DeafDaemon>();
    CommandSender sender(kFast);
    sender.start();
    sender.post("a", kLong, results.collect());
    sender.post("b", kLong, results.collect());
    sender.stop();
    EXPECT_THAT(results.get(), ElementsAre("dbman is stopping", "dbman is stopping"));
    // Lets the thread that was left behind go; it must tell nothing any more.
    deaf.reset();
    EXPECT_EQ(results.get().size(), 2U);
}

TEST(CommandSender, WaitsOnlyOnceForADaemonThatReadsNothing) {
    using std::chrono::steady_clock;
    constexpr milliseconds kStopLimit(1500);
    Results results;
    const DeafDaemon deaf;
    auto sender =
        std::make_unique<CommandSender>(CommandSender::Timing{milliseconds(1), kStopLimit});
    sender->start();
    sender->post("a", kLong, results.collect());
    sender->stop();
    const auto stopped = steady_clock::now();
    sender->stop();
    sender.reset();
    EXPECT_LT(steady_clock::now() - stopped, kStopLimit);
}

}  // namespace

}  // namespace ponmgr::dbman
