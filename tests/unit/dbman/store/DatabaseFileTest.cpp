#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "StoreFixture.h"
#include "dbman/store/Schema.h"

namespace ponmgr::dbman {

namespace {

using test::kDatabaseFile;
using testing::HasSubstr;

class DatabaseFileTest : public test::StoreFixture {
protected:
    static void runIn(const char* sql) {
        std::ofstream(kDatabaseFile, std::ios::app).close();
        Database(kDatabaseFile, Database::Access::readWrite).run(sql);
    }

    /// Why the store refuses the file.
    std::string refusal() {
        try {
            start();
        } catch (const Failure& failure) {
            return failure.what();
        }
        return "";
    }

    static std::string content() {
        std::ifstream file(kDatabaseFile, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    static mode_t modeOf(const std::string& path) {
        struct stat file {};
        EXPECT_EQ(stat(path.c_str(), &file), 0) << path;
        return file.st_mode & 0777U;
    }
};

TEST_F(DatabaseFileTest, ANewFileHasTheNewestSchemaAndIsEmpty) {
    const auto stored = start();
    EXPECT_TRUE(stored.slots.empty());
    EXPECT_TRUE(stored.events.empty());
    store->stop();
    EXPECT_THAT(test::valuesIn(kDatabaseFile, "PRAGMA user_version"),
                testing::ElementsAre(std::to_string(newestSchema())));
}

TEST_F(DatabaseFileTest, OnlyItsOwnerAndGroupMayReadIt) {
    umask(0);
    start();
    store->post(event(1));
    ASSERT_TRUE(store->flush());
    EXPECT_EQ(modeOf(kDatabaseFile), 0640U);
    EXPECT_EQ(modeOf(std::string(kDatabaseFile) + "-wal"), 0640U);
}

TEST_F(DatabaseFileTest, IsMadeInADirectoryOfOurOwnUnlessItIsGiven) {
    setenv("XDG_STATE_HOME", "/tmp/a/b", 1);
    EXPECT_EQ(defaultDatabaseFile(), "/tmp/a/b/ponmgr/dbman.db");
    EXPECT_EQ(modeOf("/tmp/a/b/ponmgr"), 0700U);
    unsetenv("XDG_STATE_HOME");
    setenv("HOME", "/tmp/home", 1);
    EXPECT_EQ(defaultDatabaseFile(), "/tmp/home/.local/state/ponmgr/dbman.db");
    unsetenv("HOME");
    EXPECT_THROW(defaultDatabaseFile(), Failure);
}

TEST_F(DatabaseFileTest, ADirectoryThatIsNotThereIsNamed) {
    EXPECT_THROW(
        {
            try {
                start(options("/tmp/no/such/dbman.db"));
            } catch (const Failure& failure) {
                EXPECT_STREQ(failure.what(),
                             "can't open the database /tmp/no/such/dbman.db: "
                             "No such file or directory");
                throw;
            }
        },
        Failure);
}

TEST_F(DatabaseFileTest, ADirectoryIsNoDatabase) {
    std::filesystem::create_directory(kDatabaseFile);
    EXPECT_THAT(refusal(), HasSubstr("can't open the database /tmp/dbman.db: "));
}

TEST_F(DatabaseFileTest, GarbageIsRefusedAndLeftAlone) {
    const std::string garbage(5000, 'x');
    std::ofstream(kDatabaseFile) << garbage;
    EXPECT_EQ(refusal(), "can't use the database /tmp/dbman.db: file is not a database");
    EXPECT_EQ(content(), garbage);
}

TEST_F(DatabaseFileTest, AFileThatWasCutIsRefused) {
    start();
    store->stop();
    std::filesystem::resize_file(kDatabaseFile, 6000);
    EXPECT_THAT(refusal(), HasSubstr("the database /tmp/dbman.db"));
}

TEST_F(DatabaseFileTest, AnotherProgramsDatabaseIsRefusedAndLeftAlone) {
    runIn("CREATE TABLE slots (a)");
    const auto before = content();
    EXPECT_EQ(refusal(), "can't use the database /tmp/dbman.db: it is another program's");
    EXPECT_EQ(content(), before);
}

TEST_F(DatabaseFileTest, ANewerSchemaIsRefusedAndLeftAlone) {
    start();
    store->stop();
    runIn("PRAGMA user_version = 99");
    const auto before = content();
    EXPECT_EQ(refusal(),
              "can't use the database /tmp/dbman.db: its schema 99 is newer than ours, "
              "which is " +
                  std::to_string(newestSchema()));
    EXPECT_EQ(content(), before);
}

TEST_F(DatabaseFileTest, ASecondUserIsRefusedUntilTheFirstHasEnded) {
    start();
    {
        CurrentState other;
        Store second(
            options(), other, [this] { return time; }, [](const std::string&) {});
        try {
            second.open();
            FAIL() << "opened it twice";
        } catch (const Failure& failure) {
            EXPECT_STREQ(failure.what(),
                         "can't use the database /tmp/dbman.db: another dbman uses it");
        }
    }
    store->post(event(1));
    EXPECT_TRUE(store->flush());
    store->stop();
    EXPECT_EQ(refusal(), "");
}

class OlderSchema : public DatabaseFileTest, public testing::WithParamInterface<int> {};

TEST_P(OlderSchema, IsBroughtUpAndKeepsItsRows) {
    std::ofstream(kDatabaseFile).close();
    {
        Database database(kDatabaseFile, Database::Access::readWrite);
        migrate(database, kDatabaseFile, GetParam());
        if (GetParam() > 0) {
            database.run("INSERT INTO slots VALUES (3, '127.0.1.3', '127.0.0.1', 'disabled')");
            database.run(
                "INSERT INTO onus VALUES ('00:11:22:33:44:55', 3, 'on-line', "
                "'{\"pon_port\":\"1\"}', 1000000000000)");
        }
        if (GetParam() > 1) {
            database.run(
                "INSERT INTO alarm_events VALUES (7, 1000000000000, 3, 'OLT Port: EPON-0', "
                "'LOS', 'raised', '')");
        }
    }
    const auto stored = start();
    EXPECT_EQ(stored.slots.size(), GetParam() > 0 ? 1U : 0U);
    EXPECT_EQ(stored.onus.size(), GetParam() > 0 ? 1U : 0U);
    EXPECT_EQ(store->history().alarmEvents(3, Time(), 10).size(), GetParam() > 1 ? 1U : 0U);
    store->post(event(1));
    EXPECT_TRUE(store->flush());
    EXPECT_THAT(test::valuesIn(kDatabaseFile, "PRAGMA user_version"),
                testing::ElementsAre(std::to_string(newestSchema())));
}

INSTANTIATE_TEST_SUITE_P(Versions, OlderSchema, testing::Range(0, newestSchema() + 1));

TEST_F(DatabaseFileTest, RowsThatSomebodyHasSpoiltAreReadAsFarAsTheyGo) {
    start();
    store->stop();
    runIn(
        "INSERT INTO onus VALUES ('m', NULL, 'asleep', 'no json', 9223372036854775807);"
        "INSERT INTO cards VALUES (3, 'on-line', '[1]', '{}', -5);");
    const auto stored = start();
    ASSERT_EQ(stored.onus.size(), 1U);
    EXPECT_EQ(stored.onus[0].state, State::unknown);
    EXPECT_TRUE(stored.onus[0].record.empty());
    ASSERT_EQ(stored.cards.size(), 1U);
    EXPECT_EQ(stored.cards[0].state, State::online);
    EXPECT_EQ(stored.cards[0].lastReport, Time());
}

}  // namespace

}  // namespace ponmgr::dbman
