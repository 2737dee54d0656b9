#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "model/GuardedText.h"

namespace ponmgr::test {

namespace {

TEST(GuardedTextTest, IsEmptyAtFirst) {
    EXPECT_EQ(GuardedText().get(), "");
}

TEST(GuardedTextTest, KeepsWhatWasSetLast) {
    GuardedText text;
    text.set("10.0.0.1");
    text.set("10.0.0.2");
    EXPECT_EQ(text.get(), "10.0.0.2");
}

TEST(GuardedTextTest, CanBeSetToNothing) {
    GuardedText text;
    text.set("10.0.0.1");
    text.set("");
    EXPECT_EQ(text.get(), "");
}

TEST(GuardedTextTest, TellsWhetherItIsEmpty) {
    GuardedText text;
    EXPECT_TRUE(text.isEmpty());
    text.set("10.0.0.1");
    EXPECT_FALSE(text.isEmpty());
}

TEST(GuardedTextTest, SetOnceSetsAnEmptyText) {
    GuardedText text;
    EXPECT_TRUE(text.setOnce("10.0.0.1"));
    EXPECT_EQ(text.get(), "10.0.0.1");
}

TEST(GuardedTextTest, SetOnceLeavesATextThatIsSet) {
    GuardedText text;
    text.set("10.0.0.1");
    EXPECT_FALSE(text.setOnce("10.0.0.2"));
    EXPECT_EQ(text.get(), "10.0.0.1");
}

TEST(GuardedTextTest, SetOnceSetsATextThatWasEmptiedAgain) {
    GuardedText text;
    text.set("10.0.0.1");
    text.set("");
    EXPECT_TRUE(text.setOnce("10.0.0.2"));
    EXPECT_EQ(text.get(), "10.0.0.2");
}

TEST(GuardedTextTest, OnlyOneOfSeveralThreadsSetsItOnce) {
    GuardedText text;
    std::atomic<int> winners = 0;
    std::vector<std::thread> threads;
    for (const char* address : {"10.0.0.1", "10.0.0.2", "10.0.0.3", "10.0.0.4"}) {
        threads.emplace_back([&text, &winners, address] { winners += text.setOnce(address); });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(winners, 1);
}

TEST(GuardedTextTest, ReadersSeeAWholeText) {
    const std::string first(100, 'a');
    const std::string second(200, 'b');
    GuardedText text;
    text.set(first);
    std::thread writer([&] {
        for (int round = 0; round < 1000; round++) {
            text.set(round % 2 == 0 ? second : first);
        }
    });
    bool whole = true;
    for (int round = 0; round < 1000; round++) {
        const std::string seen = text.get();
        whole = whole && (seen == first || seen == second);
    }
    writer.join();
    EXPECT_TRUE(whole);
}

}  // namespace

}  // namespace ponmgr::test
