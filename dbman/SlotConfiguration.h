#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "dbman/Message.h"

namespace ponmgr::dbman {

/// Where the card of a slot is reached, and from which of our addresses.
struct SlotAddress {
    std::string card;
    std::string source;
};

/// The configured slots, by number.
using SlotConfiguration = std::map<int, SlotAddress>;

/// Throws Failure, naming the slot, when the configuration has this card's address at another slot.
void refuseAddressOfAnother(const SlotConfiguration& configuration, int slot,
                            const std::string& card);

/// Slot n has the address `base` + n (host byte order); all are reached from `source`.
SlotConfiguration makeSlotConfiguration(const std::vector<int>& slots, std::uint32_t base,
                                        std::uint32_t source);

/// Reads {"slots":[{"slot":3,"ip":"127.0.1.3","source":"127.0.0.1"},...]}; a slot without "source"
/// has `source`. Throws Failure, saying what is wrong, for anything else.
SlotConfiguration parseSlotConfiguration(std::string_view text, std::uint32_t source);

/// The same from a file. Throws Failure, naming the file.
SlotConfiguration readSlotConfiguration(const std::string& path, std::uint32_t source);

/// "/olt/src_ip" and then "/olt/ip" of one slot. The second makes the daemon bring the card up from
/// the beginning, which takes the first for granted.
std::vector<Message> addressMessages(int slot, const SlotAddress& address);

/// The same for all slots, ascending.
std::vector<Message> addressMessages(const SlotConfiguration& configuration);

/// The slots' numbers separated by commas, or "none".
std::string listSlots(const SlotConfiguration& configuration);

}  // namespace ponmgr::dbman
