#include <gtest/gtest.h>

#include "dbman/Errors.h"
#include "dbman/store/Retention.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::days;
using std::chrono::hours;

TEST(Retention, KeepsEachTablesRowsForItsOwnAge) {
    Retention retention;
    EXPECT_EQ(retention.ageOf(AgingTable::optics), days(30));
    EXPECT_EQ(retention.ageOf(AgingTable::alarmEvents), days(90));
    EXPECT_EQ(retention.ageOf(AgingTable::notifications), days(7));
    EXPECT_EQ(retention.ageOf(AgingTable::commands), days(90));
    EXPECT_EQ(retention.ageOf(AgingTable::alarms), days(90));
    retention.set("commands=12h");
    EXPECT_EQ(retention.ageOf(AgingTable::commands), hours(12));
    EXPECT_EQ(retention.ageOf(AgingTable::optics), days(30));
}

TEST(Retention, KeepsNoMoreThanEachTablesNumberOfRows) {
    Retention retention;
    EXPECT_EQ(retention.rowsOf(AgingTable::optics), 1'000'000);
    EXPECT_EQ(retention.rowsOf(AgingTable::alarmEvents), 100'000);
    EXPECT_EQ(retention.rowsOf(AgingTable::notifications), 1'000'000);
    EXPECT_EQ(retention.rowsOf(AgingTable::commands), 100'000);
    retention.set("alarm-events=30d,1000");
    EXPECT_EQ(retention.ageOf(AgingTable::alarmEvents), days(30));
    EXPECT_EQ(retention.rowsOf(AgingTable::alarmEvents), 1000);
    retention.set("alarm-events=60d");
    EXPECT_EQ(retention.rowsOf(AgingTable::alarmEvents), 1000);
    EXPECT_EQ(retention.rowsOf(AgingTable::optics), 1'000'000);
}

class WrongRetention : public testing::TestWithParam<const char*> {};

TEST_P(WrongRetention, IsRefusedAndChangesNothing) {
    Retention retention;
    EXPECT_THROW(retention.set(GetParam()), ArgumentError);
    EXPECT_EQ(retention.ageOf(AgingTable::optics), days(30));
    EXPECT_EQ(retention.rowsOf(AgingTable::optics), 1'000'000);
}

INSTANTIATE_TEST_SUITE_P(Texts, WrongRetention,
                         testing::Values("", "optics", "optics=", "optics=0d", "optics=5",
                                         "optics=-1d", "optics=4000d", "slots=1d", "=1d",
                                         "Optics=1d", "optics=1d ", "optics=1d,", "optics=1d,0",
                                         "optics=1d,-1", "optics=1d,1000000001", "optics=1d,1,1",
                                         "optics=,1000", "optics=1000", "optics=1d, 1000"));

std::string refusalOf(const std::string& text) {
    try {
        Retention().set(text);
    } catch (const ArgumentError& error) {
        return error.what();
    }
    return "none";
}

TEST(Retention, NamesTheTablesThereAre) {
    EXPECT_EQ(refusalOf("slots=1d"),
              "retention \"slots=1d\" is not allowed: TABLE=AGE or TABLE=AGE,ROWS, such as "
              "optics=30d or optics=30d,500000; a table is one of optics, alarm-events, "
              "notifications, commands, alarms");
}

TEST(Retention, SaysThatAlarmStatesHaveNoNumberOfTheirOwn) {
    EXPECT_EQ(refusalOf("alarms=90d,1000"),
              "retention \"alarms=90d,1000\" is not allowed: alarms=AGE; there are no more of them "
              "than memory holds");
}

}  // namespace

}  // namespace ponmgr::dbman
