#include "sim/faults/FaultOptions.h"

#include <algorithm>
#include <vector>

#include "sim/AlarmNames.h"
#include "sim/CardRequests.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/RequestNames.h"
#include "sim/Wire.h"
#include "sim/faults/Treatment.h"

namespace ponmgr::sim {

namespace {

constexpr auto kLongestDuration = std::chrono::hours(24);
constexpr std::uint32_t kMostCopies = 100;
constexpr std::uint32_t kMostBytes = 1500;
constexpr std::uint32_t kHighestRate = 10'000;

using Text = std::string;

/// A number in decimal, or in hex behind 0x.
std::uint16_t parseU16(const Text& option, const Text& text, std::uint16_t least) {
    const auto value = text.starts_with("0x")
                           ? wholeNumber<std::uint16_t>(std::string_view(text).substr(2), 16)
                           : wholeNumber<std::uint16_t>(text);
    if (!value || *value < least) {
        throw UsageError(option + ": '" + text + "' can't be used; allowed: a number from " +
                         std::to_string(least) + " to 65535, such as 9 or 0x0009");
    }
    return *value;
}

std::uint32_t parseFromOne(const Text& option, const Text& text, std::uint32_t most) {
    const auto number = wholeNumber<std::uint32_t>(text);
    if (!number || *number == 0 || *number > most) {
        throw UsageError(option + ": '" + text +
                         "' can't be used; allowed: a whole number from 1 to " +
                         std::to_string(most));
    }
    return *number;
}

double parseProbability(const Text& option, const Text& text) {
    // A small number in JSON comes with an exponent.
    const auto value = fractionBetween(text, 0, 1, std::chars_format::general);
    if (!value || *value == 0) {
        throw UsageError(option + ": '" + text +
                         "' can't be used; allowed: more than 0 up to 1, such as 0.3");
    }
    return *value;
}

void setCard(FaultSettings& settings, const Text& option, const Text& text) {
    if (text != "all") {
        settings.slot = parseSlot(option, text);
    }
}

void setRequest(FaultSettings& settings, const Text& option, const Text& text) {
    if (text != "all") {
        settings.messageId = parseMessageId(option, text);
    }
}

struct DirectionWord {
    const char* name;
    bool toCard;
    bool fromCard;
};

constexpr DirectionWord kDirections[] = {
    {"in", true, false}, {"out", false, true}, {"all", true, true}};

void setDirection(FaultSettings& settings, const Text& option, const Text& text) {
    const auto& direction = entryNamed<UsageError>(kDirections, text, "value of " + option);
    const auto scope = settings.kind->scope;
    const bool comesIn = scope == FaultKind::Scope::settings;
    if (scope != FaultKind::Scope::both && (comesIn ? direction.fromCard : direction.toCard)) {
        throw UsageError(option + ": '" + text + "' can't be used with " + settings.kind->name +
                         "; allowed: " + (comesIn ? "in" : "out"));
    }
    settings.toCard = direction.toCard;
    settings.fromCard = direction.fromCard;
}

void setAlarm(FaultSettings& settings, const Text& option, const Text& text) {
    settings.alarm = parseAlarm(option, text);
}

void setTarget(FaultSettings& settings, const Text& option, const Text& text) {
    settings.target = parseAlarmSubject(option, text);
}

void setStranger(FaultSettings& settings, const Text& option, const Text& text) {
    settings.stranger = parseOnOff(option, text);
}

template <std::optional<Duration> FaultSettings::*member, int hours>
void setTime(FaultSettings& settings, const Text& option, const Text& text) {
    settings.*member = parseDuration(option, text, std::chrono::hours(hours));
}

template <std::optional<std::uint32_t> FaultSettings::*member, std::uint32_t most>
void setNumber(FaultSettings& settings, const Text& option, const Text& text) {
    settings.*member = parseCount(option, text, most);
}

template <std::optional<std::uint32_t> FaultSettings::*member, std::uint32_t most>
void setFromOne(FaultSettings& settings, const Text& option, const Text& text) {
    settings.*member = parseFromOne(option, text, most);
}

template <std::optional<std::uint16_t> FaultSettings::*member, std::uint16_t least>
void setU16(FaultSettings& settings, const Text& option, const Text& text) {
    settings.*member = parseU16(option, text, least);
}

constexpr FaultOption kOptions[] = {
    {"card", "SLOT|all", "Fault: the card; all", setCard},
    {"request", "NAME|ID|all", "Fault: the message, by name or number; all", setRequest},
    {"direction", "in|out|all", "Fault: in to the card, out from it; out, pretend in",
     setDirection},
    {"start", "TIME", "Fault: how long from now it begins; 0",
     [](FaultSettings& settings, const Text& option, const Text& text) {
         settings.start = parseDuration(option, text, kLongestDuration);
     }},
    {"for", "TIME", "Fault: how long it lasts; for ever", setTime<&FaultSettings::duration, 24>},
    {"count", "N", "Fault: the most datagrams that it hits or sends; no limit",
     setFromOne<&FaultSettings::count, 1'000'000'000>},
    {"probability", "P", "Fault: its chance to hit, up to 1; 1",
     [](FaultSettings& settings, const Text& option, const Text& text) {
         settings.probability = parseProbability(option, text);
     }},
    {"time", "TIME", "delay, late: how long", setTime<&FaultSettings::time, 1>},
    {"copies", "N", "duplicate: how many more; 1", setFromOne<&FaultSettings::copies, kMostCopies>},
    {"limit", "TIME", "reorder: how long it waits for the next; 100ms",
     setTime<&FaultSettings::limit, 1>},
    {"bytes", "N", "truncate: how many are cut off", setFromOne<&FaultSettings::bytes, kMostBytes>},
    {"to", "N", "truncate: how many are left", setNumber<&FaultSettings::to, kMostBytes>},
    {"bit", "N", "flip-bit: which, from 0 for the first byte's highest; any",
     setNumber<&FaultSettings::bit, 8 * kMostBytes - 1>},
    {"id", "NAME|ID", "wrong-id: which",
     [](FaultSettings& settings, const Text& option, const Text& text) {
         settings.id = parseMessageId(option, text);
     }},
    {"length", "N", "wrong-length: what the field says", setU16<&FaultSettings::length, 0>},
    {"code", "N", "result: which", setU16<&FaultSettings::code, 1>},
    {"rate", "N", "event-burst, garbage: datagrams a second; 10",
     setFromOne<&FaultSettings::rate, kHighestRate>},
    {"alarm", "NAME|CODE", "event-burst: which; Loss of Signal", setAlarm},
    {"target", "TARGET", "event-burst: what it is about; PON port 0", setTarget},
    {"port", "PORT", "wrong-port: which",
     [](FaultSettings& settings, const Text& option, const Text& text) {
         settings.port = parsePort(option, text);
     }},
    {"size", "N", "garbage: the most bytes; 64", setFromOne<&FaultSettings::size, kMostBytes>},
    {"stranger", nullptr, "garbage: from an address that no card has", setStranger},
};

constexpr std::string_view kCommonOptions[] = {"card", "start", "for", "count", "probability"};
/// Of the kinds that treat datagrams.
constexpr std::string_view kTreatingOptions[] = {"request", "direction"};

bool takes(const FaultKind& kind, std::string_view option) {
    const auto has = [option](const auto& names) {
        return std::ranges::find(names, option) != std::end(names);
    };
    return has(kCommonOptions) || has(kind.options) ||
           (kind.treat != nullptr && has(kTreatingOptions));
}

std::string dashedOptionsOf(const FaultKind& kind) {
    std::vector<std::string> names;
    for (const auto& name : optionsOf(kind)) {
        names.push_back("--" + name);
    }
    return joined(names);
}

void refuseUnknown(const FaultKind& kind, const FaultTexts& texts) {
    for (const auto& [name, text] : texts) {
        if (!takes(kind, name)) {
            throw UsageError("fault " + std::string(kind.name) + " takes no --" + name +
                             "; its options: " + dashedOptionsOf(kind));
        }
    }
}

/// What keeps a kind from ever hitting this message, as what is allowed instead; empty when nothing
/// does.
std::string_view whyNeverHit(const FaultSettings& settings) {
    const auto id = *settings.messageId;
    const auto scope = settings.kind->scope;
    if (scope == FaultKind::Scope::settings && !isSetting(id)) {
        return "requests to set or do something, such as Set Path";
    }
    if (id < kFirstEventId) {
        return {};
    }
    if (scope == FaultKind::Scope::answers) {
        return "requests, whose answers it hits";
    }
    return settings.fromCard ? "" : "requests, or --direction out: events only go out";
}

void requireThatItCanHit(const FaultSettings& settings) {
    if (settings.duration == Duration::zero()) {
        throw UsageError("--for: '0' can't be used; allowed: more than 0");
    }
    const auto allowed = settings.messageId ? whyNeverHit(settings) : "";
    if (!allowed.empty()) {
        throw UsageError("--request: '" + settings.texts.at("request") + "' can't be used with " +
                         settings.kind->name + "; allowed: " + std::string(allowed));
    }
}

/// "--bytes N or --to N".
std::string neededText(const FaultKind& kind) {
    std::string text;
    for (const auto& option : kOptions) {
        if (std::ranges::find(kind.needed, option.name) != kind.needed.end()) {
            text += text.empty() ? "" : " or ";
            text += std::string("--") + option.name + ' ' + option.value;
        }
    }
    return text;
}

void requireWhatIsNeeded(const FaultSettings& settings) {
    const auto& kind = *settings.kind;
    const auto given = std::ranges::count_if(settings.texts, [&kind](const auto& text) {
        return std::ranges::find(kind.needed, text.first) != kind.needed.end();
    });
    if (!kind.needed.front().empty() && given != 1) {
        throw UsageError("fault " + std::string(kind.name) + " needs " +
                         (kind.needed.back().empty() ? "" : "either ") + neededText(kind));
    }
    if (kind.treat == treatDelay && settings.time == Duration::zero()) {
        throw UsageError("--time: '0' can't be used with " + std::string(kind.name) +
                         "; allowed: more than 0");
    }
    if (settings.target && settings.slot && settings.target->slot != *settings.slot) {
        throw UsageError("--target: slot " + std::to_string(settings.target->slot) +
                         " can't be used with --card " + std::to_string(*settings.slot));
    }
}

}  // namespace

std::span<const FaultOption> faultOptions() {
    return kOptions;
}

std::vector<std::string> optionsOf(const FaultKind& kind) {
    std::vector<std::string> names;
    for (const auto& option : kOptions) {
        if (takes(kind, option.name)) {
            names.emplace_back(option.name);
        }
    }
    return names;
}

FaultSettings parseFault(const std::string& kind, const FaultTexts& texts) {
    FaultSettings settings;
    settings.kind = &faultKindNamed(kind);
    settings.toCard = settings.kind->scope == FaultKind::Scope::settings;
    settings.fromCard = !settings.toCard;
    settings.texts = texts;
    refuseUnknown(*settings.kind, texts);
    for (const auto& option : kOptions) {
        const auto found = texts.find(option.name);
        if (found != texts.end()) {
            option.set(settings, std::string("--") + option.name, found->second);
        }
    }
    requireWhatIsNeeded(settings);
    requireThatItCanHit(settings);
    if (settings.target) {
        settings.slot = settings.target->slot;
    }
    return settings;
}

}  // namespace ponmgr::sim
