#include "sim/AnswerPace.h"

#include <algorithm>

namespace ponmgr::sim {

namespace {

/// So that a card's numbers have nothing to do with those of its modules.
constexpr std::uint64_t kPurpose = 0x7061636500000000;

}  // namespace

Duration AnswerPace::delayFor(int slot, TimePoint now) {
    const auto own = kPurpose ^ (std::uint64_t{seed} << 8 | static_cast<unsigned>(slot));
    auto& pace = paces.try_emplace(slot, CardPace{Random(own), {}}).first->second;
    const auto extra = jitter == Duration::zero()
                           ? Duration::zero()
                           : Duration(pace.random.between(0, jitter.count()));
    pace.lastDue = std::max(now + latency + extra, pace.lastDue);
    return pace.lastDue - now;
}

}  // namespace ponmgr::sim
