#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/CommandDispatch.h"
#include "dbman/Counters.h"
#include "dbman/CurrentState.h"
#include "dbman/EventLog.h"
#include "dbman/Json.h"
#include "dbman/Message.h"
#include "dbman/Output.h"
#include "dbman/store/Store.h"

namespace ponmgr::dbman {

/// What a running dbman does for its clients. A request is an object {"command":"slot reset",
/// "slot":"3"}; the answer is an object, {"error":"..."} when it was refused or
/// failed. Used by one thread at a time.
class ControlCommands {
public:
    /// What the commands work on. All of it outlives the object and synchronises itself.
    struct Parts {
        CurrentState& state;
        const EventLog& events;
        const Counters& counters;
        Output& output;
        CommandDispatch& dispatch;
        Store& store;
    };

    explicit ControlCommands(const Parts& parts);

    /// Carries out one request, a JSON text, and returns the answer, one line of JSON. Whatever the
    /// request holds: throws nothing but std::bad_alloc. Waits for the daemon as long as
    /// CommandDispatch does, and for the disk as long as Store::flush().
    std::string answer(const std::string& request);

private:
    static constexpr std::size_t kCommands = 21;

    struct Entry {
        std::string_view command;
        /// Throws ArgumentError or Failure.
        OrderedJson (ControlCommands::*handler)(const Json& request);
    };

    static const std::array<Entry, kCommands>& table();

    OrderedJson carryOut(const Json& request);

    OrderedJson status(const Json& request);
    OrderedJson listCards(const Json& request);
    OrderedJson sendRaw(const Json& request);

    // Slots and ports.
    OrderedJson listSlots(const Json& request);
    OrderedJson setSlot(const Json& request);
    OrderedJson clearSlot(const Json& request);
    OrderedJson enableSlot(const Json& request);
    OrderedJson disableSlot(const Json& request);
    OrderedJson resetSlot(const Json& request);
    OrderedJson announce(const Json& request);
    OrderedJson setPortVlan(const Json& request);
    OrderedJson removePortVlan(const Json& request);

    // ONUs.
    OrderedJson listOnus(const Json& request);
    OrderedJson showOnu(const Json& request);
    OrderedJson removeOnu(const Json& request);
    OrderedJson resetOnu(const Json& request);
    OrderedJson setOnuVlan(const Json& request);

    // What has happened.
    OrderedJson listAlarms(const Json& request);
    OrderedJson listAlarmHistory(const Json& request);
    OrderedJson listOptics(const Json& request);
    OrderedJson listEvents(const Json& request);

    OrderedJson send(const std::vector<Message>& messages);
    OrderedJson sendChange(const std::vector<Message>& messages);
    OrderedJson want(const std::string& uri, Wanted wanted, const Json& request);
    Message onuMessage(const std::string& uri, const Json& request) const;
    Message portMessage(const Json& request, const std::string& vlan) const;
    Time since(const Json& request) const;

    const Parts parts;
};

}  // namespace ponmgr::dbman
