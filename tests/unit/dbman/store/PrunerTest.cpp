#include "StoreFixture.h"
#include "dbman/store/Pruner.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::days;
using std::chrono::seconds;
using test::kDatabaseFile;
using test::valuesIn;
using testing::ElementsAre;

class PrunerTest : public test::StoreFixture {
protected:
    /// Puts the rows into the file and opens it for a pruner.
    void stored(const std::vector<HistoryRow>& rows) {
        start();
        for (const auto& row : rows) {
            store->post(row);
        }
        store->stop();
        database = std::make_unique<Database>(kDatabaseFile, Database::Access::readWrite);
    }

    /// Takes a whole round of steps; returns how many rows each of those has deleted that found
    /// any.
    std::vector<std::size_t> round(const Retention& retention = {}) {
        Pruner pruner(*database, retention);
        std::vector<std::size_t> deleted;
        for (bool goesOn = true; goesOn;) {
            goesOn = pruner.step(time);
            if (database->changedRows() > 0) {
                deleted.push_back(database->changedRows());
            }
        }
        return deleted;
    }

    AlarmEvent alarmOf(int slot, const std::string& alarm, int second = 0) const {
        return {0, time + seconds(second), {slot, "OLT Port: EPON-0", alarm}, true, ""};
    }

    OpticsSample sampleOf(std::optional<int> slot, const std::string& macAddress) const {
        return {time, macAddress, slot, "1", {{"temperature", "41"}}};
    }

    static Retention keeping(const char* text) {
        Retention retention;
        retention.set(text);
        return retention;
    }

    std::unique_ptr<Database> database;
};

TEST_F(PrunerTest, DeletesWhatIsOlderAndNoMoreThanABatchInAStep) {
    std::vector<HistoryRow> rows;
    for (int id = 1; id <= 700; ++id) {
        rows.emplace_back(event(id));
    }
    moveOn(days(6));
    rows.emplace_back(event(701));
    stored(rows);
    EXPECT_THAT(round(), ElementsAre());
    moveOn(days(2));
    EXPECT_THAT(round(), ElementsAre(500, 200));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT id FROM events"), ElementsAre("701"));
}

TEST_F(PrunerTest, LooksAtEveryTableForWhatIsTooOld) {
    stored({event(1), alarmEvent("LOS"), sampleOf(3, "m"),
            CommandRow{time, "/slot/reset", "{}", "sent"},
            NotificationRow{time, "/olt/new", "ok", 2, "{}"}});
    moveOn(days(91));
    EXPECT_THAT(round(), ElementsAre(1, 1, 1, 1, 1));
}

TEST_F(PrunerTest, DeletesTheOldestOfWhatIsTooMuchAndNoMoreThanABatchInAStep) {
    std::vector<HistoryRow> rows;
    for (int id = 1; id <= 1000; ++id) {
        rows.emplace_back(event(id));
    }
    stored(rows);
    EXPECT_THAT(round(keeping("notifications=7d,300")), ElementsAre(500, 200));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT min(id) || ' ' || max(id) FROM events"),
                ElementsAre("701 1000"));
    EXPECT_THAT(round(keeping("notifications=7d,300")), ElementsAre());
}

TEST_F(PrunerTest, TheAlarmsOfASlotTakeNothingFromTheHistoryOfTheOthers) {
    std::vector<HistoryRow> rows = {alarmOf(2, "Temperature")};
    for (int second = 1; second <= 100; ++second) {
        rows.emplace_back(alarmOf(1, std::to_string(second), second));
    }
    stored(rows);
    EXPECT_THAT(round(keeping("alarm-events=90d,3")), ElementsAre(97));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT alarm FROM alarm_events ORDER BY time"),
                ElementsAre("Temperature", "98", "99", "100"));
}

TEST_F(PrunerTest, TheLevelsOfASlotTakeNothingFromThoseOfTheOthersAndOfNone) {
    stored({sampleOf(2, "a"), sampleOf(std::nullopt, "b"), sampleOf(std::nullopt, "c"),
            sampleOf(1, "d"), sampleOf(1, "e"), sampleOf(1, "f"), sampleOf(8, "g")});
    EXPECT_THAT(round(keeping("optics=30d,1")), ElementsAre(1, 2));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT mac_address FROM optics ORDER BY id"),
                ElementsAre("a", "c", "f", "g"));
}

TEST_F(PrunerTest, LooksAtEveryTableForWhatIsTooMuch) {
    stored({CommandRow{time, "/slot/reset", "1", "sent"},
            CommandRow{time, "/slot/reset", "2", "sent"},
            NotificationRow{time, "/olt/new", "ok", 2, "1"},
            NotificationRow{time, "/olt/new", "ok", 2, "2"}});
    auto retention = keeping("commands=90d,1");
    retention.set("notifications=7d,1");
    EXPECT_THAT(round(retention), ElementsAre(1, 1));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT data FROM commands"), ElementsAre("2"));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT raw FROM notifications"), ElementsAre("2"));
}

/// What a step asks the database for the rows of a slot.
TEST_F(PrunerTest, CountsTheRowsOfASlotByAnIndexAlone) {
    stored({});
    for (const std::string table : {"optics", "alarm_events"}) {
        const auto sql = "EXPLAIN QUERY PLAN SELECT count(*) FROM " + table + " WHERE slot_id IS 1";
        Statement statement(*database, sql.c_str());
        std::string plan;
        statement.each([&] { plan += statement.text(3); });
        EXPECT_EQ(plan,
                  "SEARCH " + table + " USING COVERING INDEX " + table + "_by_slot (slot_id=?)");
    }
}

}  // namespace

}  // namespace ponmgr::dbman
