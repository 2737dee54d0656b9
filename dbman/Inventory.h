#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "dbman/Records.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

/// What is known of the cards and the ONUs behind them. Every function may be called on any thread;
/// what is returned is a copy.
class Inventory {
public:
    /// More ONUs than eight cards can have; past this number reports of further ones are refused.
    static constexpr std::size_t kMaximumOnus = 4096;

    /// Begins with one card of unknown state for each configured slot.
    explicit Inventory(const SlotConfiguration& configuration);

    void setAllCardsOffline();

    /// All ONUs, or those of one slot.
    void setOnusOffline(std::optional<int> slot);

    /// Takes over a card's report: the values in `record` replace those of the same key, an
    /// "online_status" among them sets the state, and `moduleOltTable` replaces the old one unless
    /// it is empty. A slot that isn't configured gets a card without address.
    void updateCard(int slot, const Record& record, std::vector<Record> moduleOltTable, Time time);

    /// Takes over an ONU's report in the same way; `slot` without a value leaves the slot alone.
    /// False: the inventory is full.
    bool updateOnu(const std::string& macAddress, std::optional<int> slot, const Record& record,
                   Time time);

    /// False when there was none.
    bool removeOnu(const std::string& macAddress);

    /// By slot.
    std::vector<Card> cards() const;

    /// By MAC address; all, or those of one slot.
    std::vector<Onu> onus(std::optional<int> slot) const;

    std::optional<Onu> findOnu(const std::string& macAddress) const;

private:
    mutable std::mutex mutex;
    // Guarded by mutex.
    std::map<int, Card> cardsBySlot;
    std::map<std::string, Onu> onusByMacAddress;
};

}  // namespace ponmgr::dbman
