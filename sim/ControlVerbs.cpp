#include "sim/ControlVerbs.h"

#include <nlohmann/json.hpp>

#include "sim/CardReport.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

constexpr std::int64_t kLongestWaitMilliseconds = 24LL * 3600 * 1000;

/// The member `name` of a request; throws when it isn't there.
const Json& member(const Json& request, const char* name) {
    const auto found = request.find(name);
    if (found == request.end()) {
        throw ControlError(std::string("the request has no \"") + name + '"');
    }
    return *found;
}

std::string textMember(const Json& request, const char* name) {
    const auto& value = member(request, name);
    if (!value.is_string()) {
        throw ControlError(std::string("\"") + name + "\" must be a string");
    }
    return value.get<std::string>();
}

std::int64_t numberMember(const Json& request, const char* name, std::int64_t most) {
    const auto& value = member(request, name);
    if (!value.is_number_unsigned() ||
        value.get<std::uint64_t>() > static_cast<std::uint64_t>(most)) {
        throw ControlError(std::string("\"") + name + "\" must be a whole number up to " +
                           std::to_string(most));
    }
    return value.get<std::int64_t>();
}

std::string existingSlots(Chassis& chassis) {
    std::vector<std::string> slots;
    for (const auto& card : chassis.cards()) {
        slots.push_back(std::to_string(card.slot));
    }
    return joined(slots);
}

Card& cardMember(const Json& request, Chassis& chassis) {
    const auto slot = static_cast<int>(numberMember(request, "card", kLastSlot));
    auto* const card = chassis.findCard(slot);
    if (card == nullptr) {
        throw ControlError("no card in slot " + std::to_string(slot) +
                           "; there are: " + existingSlots(chassis));
    }
    return *card;
}

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

struct Setting {
    const char* name;
    void (*set)(Card& card, const Json& request);
};

constexpr Setting kSettings[] = {
    {"muted", setMuted},
    {"product-code", setProductCode},
};

void list(ControlVerbs& verbs, const Json&, const ReplyChannelPointer& channel) {
    auto rows = Json::array();
    for (const auto& card : verbs.cards().cards()) {
        rows.push_back(cardRow(card));
    }
    channel->reply({{"cards", rows}});
}

void get(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    channel->reply(cardDetails(cardMember(request, verbs.cards())));
}

void set(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    auto& card = cardMember(request, verbs.cards());
    entryNamed<ControlError>(kSettings, textMember(request, "name"), "setting").set(card, request);
    channel->reply(cardRow(card));
}

void reset(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel) {
    auto& card = cardMember(request, verbs.cards());
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

struct Verb {
    const char* name;
    void (*carryOut)(ControlVerbs& verbs, const Json& request, const ReplyChannelPointer& channel);
};

constexpr Verb kVerbs[] = {
    {"list", list}, {"get", get}, {"set", set}, {"reset", reset}, {"wait", wait},
};

}  // namespace

ControlVerbs::ControlVerbs(Chassis& cards, TimerQueue& timers)
    : chassis(cards), waiters(cards, timers) {}

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
