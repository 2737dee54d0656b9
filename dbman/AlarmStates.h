#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "dbman/Records.h"

namespace ponmgr::dbman {

/// What an alarm is about, and its name; both as the daemon writes them.
struct AlarmKey {
    int slot = 0;
    /// "ONU Link: 00:0d:b6:03:00:07", "OLT Port: EPON-0".
    std::string resource;
    std::string alarm;

    bool operator<(const AlarmKey& other) const {
        return std::tie(slot, resource, alarm) < std::tie(other.slot, other.resource, other.alarm);
    }
};

struct AlarmState {
    AlarmKey key;
    bool isRaised = false;
    /// When it was raised the last time that it was not raised before.
    std::optional<Time> raised;
    /// When it was cleared; without a value while it is raised.
    std::optional<Time> cleared;
    /// How often it was raised.
    std::int64_t count = 0;
    Time lastChange;
};

/// "raised" or "cleared".
const char* alarmStateText(bool isRaised);

struct AlarmChanges {
    /// `states` are all there are.
    bool all = false;
    std::vector<AlarmState> states;
    std::vector<AlarmKey> removed;
};

/// Which alarms are raised and which were. Every function may be called on any thread; what is
/// returned is a copy.
class AlarmStates {
public:
    /// Past this number a new state takes the place of another one of its slot: of the one that has
    /// been cleared for longest, or, when none is cleared, of the raised one that was reported
    /// longest ago. So a card that invents alarms displaces its own ones only.
    static constexpr std::size_t kMaximumStatesOfASlot = 2048;
    static constexpr std::size_t kSlots = 8;
    static constexpr std::size_t kMaximumStates = kSlots * kMaximumStatesOfASlot;

    /// Takes over states of a former run; they count as unchanged. Those that are too many for
    /// their slot make room.
    void load(const std::vector<AlarmState>& states);

    /// Takes over a report of the daemon at `time`. Raised twice counts twice; a clearing without a
    /// raising makes a cleared state that counts 0. A link's move is over as soon as it has
    /// happened: its state is counted and cleared at once. A link that reports again has neither
    /// a report timeout any more nor a dying gasp, whatever the slot. Returns whether a raised
    /// alarm of the slot made room.
    bool report(const AlarmKey& key, bool isRaised, Time time);

    /// The ONU link of this MAC address is on-line, behind whatever card: it has lost nothing.
    void linkIsOnline(const std::string& macAddress, Time time);

    /// Clears what is raised for links of this MAC address.
    void clearLink(const std::string& macAddress, Time time);

    /// Forgets what has been cleared since before `limit`.
    void forgetClearedBefore(Time limit);

    /// By slot, resource and name; all or those of a slot, all or the raised ones.
    std::vector<AlarmState> states(std::optional<int> slot, bool onlyRaised) const;

    /// The raised alarms of links of this MAC address.
    std::vector<AlarmState> raisedOfLink(const std::string& macAddress) const;

    /// What was changed since the last call.
    AlarmChanges takeChanges();

    /// Has these states count as changed again.
    void markChanged(const AlarmChanges& changes);

private:
    using ByTime = std::set<std::pair<Time, AlarmKey>>;

    /// The keys of a slot's states, by the last change of each.
    struct OfSlot {
        ByTime raised;
        ByTime cleared;

        ByTime& which(bool isRaised) { return isRaised ? raised : cleared; }
        std::size_t size() const { return raised.size() + cleared.size(); }
    };

    // All of them need the mutex.
    void noteChange(const AlarmKey& key);
    bool makeRoomFor(const AlarmKey& key);
    bool forgetOldest(OfSlot& slot);
    void forgetFirst(ByTime& keys);
    void put(AlarmState& state, bool isRaised, Time time);
    void clearLosses(const std::string& link, Time time);
    void raise(AlarmState& state, Time time);
    void clear(AlarmState& state, Time time);

    mutable std::mutex mutex;
    // Guarded by mutex. A changed key that has no state was removed.
    std::map<AlarmKey, AlarmState> statesByKey;
    std::map<int, OfSlot> slots;
    std::set<AlarmKey> changed;
    bool allChanged = false;
};

}  // namespace ponmgr::dbman
