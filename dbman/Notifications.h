#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/Counters.h"
#include "dbman/CurrentState.h"
#include "dbman/Json.h"
#include "dbman/Message.h"
#include "dbman/Output.h"
#include "dbman/store/HistoryRows.h"

namespace ponmgr::dbman {

/// Takes in what the daemon reports: keeps the current state, counts, shows a line for each, and
/// has what happened kept. Used by one thread at a time.
class Notifications {
public:
    /// All references outlive the object. `answerAddresses` is called when the daemon asks for the
    /// slots' addresses; it must not wait for the daemon.
    Notifications(CurrentState& state, Counters& counters, Output& output, KeepRow keep,
                  std::function<void()> answerAddresses);

    /// Takes one message. Whatever it holds: what can't be understood is counted, shown and kept as
    /// it arrived, and changes nothing.
    void handle(const std::string& text);

    /// The uris that are understood.
    static std::vector<std::string_view> uris();

private:
    using Lines = std::vector<std::string>;

    struct Entry {
        std::string_view uri;
        EventKind kind;
        /// Does what the notification says and returns what to show, the uri left out. Throws
        /// MalformedMessage before it has changed anything.
        Lines (Notifications::*handler)(const Json& data);
    };

    static const std::array<Entry, 6>& table();

    /// Returns the verdict. Throws MalformedMessage.
    std::string carryOut(const Notification& notification, const std::string& text);
    void countMalformed(const std::string& why, const std::string& text);

    Lines setAllCardsOffline(const Json& data);
    Lines setOnusOffline(const Json& data);
    Lines answerAllAddresses(const Json& data);
    Lines updateCard(const Json& data);
    Lines updateOnu(const Json& data);
    Lines takeAlarms(const Json& data);
    enum class Taken { refused, asState, inPlaceOfARaised };

    /// Refused is what is no alarm of a slot.
    Taken takeAlarm(const Json& row);
    void keepModuleLevels(const std::optional<Card>& before, const Card& card);

    // Constant after construction; each synchronises itself.
    CurrentState& state;
    Counters& counters;
    Output& output;
    const KeepRow keep;
    const std::function<void()> answerAddresses;
};

}  // namespace ponmgr::dbman
