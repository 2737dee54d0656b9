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
    /// Past this number a new state takes the place of the one that has been cleared for longest.
    static constexpr std::size_t kMaximumStates = 16'384;

    /// Takes over states of a former run; they count as unchanged.
    void load(const std::vector<AlarmState>& states);

    /// Takes over a report of the daemon at `time`. Raised twice counts twice; a clearing without a
    /// raising makes a cleared state that counts 0. A link's move is over as soon as it has
    /// happened: its state is counted and cleared at once. A link that reports again has neither
    /// a report timeout any more nor a dying gasp, whatever the slot. False: there are too many
    /// raised alarms.
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
    // All of them need the mutex.
    void noteChange(const AlarmKey& key);
    bool makeRoomFor(const AlarmKey& key);
    void clearLosses(const std::string& link, Time time);
    void raise(AlarmState& state, Time time);
    void clear(AlarmState& state, Time time);
    void forgetOldestCleared();

    mutable std::mutex mutex;
    // Guarded by mutex. A changed key that has no state was removed.
    std::map<AlarmKey, AlarmState> statesByKey;
    // Those that are cleared, by their last change.
    std::set<std::pair<Time, AlarmKey>> clearedByTime;
    std::set<AlarmKey> changed;
    bool allChanged = false;
};

}  // namespace ponmgr::dbman
