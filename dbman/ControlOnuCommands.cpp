// Commands for ONUs.

#include "dbman/Arguments.h"
#include "dbman/ControlCommands.h"
#include "dbman/Errors.h"
#include "dbman/OpticLevels.h"
#include "dbman/RecordJson.h"
#include "dbman/RequestArguments.h"

namespace ponmgr::dbman {

namespace {

std::string macAddressOf(const Json& request) {
    return parseMacAddress(stringMember(request, "mac"));
}

}  // namespace

ControlReply ControlCommands::listOnus(const Json& request) {
    const auto port = optionalPort(request);
    const bool offline = flagOf(request, "offline");
    const auto below = optionalLevel(request);
    auto onus = parts.state.inventory.onus(optionalSlot(request));
    std::erase_if(onus, [&](const Onu& onu) {
        const auto level = receivedLevel(onu.record);
        return (port && valueOf(onu.record, "pon_port") != *port) ||
               (offline && onu.state != State::offline) || (below && (!level || *level >= *below));
    });
    return toJson(onus);
}

ControlReply ControlCommands::showOnu(const Json& request) {
    const auto macAddress = macAddressOf(request);
    const auto onu = parts.state.inventory.findOnu(macAddress);
    if (!onu) {
        throw Failure("the ONU " + macAddress + " isn't known");
    }
    OrderedJson result = OrderedJson::object();
    result["onu"] = toJson(*onu);
    result["alarms"] = toJson(parts.state.alarms.raisedOfLink(macAddress))["alarms"];
    parts.store.flush();
    const auto latest = parts.store.history().optics(macAddress, Time(), 1);
    result["optics"] = latest.empty() ? OrderedJson::object() : toJson(latest.front());
    return result;
}

ControlReply ControlCommands::removeOnu(const Json& request) {
    const auto macAddress = macAddressOf(request);
    return send(onuMessage("/slot/onu/remove", request), [this, macAddress] {
        // The daemon reports nothing about a removed ONU; one that is still there it reports as
        // new.
        parts.state.inventory.removeOnu(macAddress);
        parts.state.alarms.clearLink(macAddress, parts.output.now());
        parts.store.wake();
    });
}

ControlReply ControlCommands::resetOnu(const Json& request) {
    return send({onuMessage("/slot/onu/reset", request)});
}

ControlReply ControlCommands::setOnuVlan(const Json& request) {
    auto message = onuMessage("/slot/onu/set/vlanid", request);
    message.data.emplace_back("vlan_id", parseVlan(stringMember(request, "vlan")));
    return send({message});
}

Message ControlCommands::onuMessage(const std::string& uri, const Json& request) const {
    const auto macAddress = macAddressOf(request);
    auto slot = optionalSlot(request);
    if (!slot) {
        const auto onu = parts.state.inventory.findOnu(macAddress);
        slot = onu ? onu->slot : std::nullopt;
    }
    if (!slot) {
        throw Failure("the slot of the ONU " + macAddress + " isn't known; give it with --slot");
    }
    return {uri, {{"slot_id", std::to_string(*slot)}, {"mac_address", macAddress}}};
}

}  // namespace ponmgr::dbman
