#include "dbman/store/RowBacklog.h"

namespace ponmgr::dbman {

namespace {

Event line(std::int64_t id, std::size_t bytes = 4) {
    return {id, Time(), EventKind::notification, std::string(bytes, 'x')};
}

AlarmEvent alarm(std::int64_t id) {
    return {id, Time(), {3, "OLT Port: EPON-0", "LOS"}, true, ""};
}

/// The ids of what is taken, alarms' negative.
std::vector<std::int64_t> idsOf(const std::vector<HistoryRow>& rows) {
    std::vector<std::int64_t> ids;
    for (const auto& row : rows) {
        const auto* event = std::get_if<Event>(&row);
        ids.push_back(event != nullptr ? event->id : -std::get<AlarmEvent>(row).id);
    }
    return ids;
}

TEST(RowBacklog, GivesTheOldestFirstAndRawRowsLast) {
    RowBacklog backlog({});
    backlog.push(line(1));
    backlog.push(alarm(2));
    backlog.push(line(3));
    EXPECT_THAT(idsOf(backlog.take(2)), testing::ElementsAre(-2, 1));
    EXPECT_THAT(idsOf(backlog.take(9)), testing::ElementsAre(3));
}

TEST(RowBacklog, DropsTheOldestRawRowsPastItsBound) {
    RowBacklog backlog({3, 1'000'000});
    for (int id = 1; id <= 4; ++id) {
        backlog.push(alarm(id));
        backlog.push(line(id));
    }
    EXPECT_EQ(backlog.dropped(), 5U);
    EXPECT_THAT(idsOf(backlog.take(9)), testing::ElementsAre(-2, -3, -4));
}

TEST(RowBacklog, DropsRowsThatTakeTooMuchMemory) {
    RowBacklog backlog({1000, 10'000});
    for (int id = 1; id <= 4; ++id) {
        backlog.push(line(id, 4000));
    }
    EXPECT_EQ(backlog.dropped(), 2U);
    EXPECT_THAT(idsOf(backlog.take(9)), testing::ElementsAre(3, 4));
    backlog.push(line(5, 4000));
    backlog.push(line(6, 4000));
    EXPECT_EQ(backlog.dropped(), 2U);
}

TEST(RowBacklog, PutsBackBeforeTheOthersAndDropsTheOldestOfAll) {
    RowBacklog backlog({3, 1'000'000});
    backlog.push(line(1));
    backlog.push(line(2));
    auto taken = backlog.take(9);
    backlog.push(line(3));
    backlog.push(line(4));
    backlog.putBack(std::move(taken));
    EXPECT_EQ(backlog.dropped(), 1U);
    EXPECT_THAT(idsOf(backlog.take(9)), testing::ElementsAre(2, 3, 4));
}

}  // namespace

}  // namespace ponmgr::dbman
