#include "dbman/CommandTable.h"

#include <algorithm>
#include <array>

#include "dbman/CommandActions.h"
#include "dbman/CommandRequest.h"
#include "dbman/OpticsView.h"
#include "dbman/Views.h"

namespace ponmgr::dbman {

namespace {

struct KindRow {
    Kind kind;
    const char* valueName;
    std::vector<std::string> offered;
};

const std::vector<KindRow>& kindTable() {
    static const std::vector<KindRow> rows = {
        {Kind::flag, "", {}},
        {Kind::slot, "SLOT", {"1", "2", "3", "4", "5", "6", "7", "8"}},
        {Kind::slotOrAll, "SLOT|all", {"1", "2", "3", "4", "5", "6", "7", "8", "all"}},
        {Kind::slotList, "SLOTS", {"1-8"}},
        {Kind::port, "PORT", {"0", "1"}},
        {Kind::portAddress,
         "SLOT/PORT",
         {"1/0", "1/1", "2/0", "2/1", "3/0", "3/1", "4/0", "4/1", "5/0", "5/1", "6/0", "6/1", "7/0",
          "7/1", "8/0", "8/1"}},
        {Kind::macAddress, "MAC", {}},
        {Kind::vlan, "VLAN", {}},
        {Kind::address, "ADDRESS", {}},
        {Kind::level, "LEVEL", {"-25dBm", "-27dBm", "-30dBm"}},
        {Kind::duration, "TIME", {"15m", "1h", "24h", "7d"}},
        {Kind::count, "COUNT", {"10", "100", "1000"}},
        {Kind::uri,
         "URI",
         {"/olt/ip", "/olt/src_ip", "/olt/vlan", "/slot/disable", "/slot/enable",
          "/slot/onu/remove", "/slot/onu/reset", "/slot/onu/set/vlanid", "/slot/reset"}},
        {Kind::keyValue,
         "KEY=VALUE",
         {"discard_untagged=", "ip_address=", "mac_address=", "pon_number=", "slot_id=",
          "vlan_id="}},
        {Kind::retention,
         "TABLE=AGE",
         {"optics=", "alarm-events=", "notifications=", "commands=", "alarms="}},
        {Kind::path, "FILE", {}},
        {Kind::shell, "SHELL", {"bash"}},
    };
    return rows;
}

const KindRow& rowOf(Kind kind) {
    const auto& rows = kindTable();
    return *std::find_if(rows.begin(), rows.end(),
                         [kind](const KindRow& row) { return row.kind == kind; });
}

constexpr Argument kControl = {"--control", Kind::path,
                               "Where dbman listens for its clients (/tmp/dbman.ctl)"};
constexpr Argument kJson = {"--json", Kind::flag, "Answer and errors as JSON on standard output"};
constexpr Argument kSlot = {"slot", Kind::slot, "1 to 8", "slot", true};
constexpr Argument kSlotFilter = {"--slot", Kind::slot, "Only those of this slot, 1 to 8", "slot"};
constexpr Argument kMac = {"mac", Kind::macAddress, "Such as 00:0d:b6:00:00:03", "mac", true};
constexpr Argument kSlotOfOnu = {"--slot", Kind::slot,
                                 "1 to 8; may be left out when dbman knows the ONU", "slot"};

constexpr std::array kClient = {kControl, kJson};
constexpr std::array kControlOnly = {kControl};

constexpr std::array kSlotOnly = {kSlot};
constexpr std::array kSlotSet = {
    kSlot, Argument{"--ip", Kind::address, "The card's IPv4 address", "ip", true},
    Argument{"--source", Kind::address, "Our own IPv4 address towards the card", "source"}};
constexpr std::array kAnnounce = {
    Argument{"slot", Kind::slotOrAll, "1 to 8, or all", "slot", true}};
constexpr std::array kOnuList = {
    kSlotFilter, Argument{"--port", Kind::port, "Only those of this PON port, 0 or 1", "port"},
    Argument{"--offline", Kind::flag, "Only those that are off-line", "offline"},
    Argument{"--below", Kind::level, "Only those that receive less, such as -25dBm", "below"}};
constexpr std::array kMacOnly = {kMac};
constexpr std::array kOnu = {kMac, kSlotOfOnu};
constexpr std::array kOnuVlan = {kMac, Argument{"vlan", Kind::vlan, "1 to 4095", "vlan", true},
                                 kSlotOfOnu};
constexpr std::array kPortVlan = {
    Argument{"port", Kind::portAddress, "SLOT/PORT, such as 3/1", "port", true},
    Argument{"vlan", Kind::vlan, "1 to 4095", "vlan"},
    Argument{"--discard-untagged", Kind::flag, "Drop frames that carry no VLAN tag"},
    Argument{"--remove", Kind::flag, "Take the port's VLAN away"}};
constexpr std::array kAlarmList = {
    Argument{"--active", Kind::flag, "Only those that are raised now", "active"}, kSlotFilter};
constexpr Argument kSince = {"--since", Kind::duration, "How far back: 90s, 15m, 24h or 7d (24h)",
                             "since_seconds"};
constexpr Argument kLimit = {"--limit", Kind::count, "At most so many, the latest; 1 to 10000",
                             "limit"};
constexpr std::array kAlarmHistory = {kSince, kSlotFilter, kLimit};
constexpr std::array kOptics = {kMac, kSince};
constexpr std::array kEvents = {
    Argument{"--follow", Kind::flag, "Go on with new ones until Ctrl-C"}, kLimit};
constexpr std::array kWatch = {
    Argument{"--interval", Kind::duration, "Time between two pictures (1s)"},
    Argument{"--once", Kind::flag, "One picture, then end"}};
constexpr std::array kSend = {
    Argument{"uri", Kind::uri, "Such as /slot/reset", "uri", true},
    Argument{"values", Kind::keyValue, "Any number of them, such as slot_id=3"}};
constexpr std::array kCompletion = {Argument{"shell", Kind::shell, "bash", nullptr, true}};
constexpr std::array kServe = {
    Argument{"--slots", Kind::slotList, "Slots with a card, such as 1-4,7 (1-8)"},
    Argument{"--base", Kind::address, "Slot n has this address plus n (127.0.1.0)"},
    Argument{"--source", Kind::address, "Our own address towards the cards (127.0.0.1)"},
    Argument{"--config", Kind::path, "JSON file with each slot's addresses"},
    Argument{"--database", Kind::path,
             "The database's file ($XDG_STATE_HOME/ponmgr/dbman.db, or the same below "
             "~/.local/state)"},
    Argument{"--retain", Kind::retention,
             "How long a table's rows are kept, such as optics=30d, and how many, such as "
             "optics=30d,500000; may be there many times"},
    Argument{"--quiet", Kind::flag, "Show only what goes wrong"},
};

constexpr std::array kCommands = {
    Command{nullptr, "serve", "Be the daemon's peer until SIGINT or SIGTERM",
            "dbman serve --slots 1-4,7 --base 10.0.0.100 --source 10.0.0.1", kServe, kControlOnly,
            serveDaemon},
    Command{"slot",
            "list",
            "Show the slots and their addresses",
            "dbman slot list",
            {},
            kClient,
            askAndShow,
            viewSlots},
    Command{"slot", "set", "Give a slot its addresses",
            "dbman slot set 3 --ip 10.0.0.103 --source 10.0.0.1", kSlotSet, kClient, sendAndShow},
    Command{"slot", "clear", "Take a slot's address away", "dbman slot clear 3", kSlotOnly, kClient,
            sendAndShow},
    Command{"slot", "enable", "Switch a card on", "dbman slot enable 3", kSlotOnly, kClient,
            sendAndShow},
    Command{"slot", "disable", "Switch a card off", "dbman slot disable 3", kSlotOnly, kClient,
            sendAndShow},
    Command{"slot", "reset", "Restart a card", "dbman slot reset 3", kSlotOnly, kClient,
            sendAndShow},
    Command{"slot", "announce", "Send the addresses of a slot to the daemon; restarts its bring-up",
            "dbman slot announce all", kAnnounce, kClient, sendAndShow},
    Command{
        "card", "list", "Show the cards", "dbman card list", {}, kClient, askAndShow, viewCards},
    Command{"onu", "list", "Show the ONUs", "dbman onu list --slot 3 --below -25dBm", kOnuList,
            kClient, askAndShow, viewOnus},
    Command{"onu", "show", "Show one ONU: its record, its active alarms, its levels",
            "dbman onu show 00:0d:b6:03:00:07", kMacOnly, kClient, askAndShow, viewOnu},
    Command{"onu", "remove", "Clear the provisioning of an ONU and forget it",
            "dbman onu remove 00:0d:b6:03:00:07", kOnu, kClient, sendAndShow},
    Command{"onu", "reset", "Restart an ONU", "dbman onu reset 00:0d:b6:03:00:07", kOnu, kClient,
            sendAndShow},
    Command{"onu", "vlan", "Set the VLAN of an ONU's port", "dbman onu vlan 00:0d:b6:03:00:07 100",
            kOnuVlan, kClient, sendAndShow},
    Command{"port", "vlan", "Set or remove the VLAN of a PON port",
            "dbman port vlan 3/1 100 --discard-untagged", kPortVlan, kClient, sendAndShow, nullptr,
            finishPortVlan},
    Command{"alarm", "list", "Show the alarms", "dbman alarm list --active --slot 3", kAlarmList,
            kClient, askAndShow, viewAlarms},
    Command{"alarm", "history", "Show how alarms came and went",
            "dbman alarm history --since 7d --limit 100", kAlarmHistory, kClient, askAndShow,
            viewAlarmHistory},
    Command{nullptr, "optics", "Plot the level that an ONU receives",
            "dbman optics 00:0d:b6:03:00:07 --since 7d", kOptics, kClient, askAndShow, viewOptics},
    Command{nullptr, "events", "Show what has happened", "dbman events --follow --limit 20",
            kEvents, kClient, showEvents, viewEvents},
    Command{nullptr, "watch", "Show the cards and the last events, redrawn in place",
            "dbman watch --interval 5s", kWatch, kControlOnly, watchCards},
    Command{nullptr,
            "status",
            "Show what has been counted",
            "dbman status",
            {},
            kClient,
            askAndShow,
            viewStatus},
    Command{nullptr, "send", "Send a message of your own to the daemon",
            "dbman send /slot/reset slot_id=3", kSend, kClient, sendAndShow, nullptr, finishSend},
    Command{nullptr,
            "completion",
            "Print the completion script of a shell",
            "source <(dbman completion bash)",
            kCompletion,
            {},
            printCompletion},
};

constexpr std::array kGroups = {
    Group{"slot", "Commands for a slot"}, Group{"card", "The cards"},   Group{"onu", "The ONUs"},
    Group{"port", "PON ports of a card"}, Group{"alarm", "The alarms"},
};

}  // namespace

std::span<const Command> commandTable() {
    return kCommands;
}

std::span<const Group> groupTable() {
    return kGroups;
}

std::string fullName(const Command& command) {
    return (command.group == nullptr ? "" : std::string(command.group) + " ") + command.name;
}

std::vector<Argument> argumentsOf(const Command& command) {
    std::vector<Argument> all(command.arguments.begin(), command.arguments.end());
    all.insert(all.end(), command.common.begin(), command.common.end());
    return all;
}

bool isOption(const Argument& argument) {
    return argument.name[0] == '-';
}

const char* valueName(Kind kind) {
    return rowOf(kind).valueName;
}

std::vector<std::string> valuesOffered(Kind kind) {
    return rowOf(kind).offered;
}

}  // namespace ponmgr::dbman
