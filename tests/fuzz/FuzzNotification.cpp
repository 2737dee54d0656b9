// The door of dbman: one message of the daemon, taken in twice.

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "Require.h"
#include "dbman/CurrentState.h"
#include "dbman/Json.h"
#include "dbman/Notifications.h"
#include "dbman/RecordJson.h"

using namespace ponmgr::dbman;
using ponmgr::fuzz::require;

namespace {

constexpr int kSlots = 8;

/// A running dbman without its sockets and its database.
struct FuzzedDbman {
    CurrentState state;
    Counters counters{Notifications::uris()};
    std::ostringstream shown;
    Output output{shown, false};
    std::vector<HistoryRow> kept;
    Notifications notifications{state, counters, output,
                                [this](HistoryRow row) { kept.push_back(std::move(row)); }, [] {}};
};

/// What programs and people are shown is JSON, whatever the daemon's bytes were.
std::string inventoryOf(const CurrentState& state) {
    const std::string text = printJson(toJson(state.inventory.cards())) +
                             printJson(toJson(state.inventory.onus(std::nullopt))) +
                             printJson(toJson(state.alarms.states(std::nullopt, false)));
    require(text.starts_with("{\"cards\":["), "the inventory is an object");
    return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    FuzzedDbman dbman;
    dbman.notifications.handle(text);
    (void)inventoryOf(dbman.state);
    const auto onus = dbman.state.inventory.onus(std::nullopt).size();
    require(onus <= 1, "one message makes one ONU at most");
    require(dbman.state.inventory.cards().size() <= kSlots, "a card has a slot of the chassis");
    for (const char character : dbman.shown.str()) {
        require(character == '\n' || static_cast<unsigned char>(character) >= ' ',
                "no control character reaches the terminal");
    }
    require(!dbman.kept.empty(), "every message leaves a trace");
    dbman.notifications.handle(text);
    require(dbman.state.inventory.onus(std::nullopt).size() == onus,
            "a repeated message makes no further ONU");
    return 0;
}
