// The lock of a record.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Items.h"
#include "SleepingThread.h"
#include "model/Container.h"
#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

// A thread that is stuck on a lock can't be joined, so there is no going on.
void endUnless(bool condition, const char* failure) {
    if (!condition) {
        std::cerr << failure << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
}

// A thread that runs `body` and says how far it has come.
class Other {
public:
    template <typename Body>
    explicit Other(Body body)
        : thread([this, body] {
              number = currentThread();
              body();
              hasEnded = true;
          }) {}
    ~Other() {
        endUnless(waitFor([&] { return hasEnded.load(); }), "a thread is stuck");
        thread.join();
    }

    bool isStuck() const { return number != 0 && isAsleep(number) && !hasEnded; }
    bool ends() const {
        return waitFor([&] { return hasEnded.load(); });
    }

private:
    std::atomic<pid_t> number = 0;
    std::atomic<bool> hasEnded = false;
    std::thread thread;
};

class ContainerThreadsTest : public testing::Test {
protected:
    ContainerThreadsTest() { record.setNewValue("a", "1"); }

    // Runs `inside` while getJsonData holds the read lock.
    template <typename Inside>
    void whileRead(Inside inside) {
        record.addItemToList("list", std::make_unique<PrintedItem>([inside]() -> std::string {
                                 inside();
                                 return "{}";
                             }));
        record.getJsonFile();
    }

    // Runs `inside` while setcJsonData holds the write lock.
    template <typename Inside>
    void whileWritten(Inside inside) {
        record.addItemToList("list", std::make_unique<UpdatedItem>([inside](const cJSON*, bool) {
                                 inside();
                                 return true;
                             }));
        record.setJsonData(R"({"list":[{}]})", false);
    }

    Container record;
};

TEST_F(ContainerThreadsTest, OtherThreadsReadWhileTheRecordIsRead) {
    whileRead([this] {
        const Other other([this] { record.getValue("a"); });
        EXPECT_TRUE(other.ends());
    });
}

TEST_F(ContainerThreadsTest, SetValueWaitsUntilTheRecordIsRead) {
    std::unique_ptr<Other> other;
    whileRead([this, &other] {
        other = std::make_unique<Other>([this] { record.setValue("a", "2", true); });
        EXPECT_TRUE(waitFor([&] { return other->isStuck(); }));
    });
    EXPECT_TRUE(other->ends());
    EXPECT_EQ(record.getValue("a"), "2");
}

TEST_F(ContainerThreadsTest, SetValueOfAMissingKeyWaitsForNothing) {
    whileRead([this] {
        const Other other([this] { record.setValue("b", "2", false); });
        EXPECT_TRUE(other.ends());
    });
}

TEST_F(ContainerThreadsTest, GetValueWaitsUntilTheRecordIsWritten) {
    std::string seen;
    std::unique_ptr<Other> other;
    whileWritten([this, &other, &seen] {
        other = std::make_unique<Other>([this, &seen] { seen = record.getValue("a"); });
        EXPECT_TRUE(waitFor([&] { return other->isStuck(); }));
    });
    EXPECT_TRUE(other->ends());
    EXPECT_EQ(seen, "1");
}

TEST_F(ContainerThreadsTest, GetJsonDataWaitsUntilTheRecordIsWritten) {
    const std::string key = "a";
    std::string seen;
    std::unique_ptr<Other> other;
    whileWritten([&] {
        other = std::make_unique<Other>([&] { seen = record.getJsonData(true, &key, 1); });
        EXPECT_TRUE(waitFor([&] { return other->isStuck(); }));
    });
    EXPECT_TRUE(other->ends());
    EXPECT_EQ(seen, R"({"a":"1","list":[{"id":"0"}]})");
}

TEST_F(ContainerThreadsTest, JsonThatIsNoObjectWaitsForNothing) {
    whileWritten([this] {
        const Other other([this] { record.setJsonData("[]", false); });
        EXPECT_TRUE(other.ends());
    });
}

TEST_F(ContainerThreadsTest, KeysListsAndFlagAreAskedForWithoutWaiting) {
    whileWritten([this] {
        const Other other([this] {
            record.hasKey("a");
            record.hasList("list");
            record.getListSize("list");
            record.getHasModified();
            record.clearHasModified();
        });
        EXPECT_TRUE(other.ends());
    });
}

// getJsonData reads each given key by getValue with the read lock held already; with a writer that
// waits in between this must go through.
TEST_F(ContainerThreadsTest, AReaderReadsAgainWhileAWriterWaits) {
    std::unique_ptr<Other> writer;
    Other reader([this, &writer] {
        whileRead([this, &writer] {
            writer = std::make_unique<Other>([this] { record.setValue("a", "2", true); });
            EXPECT_TRUE(waitFor([&] { return writer->isStuck(); }));
            EXPECT_EQ(record.getValue("a"), "1");
        });
    });
    endUnless(reader.ends(), "the nested read lock is stuck");
    EXPECT_TRUE(writer->ends());
}

TEST_F(ContainerThreadsTest, GivenKeysArePrintedWhileOthersWrite) {
    constexpr int kRounds = 500;
    const std::string keys[] = {"a", "id", "a"};
    const Other writer([this] {
        for (int round = 0; round < kRounds; round++) {
            record.setValue("a", round % 2 == 0 ? "2" : "1", true);
        }
    });
    for (int round = 0; round < kRounds; round++) {
        const std::string text = record.getJsonData(true, keys, 3);
        ASSERT_TRUE(text == R"({"a":"1","id":"0","a":"1"})" ||
                    text == R"({"a":"2","id":"0","a":"2"})")
            << text;
    }
}

TEST_F(ContainerThreadsTest, EveryLockedOperationRunsBesideTheOthers) {
    constexpr int kRounds = 300;
    const std::string values[] = {std::string(50, 'x'), std::string(60, 'y')};
    record.setNewValue("a", values[0]);
    const auto isWhole = [&](const std::string& value) {
        return value == values[0] || value == values[1];
    };
    std::atomic<int> torn = 0;
    const auto repeat = [](auto body) {
        return std::make_unique<Other>([body] {
            for (int round = 0; round < kRounds; round++) {
                body(static_cast<std::size_t>(round % 2));
            }
        });
    };
    std::vector<std::unique_ptr<Other>> threads;
    threads.push_back(repeat([&](std::size_t odd) { record.setValue("a", values[odd], true); }));
    threads.push_back(repeat(
        [&](std::size_t odd) { record.setJsonData(R"({"a":")" + values[odd] + "\"}", false); }));
    threads.push_back(repeat([&](std::size_t) { torn += isWhole(record.getValue("a")) ? 0 : 1; }));
    threads.push_back(repeat([&](std::size_t) {
        const std::string text = record.getJsonFile();
        torn += isWhole(text.substr(6, text.find('"', 6) - 6)) ? 0 : 1;
    }));
    threads.push_back(repeat([&](std::size_t odd) {
        if (odd != 0 && record.getHasModified()) {
            record.clearHasModified();
        }
    }));
    threads.clear();
    EXPECT_EQ(torn, 0);
}

}  // namespace

}  // namespace ponmgr::test
