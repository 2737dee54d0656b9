#include "dbman/EventLog.h"

namespace ponmgr::dbman {

namespace {

const Time kStart = Time(std::chrono::seconds(5));

std::vector<std::string> textsOf(const std::vector<Event>& events) {
    std::vector<std::string> texts;
    for (const auto& event : events) {
        texts.push_back(event.text);
    }
    return texts;
}

class EventLogTest : public testing::Test {
protected:
    void SetUp() override {
        for (const auto* text : {"a", "b", "c"}) {
            log.add(kStart, EventKind::alarm, text);
        }
    }

    EventLog log{kStart};
};

TEST_F(EventLogTest, NumbersLinesFromTheTimeOfItsStart) {
    const auto events = log.events(std::nullopt, 10);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].id, 5'000'000);
    EXPECT_EQ(events[2].id, 5'000'002);
    EXPECT_EQ(log.lastId(), 5'000'002);
}

TEST_F(EventLogTest, GivesTheLatestOrThoseThatFollow) {
    EXPECT_THAT(textsOf(log.events(std::nullopt, 2)), testing::ElementsAre("b", "c"));
    EXPECT_THAT(textsOf(log.events(5'000'000, 10)), testing::ElementsAre("b", "c"));
    EXPECT_THAT(textsOf(log.events(0, 2)), testing::ElementsAre("a", "b"));
    EXPECT_TRUE(log.events(5'000'002, 10).empty());
}

TEST_F(EventLogTest, KeepsSoManyLines) {
    for (std::size_t line = 0; line < EventLog::kKept; ++line) {
        log.add(kStart, EventKind::command, "more");
    }
    EXPECT_EQ(log.events(std::nullopt, EventLog::kKept + 1).size(), EventLog::kKept);
}

TEST_F(EventLogTest, GoesOnAfterTheLinesOfAFormerRun) {
    EventLog next(kStart - std::chrono::hours(1));
    next.load(log.events(std::nullopt, 10));
    EXPECT_GT(next.add(kStart, EventKind::warning, "d").id, 5'000'002);
    EXPECT_THAT(textsOf(next.events(std::nullopt, 10)), testing::ElementsAre("a", "b", "c", "d"));
}

TEST(EventKind, IsFoundByItsName) {
    for (const auto kind :
         {EventKind::notification, EventKind::command, EventKind::alarm, EventKind::warning}) {
        EXPECT_EQ(eventKindOf(toText(kind)), kind);
    }
    EXPECT_EQ(eventKindOf("else"), EventKind::warning);
}

}  // namespace

}  // namespace ponmgr::dbman
