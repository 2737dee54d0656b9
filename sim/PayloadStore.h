#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <span>
#include <unordered_map>
#include <vector>

namespace ponmgr::sim {

/// The payload that a card accepted last, per request id and per key of that request (48 bits).
/// Holds a limited number of entries, as a card's tables do.
class PayloadStore {
public:
    /// Room for 248 links with all that is set for a link and its queues, several times over.
    static constexpr std::size_t kCapacity = 16384;

    /// True when put() of this id and key will succeed.
    bool hasRoomFor(std::uint16_t id, std::uint64_t key) const;
    /// Replaces what was stored under the same id and key. False, with nothing stored, when full.
    bool put(std::uint16_t id, std::uint64_t key, std::span<const std::uint8_t> payload);
    void erase(std::uint16_t id, std::uint64_t key);

    /// Null when nothing is stored; valid until the next put or erase.
    const std::vector<std::uint8_t>* find(std::uint16_t id, std::uint64_t key) const;
    std::size_t size() const { return payloads.size(); }
    /// The keys of a request id that something is stored under, ascending.
    std::vector<std::uint64_t> keysOf(std::uint16_t id) const;
    /// How many entries each request id has, by id.
    std::map<std::uint16_t, std::size_t> countPerId() const;
    bool operator==(const PayloadStore&) const = default;

private:
    std::unordered_map<std::uint64_t, std::vector<std::uint8_t>> payloads;
};

}  // namespace ponmgr::sim
