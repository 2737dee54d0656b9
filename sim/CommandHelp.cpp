#include "sim/CommandHelp.h"

#include <string_view>

namespace ponmgr::sim {

namespace {

constexpr CommandHelp kCommandHelp[] = {
    {"list", "list", "the cards, a row each", "list"},
    {"card", "card N get", "all there is to say of a card", "card 3 get --json"},
    {"card", "card N reset", "reset, as on the card's own request", "card 3 reset"},
    {"card", "card N pull", "out of its slot: nothing answers there", "card 3 pull"},
    {"card", "card N insert [--product-code XXXX] [--factory|--as-it-was]",
     "back into its slot, where it starts", "card 3 insert --factory"},
    {"card", "card N swap [--product-code XXXX]", "another card, factory-fresh, in its place",
     "card 3 swap"},
    {"card", "card N mute|unmute", "silent to requests, or no longer", "card 3 mute"},
    {"card", "card N product-code XXXX", "what the card says it is", "card 3 product-code 3724"},
    {"card", "card N cut|restore PORT", "the fibre of a PON port", "card 3 cut 0"},
    {"card", "card N leftover-path ID USERS", "a path that earlier services left behind",
     "card 3 leftover-path 9 2"},
    {"onu", "onu list [SLOT[/PORT]]", "the ONUs, a row each", "onu list 3/0"},
    {"onu", "onu ONU get", "all there is to say of an ONU", "onu 3/0/7 get --json"},
    {"onu", "onu ONU unplug|plug", "off its fibre, and on again", "onu 3/0/7 unplug"},
    {"onu", "onu ONU power-off|power-on", "its power", "onu 3/0/7 power-off"},
    {"onu", "onu ONU fade DECIBELS", "receives so much less, 0 to 60", "onu 3/0/7 fade 3.5"},
    {"onu", "onu ONU move [SLOT/]PORT", "to another port, also of another card",
     "onu 3/0/7 move 5/1"},
    {"alarm", "alarm TARGET NAME raise|clear", "send an alarm of an ONU or a port",
     "alarm 3/0/7 \"Loss of Signal\" raise"},
    {"event", "event N HEX", "send these bytes as an event",
     "event 3 802b0000000c00000001000db60300070001"},
    {"wait", "wait in-service [--timeout TIME]", "until all cards and ONUs are up",
     "wait in-service --timeout 120s"},
    {"fault", "fault add KIND [OPTIONS]", "spoil datagrams, or send others; prints the fault's id",
     "fault add drop --card 3 --request \"Get OLT Information\" --for 10s"},
    {"fault", "fault list", "the faults and what they have hit", "fault list"},
    {"fault", "fault kinds", "what kinds of faults there are", "fault kinds"},
    {"fault", "fault remove ID|all", "take faults away", "fault remove all"},
    {"journal", "journal [--card N] [--fault ID] [--last N] [--follow]", "the last datagrams",
     "journal --card 3 --last 20"},
    {"truth", "truth", "the inventory that a database manager ought to show", "truth --json"},
    {"scenario", "scenario status", "how the scenario goes", "scenario status"},
};

constexpr const char* kProgramHelp =
    "Examples:\n"
    "  chassis-sim                                    eight factory-fresh cards\n"
    "  chassis-sim --slots 1-3,7 --configured         four cards that are in service already\n"
    "  chassis-sim --onus 124 --seed 7                full cards, the same every time\n"
    "  chassis-sim --scenario bad-day.jsonl           faults and their repair, by a file\n"
    "  chassis-sim ctl list                           ask the simulator that runs\n"
    "  chassis-sim ctl --help                         all that it can be asked\n"
    "  chassis-sim completion bash                    completion of all these words\n";

}  // namespace

std::span<const CommandHelp> commandHelp() {
    return kCommandHelp;
}

std::string controlHelp() {
    std::string text = "Commands:\n";
    for (const auto& help : kCommandHelp) {
        text += std::string("  ") + help.synopsis + "\n        " + help.purpose +
                "\n        chassis-sim ctl " + help.example + '\n';
    }
    return text +
           "N is a slot, 1 to 8; ONU is SLOT/PORT/INDEX as it was installed; TARGET is an ONU, its "
           "card's\nend (3/0/7/olt) or a port (3/0, 3/epon-0, 3/nni-1).\n";
}

std::string commandNames() {
    std::string text;
    const char* before = "";
    for (const auto& help : kCommandHelp) {
        if (help.name != std::string_view(before)) {
            text += text.empty() ? "" : " | ";
            text += help.name;
            before = help.name;
        }
    }
    return text;
}

std::string programHelp() {
    return kProgramHelp;
}

}  // namespace ponmgr::sim
