#pragma once

#include "sim/Card.h"

namespace ponmgr::sim {

/// Brings the card to where the manager leaves it: marked, NVS off, with all that the manager sets
/// on every card, its ONUs registered and provisioned.
void bringUnderManagement(Card& card);

}  // namespace ponmgr::sim
