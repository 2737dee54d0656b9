#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/CommandDispatch.h"
#include "dbman/Counters.h"
#include "dbman/Inventory.h"
#include "dbman/Json.h"
#include "dbman/Message.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

/// What a running dbman does for its clients. A request is an object {"command":"slot reset",
/// "slot":"3"}, all values text; the answer is an object, {"error":"..."} when it was refused or
/// failed. Used by one thread at a time.
class ControlCommands {
public:
    /// All references outlive the object.
    ControlCommands(const SlotConfiguration& configuration, Inventory& inventory,
                    const Counters& counters, CommandDispatch& dispatch);

    /// Carries out one request, a JSON text, and returns the answer, one line of JSON. Whatever the
    /// request holds: throws nothing but std::bad_alloc. Waits for the daemon as long as
    /// CommandDispatch does.
    std::string answer(const std::string& request);

private:
    struct Entry {
        std::string_view command;
        /// Throws ArgumentError or Failure.
        OrderedJson (ControlCommands::*handler)(const Json& request);
    };

    static const std::array<Entry, 13>& table();

    OrderedJson carryOut(const Json& request);

    OrderedJson status(const Json& request);
    OrderedJson listCards(const Json& request);
    OrderedJson listOnus(const Json& request);
    OrderedJson enableSlot(const Json& request);
    OrderedJson disableSlot(const Json& request);
    OrderedJson resetSlot(const Json& request);
    OrderedJson announce(const Json& request);
    OrderedJson removeOnu(const Json& request);
    OrderedJson resetOnu(const Json& request);
    OrderedJson setOnuVlan(const Json& request);
    OrderedJson setPortVlan(const Json& request);
    OrderedJson removePortVlan(const Json& request);
    OrderedJson sendRaw(const Json& request);

    OrderedJson send(const std::vector<Message>& messages);
    Message onuMessage(const std::string& uri, const Json& request) const;
    Message portMessage(const Json& request, const std::string& vlan) const;

    // Constant after construction.
    const SlotConfiguration& configuration;
    // Each synchronises itself.
    Inventory& inventory;
    const Counters& counters;
    CommandDispatch& dispatch;
};

}  // namespace ponmgr::dbman
