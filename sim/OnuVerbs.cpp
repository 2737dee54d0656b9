#include "sim/OnuVerbs.h"

#include <nlohmann/json.hpp>

#include "sim/AlarmNames.h"
#include "sim/ControlMembers.h"
#include "sim/EntityAddress.h"
#include "sim/NamedTable.h"
#include "sim/OnuReport.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

constexpr int kMostDecibels = 60;

struct Subject {
    Chassis& chassis;
    Card& card;
    Onu& onu;
};

/// An event can go out only when a manager has spoken to the card.
void requireManager(const Card& card) {
    const auto slot = std::to_string(card.slot);
    requirePresent(card);
    if (card.resetting) {
        throw ControlError("slot " + slot + " is resetting");
    }
    if (!card.lastPeer) {
        throw ControlError("no manager has spoken to slot " + slot + " yet");
    }
}

void requireSent(const Card& card, bool sent) {
    if (!sent) {
        throw ControlError("the system refused to send the event of slot " +
                           std::to_string(card.slot));
    }
}

void get(const Subject&, const Json&) {}

void unplug(const Subject& subject, const Json&) {
    subject.chassis.onuNetwork().setPlugged(subject.card, subject.onu, false);
}

void plug(const Subject& subject, const Json&) {
    subject.chassis.onuNetwork().setPlugged(subject.card, subject.onu, true);
}

void powerOff(const Subject& subject, const Json&) {
    subject.chassis.onuNetwork().setPowered(subject.card, subject.onu, false);
}

void powerOn(const Subject& subject, const Json&) {
    subject.chassis.onuNetwork().setPowered(subject.card, subject.onu, true);
}

void fade(const Subject& subject, const Json& request) {
    const auto& value = member(request, "value");
    const bool inRange =
        value.is_number() && value.get<double>() >= 0 && value.get<double>() <= kMostDecibels;
    if (!inRange) {
        throw ControlError("fade: \"value\" must be a number from 0 to " +
                           std::to_string(kMostDecibels));
    }
    subject.onu.fadeDecibels = value.get<double>();
}

/// "5/1", or 1 for a port of the same card.
PonPort destination(const Subject& subject, const Json& request) {
    if (member(request, "value").is_string()) {
        return parsePonPortOfSlot("move", textMember(request, "value"));
    }
    return {subject.card.slot,
            static_cast<std::uint8_t>(numberMember(request, "value", kPonPorts - 1))};
}

void move(const Subject& subject, const Json& request) {
    const auto to = destination(subject, request);
    auto& card = cardInSlot(to.slot, subject.chassis);
    if (to.slot == subject.card.slot && to.port == subject.onu.port) {
        throw ControlError("ONU " + toText(subject.onu.address) + " hangs at port " +
                           std::to_string(to.port) + " already");
    }
    auto& network = subject.chassis.onuNetwork();
    if (to.slot == subject.card.slot) {
        network.move(subject.card, subject.onu, to.port);
    } else if (!network.move(subject.card, subject.onu, card, to.port)) {
        throw ControlError("slot " + std::to_string(to.slot) + " has " +
                           std::to_string(kMostLinks) + " links already, which is the most");
    }
}

struct OnuAction {
    const char* name;
    void (*act)(const Subject& subject, const Json& request);
};

constexpr OnuAction kOnuActions[] = {
    {"get", get},          {"unplug", unplug}, {"plug", plug}, {"power-off", powerOff},
    {"power-on", powerOn}, {"fade", fade},     {"move", move},
};

struct FibreState {
    const char* name;
    bool intact;
};

constexpr FibreState kFibreStates[] = {{"cut", false}, {"restored", true}};

void addRows(const Card& card, const OnuSelection& wanted, Json& rows) {
    for (const auto& onu : card.onus) {
        if (!wanted.port || onu.port == *wanted.port) {
            rows.push_back(onuRow(card, onu));
        }
    }
}

}  // namespace

Json listOnus(Chassis& chassis, const Json& request) {
    auto rows = Json::array();
    if (request.contains("of")) {
        const auto wanted = parseOnuSelection("of", textMember(request, "of"));
        addRows(cardInSlot(wanted.slot, chassis), wanted, rows);
    } else {
        for (const auto& card : chassis.cards()) {
            addRows(card, {}, rows);
        }
    }
    return {{"onus", rows}};
}

Json actOnOnu(Chassis& chassis, const Json& request) {
    const auto address = parseOnuAddress("onu", textMember(request, "onu"));
    const auto& action =
        entryNamed<ControlError>(kOnuActions, textMember(request, "action"), "action");
    const auto place = placeOfOnu(chassis, address);
    action.act({chassis, *place.card, *place.onu}, request);
    return onuDetails(*chassis.findCard(place.onu->slot), *place.onu);
}

Json setFibre(Chassis& chassis, const Json& request) {
    auto& card = cardMember(request, chassis);
    const auto port = static_cast<std::uint8_t>(numberMember(request, "port", kPonPorts - 1));
    const auto& state =
        entryNamed<ControlError>(kFibreStates, textMember(request, "state"), "state");
    chassis.onuNetwork().setFibre(card, port, state.intact);
    const auto counts = countOnus(card);
    return {{"slot", card.slot},
            {"port", port},
            {"fibre", state.name},
            {"onus_discovered", counts.discovered}};
}

Json reportAlarm(Chassis& chassis, const Json& request) {
    const auto subject = parseAlarmSubject("target", textMember(request, "target"));
    const auto code = parseAlarm("alarm", textMember(request, "alarm"));
    const auto& state =
        entryNamed<ControlError>(kAlarmStates, textMember(request, "state"), "state");
    const bool ofPort = subject.tag == EntityTag::oltPort;
    auto& card =
        ofPort ? cardInSlot(subject.slot, chassis) : *placeOfOnu(chassis, subject.onu).card;
    const auto& mac = ofPort ? card.identity.mac : card.findOnu(subject.onu)->mac;
    requireManager(card);
    requireSent(card, chassis.onuNetwork().report(
                          card, {subject.tag, mac, subject.port, code, state.raised}));
    return {{"slot", card.slot},
            {"code", code},
            {"alarm", nameOfAlarm(code)},
            {"state", state.name},
            {"sequence", card.lastSequence}};
}

Json emitEvent(Chassis& chassis, const Json& request) {
    auto& card = cardMember(request, chassis);
    const auto bytes = parseBytes("frame", textMember(request, "frame"));
    requireManager(card);
    requireSent(card, chassis.emit(card, bytes));
    return {{"slot", card.slot}, {"bytes", bytes.size()}};
}

}  // namespace ponmgr::sim
