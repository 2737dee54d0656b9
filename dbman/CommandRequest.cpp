#include "dbman/CommandRequest.h"

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Given.h"
#include "dbman/Json.h"

namespace ponmgr::dbman {

namespace {

std::string readSlot(const std::string& text) {
    return std::to_string(parseSlot(text));
}

std::string readPortAddress(const std::string& text) {
    const auto address = parsePortAddress(text);
    return std::to_string(address.slot) + "/" + std::to_string(address.port);
}

/// The text as the request holds it. Throws ArgumentError.
Json readValue(Kind kind, const std::string& text) {
    switch (kind) {
        case Kind::flag:
            return true;
        case Kind::slot:
            return readSlot(text);
        case Kind::slotOrAll:
            return text == "all" ? text : readSlot(text);
        case Kind::port:
            return std::to_string(parsePort(text));
        case Kind::portAddress:
            return readPortAddress(text);
        case Kind::macAddress:
            return parseMacAddress(text);
        case Kind::vlan:
            return parseVlan(text);
        case Kind::address:
            return parseHostAddress(text);
        case Kind::level:
            return parseLevel(text);
        case Kind::duration:
            return parseDuration(text).count();
        case Kind::count:
            return parseCount(text);
        case Kind::uri:
            return parseUri(text);
        case Kind::slotList:
        case Kind::keyValue:
        case Kind::retention:
        case Kind::path:
        case Kind::shell:
            break;
    }
    return text;
}

}  // namespace

Json requestOf(const Command& command, const Given& given) {
    Json request = {{"command", fullName(command)}};
    for (const auto& argument : command.arguments) {
        if (argument.key != nullptr && given.has(argument.name)) {
            request[argument.key] = readValue(argument.kind, given.text(argument.name));
        }
    }
    if (command.finish != nullptr) {
        command.finish(given, request);
    }
    return request;
}

void finishPortVlan(const Given& given, Json& request) {
    if (given.has("--remove")) {
        if (given.has("vlan") || given.has("--discard-untagged")) {
            throw ArgumentError("--remove takes neither a VLAN nor --discard-untagged");
        }
        request["command"] = "port vlan remove";
        return;
    }
    if (!given.has("vlan")) {
        throw ArgumentError("a VLAN from 1 to 4095 or --remove is missing");
    }
    request["discard_untagged"] = given.has("--discard-untagged") ? "1" : "0";
}

void finishSend(const Given& given, Json& request) {
    Json data = Json::object();
    for (const auto& text : given.texts("values")) {
        const auto [key, value] = parseKeyValue(text);
        if (data.contains(key)) {
            throw ArgumentError("the key \"" + key + "\" is there twice");
        }
        data[key] = value;
    }
    request["data"] = data;
}

}  // namespace ponmgr::dbman
