#include "sim/PayloadLayout.h"

#include <algorithm>

#include "sim/Wire.h"

namespace ponmgr::sim {

namespace {

constexpr std::uint8_t kPonPorts = 2;

bool fits(const Field& field, std::span<const std::uint8_t> value, const MacAddress& cardMac) {
    switch (field.kind) {
        case Field::Kind::any:
        case Field::Kind::rest:
            return true;
        case Field::Kind::boolean:
            return value[0] <= 1;
        case Field::Kind::constant:
            return value[0] == field.value;
        case Field::Kind::oltMac:
            return std::ranges::equal(value, cardMac);
        case Field::Kind::ponPort:
            return value[0] == 0 && value[1] < kPonPorts;
    }
    return false;
}

}  // namespace

std::optional<std::uint64_t> matchLayout(PayloadLayout layout,
                                         std::span<const std::uint8_t> payload,
                                         const MacAddress& cardMac) {
    Reader reader(payload);
    std::uint64_t key = 0;
    for (const auto& field : layout) {
        const auto width = field.kind == Field::Kind::rest ? reader.left() : field.width;
        const auto value = reader.take(width);
        if (reader.failed() || !fits(field, value, cardMac)) {
            return std::nullopt;
        }
        if (field.isKey) {
            for (const auto byte : value) {
                key = (key << 8 | byte) & 0xFFFF'FFFF'FFFF;
            }
        }
    }
    return reader.complete() ? std::optional(key) : std::nullopt;
}

}  // namespace ponmgr::sim
