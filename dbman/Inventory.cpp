#include "dbman/Inventory.h"

#include <algorithm>
#include <utility>

namespace ponmgr::dbman {

namespace {

constexpr auto kOnlineStatus = "online_status";

/// The state that a record tells; `otherwise` when it tells none.
State stateOf(const Record& record, State otherwise) {
    const auto found = record.find(kOnlineStatus);
    if (found == record.end()) {
        return otherwise;
    }
    return found->second == "1" ? State::online : State::offline;
}

/// Off-line ones make room before the others, and of those the one that was reported longest ago.
bool makesRoomBefore(const std::map<std::string, Onu>::iterator& left,
                     const std::map<std::string, Onu>::iterator& right) {
    const auto rank = [](const Onu& onu) {
        return std::make_pair(onu.state != State::offline, onu.lastReport);
    };
    return rank(left->second) < rank(right->second);
}

void merge(Record& into, const Record& from) {
    for (const auto& [key, value] : from) {
        into[key] = value;
    }
}

}  // namespace

const char* toText(State state) {
    switch (state) {
        case State::online:
            return "on-line";
        case State::offline:
            return "off-line";
        default:
            return "unknown";
    }
}

std::string valueOf(const Record& record, const std::string& key) {
    const auto found = record.find(key);
    return found == record.end() ? std::string() : found->second;
}

Inventory::Inventory(const SlotConfiguration& configuration) {
    for (const auto& [slot, address] : configuration) {
        Card card;
        card.slot = slot;
        card.address = address.card;
        card.source = address.source;
        cardsBySlot.emplace(slot, std::move(card));
    }
}

void Inventory::load(const std::vector<Card>& cards, const std::vector<Onu>& onus) {
    const std::lock_guard lock(mutex);
    for (const auto& card : cards) {
        auto& known = cardsBySlot[card.slot];
        const SlotAddress address{known.address, known.source};
        known = card;
        known.address = address.card;
        known.source = address.source;
    }
    for (const auto& onu : onus) {
        onusByMacAddress[onu.macAddress] = onu;
    }
    forgetSurplus(std::nullopt);
    for (int slot = 1; slot <= kSlots; slot++) {
        forgetSurplus(slot);
    }
}

void Inventory::setAddress(int slot, const std::optional<SlotAddress>& address) {
    const std::lock_guard lock(mutex);
    auto& card = cardsBySlot[slot];
    card.slot = slot;
    card.address = address ? address->card : std::string();
    card.source = address ? address->source : std::string();
    if (!address && card.state != State::unknown) {
        card.state = State::unknown;
        card.record.erase(kOnlineStatus);
        changedCards.insert(slot);
    }
}

void Inventory::setAllCardsOffline() {
    const std::lock_guard lock(mutex);
    for (auto& [slot, card] : cardsBySlot) {
        changedCards.insert(slot);
        card.state = State::offline;
        card.record[kOnlineStatus] = "0";
    }
}

void Inventory::setOnusOffline(std::optional<int> slot) {
    const std::lock_guard lock(mutex);
    for (auto& [macAddress, onu] : onusByMacAddress) {
        if (!slot || onu.slot == slot) {
            noteChange(macAddress);
            onu.state = State::offline;
            onu.record[kOnlineStatus] = "0";
        }
    }
}

void Inventory::updateCard(int slot, const Record& record, std::vector<Record> moduleOltTable,
                           Time time) {
    const std::lock_guard lock(mutex);
    auto& card = cardsBySlot[slot];
    card.slot = slot;
    card.state = stateOf(record, card.state);
    merge(card.record, record);
    if (!moduleOltTable.empty()) {
        card.moduleOltTable = std::move(moduleOltTable);
    }
    card.lastReport = time;
    card.isReportedSinceStart = true;
    changedCards.insert(slot);
}

bool Inventory::updateOnu(const std::string& macAddress, std::optional<int> slot,
                          const Record& record, Time time) {
    const std::lock_guard lock(mutex);
    if (!makeRoomFor(macAddress, slot)) {
        return false;
    }
    auto& onu = onusByMacAddress[macAddress];
    onu.macAddress = macAddress;
    onu.slot = slot ? slot : onu.slot;
    onu.state = stateOf(record, onu.state);
    merge(onu.record, record);
    onu.lastReport = time;
    onu.isReportedSinceStart = true;
    noteChange(macAddress);
    return true;
}

// Also for one that comes from another slot. One that stays where it is needs no room.
bool Inventory::makeRoomFor(const std::string& macAddress, std::optional<int> slot) {
    const auto known = onusByMacAddress.find(macAddress);
    if (known != onusByMacAddress.end() && (!slot || known->second.slot == slot)) {
        return true;
    }
    std::size_t count = 0;
    auto oldest = onusByMacAddress.end();
    for (auto onu = onusByMacAddress.begin(); onu != onusByMacAddress.end(); ++onu) {
        if (onu->second.slot == slot) {
            ++count;
            oldest =
                oldest == onusByMacAddress.end() || makesRoomBefore(onu, oldest) ? onu : oldest;
        }
    }
    if (count < kMaximumOnusOfASlot) {
        return true;
    }
    if (oldest->second.state != State::offline) {
        return false;
    }
    forget(oldest);
    return true;
}

void Inventory::forgetSurplus(std::optional<int> slot) {
    std::vector<Place> onus;
    for (auto onu = onusByMacAddress.begin(); onu != onusByMacAddress.end(); ++onu) {
        if (onu->second.slot == slot) {
            onus.push_back(onu);
        }
    }
    std::sort(onus.begin(), onus.end(), makesRoomBefore);
    for (std::size_t index = 0; index + kMaximumOnusOfASlot < onus.size(); ++index) {
        forget(onus[index]);
    }
}

void Inventory::forget(Place onu) {
    noteChange(onu->first);
    onusByMacAddress.erase(onu);
}

bool Inventory::removeOnu(const std::string& macAddress) {
    const std::lock_guard lock(mutex);
    noteChange(macAddress);
    return onusByMacAddress.erase(macAddress) > 0;
}

std::vector<Card> Inventory::cards() const {
    const std::lock_guard lock(mutex);
    std::vector<Card> result;
    for (const auto& [slot, card] : cardsBySlot) {
        result.push_back(card);
    }
    return result;
}

std::optional<Card> Inventory::findCard(int slot) const {
    const std::lock_guard lock(mutex);
    const auto found = cardsBySlot.find(slot);
    return found == cardsBySlot.end() ? std::nullopt : std::optional(found->second);
}

std::vector<Onu> Inventory::onus(std::optional<int> slot) const {
    const std::lock_guard lock(mutex);
    std::vector<Onu> result;
    for (const auto& [macAddress, onu] : onusByMacAddress) {
        if (!slot || onu.slot == slot) {
            result.push_back(onu);
        }
    }
    return result;
}

std::optional<Onu> Inventory::findOnu(const std::string& macAddress) const {
    const std::lock_guard lock(mutex);
    const auto found = onusByMacAddress.find(macAddress);
    return found == onusByMacAddress.end() ? std::nullopt : std::optional(found->second);
}

InventoryChanges Inventory::takeChanges() {
    const std::lock_guard lock(mutex);
    InventoryChanges changes;
    for (const int slot : changedCards) {
        changes.cards.push_back(cardsBySlot.at(slot));
    }
    changes.allOnus = allOnusChanged;
    if (allOnusChanged) {
        for (const auto& [macAddress, onu] : onusByMacAddress) {
            changes.onus.push_back(onu);
        }
    }
    for (const auto& macAddress : changedOnus) {
        const auto found = onusByMacAddress.find(macAddress);
        if (found == onusByMacAddress.end()) {
            changes.removedOnus.push_back(macAddress);
        } else {
            changes.onus.push_back(found->second);
        }
    }
    changedCards.clear();
    changedOnus.clear();
    allOnusChanged = false;
    return changes;
}

void Inventory::markChanged(const InventoryChanges& changes) {
    const std::lock_guard lock(mutex);
    for (const auto& card : changes.cards) {
        changedCards.insert(card.slot);
    }
    if (changes.allOnus) {
        changedOnus.clear();
        allOnusChanged = true;
    }
    for (const auto& macAddress : changes.removedOnus) {
        noteChange(macAddress);
    }
    for (const auto& onu : changes.onus) {
        noteChange(onu.macAddress);
    }
}

void Inventory::noteChange(const std::string& macAddress) {
    if (!allOnusChanged) {
        changedOnus.insert(macAddress);
    }
    // Removed ones count too, and nobody bounds those while the changes aren't taken.
    if (changedOnus.size() > 2 * kMaximumOnus) {
        changedOnus.clear();
        allOnusChanged = true;
    }
}

}  // namespace ponmgr::dbman
