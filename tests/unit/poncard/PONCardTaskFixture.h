#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "LoopbackCard.h"
#include "PONCardFixture.h"
#include "poncard/PONCardTask.h"
#include "support/ScriptedTransport.h"

namespace ponmgr::test {

/// A command as it comes from the database manager; `data` is its JSON object.
std::unique_ptr<PMTask> commandOf(const std::string& uri, const std::string& data = "{}");

constexpr const char* kSlotOnusOffline =
    R"({"action":"set","uri":"/onu/set/all/offline","data":{"id":"0","slot_id":"3"}})";

/// One slot whose passes the test runs one by one; no thread of its own is started.
class SlotFixture : public testing::Test {
protected:
    explicit SlotFixture(const PONCardTiming& timing);

    /// Queues a command and lets the task loop carry it out.
    void carryOut(const std::string& uri, const std::string& data = "{}");

    PONCardTask slot;
};

/// Holds the script as a base, so that it outlives the slot.
class ScriptHolder {
protected:
    ScriptedTransport transport;
};

/// Slot 3 before a card that plays a script, without the shared socket: for all that isn't polling.
class ScriptedSlotFixture : public ScriptHolder, public SlotFixture {
protected:
    /// Between two passes; long enough to be told from no pause at all.
    static constexpr std::chrono::milliseconds kPassPause{150};

    ScriptedSlotFixture();
};

/// Slot 3 with the real shared socket at 127.0.0.1 and a card at 127.0.1.3. It takes a second until
/// the socket is bound, once in a process.
class ReadySlotFixture : public SlotFixture {
protected:
    ReadySlotFixture();

    /// The card is of the known product, has its storage off, its marker on, and domains; neither
    /// links nor paths, and no optical modules to read.
    void insertMarkedCard();
    /// The marker is off.
    void unmarkCard();
    void runPasses(int count);
    /// The requests of the passes since the last call.
    std::vector<std::string> sent() { return card.takeRequests(); }

    LoopbackCard card{"127.0.1.3"};
};

}  // namespace ponmgr::test
