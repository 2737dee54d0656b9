#include "sim/PayloadStore.h"

#include <algorithm>

namespace ponmgr::sim {

namespace {

constexpr unsigned kKeyBits = 48;

std::uint64_t combined(std::uint16_t id, std::uint64_t key) {
    return std::uint64_t{id} << kKeyBits | key;
}

}  // namespace

bool PayloadStore::hasRoomFor(std::uint16_t id, std::uint64_t key) const {
    return payloads.size() < kCapacity || payloads.contains(combined(id, key));
}

bool PayloadStore::put(std::uint16_t id, std::uint64_t key, std::span<const std::uint8_t> payload) {
    if (!hasRoomFor(id, key)) {
        return false;
    }
    payloads[combined(id, key)].assign(payload.begin(), payload.end());
    return true;
}

void PayloadStore::erase(std::uint16_t id, std::uint64_t key) {
    payloads.erase(combined(id, key));
}

const std::vector<std::uint8_t>* PayloadStore::find(std::uint16_t id, std::uint64_t key) const {
    const auto found = payloads.find(combined(id, key));
    return found == payloads.end() ? nullptr : &found->second;
}

std::vector<std::uint64_t> PayloadStore::keysOf(std::uint16_t id) const {
    std::vector<std::uint64_t> keys;
    for (const auto& [idAndKey, payload] : payloads) {
        if (static_cast<std::uint16_t>(idAndKey >> kKeyBits) == id) {
            keys.push_back(idAndKey & ((std::uint64_t{1} << kKeyBits) - 1));
        }
    }
    std::ranges::sort(keys);
    return keys;
}

std::map<std::uint16_t, std::size_t> PayloadStore::countPerId() const {
    std::map<std::uint16_t, std::size_t> counts;
    for (const auto& [idAndKey, payload] : payloads) {
        ++counts[static_cast<std::uint16_t>(idAndKey >> kKeyBits)];
    }
    return counts;
}

}  // namespace ponmgr::sim
