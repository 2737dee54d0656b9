#include "sim/faults/Treatment.h"

#include <utility>

#include "sim/CardRequests.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

namespace {

/// The daemon's whole exchange is over by then.
constexpr auto kLateTime = std::chrono::seconds(16);
constexpr auto kReorderLimit = std::chrono::milliseconds(100);

constexpr std::size_t kIdOffset = 0;
constexpr std::size_t kCtagOffset = 2;
constexpr std::size_t kLengthOffset = 4;
constexpr std::size_t kResultOffset = 6;
constexpr std::uint16_t kLengthOfResult = 2;

using Bytes = std::vector<std::uint8_t>;

bool holdsU16(const Bytes& bytes, std::size_t offset) {
    return bytes.size() >= offset + 2;
}

std::uint16_t u16At(const Bytes& bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes.at(offset) << 8 | bytes.at(offset + 1));
}

void putU16(Bytes& bytes, std::size_t offset, std::uint16_t value) {
    bytes.at(offset) = static_cast<std::uint8_t>(value >> 8);
    bytes.at(offset + 1) = static_cast<std::uint8_t>(value);
}

/// Writes what is given, or one more than there is.
bool alterU16(Bytes& bytes, std::size_t offset, std::optional<std::uint16_t> given) {
    if (!holdsU16(bytes, offset)) {
        return false;
    }
    const auto before = u16At(bytes, offset);
    putU16(bytes, offset, given.value_or(static_cast<std::uint16_t>(before + 1)));
    return u16At(bytes, offset) != before;
}

}  // namespace

bool treatDrop(Fault&, Treatment& treatment) {
    treatment.dropped = true;
    return true;
}

bool treatDelay(Fault& fault, Treatment& treatment) {
    treatment.delay += fault.settings().time.value_or(kLateTime);
    return true;
}

bool treatDuplicate(Fault& fault, Treatment& treatment) {
    treatment.copies += fault.settings().copies.value_or(1);
    return true;
}

bool treatReorder(Fault& fault, Treatment& treatment) {
    treatment.behindNext = fault.settings().limit.value_or(kReorderLimit);
    return true;
}

bool treatTruncate(Fault& fault, Treatment& treatment) {
    const auto& settings = fault.settings();
    auto& bytes = treatment.bytes;
    const std::size_t cut = settings.bytes.value_or(0);
    if (settings.to ? *settings.to >= bytes.size() : cut > bytes.size()) {
        return false;
    }
    bytes.resize(settings.to ? *settings.to : bytes.size() - cut);
    return true;
}

bool treatFlipBit(Fault& fault, Treatment& treatment) {
    auto& bytes = treatment.bytes;
    const auto bits = 8 * bytes.size();
    const auto& wanted = fault.settings().bit;
    if (bits == 0 || (wanted && *wanted >= bits)) {
        return false;
    }
    const auto bit = wanted ? std::size_t{*wanted}
                            : static_cast<std::size_t>(fault.choose(
                                  treatment.slot, 0, static_cast<std::int64_t>(bits) - 1));
    bytes.at(bit / 8) = static_cast<std::uint8_t>(bytes.at(bit / 8) ^ (0x80U >> (bit % 8)));
    return true;
}

bool treatWrongCtag(Fault&, Treatment& treatment) {
    return alterU16(treatment.bytes, kCtagOffset, {});
}

bool treatWrongId(Fault& fault, Treatment& treatment) {
    return alterU16(treatment.bytes, kIdOffset, fault.settings().id);
}

bool treatWrongLength(Fault& fault, Treatment& treatment) {
    return alterU16(treatment.bytes, kLengthOffset, fault.settings().length);
}

bool treatResult(Fault& fault, Treatment& treatment) {
    auto& bytes = treatment.bytes;
    if (!holdsU16(bytes, kResultOffset)) {
        return false;
    }
    const auto before = bytes;
    bytes.resize(kAnswerHeaderSize);
    putU16(bytes, kLengthOffset, kLengthOfResult);
    putU16(bytes, kResultOffset, *fault.settings().code);
    return bytes != before;
}

bool treatPretend(Fault&, Treatment& treatment) {
    if (!holdsU16(treatment.bytes, kIdOffset) || !isSetting(u16At(treatment.bytes, kIdOffset))) {
        return false;
    }
    treatment.pretended = true;
    return true;
}

std::uint16_t wrongPort(const FaultSettings& settings, std::uint16_t cardPort) {
    const auto neighbour =
        static_cast<std::uint16_t>(cardPort == UINT16_MAX ? cardPort - 1 : cardPort + 1);
    return settings.port.value_or(neighbour);
}

bool treatWrongPort(Fault& fault, Treatment& treatment) {
    const auto before =
        std::exchange(treatment.localPort, wrongPort(fault.settings(), treatment.cardPort));
    return treatment.localPort != before;
}

}  // namespace ponmgr::sim
