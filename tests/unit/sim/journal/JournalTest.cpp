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

TEST_F(JournalTest, KeepsNoMemoryOfALongDatagramWhosePlaceAShortOneTakes) {
    record(std::vector<std::uint8_t>(1000));
    for (std::uint8_t i = 2; i <= 4; ++i) {
        record({i});
    }
    EXPECT_LT(journal.find(4)->bytes.capacity(), 100U);
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

/// How much memory the entries hold.
class Sizes final : public JournalSink {
public:
    explicit Sizes(std::vector<std::size_t>& destination) : sizes(destination) {}
    void write(const JournalEntry& entry) override {
        sizes.push_back(entry.bytes.size());
        sizes.push_back(entry.cardBytes ? entry.cardBytes->size() : 0);
    }
    void flush() override {}

private:
    std::vector<std::size_t>& sizes;
};

TEST_F(JournalTest, KeepsTheBeginningOfALongDatagramAndItsSize) {
    record(std::vector<std::uint8_t>(2048, 1));
    record(std::vector<std::uint8_t>(60'000, 2));
    EXPECT_EQ(journal.find(1)->bytes.size(), 2048U);
    EXPECT_THAT(journal.find(2)->bytes, testing::AllOf(testing::SizeIs(2048), testing::Each(2)));
    EXPECT_LE(journal.find(2)->bytes.capacity(), 2048U);
    EXPECT_EQ(journal.find(2)->size, 60'000U);
}

TEST_F(JournalTest, HandsAllOfADatagramToItsSinksAndThenLetsItsMemoryGo) {
    std::vector<std::size_t> sizes;
    journal.addSink(std::make_unique<Sizes>(sizes));
    const std::vector<std::uint8_t> bytes(60'000, 2);
    Passage passage;
    passage.bytes = bytes;
    passage.cardBytes = std::span(bytes).first(50'000);
    journal.record(passage);
    EXPECT_EQ(journal.find(1)->bytes.size(), 60'000U);
    journal.flush();
    EXPECT_THAT(sizes, ElementsAre(60'000, 50'000));
    EXPECT_LE(journal.find(1)->bytes.capacity(), 2048U);
    EXPECT_LE(journal.find(1)->cardBytes->capacity(), 2048U);
}

TEST_F(JournalTest, HandsLongDatagramsToItsSinksBeforeTheyFillTheMemory) {
    std::vector<std::size_t> sizes;
    Journal large(10'000, timers, [this] { return wall; });
    large.addSink(std::make_unique<Sizes>(sizes));
    const std::vector<std::uint8_t> bytes(60'000, 2);
    Passage passage;
    passage.bytes = bytes;
    for (int i = 0; i < 100; ++i) {
        large.record(passage);
    }
    EXPECT_GE(sizes.size(), 2U * 70);
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
