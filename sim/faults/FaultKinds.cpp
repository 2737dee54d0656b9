#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/faults/FaultKind.h"
#include "sim/faults/FaultSources.h"
#include "sim/faults/Treatment.h"

namespace ponmgr::sim {

namespace {

using Scope = FaultKind::Scope;

constexpr FaultKind kKinds[] = {
    {"drop", "goes no further", treatDrop},
    {"delay", "goes on after --time", treatDelay, nullptr, Scope::both, {"time"}, {"time"}},
    {"duplicate", "comes --copies times more", treatDuplicate, nullptr, Scope::both, {"copies"}},
    {"reorder",
     "goes behind the next, at the latest after --limit",
     treatReorder,
     nullptr,
     Scope::both,
     {"limit"}},
    {"truncate",
     "loses --bytes at its end, or all beyond --to bytes",
     treatTruncate,
     nullptr,
     Scope::both,
     {"bytes", "to"},
     {"bytes", "to"}},
    {"flip-bit", "has bit --bit flipped, or any", treatFlipBit, nullptr, Scope::both, {"bit"}},
    {"wrong-ctag", "has the next ctag", treatWrongCtag},
    {"wrong-id", "has the id --id, or the next", treatWrongId, nullptr, Scope::both, {"id"}},
    {"wrong-length",
     "has --length in its length field, or one more than it had",
     treatWrongLength,
     nullptr,
     Scope::both,
     {"length"}},
    {"result",
     "has the result --code and no data",
     treatResult,
     nullptr,
     Scope::answers,
     {"code"},
     {"code"}},
    {"late", "comes after --time, 16s", treatDelay, nullptr, Scope::answers, {"time"}},
    {"mute", "isn't sent; events are", treatDrop, nullptr, Scope::answers},
    {"event-burst",
     "sends --rate alarms a second",
     nullptr,
     sendAlarm,
     Scope::outgoing,
     {"rate", "alarm", "target"}},
    {"wrong-port",
     "comes from --port, or the port above the card's",
     treatWrongPort,
     nullptr,
     Scope::outgoing,
     {"port"}},
    {"garbage",
     "sends --rate datagrams of random bytes a second",
     nullptr,
     sendGarbage,
     Scope::outgoing,
     {"rate", "size", "stranger"}},
    {"pretend", "gets the result 0, and the card does nothing", treatPretend, nullptr,
     Scope::settings},
};

}  // namespace

const FaultKind& faultKindNamed(const std::string& name) {
    return entryNamed<UsageError>(kKinds, name, "kind of fault");
}

std::span<const FaultKind> faultKinds() {
    return kKinds;
}

std::string faultKindNames() {
    return namesIn(kKinds);
}

}  // namespace ponmgr::sim
