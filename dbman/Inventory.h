#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "dbman/Records.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

struct InventoryChanges {
    std::vector<Card> cards;
    std::vector<Onu> onus;
    std::vector<std::string> removedOnus;
    /// `onus` are all there are.
    bool allOnus = false;
};

/// What is known of the cards and the ONUs behind them. Every function may be called on any thread;
/// what is returned is a copy.
class Inventory {
public:
    /// More ONUs than a card can have. Past this number a further one of a slot takes the place of
    /// the slot's off-line one that was reported longest ago; it is refused when there is none.
    /// Those whose slot isn't known count as one slot more.
    static constexpr std::size_t kMaximumOnusOfASlot = 512;
    static constexpr int kSlots = 8;
    static constexpr std::size_t kMaximumOnus = (kSlots + 1) * kMaximumOnusOfASlot;

    /// Begins with one card of unknown state for each configured slot.
    explicit Inventory(const SlotConfiguration& configuration);

    /// Takes over what a former run has known; it counts as unchanged, and as not reported since
    /// the start. ONUs that are too many for their slot make room, on-line ones last.
    void load(const std::vector<Card>& cards, const std::vector<Onu>& onus);

    /// A slot's card has this address from now on; without one, nobody watches the card any more
    /// and its state is unknown.
    void setAddress(int slot, const std::optional<SlotAddress>& address);

    void setAllCardsOffline();

    /// All ONUs, or those of one slot.
    void setOnusOffline(std::optional<int> slot);

    /// Takes over a card's report: the values in `record` replace those of the same key, an
    /// "online_status" among them sets the state, and `moduleOltTable` replaces the old one unless
    /// it is empty. A slot that isn't configured gets a card without address.
    void updateCard(int slot, const Record& record, std::vector<Record> moduleOltTable, Time time);

    /// Takes over an ONU's report in the same way; `slot` without a value leaves the slot alone.
    /// False: the slot is full, and nothing is taken over.
    bool updateOnu(const std::string& macAddress, std::optional<int> slot, const Record& record,
                   Time time);

    /// False when there was none.
    bool removeOnu(const std::string& macAddress);

    /// By slot.
    std::vector<Card> cards() const;

    std::optional<Card> findCard(int slot) const;

    /// By MAC address; all, or those of one slot.
    std::vector<Onu> onus(std::optional<int> slot) const;

    std::optional<Onu> findOnu(const std::string& macAddress) const;

    /// What was changed since the last call, addresses aside.
    InventoryChanges takeChanges();

    /// Has these count as changed again.
    void markChanged(const InventoryChanges& changes);

private:
    using Place = std::map<std::string, Onu>::iterator;

    // All of them need the mutex.
    void noteChange(const std::string& macAddress);
    bool makeRoomFor(const std::string& macAddress, std::optional<int> slot);
    void forgetSurplus(std::optional<int> slot);
    void forget(Place onu);

    mutable std::mutex mutex;
    // Guarded by mutex. A changed ONU that isn't there was removed.
    std::map<int, Card> cardsBySlot;
    std::map<std::string, Onu> onusByMacAddress;
    std::set<int> changedCards;
    std::set<std::string> changedOnus;
    bool allOnusChanged = false;
};

}  // namespace ponmgr::dbman
