#include "sim/faults/FaultVerbs.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include "sim/ControlMembers.h"
#include "sim/NamedTable.h"
#include "sim/RequestNames.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {

namespace {

struct StateName {
    Fault::State state;
    const char* name;
};

constexpr StateName kStateNames[] = {{Fault::State::waiting, "waiting"},
                                     {Fault::State::active, "active"},
                                     {Fault::State::ended, "ended"}};

const char* nameOf(Fault::State state) {
    for (const auto& entry : kStateNames) {
        if (entry.state == state) {
            return entry.name;
        }
    }
    return "";
}

const char* directionOf(const FaultSettings& settings) {
    if (settings.toCard) {
        return settings.fromCard ? "all" : "in";
    }
    return "out";
}

/// In nanoseconds on the journal's clock.
Json endOf(const Fault& fault, const Journal& journal) {
    if (!fault.ends()) {
        return {};
    }
    const auto since = journal.sinceStart(*fault.ends());
    return std::chrono::duration_cast<std::chrono::nanoseconds>(since).count();
}

Json faultRow(const Fault& fault, ChassisWire& wire) {
    const auto& settings = fault.settings();
    Json options = Json::object();
    for (const auto& [name, text] : settings.texts) {
        options[name] = text;
    }
    return {
        {"fault", fault.id()},
        {"kind", settings.kind->name},
        {"card", settings.slot ? Json(*settings.slot) : Json("all")},
        {"request", settings.messageId ? Json(nameOfMessage(*settings.messageId)) : Json("all")},
        {"direction", directionOf(settings)},
        {"options", options},
        {"state", nameOf(fault.state(wire.faults().now()))},
        {"ends_ns", endOf(fault, wire.journal())},
        {"hits", fault.hits()},
        {"passed_by", fault.passedBy()}};
}

std::string optionText(const std::string& name, const Json& value) {
    if (value.is_string()) {
        return value.get<std::string>();
    }
    if (value.is_boolean()) {
        return value.get<bool>() ? "on" : "off";
    }
    if (!value.is_number()) {
        throw ControlError("\"" + name + "\" must be a string, a number, true or false");
    }
    return value.dump();
}

FaultTexts optionTexts(const Json& request) {
    FaultTexts texts;
    if (!request.contains("options")) {
        return texts;
    }
    const auto& options = member(request, "options");
    if (!options.is_object()) {
        throw ControlError("\"options\" must be an object");
    }
    for (const auto& [name, value] : options.items()) {
        texts[name] = optionText(name, value);
    }
    return texts;
}

Json add(ChassisWire& wire, const Json& request) {
    const auto& fault =
        wire.addFault(parseFault(textMember(request, "kind"), optionTexts(request)));
    return faultRow(fault, wire);
}

Json list(ChassisWire& wire, const Json&) {
    auto rows = Json::array();
    for (const auto& fault : wire.faults().all()) {
        rows.push_back(faultRow(*fault, wire));
    }
    return {{"faults", rows}};
}

Json kinds(ChassisWire&, const Json&) {
    auto rows = Json::array();
    for (const auto& kind : faultKinds()) {
        rows.push_back(
            {{"kind", kind.name}, {"effect", kind.effect}, {"options", optionsOf(kind)}});
    }
    return {{"kinds", rows}};
}

std::vector<std::uint32_t> idsOf(const FaultTable& faults) {
    std::vector<std::uint32_t> ids;
    for (const auto& fault : faults.all()) {
        ids.push_back(fault->id());
    }
    return ids;
}

Json remove(ChassisWire& wire, const Json& request) {
    auto ids = idsOf(wire.faults());
    if (member(request, "fault") != "all") {
        const auto id = static_cast<std::uint32_t>(numberMember(request, "fault", UINT32_MAX));
        if (wire.faults().find(id) == nullptr) {
            std::vector<std::string> names(ids.size());
            std::ranges::transform(ids, names.begin(),
                                   [](std::uint32_t existing) { return std::to_string(existing); });
            throw ControlError("no fault " + std::to_string(id) +
                               "; there are: " + (names.empty() ? "none" : joined(names)));
        }
        ids = {id};
    }
    for (const auto id : ids) {
        wire.removeFault(id);
    }
    return {{"removed", ids}};
}

struct FaultAction {
    const char* name;
    Json (*carryOut)(ChassisWire& wire, const Json& request);
};

constexpr FaultAction kActions[] = {
    {"add", add}, {"list", list}, {"remove", remove}, {"kinds", kinds}};

}  // namespace

Json actOnFaults(ChassisWire& wire, const Json& request) {
    return entryNamed<ControlError>(kActions, textMember(request, "action"), "action")
        .carryOut(wire, request);
}

}  // namespace ponmgr::sim
