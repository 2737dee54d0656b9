// Commands for slots and the PON ports of their cards.

#include "dbman/Arguments.h"
#include "dbman/ControlCommands.h"
#include "dbman/Errors.h"
#include "dbman/RecordJson.h"
#include "dbman/RequestArguments.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

namespace {

constexpr auto kDefaultSource = "127.0.0.1";

int slotOf(const Json& request) {
    return parseSlot(stringMember(request, "slot"));
}

Message slotMessage(const std::string& uri, int slot) {
    return {uri, {{"slot_id", std::to_string(slot)}}};
}

}  // namespace

ControlReply ControlCommands::listSlots(const Json&) {
    return toJson(parts.state.slots.slots());
}

ControlReply ControlCommands::setSlot(const Json& request) {
    const int slot = slotOf(request);
    const auto card = addressOf(request, "ip");
    const auto source = optionalAddress(request, "source");
    refuseAddressOfAnother(parts.state.slots.configuration(), slot, card);
    const auto address = parts.state.slots.setAddress(slot, card, source, kDefaultSource);
    parts.state.inventory.setAddress(slot, address);
    return sendChange(addressMessages(slot, address));
}

ControlReply ControlCommands::clearSlot(const Json& request) {
    const int slot = slotOf(request);
    parts.state.slots.clearAddress(slot);
    parts.state.inventory.setAddress(slot, std::nullopt);
    // An empty address makes the daemon leave the card alone.
    return sendChange({{"/olt/ip", {{"slot_id", std::to_string(slot)}, {"ip_address", ""}}}});
}

ControlReply ControlCommands::want(const std::string& uri, Wanted wanted, const Json& request) {
    const int slot = slotOf(request);
    return send(slotMessage(uri, slot), [this, slot, wanted] {
        parts.state.slots.setWanted(slot, wanted);
        parts.store.wake();
    });
}

ControlReply ControlCommands::enableSlot(const Json& request) {
    return want("/slot/enable", Wanted::enabled, request);
}

ControlReply ControlCommands::disableSlot(const Json& request) {
    return want("/slot/disable", Wanted::disabled, request);
}

ControlReply ControlCommands::resetSlot(const Json& request) {
    return send({slotMessage("/slot/reset", slotOf(request))});
}

ControlReply ControlCommands::announce(const Json& request) {
    const auto configuration = parts.state.slots.configuration();
    if (stringMember(request, "slot") == "all") {
        if (configuration.empty()) {
            throw Failure("no slot is configured");
        }
        return send(addressMessages(configuration));
    }
    const int slot = slotOf(request);
    const auto address = configuration.find(slot);
    if (address == configuration.end()) {
        throw Failure("slot " + std::to_string(slot) +
                      " has no address; configured are: " + dbman::listSlots(configuration));
    }
    return send(addressMessages(slot, address->second));
}

ControlReply ControlCommands::setPortVlan(const Json& request) {
    return send({portMessage(request, parseVlan(stringMember(request, "vlan")))});
}

ControlReply ControlCommands::removePortVlan(const Json& request) {
    // An empty VLAN makes the daemon delete the port's rules and set none.
    return send({portMessage(request, "")});
}

Message ControlCommands::portMessage(const Json& request, const std::string& vlan) const {
    const auto address = parsePortAddress(stringMember(request, "port"));
    const bool discard = stringMember(request, "discard_untagged") == "1";
    return {"/olt/vlan",
            {{"slot_id", std::to_string(address.slot)},
             {"pon_number", std::to_string(address.port)},
             {"vlan_id", vlan},
             {"discard_untagged", discard ? "1" : "0"}}};
}

}  // namespace ponmgr::dbman
