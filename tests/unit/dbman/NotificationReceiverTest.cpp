#include <filesystem>
#include <fstream>
#include <mutex>

#include "Corvane.h"
#include "FakeDaemon.h"
#include "dbman/Errors.h"
#include "dbman/NotificationReceiver.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman {

namespace {

using test::notify;
using testing::ElementsAre;

constexpr auto kPath = "/tmp/pmdbman.ipc";

/// A receiver and what it has handed on.
class Receiving {
public:
    std::vector<std::string> wait(std::size_t count) {
        ponmgr::test::waitFor([&] { return get().size() >= count; });
        return get();
    }

    std::vector<std::string> get() {
        const std::lock_guard lock(mutex);
        return messages;
    }

private:
    void keep(const std::string& text) {
        const std::lock_guard lock(mutex);
        messages.push_back(text);
    }

    std::mutex mutex;
    std::vector<std::string> messages;

public:
    NotificationReceiver receiver{[this](const std::string& text) { keep(text); },
                                  [this](const std::string& error) { keep("error " + error); }};
};

TEST(NotificationReceiver, HandsOnWhatArrivedBeforeItsStartToo) {
    Receiving receiving;
    receiving.receiver.listen();
    notify("a");
    receiving.receiver.start();
    notify("b");
    EXPECT_THAT(receiving.wait(2), ElementsAre("a", "b"));
}

TEST(NotificationReceiver, HandsOnAnEmptyMessage) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.start();
    notify("");
    EXPECT_THAT(receiving.wait(1), ElementsAre(""));
}

TEST(NotificationReceiver, HandsOnALongMessageWhole) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.start();
    notify(std::string(300'000, 'x'));
    ASSERT_EQ(receiving.wait(1).size(), 1U);
    EXPECT_EQ(receiving.get()[0].size(), 300'000U);
}

TEST(NotificationReceiver, StopsAndRemovesItsPath) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.start();
    receiving.receiver.stop();
    EXPECT_FALSE(std::filesystem::exists(kPath));
    EXPECT_TRUE(receiving.get().empty());
}

TEST(NotificationReceiver, ThatWasNeverStartedRemovesItsPath) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.stop();
    EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST(NotificationReceiver, StopsWhileMessagesPourIn) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.start();
    std::thread flood([] {
        try {
            while (true) {
                notify("flood");
            }
        } catch (const std::runtime_error&) {
            // Nobody listens any more.
        }
    });
    receiving.wait(10);
    receiving.receiver.stop();
    flood.join();
    EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST(NotificationReceiver, StopsAlthoughItsPathIsGone) {
    Receiving receiving;
    receiving.receiver.listen();
    receiving.receiver.start();
    std::filesystem::remove(kPath);
    receiving.receiver.stop();
    EXPECT_TRUE(receiving.get().empty());
}

TEST(NotificationReceiver, LeavesALivePathToItsOwner) {
    Receiving first;
    first.receiver.listen();
    first.receiver.start();
    Receiving second;
    try {
        second.receiver.listen();
        FAIL() << "two receivers listen at one path";
    } catch (const Failure& error) {
        EXPECT_THAT(error.what(), testing::StartsWith("can't listen at /tmp/pmdbman.ipc: "));
    }
    second.receiver.stop();
    notify("still there");
    EXPECT_THAT(first.wait(1), ElementsAre("still there"));
}

TEST(NotificationReceiver, TakesOverThePathOfOneThatHasEnded) {
    {
        Corvane ended(2001);
        ASSERT_TRUE(ended.createSocket());
        ASSERT_TRUE(ended.bind("/tmp/other.ipc"));
        // The file outlives its socket under another name, as after a kill.
        std::filesystem::create_hard_link("/tmp/other.ipc", kPath);
    }
    Receiving receiving;
    EXPECT_NO_THROW(receiving.receiver.listen());
}

}  // namespace

}  // namespace ponmgr::dbman
