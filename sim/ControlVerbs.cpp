#include "sim/ControlVerbs.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include "sim/CardReport.h"
#include "sim/CardVerbs.h"
#include "sim/ControlMembers.h"
#include "sim/NamedTable.h"
#include "sim/OnuVerbs.h"
#include "sim/OptionValues.h"
#include "sim/TruthReport.h"
#include "sim/faults/FaultVerbs.h"
#include "sim/journal/JournalVerbs.h"

namespace ponmgr::sim {

namespace {

constexpr std::int64_t kLongestWaitMilliseconds = 24LL * 3600 * 1000;

void setMuted(Card& card, const Json& request) {
    const auto& value = member(request, "value");
    if (!value.is_boolean()) {
        throw ControlError("muted: \"value\" must be true or false");
    }
    card.muted = value.get<bool>();
}

void setProductCode(Card& card, const Json& request) {
    card.identity.productCode = parseProductCode("product-code", textMember(request, "value"));
}

void setLeftoverPath(Card& card, const Json& request) {
    const auto pathId = static_cast<std::uint16_t>(numberMember(request, "id", UINT16_MAX));
    const auto users = static_cast<std::uint16_t>(numberMember(request, "usage_count", UINT16_MAX));
    if (!card.configuration.setLeftoverPath(pathId, users)) {
        throw ControlError("slot " + std::to_string(card.slot) + " has no room for another path");
    }
}

struct Setting {
    const char* name;
    void (*set)(Card& card, const Json& request);
};

constexpr Setting kSettings[] = {
    {"muted", setMuted},
    {"product-code", setProductCode},
    {"leftover-path", setLeftoverPath},
};

void list(ControlVerbs& verbs, const Json&, const ReplyChannelPointer& channel) {
    auto rows = Json::array();
    for (const auto& card : verbs.cards().cards()) {
        auto row = cardRow(card);
        row["faults"] = verbs.activeFaults(card.slot);
        rows.push_back(std::move(row));
    }
    channel->reply({{"cards", rows}});
}

void get(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    channel->reply(cardDetails(cardMember(request, verbs.cards())));
}

void set(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    auto& card = cardMember(request, verbs.cards());
    requirePresent(card);
    entryNamed<ControlError>(kSettings, textMember(request, "name"), "setting").set(card, request);
    channel->reply(cardRow(card));
}

void reset(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    auto& card = cardMember(request, verbs.cards());
    requirePresent(card);
    if (!verbs.cards().reset(card)) {
        throw ControlError("slot " + std::to_string(card.slot) + " is resetting already");
    }
    channel->reply(cardRow(card));
}

void wait(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    const auto what = textMember(request, "for");
    if (what != "in-service") {
        throw ControlError("can't wait for '" + what + "'; there is: in-service");
    }
    const auto timeout = numberMember(request, "timeout_ms", kLongestWaitMilliseconds);
    verbs.inServiceWaiters().add(channel, std::chrono::milliseconds(timeout));
}

void scenario(ControlVerbs& verbs, const Json&, const ReplyChannelPointer& channel) {
    channel->reply(verbs.scenarioStatus());
}

void fault(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    channel->reply(actOnFaults(verbs.chassisWire(), request));
}

void journal(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    channel->reply(readJournal(verbs.chassisWire().journal(), verbs.cards(), request));
}

struct Verb {
    const char* name;
    void (*carryOut)(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel);
};

/// A verb that replies at once.
template <Json (*carryOut)(Chassis& chassis, const Json& request)>
void replied(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    channel->reply(carryOut(verbs.cards(), request));
}

constexpr Verb kVerbs[] = {
    {"list", list},
    {"get", get},
    {"set", set},
    {"reset", reset},
    {"wait", wait},
    {"onus", replied<listOnus>},
    {"onu", replied<actOnOnu>},
    {"fibre", replied<setFibre>},
    {"alarm", replied<reportAlarm>},
    {"event", replied<emitEvent>},
    {"fault", fault},
    {"journal", journal},
    {"pull", replied<pullCard>},
    {"insert", replied<insertCard>},
    {"swap", replied<swapCard>},
    {"truth", replied<truth>},
    {"scenario", scenario},
};

}  // namespace

ControlVerbs::ControlVerbs(Chassis& cards, TimerQueue& timers, ChassisWire* chassisWire)
    : chassis(cards), waiters(cards, timers), wire(chassisWire) {}

ChassisWire& ControlVerbs::chassisWire() const {
    if (wire == nullptr) {
        throw ControlError("this simulator has no faults and no journal");
    }
    return *wire;
}

std::size_t ControlVerbs::activeFaults(int slot) const {
    if (wire == nullptr) {
        return 0;
    }
    const auto& faults = wire->faults();
    return static_cast<std::size_t>(std::ranges::count_if(faults.all(), [&](const auto& fault) {
        return fault->settings().slot.value_or(slot) == slot &&
               fault->state(faults.now()) == Fault::State::active;
    }));
}

void ControlVerbs::requireVerb(const std::string& name) {
    entryNamed<ControlError>(kVerbs, name, "verb");
}

Json ControlVerbs::scenarioStatus() const {
    return reportScenario ? reportScenario() : Json{{"state", "none"}};
}

void ControlVerbs::handle(const std::string& line, const ReplyChannelPointer& channel) {
    try {
        const auto request = Json::parse(line, nullptr, false);
        if (!request.is_object()) {
            throw ControlError("a request is one line with one JSON object");
        }
        entryNamed<ControlError>(kVerbs, textMember(request, "verb"), "verb")
            .carryOut(*this, request, channel);
    } catch (const std::exception& error) {
        channel->reply({{"error", error.what()}});
    }
}

}  // namespace ponmgr::sim
