#pragma once

#include <array>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/Counters.h"
#include "dbman/Inventory.h"
#include "dbman/Json.h"
#include "dbman/Output.h"

namespace ponmgr::dbman {

/// Takes in what the daemon reports: keeps the inventory, counts, and shows a line for each. Used
/// by one thread at a time.
class Notifications {
public:
    /// All references outlive the object. `answerAddresses` is called when the daemon asks for the
    /// slots' addresses; it must not wait for the daemon.
    Notifications(Inventory& inventory, Counters& counters, Output& output,
                  std::function<void()> answerAddresses);

    /// Takes one message. Whatever it holds: what can't be understood is counted and shown, and
    /// changes nothing.
    void handle(const std::string& text);

    /// The uris that are understood.
    static std::vector<std::string_view> uris();

private:
    using Lines = std::vector<std::string>;

    struct Entry {
        std::string_view uri;
        /// Does what the notification says and returns what to show, the uri left out. Throws
        /// MalformedMessage before it has changed anything.
        Lines (Notifications::*handler)(const Json& data);
    };

    static const std::array<Entry, 6>& table();

    void showMalformed(const std::string& why, const std::string& text);

    Lines setAllCardsOffline(const Json& data);
    Lines setOnusOffline(const Json& data);
    Lines answerAllAddresses(const Json& data);
    Lines updateCard(const Json& data);
    Lines updateOnu(const Json& data);
    Lines showAlarms(const Json& data);

    // Constant after construction; each synchronises itself.
    Inventory& inventory;
    Counters& counters;
    Output& output;
    const std::function<void()> answerAddresses;
};

}  // namespace ponmgr::dbman
