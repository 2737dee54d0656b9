#pragma once

#include <cstdint>
#include <map>

#include "sim/Random.h"
#include "sim/TimerQueue.h"

namespace ponmgr::sim {

/// When a card answers: after the latency and up to the jitter more, never before an answer that it
/// owes already.
class AnswerPace {
public:
    /// The same seed gives the same delays.
    AnswerPace(Duration usualLatency, Duration mostJitter, std::uint32_t randomSeed)
        : latency(usualLatency), jitter(mostJitter), seed(randomSeed) {}

    /// Answers take no time at all.
    bool isImmediate() const { return latency == Duration::zero() && jitter == Duration::zero(); }

    /// From now until the answer to a request that has just come to the card in `slot`.
    Duration delayFor(int slot, TimePoint now);

private:
    struct CardPace {
        Random random;
        TimePoint lastDue;
    };

    Duration latency;
    Duration jitter;
    std::uint32_t seed;
    std::map<int, CardPace> paces;
};

}  // namespace ponmgr::sim
