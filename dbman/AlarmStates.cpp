#include "dbman/AlarmStates.h"

#include <algorithm>
#include <string_view>

namespace ponmgr::dbman {

namespace {

constexpr std::string_view kOnuLink = "ONU Link: ";
constexpr std::string_view kOltLink = "OLT Link: ";
// The daemon only ever raises it.
constexpr std::string_view kLinkMoved = "ONU Link Moved Between PON Ports";
// The two alarms that take a link off-line. A discovered link clears the first of them.
constexpr std::string_view kReportTimeout = "Report Timeout";
constexpr std::string_view kDyingGasp = "Standard Dying Gasp";

constexpr int kFirstSlot = 1;
constexpr int kLastSlot = AlarmStates::kSlots;

bool isOfLink(const AlarmKey& key, const std::string& macAddress) {
    return (key.resource.starts_with(kOnuLink) || key.resource.starts_with(kOltLink)) &&
           key.resource.substr(kOnuLink.size()) == macAddress;
}

}  // namespace

const char* alarmStateText(bool isRaised) {
    return isRaised ? "raised" : "cleared";
}

void AlarmStates::load(const std::vector<AlarmState>& states) {
    const std::lock_guard lock(mutex);
    for (const auto& state : states) {
        statesByKey[state.key] = state;
        slots[state.key.slot].which(state.isRaised).emplace(state.lastChange, state.key);
    }
    for (auto& [number, slot] : slots) {
        while (slot.size() > kMaximumStatesOfASlot) {
            forgetOldest(slot);
        }
    }
}

bool AlarmStates::report(const AlarmKey& key, bool isRaised, Time time) {
    const std::lock_guard lock(mutex);
    const bool displaced = makeRoomFor(key);
    auto& state = statesByKey[key];
    state.key = key;
    if (isRaised) {
        raise(state, time);
    }
    if (!isRaised || key.alarm == kLinkMoved) {
        clear(state, time);
    }
    if (!isRaised && key.alarm == kReportTimeout && key.resource.starts_with(kOnuLink)) {
        clearLosses(key.resource, time);
    }
    return displaced;
}

// In every slot: it may have been plugged in at another card.
void AlarmStates::clearLosses(const std::string& link, Time time) {
    for (int slot = kFirstSlot; slot <= kLastSlot; slot++) {
        for (const auto name : {kReportTimeout, kDyingGasp}) {
            const auto loss = statesByKey.find({slot, link, std::string(name)});
            if (loss != statesByKey.end() && loss->second.isRaised) {
                clear(loss->second, time);
            }
        }
    }
}

void AlarmStates::linkIsOnline(const std::string& macAddress, Time time) {
    const std::lock_guard lock(mutex);
    clearLosses(std::string(kOnuLink) + macAddress, time);
}

bool AlarmStates::makeRoomFor(const AlarmKey& key) {
    auto& slot = slots[key.slot];
    return slot.size() >= kMaximumStatesOfASlot && !statesByKey.contains(key) && forgetOldest(slot);
}

// Returns whether it was a raised one.
bool AlarmStates::forgetOldest(OfSlot& slot) {
    const bool isRaised = slot.cleared.empty();
    forgetFirst(slot.which(isRaised));
    return isRaised;
}

void AlarmStates::forgetFirst(ByTime& keys) {
    const auto first = keys.begin();
    noteChange(first->second);
    statesByKey.erase(first->second);
    keys.erase(first);
}

void AlarmStates::put(AlarmState& state, bool isRaised, Time time) {
    auto& slot = slots[state.key.slot];
    slot.which(state.isRaised).erase({state.lastChange, state.key});
    slot.which(isRaised).emplace(time, state.key);
    state.isRaised = isRaised;
    state.lastChange = time;
    noteChange(state.key);
}

void AlarmStates::raise(AlarmState& state, Time time) {
    if (!state.isRaised) {
        state.raised = time;
        state.cleared.reset();
    }
    ++state.count;
    put(state, true, time);
}

void AlarmStates::clear(AlarmState& state, Time time) {
    if (state.isRaised || !state.cleared) {
        state.cleared = time;
    }
    put(state, false, time);
}

void AlarmStates::clearLink(const std::string& macAddress, Time time) {
    const std::lock_guard lock(mutex);
    for (auto& [key, state] : statesByKey) {
        if (state.isRaised && isOfLink(key, macAddress)) {
            clear(state, time);
        }
    }
}

void AlarmStates::forgetClearedBefore(Time limit) {
    const std::lock_guard lock(mutex);
    for (auto& [number, slot] : slots) {
        while (!slot.cleared.empty() && slot.cleared.begin()->first < limit) {
            forgetFirst(slot.cleared);
        }
    }
}

std::vector<AlarmState> AlarmStates::states(std::optional<int> slot, bool onlyRaised) const {
    const std::lock_guard lock(mutex);
    std::vector<AlarmState> result;
    for (const auto& [key, state] : statesByKey) {
        if ((!slot || key.slot == *slot) && (!onlyRaised || state.isRaised)) {
            result.push_back(state);
        }
    }
    return result;
}

std::vector<AlarmState> AlarmStates::raisedOfLink(const std::string& macAddress) const {
    const std::lock_guard lock(mutex);
    std::vector<AlarmState> result;
    for (const auto& [key, state] : statesByKey) {
        if (state.isRaised && isOfLink(key, macAddress)) {
            result.push_back(state);
        }
    }
    return result;
}

AlarmChanges AlarmStates::takeChanges() {
    const std::lock_guard lock(mutex);
    AlarmChanges result;
    result.all = allChanged;
    if (allChanged) {
        for (const auto& [key, state] : statesByKey) {
            result.states.push_back(state);
        }
    }
    for (const auto& key : changed) {
        const auto found = statesByKey.find(key);
        if (found == statesByKey.end()) {
            result.removed.push_back(key);
        } else {
            result.states.push_back(found->second);
        }
    }
    changed.clear();
    allChanged = false;
    return result;
}

void AlarmStates::markChanged(const AlarmChanges& changes) {
    const std::lock_guard lock(mutex);
    if (changes.all) {
        changed.clear();
        allChanged = true;
    }
    for (const auto& key : changes.removed) {
        noteChange(key);
    }
    for (const auto& state : changes.states) {
        noteChange(state.key);
    }
}

void AlarmStates::noteChange(const AlarmKey& key) {
    if (!allChanged) {
        changed.insert(key);
    }
    // Removed ones count too, and nobody bounds those while the changes aren't taken.
    if (changed.size() > 2 * kMaximumStates) {
        changed.clear();
        allChanged = true;
    }
}

}  // namespace ponmgr::dbman
