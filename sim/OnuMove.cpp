#include "sim/OnuMove.h"

#include <algorithm>
#include <bitset>
#include <tuple>

#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {

namespace {

bool isInstalledEarlier(const OnuAddress& left, const OnuAddress& right) {
    return std::tie(left.slot, left.port, left.index) <
           std::tie(right.slot, right.port, right.index);
}

/// The link as the card remembers it; null when it doesn't.
const Onu* rememberedLink(const Card& card, const Onu& onu) {
    const auto found = std::ranges::find(card.departed, onu.mac, &Onu::mac);
    const bool known = found != card.departed.end() && isKnown(card.configuration, *found);
    return known ? &*found : nullptr;
}

std::bitset<kMostLinks> numbersInUse(const Card& card) {
    std::bitset<kMostLinks> used;
    for (const auto& onu : card.onus) {
        used.set(numberOf(onu));
    }
    for (const auto& onu : card.departed) {
        if (isKnown(card.configuration, onu)) {
            used.set(numberOf(onu));
        }
    }
    return used;
}

/// A link that comes back gets the number by which the card remembers it, any other the lowest that
/// is free.
unsigned numberFor(const Card& card, const Onu& onu) {
    if (const auto* link = rememberedLink(card, onu)) {
        return numberOf(*link);
    }
    const auto used = numbersInUse(card);
    unsigned number = 0;
    while (used.test(number)) {
        ++number;
    }
    return number;
}

void leave(Card& card, const Onu& onu) {
    if (isKnown(card.configuration, onu)) {
        card.departed.push_back(onu);
    } else {
        clearProvisioning(card.configuration, onu);
    }
}

/// Numbers are used again. A link that was cleared must not be known again by what is provisioned
/// for the next one with its number.
void forgetClearedLinks(Card& card) {
    std::erase_if(card.departed, [&](const Onu& onu) { return !isKnown(card.configuration, onu); });
}

}  // namespace

bool hasRoomFor(const Card& card, const Onu& onu) {
    return rememberedLink(card, onu) != nullptr || !numbersInUse(card).all();
}

void handOver(Card& from, Onu& onu, Card& to, std::uint8_t port) {
    leave(from, onu);
    forgetClearedLinks(to);
    assignNumber(onu, numberFor(to, onu));
    std::erase_if(to.departed, [&](const Onu& left) { return left.mac == onu.mac; });
    onu.slot = to.slot;
    onu.port = port;
    const auto moved =
        std::ranges::find_if(from.onus, [&](const Onu& hanging) { return &hanging == &onu; });
    const auto next = std::ranges::find_if(to.onus, [&](const Onu& hanging) {
        return isInstalledEarlier(onu.address, hanging.address);
    });
    to.onus.splice(next, from.onus, moved);
}

}  // namespace ponmgr::sim
