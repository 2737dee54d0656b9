#pragma once

#include <netinet/in.h>

#include <string>

#include "benchmarks/support/CardQuestion.h"
#include "benchmarks/support/UdpEnd.h"

namespace ponmgr::bench {

/// What an exchange costs at the very least: one thread that sends, receives, and of what came
/// looks at size, id and tag alone, so as to know that it is the answer.
class BareFloor {
public:
    BareFloor(const std::string& source, const sockaddr_in& card);

    /// Throws std::runtime_error when the card is silent for five seconds.
    void exchange(unsigned times);

private:
    UdpEnd socket;
    sockaddr_in card;
    CardQuestion question;
};

}  // namespace ponmgr::bench
