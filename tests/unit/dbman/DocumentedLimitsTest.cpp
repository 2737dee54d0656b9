// The manual page and docs/dbman.md name the limits that the code has.

#include <chrono>
#include <fstream>

#include "dbman/AlarmStates.h"
#include "dbman/CommandDispatch.h"
#include "dbman/CommandSender.h"
#include "dbman/ControlClient.h"
#include "dbman/ControlServer.h"
#include "dbman/EventLog.h"
#include "dbman/Inventory.h"
#include "dbman/Json.h"
#include "dbman/LineQueue.h"
#include "dbman/LocalSocket.h"
#include "dbman/store/Pruner.h"
#include "dbman/store/Retention.h"
#include "dbman/store/Store.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;
using testing::HasSubstr;

/// A file's words with one space between them; those of a manual page without its marks.
std::string wordsOf(const std::string& path) {
    std::ifstream file(path);
    std::string words;
    for (std::string word; file >> word;) {
        if (word != ".B" && word != ".PP") {
            words += word + " ";
        }
    }
    return words;
}

std::string count(std::size_t number) {
    return std::to_string(number);
}

std::string inSeconds(milliseconds time) {
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(time).count());
}

std::string inMilliseconds(milliseconds time) {
    return std::to_string(time.count()) + " ms";
}

const std::string kWaitForDaemon =
    "up to " + inSeconds(CommandDispatch::Timing{}.answerLimit) + " seconds";
const std::string kWaitingMessages =
    "Up to " + count(CommandSender::kMaximumWaiting) + " messages wait for the daemon";
const std::string kClients =
    count(ControlServer::kMaximumConnections) + " clients may be connected at a time";
const std::string kWaitingClients = " " + std::to_string(kWaitingConnections) + " more ";
const std::string kLine = "at most " + count(ControlServer::kMaximumLineBytes) + " bytes";
const std::string kAnswer = " command waits " + std::to_string(kAnswerSeconds) + " seconds for its";
const std::string kHeld = count(Inventory::kMaximumOnusOfASlot) + " ONUs and " +
                          count(AlarmStates::kMaximumStatesOfASlot) +
                          " alarm states of each slot, " + count(Inventory::kMaximumOnusOfASlot) +
                          " ONUs whose slot isn't known";

TEST(ManualPage, NamesTheLimits) {
    const auto page = wordsOf(PONMGR_PACKAGING "/man/dbman.1");
    EXPECT_THAT(page, HasSubstr("waits " + kWaitForDaemon + " for it"));
    EXPECT_THAT(page, HasSubstr("is tried again for " +
                                inSeconds(CommandDispatch::Timing{}.patience) + " seconds"));
    EXPECT_THAT(page, HasSubstr(kWaitingMessages));
    EXPECT_THAT(page, HasSubstr(kClients));
    EXPECT_THAT(page, HasSubstr(kWaitingClients));
    EXPECT_THAT(page, HasSubstr(kLine));
    EXPECT_THAT(page, HasSubstr(kAnswer));
    EXPECT_THAT(page, HasSubstr(kHeld + ", and " + count(EventLog::kKept) + " lines"));
}

TEST(Document, NamesTheLimitsOfTheControlSocket) {
    const auto text = wordsOf(PONMGR_DOCUMENTS "/dbman.md");
    EXPECT_THAT(text, HasSubstr("takes nothing, " + kWaitForDaemon));
    EXPECT_THAT(text, HasSubstr(kWaitingMessages));
    EXPECT_THAT(text, HasSubstr(kClients));
    EXPECT_THAT(text, HasSubstr(kWaitingClients));
    EXPECT_THAT(text, HasSubstr(kLine));
    EXPECT_THAT(text, HasSubstr(kAnswer));
    EXPECT_THAT(text, HasSubstr("nested " + std::to_string(kMaximumJsonDepth) + " deep"));
    EXPECT_THAT(
        text,
        HasSubstr("tried again every " + inMilliseconds(CommandSender::Timing{}.retryPause) +
                  " for " + inSeconds(CommandDispatch::Timing{}.patience) + " s, then shown as"));
}

TEST(Document, NamesWhatBoundsTheMemory) {
    const auto text = wordsOf(PONMGR_DOCUMENTS "/dbman.md");
    EXPECT_THAT(text, HasSubstr("holds " + kHeld + " and the last " + count(EventLog::kKept) +
                                " lines of the event log"));
    EXPECT_THAT(text, HasSubstr(count(LineQueue::kMaximumLines) + " lines to be shown"));
    EXPECT_THAT(text,
                HasSubstr("past " + count(Inventory::kMaximumOnusOfASlot) + " ONUs of a slot"));
    EXPECT_THAT(text, HasSubstr("past " + count(AlarmStates::kMaximumStatesOfASlot) +
                                " of a slot its one"));
    EXPECT_THAT(text,
                HasSubstr("A slot has " + count(AlarmStates::kMaximumStatesOfASlot) + " alarms."));
    const RowBacklog::Bounds bounds;
    EXPECT_THAT(text, HasSubstr("Up to " + count(bounds.rows) + " rows or " +
                                count(bounds.bytes / 1024 / 1024) + " MiB wait"));
}

TEST(Document, NamesTheRowsThatTablesKeep) {
    const Retention retention;
    const auto page = wordsOf(PONMGR_PACKAGING "/man/dbman.1");
    const auto text = wordsOf(PONMGR_DOCUMENTS "/dbman.md");
    const auto days = [](const std::string& name, AgingTable table, const Retention& kept) {
        return name +
               std::to_string(std::chrono::floor<std::chrono::days>(kept.ageOf(table)).count()) +
               "d, " + std::to_string(kept.rowsOf(table));
    };
    EXPECT_THAT(text,
                HasSubstr(days("`optics` ", AgingTable::optics, retention) + " of each slot"));
    EXPECT_THAT(text, HasSubstr(days("`alarm-events` ", AgingTable::alarmEvents, retention) +
                                " of each slot"));
    EXPECT_THAT(text, HasSubstr(days("`commands` ", AgingTable::commands, retention) + " |"));
    EXPECT_THAT(text,
                HasSubstr(days("`notifications` ", AgingTable::notifications, retention) + " |"));
    EXPECT_THAT(page, HasSubstr(days("optics (", AgingTable::optics, retention) + " rows of each"));
    EXPECT_THAT(page, HasSubstr(days("alarm\\-events (", AgingTable::alarmEvents, retention) +
                                " rows of each slot)"));
    EXPECT_THAT(page, HasSubstr(days("commands (", AgingTable::commands, retention) + " rows)"));
    EXPECT_THAT(
        page, HasSubstr(days("notifications (", AgingTable::notifications, retention) + " rows,"));
}

TEST(Document, NamesTheTimesOfTheDatabase) {
    const auto text = wordsOf(PONMGR_DOCUMENTS "/dbman.md");
    const Store::Options options;
    EXPECT_THAT(text, HasSubstr("a row that is " + inMilliseconds(options.crowdAge) +
                                " old, but no longer than " + inMilliseconds(options.roomLimit)));
    EXPECT_THAT(text, HasSubstr("rows are deleted " + count(kPruneBatch) + " at a time"));
    EXPECT_THAT(text,
                HasSubstr("its first " + count(NotificationRow::kMaximumRawBytes) + " bytes"));
}

}  // namespace

}  // namespace ponmgr::dbman
