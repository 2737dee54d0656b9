#include "dbman/SlotTable.h"

#include <algorithm>

namespace ponmgr::dbman {

namespace {

constexpr std::array kWantedNames = {"unset", "enabled", "disabled"};

constexpr std::size_t indexOf(int slot) {
    return static_cast<std::size_t>(slot - kFirstSlot);
}

}  // namespace

const char* toText(Wanted wanted) {
    return kWantedNames.at(static_cast<std::size_t>(wanted));
}

Wanted wantedOf(const std::string& name) {
    const auto found = std::find(kWantedNames.begin(), kWantedNames.end(), name);
    return found == kWantedNames.end() ? Wanted::unset
                                       : static_cast<Wanted>(found - kWantedNames.begin());
}

SlotTable::SlotTable() {
    for (int slot = kFirstSlot; slot <= kLastSlot; ++slot) {
        table.at(indexOf(slot)).number = slot;
    }
}

void SlotTable::load(const std::vector<Slot>& slots) {
    const std::lock_guard lock(mutex);
    for (const auto& slot : slots) {
        table.at(indexOf(slot.number)) = slot;
    }
}

void SlotTable::configure(const SlotConfiguration& configuration) {
    const std::lock_guard lock(mutex);
    for (int slot = kFirstSlot; slot <= kLastSlot; ++slot) {
        const auto found = configuration.find(slot);
        change(slot).address = found == configuration.end() ? SlotAddress{} : found->second;
    }
}

std::vector<Slot> SlotTable::slots() const {
    const std::lock_guard lock(mutex);
    return {table.begin(), table.end()};
}

SlotConfiguration SlotTable::configuration() const {
    const std::lock_guard lock(mutex);
    SlotConfiguration configuration;
    for (const auto& slot : table) {
        if (!slot.address.card.empty()) {
            configuration.emplace(slot.number, slot.address);
        }
    }
    return configuration;
}

SlotAddress SlotTable::setAddress(int slot, const std::string& card,
                                  const std::optional<std::string>& source,
                                  const std::string& otherwise) {
    const std::lock_guard lock(mutex);
    auto& address = change(slot).address;
    address.card = card;
    if (source || address.source.empty()) {
        address.source = source.value_or(otherwise);
    }
    return address;
}

void SlotTable::clearAddress(int slot) {
    const std::lock_guard lock(mutex);
    change(slot).address = {};
}

void SlotTable::setWanted(int slot, Wanted wanted) {
    const std::lock_guard lock(mutex);
    change(slot).wanted = wanted;
}

std::vector<Slot> SlotTable::takeChanges() {
    const std::lock_guard lock(mutex);
    std::vector<Slot> result;
    for (const int slot : changed) {
        result.push_back(table.at(indexOf(slot)));
    }
    changed.clear();
    return result;
}

void SlotTable::markChanged(const std::vector<Slot>& slots) {
    const std::lock_guard lock(mutex);
    for (const auto& slot : slots) {
        changed.insert(slot.number);
    }
}

Slot& SlotTable::change(int slot) {
    changed.insert(slot);
    return table.at(indexOf(slot));
}

}  // namespace ponmgr::dbman
