#include "dbman/FitText.h"
#include "dbman/Table.h"

namespace ponmgr::dbman {

namespace {

TEST(Table, PutsColumnsUnderEachOther) {
    Table table(std::vector<std::string>{"slot", "MAC"});
    table.addRow({"1", "ü"});
    table.addRow({"22222", ""});
    EXPECT_EQ(table.text(), "slot   MAC\n1      ü\n22222  -\n");
}

TEST(Table, ShowsNoControlCharacters) {
    Table table(std::vector<std::string>{"a"});
    table.addRow({"\x1b[31m"});
    EXPECT_EQ(table.text(), "a\n?[31m\n");
}

Table ranked() {
    Table table(std::vector<Table::Column>{{"MAC", 0}, {"alarms", 1}, {"last report", 2}});
    table.addRow({"00:0d:b6:03:00:07", "Loss of Signal, Report Timeout", "2031-02-03T04:05:06"});
    return table;
}

TEST(Table, IsWholeWhereThereIsRoom) {
    EXPECT_EQ(ranked().text(70),
              "MAC                alarms                          last report\n"
              "00:0d:b6:03:00:07  Loss of Signal, Report Timeout  2031-02-03T04:05:06\n");
}

TEST(Table, CutsTheLongestCellsBeforeItLeavesAColumnOut) {
    EXPECT_EQ(ranked().text(60),
              "MAC                alarms                last report\n"
              "00:0d:b6:03:00:07  Loss of Signal, R...  2031-02-03T04:05:06\n");
}

TEST(Table, LeavesOutTheColumnOfTheHighestRankAndSaysSo) {
    EXPECT_EQ(ranked().text(50),
              "MAC                alarms\n"
              "00:0d:b6:03:00:07  Loss of Signal, Report Timeout\n"
              "(no room for: last report)\n");
}

TEST(Table, NeverLeavesOutAColumnOfRankZero) {
    EXPECT_EQ(ranked().text(10), "MAC\n00:0d:b...\n(no roo...\n");
}

TEST(FitText, CutsBetweenCharacters) {
    EXPECT_EQ(fitText("üüüüüü", 5), "üü...");
    EXPECT_EQ(fitText("üüüüüü", 6), "üüüüüü");
    EXPECT_EQ(fitText("üüüüüü", 2), "üü");
    EXPECT_EQ(fitText("any length", 0), "any length");
}

}  // namespace

}  // namespace ponmgr::dbman
