#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "sim/AnswerPace.h"
#include "sim/journal/Journal.h"
#include "sim/journal/JournalReport.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

class Numbers final : public JournalSink {
public:
    explicit Numbers(std::vector<std::uint64_t>& destination) : numbers(destination) {}
    void write(const JournalEntry& entry) override { numbers.push_back(entry.number); }
    void flush() override { numbers.push_back(0); }

private:
    std::vector<std::uint64_t>& numbers;
};

class JournalTest : public testing::Test {
protected:
    std::uint64_t record(const std::vector<std::uint8_t>& bytes) {
        Passage passage;
        passage.slot = 3;
        passage.bytes = bytes;
        return journal.record(passage);
    }

    TimePoint now{5s};
    TimerQueue timers{[this] { return now; }};
    WallTime wall{};
    Journal journal{3, timers, [this] { return wall; }};
};

TEST_F(JournalTest, IsEmptyAtFirst) {
    EXPECT_EQ(journal.lastNumber(), 0U);
    EXPECT_EQ(journal.firstNumber(), 1U);
    EXPECT_EQ(journal.find(0), nullptr);
    EXPECT_EQ(journal.find(1), nullptr);
}

TEST_F(JournalTest, CountsItsTimeFromItsBeginning) {
    now += 1500us;
    wall += 7s;
    record({1});
    EXPECT_EQ(journal.find(1)->sinceStart, 1500us);
    EXPECT_EQ(journal.find(1)->wall, wall);
}

TEST_F(JournalTest, KeepsTheLastEntriesOnly) {
    for (std::uint8_t i = 1; i <= 5; ++i) {
        EXPECT_EQ(record({i}), i);
    }
    EXPECT_EQ(journal.firstNumber(), 3U);
    EXPECT_EQ(journal.find(2), nullptr);
    EXPECT_THAT(journal.find(3)->bytes, ElementsAre(3));
    EXPECT_THAT(journal.find(5)->bytes, ElementsAre(5));
    EXPECT_EQ(journal.find(6), nullptr);
}

TEST_F(JournalTest, LeavesNothingOfAnEntryToTheOneThatTakesItsPlace) {
    const std::vector<std::uint8_t> bytes{1, 2, 3};
    const std::uint32_t fault = 7;
    Passage passage;
    passage.bytes = bytes;
    passage.cardBytes = bytes;
    passage.faults = std::span(&fault, 1);
    passage.dropped = "gone";
    passage.onTheWire = false;
    journal.record(passage);
    record({});
    record({});
    record({});
    const auto& entry = *journal.find(4);
    EXPECT_THAT(entry.bytes, IsEmpty());
    EXPECT_FALSE(entry.cardBytes);
    EXPECT_THAT(entry.faults, IsEmpty());
    EXPECT_EQ(entry.dropped, "");
    EXPECT_TRUE(entry.onTheWire);
}

TEST_F(JournalTest, LearnsLaterWhyADatagramWasDropped) {
    record({1});
    journal.setDropped(1, "the card is muted");
    EXPECT_EQ(journal.find(1)->dropped, "the card is muted");
    journal.setDropped(9, "nobody");
    record({2});
    record({3});
    record({4});
    journal.setDropped(1, "too late");
    EXPECT_EQ(journal.find(4)->dropped, "");
}

TEST_F(JournalTest, HandsEveryEntryToItsSinksOnce) {
    std::vector<std::uint64_t> numbers;
    journal.addSink(std::make_unique<Numbers>(numbers));
    record({1});
    record({2});
    EXPECT_THAT(numbers, IsEmpty());
    journal.flush();
    EXPECT_THAT(numbers, ElementsAre(1, 2, 0));
    journal.flush();
    EXPECT_THAT(numbers, ElementsAre(1, 2, 0));
}

TEST_F(JournalTest, HandsEntriesToItsSinksBeforeTheyAreOverwritten) {
    std::vector<std::uint64_t> numbers;
    journal.addSink(std::make_unique<Numbers>(numbers));
    for (std::uint8_t i = 1; i <= 5; ++i) {
        record({i});
    }
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 0));
    journal.flush();
    EXPECT_THAT(numbers, ElementsAre(1, 2, 3, 0, 4, 5, 0));
}

TEST(JournalReport, WritesTheTimeInUtcWithItsNanoseconds) {
    EXPECT_EQ(wallText(WallTime(1'772'262'900s + 1ns)), "2026-02-28T07:15:00.000000001Z");
    EXPECT_EQ(wallText(WallTime(1'772'262'899s + 999'999'999ns)), "2026-02-28T07:14:59.999999999Z");
}

TEST(AnswerPace, TakesTheLatencyAloneWithoutJitter) {
    AnswerPace pace(2ms, 0ms, 1);
    EXPECT_FALSE(pace.isImmediate());
    EXPECT_EQ(pace.delayFor(1, TimePoint(7s)), 2ms);
    EXPECT_TRUE(AnswerPace(0ms, 0ms, 1).isImmediate());
    EXPECT_FALSE(AnswerPace(0ms, 1ms, 1).isImmediate());
}

TEST(AnswerPace, AddsUpToTheJitterEvenly) {
    AnswerPace pace(2ms, 10ms, 1);
    Duration sum{};
    for (int i = 0; i < 1000; ++i) {
        const auto delay = pace.delayFor(1, TimePoint(i * 1s));
        ASSERT_GE(delay, 2ms);
        ASSERT_LE(delay, 12ms);
        sum += delay;
    }
    EXPECT_GT(sum / 1000, 6500us);
    EXPECT_LT(sum / 1000, 7500us);
}

TEST(AnswerPace, KeepsTheOrderOfACardsAnswers) {
    AnswerPace pace(2ms, 50ms, 1);
    TimePoint before{};
    for (int i = 0; i < 1000; ++i) {
        const TimePoint arrival(i * 1ms);
        const auto due = arrival + pace.delayFor(1, arrival);
        ASSERT_GE(due, before);
        before = due;
    }
}

std::vector<Duration> delaysOf(std::uint32_t seed, int slot) {
    AnswerPace pace(2ms, 1s, seed);
    std::vector<Duration> delays;
    for (int i = 0; i < 20; ++i) {
        delays.push_back(pace.delayFor(slot, TimePoint(i * 10s)));
    }
    return delays;
}

TEST(AnswerPace, IsTheSameWithTheSameSeedForTheSameCard) {
    EXPECT_EQ(delaysOf(1, 1), delaysOf(1, 1));
    EXPECT_NE(delaysOf(1, 1), delaysOf(2, 1));
    EXPECT_NE(delaysOf(1, 1), delaysOf(1, 2));
}

}  // namespace
}  // namespace ponmgr::sim
