#include "dbman/Inventory.h"

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

void Inventory::setAllCardsOffline() {
    const std::lock_guard lock(mutex);
    for (auto& [slot, card] : cardsBySlot) {
        card.state = State::offline;
        card.record[kOnlineStatus] = "0";
    }
}

void Inventory::setOnusOffline(std::optional<int> slot) {
    const std::lock_guard lock(mutex);
    for (auto& [macAddress, onu] : onusByMacAddress) {
        if (!slot || onu.slot == slot) {
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
}

bool Inventory::updateOnu(const std::string& macAddress, std::optional<int> slot,
                          const Record& record, Time time) {
    const std::lock_guard lock(mutex);
    if (onusByMacAddress.size() >= kMaximumOnus && !onusByMacAddress.contains(macAddress)) {
        return false;
    }
    auto& onu = onusByMacAddress[macAddress];
    onu.macAddress = macAddress;
    onu.slot = slot ? slot : onu.slot;
    onu.state = stateOf(record, onu.state);
    merge(onu.record, record);
    onu.lastReport = time;
    return true;
}

bool Inventory::removeOnu(const std::string& macAddress) {
    const std::lock_guard lock(mutex);
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

}  // namespace ponmgr::dbman
