#include <sys/mount.h>

#include <filesystem>
#include <fstream>

#include "StoreFixture.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::hours;
using std::chrono::milliseconds;
using test::kDatabaseFile;
using test::valuesIn;
using testing::ElementsAre;
using testing::HasSubstr;

class StoreTest : public test::StoreFixture {
protected:
    void addOnu(const std::string& macAddress, const std::string& port) {
        state.inventory.updateOnu(macAddress, 3, {{"pon_port", port}, {"online_status", "1"}},
                                  time);
    }
};

TEST_F(StoreTest, CommitsWhatIsPostedWithoutBeingAsked) {
    start();
    store->post(event(7, "a line"));
    EXPECT_TRUE(ponmgr::test::waitFor(
        [] { return !valuesIn(kDatabaseFile, "SELECT text FROM events").empty(); }));
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT id || kind || text FROM events"),
                ElementsAre("7notificationa line"));
}

TEST_F(StoreTest, AFlushWaitsForAllThatWasPostedBefore) {
    auto chosen = options();
    chosen.commitDelay = std::chrono::minutes(1);
    start(chosen);
    for (int id = 1; id <= 5000; ++id) {
        store->post(event(id));
    }
    ASSERT_TRUE(store->flush());
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT count(*) FROM events"), ElementsAre("5000"));
}

TEST_F(StoreTest, StoppingCommitsTheRest) {
    auto chosen = options();
    chosen.commitDelay = std::chrono::minutes(1);
    start(chosen);
    for (int id = 1; id <= 5000; ++id) {
        store->post(event(id));
    }
    store->stop();
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT count(*) FROM events"), ElementsAre("5000"));
}

TEST_F(StoreTest, KeepsTextsWithZeroBytesAndWithoutUtf8) {
    start();
    const std::string raw("a\0b\xff", 4);
    store->post(NotificationRow{time, "", "not JSON", raw.size(), raw});
    store->flush();
    EXPECT_THAT(valuesIn(kDatabaseFile, "SELECT raw FROM notifications"), ElementsAre(raw));
}

TEST_F(StoreTest, TheCurrentStateIsBackAfterARestart) {
    start();
    state.slots.configure(makeSlotConfiguration({1, 3}, 0x7F000100, 0x7F000001));
    state.slots.setWanted(3, Wanted::disabled);
    state.inventory.updateCard(3, {{"online_status", "1"}, {"app_version", "0417"}},
                               {{{"ucOpticModuleOltVcc", "3.3"}}}, time);
    addOnu("00:11:22:33:44:55", "1");
    state.alarms.report({3, "OLT Port: EPON-0", "LOS"}, true, time);
    store->wake();
    const auto stored = start();
    ASSERT_EQ(stored.slots.size(), 8U);
    EXPECT_EQ(stored.slots[2].address.card, "127.0.1.3");
    EXPECT_EQ(stored.slots[2].wanted, Wanted::disabled);
    EXPECT_EQ(stored.slots[1].address.card, "");
    ASSERT_EQ(stored.cards.size(), 1U);
    EXPECT_EQ(stored.cards[0].state, State::online);
    EXPECT_EQ(valueOf(stored.cards[0].record, "app_version"), "0417");
    EXPECT_EQ(valueOf(stored.cards[0].moduleOltTable.at(0), "ucOpticModuleOltVcc"), "3.3");
    EXPECT_EQ(stored.cards[0].lastReport, time);
    ASSERT_EQ(stored.onus.size(), 1U);
    EXPECT_EQ(stored.onus[0].slot, 3);
    EXPECT_EQ(valueOf(stored.onus[0].record, "pon_port"), "1");
    ASSERT_EQ(stored.alarms.size(), 1U);
    EXPECT_TRUE(stored.alarms[0].isRaised);
    EXPECT_EQ(stored.alarms[0].raised, time);
    EXPECT_EQ(stored.alarms[0].cleared, std::nullopt);
}

TEST_F(StoreTest, ARemovedOnuIsGoneAfterARestart) {
    start();
    addOnu("00:11:22:33:44:55", "1");
    addOnu("00:11:22:33:44:66", "1");
    store->wake();
    ASSERT_TRUE(store->flush());
    state.inventory.removeOnu("00:11:22:33:44:55");
    store->wake();
    const auto stored = start();
    ASSERT_EQ(stored.onus.size(), 1U);
    EXPECT_EQ(stored.onus[0].macAddress, "00:11:22:33:44:66");
}

TEST_F(StoreTest, RowsThatAreTooOldAreDeletedAndAlarmStatesWithThem) {
    auto chosen = options();
    chosen.pruneInterval = milliseconds(1);
    chosen.retention.set("alarm-events=90d");
    chosen.retention.set("notifications=1h");
    start(chosen);
    for (int id = 1; id <= 1200; ++id) {
        store->post(event(id));
    }
    store->post(alarmEvent("LOS"));
    state.alarms.report({3, "OLT Port: EPON-0", "cleared"}, false, time);
    state.alarms.report({3, "OLT Port: EPON-0", "raised"}, true, time);
    ASSERT_TRUE(store->flush());
    moveOn(hours(2));
    const auto count = [](const char* sql) { return valuesIn(kDatabaseFile, sql).at(0); };
    EXPECT_TRUE(ponmgr::test::waitFor([&] { return count("SELECT count(*) FROM events") == "0"; }));
    EXPECT_EQ(count("SELECT count(*) FROM alarm_events"), "1");
    EXPECT_EQ(count("SELECT count(*) FROM alarm_states"), "2");
    moveOn(hours(24 * 91));
    EXPECT_TRUE(
        ponmgr::test::waitFor([&] { return count("SELECT count(*) FROM alarm_states") == "1"; }));
    EXPECT_TRUE(
        ponmgr::test::waitFor([&] { return count("SELECT count(*) FROM alarm_events") == "0"; }));
    EXPECT_EQ(count("SELECT alarm FROM alarm_states"), "raised");
}

