#include "sim/faults/Fault.h"

#include <utility>

#include "sim/Wire.h"

namespace ponmgr::sim {

namespace {

constexpr std::int64_t kChances = 1'000'000'000;

}  // namespace

Fault::Fault(std::uint32_t ownNumber, FaultSettings given, TimePoint added,
             std::uint32_t randomSeed)
    : number(ownNumber), wanted(std::move(given)), start(added + wanted.start), seed(randomSeed) {
    if (wanted.duration) {
        end = start + *wanted.duration;
    }
}

Fault::State Fault::state(TimePoint now) const {
    const bool usedUp = wanted.count && hitCount >= *wanted.count;
    if (usedUp || (end && now >= *end)) {
        return State::ended;
    }
    return now < start ? State::waiting : State::active;
}

bool Fault::concerns(int slot, Direction direction, std::span<const std::uint8_t> bytes,
                     TimePoint now) const {
    const bool fits = wanted.kind->treat != nullptr && (!wanted.slot || *wanted.slot == slot) &&
                      (direction == Direction::toCard ? wanted.toCard : wanted.fromCard);
    if (!fits || state(now) != State::active) {
        return false;
    }
    Reader reader(bytes);
    const auto messageId = reader.u16();
    const bool answersOnly = wanted.kind->scope == FaultKind::Scope::answers;
    if (answersOnly && (reader.failed() || messageId >= kFirstEventId)) {
        return false;
    }
    return !wanted.messageId || (!reader.failed() && *wanted.messageId == messageId);
}

Random& Fault::randomOf(int slot) {
    const auto own = std::uint64_t{seed} << 32 | (static_cast<std::uint32_t>(slot) << 28 ^ number);
    return randoms.try_emplace(slot, own).first->second;
}

bool Fault::strikes(int slot) {
    return wanted.probability >= 1 || static_cast<double>(choose(slot, 0, kChances - 1)) <
                                          wanted.probability * static_cast<double>(kChances);
}

}  // namespace ponmgr::sim
