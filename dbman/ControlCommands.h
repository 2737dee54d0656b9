#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/CommandDispatch.h"
#include "dbman/ControlAnswer.h"
#include "dbman/ControlReply.h"
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

    /// Carries out one request, a JSON text, and returns the answer, one line of JSON. That of a
    /// message to the daemon comes later, and is to be taken by the same thread: nobody else waits
    /// for the daemon. Whatever the request holds: throws nothing but std::bad_alloc. Waits for
    /// the disk as long as Store::flush().
    ControlAnswer answer(const std::string& request);

private:
    static constexpr std::size_t kCommands = 21;

    struct Entry {
        std::string_view command;
        /// Throws ArgumentError or Failure.
        ControlReply (ControlCommands::*handler)(const Json& request);
    };

    static const std::array<Entry, kCommands>& table();

    ControlReply carryOut(const Json& request);

    ControlReply status(const Json& request);
    ControlReply listCards(const Json& request);
    ControlReply sendRaw(const Json& request);

    // Slots and ports.
    ControlReply listSlots(const Json& request);
    ControlReply setSlot(const Json& request);
    ControlReply clearSlot(const Json& request);
    ControlReply enableSlot(const Json& request);
    ControlReply disableSlot(const Json& request);
    ControlReply resetSlot(const Json& request);
    ControlReply announce(const Json& request);
    ControlReply setPortVlan(const Json& request);
    ControlReply removePortVlan(const Json& request);

    // ONUs.
    ControlReply listOnus(const Json& request);
    ControlReply showOnu(const Json& request);
    ControlReply removeOnu(const Json& request);
    ControlReply resetOnu(const Json& request);
    ControlReply setOnuVlan(const Json& request);

    // What has happened.
    ControlReply listAlarms(const Json& request);
    ControlReply listAlarmHistory(const Json& request);
    ControlReply listOptics(const Json& request);
    ControlReply listEvents(const Json& request);

    /// Answers what was sent when the daemon has taken all of it.
    ControlReply send(const std::vector<Message>& messages);
    /// The same for one message, `whenTaken` done before.
    ControlReply send(const Message& message, const CommandDispatch::Effect& whenTaken);
    static ControlReply replyWith(std::shared_ptr<Sending> sending,
                                  const std::vector<Message>& messages);
    /// Answers what has become of them once each was tried; dbman has kept the change already.
    ControlReply sendChange(const std::vector<Message>& messages);
    ControlReply want(const std::string& uri, Wanted wanted, const Json& request);
    Message onuMessage(const std::string& uri, const Json& request) const;
    Message portMessage(const Json& request, const std::string& vlan) const;
    Time since(const Json& request) const;

    const Parts parts;
};

}  // namespace ponmgr::dbman
