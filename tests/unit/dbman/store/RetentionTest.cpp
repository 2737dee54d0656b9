#include "StoreFixture.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::days;
using std::chrono::hours;
using test::kDatabaseFile;
using test::valuesIn;
using testing::ElementsAre;

TEST(Retention, KeepsEachTablesRowsForItsOwnAge) {
    Retention retention;
    EXPECT_EQ(retention.of(AgingTable::optics), days(30));
    EXPECT_EQ(retention.of(AgingTable::alarmEvents), days(90));
    EXPECT_EQ(retention.of(AgingTable::notifications), days(7));
    EXPECT_EQ(retention.of(AgingTable::commands), days(90));
    EXPECT_EQ(retention.of(AgingTable::alarms), days(90));
    retention.set("commands=12h");
    EXPECT_EQ(retention.of(AgingTable::commands), hours(12));
    EXPECT_EQ(retention.of(AgingTable::optics), days(30));
}

class WrongRetention : public testing::TestWithParam<const char*> {};

TEST_P(WrongRetention, IsRefused) {
    Retention retention;
    EXPECT_THROW(retention.set(GetParam()), ArgumentError);
}

INSTANTIATE_TEST_SUITE_P(Texts, WrongRetention,
                         testing::Values("", "optics", "optics=", "optics=0d", "optics=5",
                                         "optics=-1d", "optics=4000d", "slots=1d", "=1d",
                                         "Optics=1d", "optics=1d "));

TEST(Retention, NamesTheTablesThereAre) {
    try {
        Retention().set("slots=1d");
        FAIL() << "took an age for slots";
    } catch (const ArgumentError& error) {
        EXPECT_STREQ(error.what(),
                     "retention \"slots=1d\" is not allowed: TABLE=AGE, such as optics=30d; a "
                     "table is one of optics, alarm-events, notifications, commands, alarms");
    }
}

class Pruning : public test::StoreFixture {};

TEST_F(Pruning, DeletesWhatIsOlderAndNoMoreThanABatch) {
    start();
    for (int id = 1; id <= 700; ++id) {
        store->post(event(id));
    }
    moveOn(days(6));
    store->post(event(701));
    store->stop();
    Database database(kDatabaseFile, Database::Access::readWrite);
    const Retention retention;
    EXPECT_EQ(pruneSome(database, retention, time), 0U);
    moveOn(days(2));
    EXPECT_EQ(pruneSome(database, retention, time), kPruneBatch);
    EXPECT_EQ(pruneSome(database, retention, time), 200U);
    EXPECT_EQ(pruneSome(database, retention, time), 0U);
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT id FROM events"), ElementsAre("701"));
}

TEST_F(Pruning, LooksAtEveryTable) {
    start();
    store->post(event(1));
    store->post(alarmEvent("LOS"));
    store->post(OpticsSample{time, "00:11:22:33:44:55", 3, "1", {{"temperature", "41"}}});
    store->post(CommandRow{time, "/slot/reset", "{}", "sent"});
    store->post(NotificationRow{time, "/olt/new", "ok", 2, "{}"});
    store->stop();
    Database database(kDatabaseFile, Database::Access::readWrite);
    for (int row = 0; row < 5; ++row) {
        EXPECT_EQ(pruneSome(database, Retention(), time + days(91)), 1U);
    }
    EXPECT_EQ(pruneSome(database, Retention(), time + days(91)), 0U);
}

}  // namespace

}  // namespace ponmgr::dbman
