#include "sim/ControlMembers.h"

#include <nlohmann/json.hpp>

#include <algorithm>

#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string existingSlots(Chassis& chassis) {
    std::vector<std::string> slots;
    for (const auto& card : chassis.cards()) {
        slots.push_back(std::to_string(card.slot));
    }
    return joined(slots);
}

std::size_t installedPerPort(Chassis& chassis, int slot) {
    std::size_t count = 0;
    for (const auto& card : chassis.cards()) {
        count += static_cast<std::size_t>(std::ranges::count_if(
            card.onus, [&](const Onu& onu) { return onu.address.slot == slot; }));
    }
    return count / kPonPorts;
}

}  // namespace

const Json& member(const Json& request, const char* name) {
    const auto found = request.find(name);
    if (found == request.end()) {
        throw ControlError(std::string("the request has no \"") + name + '"');
    }
    return *found;
}

std::string textMember(const Json& request, const char* name) {
    const auto& value = member(request, name);
    if (!value.is_string()) {
        throw ControlError(std::string("\"") + name + "\" must be a string");
    }
    return value.get<std::string>();
}

std::int64_t numberMember(const Json& request, const char* name, std::int64_t most) {
    const auto& value = member(request, name);
    if (!value.is_number_unsigned() ||
        value.get<std::uint64_t>() > static_cast<std::uint64_t>(most)) {
        throw ControlError(std::string("\"") + name + "\" must be a whole number up to " +
                           std::to_string(most));
    }
    return value.get<std::int64_t>();
}

Card& cardInSlot(int slot, Chassis& chassis) {
    auto* const card = chassis.findCard(slot);
    if (card == nullptr) {
        throw ControlError("no card in slot " + std::to_string(slot) +
                           "; there are: " + existingSlots(chassis));
    }
    return *card;
}

void requirePresent(const Card& card) {
    if (!card.present) {
        throw ControlError("slot " + std::to_string(card.slot) +
                           " is empty; insert the card first");
    }
}

Chassis::OnuPlace placeOfOnu(Chassis& chassis, const OnuAddress& address) {
    const auto place = chassis.findOnu(address);
    if (place.onu == nullptr) {
        cardInSlot(address.slot, chassis);
        throw ControlError("no ONU " + toText(address) + "; slot " + std::to_string(address.slot) +
                           " has " + std::to_string(installedPerPort(chassis, address.slot)) +
                           " at a port");
    }
    return place;
}

Card& cardMember(const Json& request, Chassis& chassis) {
    return cardInSlot(static_cast<int>(numberMember(request, "card", kLastSlot)), chassis);
}

}  // namespace ponmgr::sim
