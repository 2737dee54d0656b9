#pragma once

#include <string>

#include "sim/Chassis.h"

namespace ponmgr::sim {

/// One line, without its end, on a datagram that passes a card: slot, direction, peer, what it is.
std::string describeDatagram(const DatagramEvent& event);

}  // namespace ponmgr::sim