/// A disk of 1 MiB at /tmp/small that can be filled to its end.
class FullDisk : public StoreTest {
protected:
    void SetUp() override {
        std::filesystem::create_directory("/tmp/small");
        ASSERT_EQ(mount("tmpfs", "/tmp/small", "tmpfs", 0, "size=1m"), 0);
    }

    void TearDown() override {
        store.reset();
        EXPECT_EQ(umount("/tmp/small"), 0);
    }

    static void fill() {
        std::ofstream filler("/tmp/small/filler", std::ios::binary | std::ios::app);
        const std::string page(4096, 'x');
        while (filler.write(page.data(), static_cast<std::streamsize>(page.size())).flush()) {
        }
    }

    void fillUntilItFails() {
        fill();
        // The database's log may have some room left in its last page.
        ASSERT_TRUE(ponmgr::test::waitFor([this] {
            store->post(event(nextId++, std::string(1000, 'x')));
            store->flush();
            return !store->status().error.empty();
        }));
    }

    bool waitForRecovery() {
        std::filesystem::remove("/tmp/small/filler");
        return ponmgr::test::waitFor([this] {
            const auto status = store->status();
            return status.error.empty() && status.waitingWrites == 0;
        });
    }

    static constexpr auto kFile = "/tmp/small/dbman.db";
    std::int64_t nextId = 1;
};

TEST_F(FullDisk, IsReportedOnceAndNothingIsLostWhenThereIsRoomAgain) {
    start(options(kFile));
    fillUntilItFails();
    EXPECT_EQ(store->status().error, "database or disk is full");
    addOnu("00:11:22:33:44:55", "1");
    state.alarms.report({3, "OLT Port: EPON-0", "LOS"}, true, time);
    store->post(alarmEvent("LOS"));
    EXPECT_FALSE(store->flush());
    EXPECT_GE(store->status().waitingWrites, 2U);
    ASSERT_TRUE(waitForRecovery());
    EXPECT_EQ(store->status().lostWrites, 0U);
    EXPECT_THAT(valuesIn(kFile, "SELECT mac_address FROM onus"), ElementsAre("00:11:22:33:44:55"));
    EXPECT_THAT(valuesIn(kFile, "SELECT alarm FROM alarm_states"), ElementsAre("LOS"));
    EXPECT_THAT(valuesIn(kFile, "SELECT alarm FROM alarm_events"), ElementsAre("LOS"));
    EXPECT_THAT(valuesIn(kFile, "SELECT count(*) FROM events WHERE id > 0"),
                ElementsAre(std::to_string(nextId - 1)));
    EXPECT_THAT(valuesIn(kFile, "PRAGMA integrity_check"), ElementsAre("ok"));
    EXPECT_EQ(output.text(),
              "database /tmp/small/dbman.db can't be written: database or disk is full; going on "
              "from memory, trying again\n"
              "database /tmp/small/dbman.db is written again, 0 rows were lost\n");
}

TEST_F(FullDisk, AStopAtItsEndWritesAllThatWasReportedToo) {
    start(options(kFile));
    fillUntilItFails();
    std::filesystem::remove("/tmp/small/filler");
    store->stop();
    EXPECT_THAT(output.text(), HasSubstr(" is written again, 0 rows were lost\n"));
    EXPECT_THAT(output.text(), Not(HasSubstr("rows are lost")));
    EXPECT_THAT(valuesIn(kFile, "SELECT text FROM events WHERE id < 0 ORDER BY id"),
                ElementsAre(HasSubstr(" is written again, "), HasSubstr(" can't be written: ")));
}

TEST_F(FullDisk, TheOldestRawRowsAreLostWhenTooManyWait) {
    auto chosen = options(kFile);
    chosen.bounds.rows = 10;
    start(chosen);
    fillUntilItFails();
    store->post(alarmEvent("LOS"));
    for (int line = 0; line < 100; ++line) {
        store->post(event(nextId++));
    }
    EXPECT_GE(store->status().lostWrites, 90U);
    ASSERT_TRUE(waitForRecovery());
    EXPECT_THAT(valuesIn(kFile, "SELECT alarm FROM alarm_events"), ElementsAre("LOS"));
    EXPECT_THAT(valuesIn(kFile, "SELECT max(id) FROM events"),
                ElementsAre(std::to_string(nextId - 1)));
    EXPECT_THAT(output.text(),
                HasSubstr(std::to_string(store->status().lostWrites) + " rows were lost\n"));
}

TEST_F(FullDisk, AStopSaysWhatIsLost) {
    start(options(kFile));
    fillUntilItFails();
    store->stop();
    EXPECT_THAT(output.text(), HasSubstr("database or disk is full; "));
    EXPECT_THAT(output.text(), HasSubstr(" rows are lost\n"));
}

TEST_F(FullDisk, AReceiverDoesNotWaitForIt) {
    auto chosen = options(kFile);
    chosen.crowdAge = milliseconds(0);
    chosen.roomLimit = std::chrono::minutes(1);
    start(chosen);
    fillUntilItFails();
    EXPECT_FALSE(store->waitForRoom());
    EXPECT_FALSE(store->status().error.empty());
}

}  // namespace

}  // namespace ponmgr::dbman
