#pragma once

#include "sim/Card.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// What a list of ONUs shows of each.
Json onuRow(const Card& card, const Onu& onu);

/// The row, and everything else there is to say of an ONU.
Json onuDetails(const Card& card, const Onu& onu);

/// How many ONUs the card has, how many are registered, how many provisioned.
struct OnuCounts {
    std::size_t total = 0;
    std::size_t discovered = 0;
    std::size_t provisioned = 0;
};
OnuCounts countOnus(const Card& card);

}  // namespace ponmgr::sim
