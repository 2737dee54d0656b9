#pragma once

#include <cstdint>

#include "sim/Card.h"

namespace ponmgr::sim {

/// How an ONU goes from one card to another: the old card remembers the link while something is
/// provisioned for it, the new one gives it a number of its own.

/// Whether another link fits: those that hang at the card and those that it remembers count.
bool hasRoomFor(const Card& card, const Onu& onu);

/// The ONU hangs at `port` of `to` from now on, not registered; it stays in its place in memory.
/// `to` must be another card and have room.
void handOver(Card& from, Onu& onu, Card& to, std::uint8_t port);

}  // namespace ponmgr::sim
