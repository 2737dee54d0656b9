#include "dbman/ControlCommands.h"

#include <algorithm>

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/RecordJson.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownCommandBytes = 60;

/// The slot that a request names, without a value when it names none.
std::optional<int> optionalSlot(const Json& request) {
    return request.contains("slot") ? std::optional(parseSlot(stringMember(request, "slot")))
                                    : std::nullopt;
}

Message slotMessage(const std::string& uri, const Json& request) {
    const int slot = parseSlot(stringMember(request, "slot"));
    return {uri, {{"slot_id", std::to_string(slot)}}};
}

OrderedJson describe(const Message& message) {
    OrderedJson json = OrderedJson::object();
    json["uri"] = message.uri;
    json["data"] = OrderedJson::object();
    for (const auto& [key, value] : message.data) {
        json["data"][key] = value;
    }
    return json;
}

}  // namespace

const std::array<ControlCommands::Entry, 13>& ControlCommands::table() {
    static constexpr std::array<Entry, 13> entries = {{
        {"status", &ControlCommands::status},
        {"card list", &ControlCommands::listCards},
        {"onu list", &ControlCommands::listOnus},
        {"slot enable", &ControlCommands::enableSlot},
        {"slot disable", &ControlCommands::disableSlot},
        {"slot reset", &ControlCommands::resetSlot},
        {"slot announce", &ControlCommands::announce},
        {"onu remove", &ControlCommands::removeOnu},
        {"onu reset", &ControlCommands::resetOnu},
        {"onu vlan", &ControlCommands::setOnuVlan},
        {"port vlan", &ControlCommands::setPortVlan},
        {"port vlan remove", &ControlCommands::removePortVlan},
        {"send", &ControlCommands::sendRaw},
    }};
    return entries;
}

ControlCommands::ControlCommands(const SlotConfiguration& slots, Inventory& knownInventory,
                                 const Counters& eventCounters, CommandDispatch& commandDispatch)
    : configuration(slots),
      inventory(knownInventory),
      counters(eventCounters),
      dispatch(commandDispatch) {}

std::string ControlCommands::answer(const std::string& request) {
    OrderedJson result = OrderedJson::object();
    try {
        result = carryOut(parseJson(request));
    } catch (const std::runtime_error& error) {
        result["error"] = error.what();
    }
    return printJson(result);
}

OrderedJson ControlCommands::carryOut(const Json& request) {
    if (!request.is_object()) {
        throw Failure("a request is an object");
    }
    const auto command = stringMember(request, "command");
    const auto entry = std::find_if(table().begin(), table().end(),
                                    [&](const Entry& row) { return row.command == command; });
    if (entry == table().end()) {
        throw Failure("unknown command \"" + printable(command, kShownCommandBytes) + "\"");
    }
    return (this->*entry->handler)(request);
}

OrderedJson ControlCommands::status(const Json&) {
    return counters.toJson();
}

OrderedJson ControlCommands::listCards(const Json&) {
    return toJson(inventory.cards());
}

OrderedJson ControlCommands::listOnus(const Json& request) {
    return toJson(inventory.onus(optionalSlot(request)));
}

OrderedJson ControlCommands::enableSlot(const Json& request) {
    return send({slotMessage("/slot/enable", request)});
}

OrderedJson ControlCommands::disableSlot(const Json& request) {
    return send({slotMessage("/slot/disable", request)});
}

OrderedJson ControlCommands::resetSlot(const Json& request) {
    return send({slotMessage("/slot/reset", request)});
}

OrderedJson ControlCommands::announce(const Json& request) {
    if (stringMember(request, "slot") == "all") {
        if (configuration.empty()) {
            throw Failure("no slot is configured");
        }
        return send(addressMessages(configuration));
    }
    const int slot = parseSlot(stringMember(request, "slot"));
    const auto address = configuration.find(slot);
    if (address == configuration.end()) {
        throw Failure("slot " + std::to_string(slot) +
                      " has no address; configured are: " + listSlots(configuration));
    }
    return send(addressMessages(slot, address->second));
}

OrderedJson ControlCommands::removeOnu(const Json& request) {
    auto result = send({onuMessage("/slot/onu/remove", request)});
    // The daemon reports nothing about a removed ONU; one that is still there it reports as new.
    inventory.removeOnu(parseMacAddress(stringMember(request, "mac")));
    return result;
}

OrderedJson ControlCommands::resetOnu(const Json& request) {
    return send({onuMessage("/slot/onu/reset", request)});
}

OrderedJson ControlCommands::setOnuVlan(const Json& request) {
    auto message = onuMessage("/slot/onu/set/vlanid", request);
    message.data.emplace_back("vlan_id", parseVlan(stringMember(request, "vlan")));
    return send({message});
}

OrderedJson ControlCommands::setPortVlan(const Json& request) {
    return send({portMessage(request, parseVlan(stringMember(request, "vlan")))});
}

OrderedJson ControlCommands::removePortVlan(const Json& request) {
    // An empty VLAN makes the daemon delete the port's rules and set none.
    return send({portMessage(request, "")});
}

OrderedJson ControlCommands::sendRaw(const Json& request) {
    Message message{parseUri(stringMember(request, "uri")), {}};
    if (!request.contains("data") || !request["data"].is_object()) {
        throw ArgumentError("\"data\" is an object with text values");
    }
    for (const auto& member : request["data"].items()) {
        if (!member.value().is_string()) {
            throw ArgumentError("\"data\" is an object with text values");
        }
        message.data.emplace_back(member.key(), member.value().get<std::string>());
    }
    return send({message});
}

OrderedJson ControlCommands::send(const std::vector<Message>& messages) {
    dispatch.sendNow(messages);
    OrderedJson result = OrderedJson::object();
    result["sent"] = OrderedJson::array();
    for (const auto& message : messages) {
        result["sent"].push_back(describe(message));
    }
    return result;
}

Message ControlCommands::onuMessage(const std::string& uri, const Json& request) const {
    const auto macAddress = parseMacAddress(stringMember(request, "mac"));
    auto slot = optionalSlot(request);
    if (!slot) {
        const auto onu = inventory.findOnu(macAddress);
        slot = onu ? onu->slot : std::nullopt;
    }
    if (!slot) {
        throw Failure("the slot of the ONU " + macAddress + " isn't known; give it with --slot");
    }
    return {uri, {{"slot_id", std::to_string(*slot)}, {"mac_address", macAddress}}};
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
