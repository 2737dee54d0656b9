#pragma once

#include "sim/Card.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// What a list of cards shows of each.
Json cardRow(const Card& card);

/// The row, and everything else there is to say of a card.
Json cardDetails(const Card& card);

}  // namespace ponmgr::sim
