#include "sim/PayloadStore.h"

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

std::map<std::uint16_t, std::size_t> PayloadStore::countPerId() const {
    std::map<std::uint16_t, std::size_t> counts;
    for (const auto& [idAndKey, payload] : payloads) {
        ++counts[static_cast<std::uint16_t>(idAndKey >> kKeyBits)];
    }
    return counts;
}

}  // namespace ponmgr::sim
