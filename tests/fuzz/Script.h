#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

namespace ponmgr::fuzz {

/// An input read from front to back as a list of steps. Behind its end there are zeros.
class Script {
public:
    explicit Script(std::span<const std::uint8_t> input) : rest(input) {}

    bool ended() const { return rest.empty(); }

    std::uint8_t byte() {
        const auto taken = bytes(1);
        return taken.empty() ? std::uint8_t{0} : taken.front();
    }

    std::uint16_t number() {
        const auto high = static_cast<unsigned>(byte()) << 8;
        return static_cast<std::uint16_t>(high | byte());
    }

    /// As many as there are, but no more than `most`.
    std::span<const std::uint8_t> bytes(std::size_t most) {
        const auto taken = rest.first(std::min(most, rest.size()));
        rest = rest.subspan(taken.size());
        return taken;
    }

private:
    std::span<const std::uint8_t> rest;
};

}  // namespace ponmgr::fuzz
