#pragma once

#include <chrono>

#include "tk/ResponseMessage.h"
#include "tk/UDPSocket.h"

namespace ponmgr {

/// All waiting of one slot.
struct PONCardTiming {
    ExchangeTiming exchange;
    std::chrono::milliseconds acceptedLaterPause = ResponseMessage::kAcceptedLaterPause;
    /// Between two passes of the main loop; an idle slot also sleeps it inside the pass.
    std::chrono::milliseconds passPause{1000};
    /// Between two probes.
    std::chrono::milliseconds probePause{10'000};
    /// How much later than its neighbour below a slot begins to probe.
    std::chrono::milliseconds probeStagger{1000};
};

}  // namespace ponmgr
