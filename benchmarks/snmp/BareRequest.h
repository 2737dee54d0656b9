#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>

#include "benchmarks/support/UdpEnd.h"

namespace ponmgr::bench {

/// How late an agent answers, told by the least that can ask it: one thread that sends the same
/// request again and again, and of what came looks at its kind alone.
class BareRequest {
public:
    BareRequest(const std::string& agent, std::uint16_t port);

    /// So many requests for the first row, each waited for. Throws std::runtime_error when the
    /// agent is silent for five seconds, std::system_error when the system refuses.
    void get(unsigned times);

private:
    sockaddr_in agent;
    UdpEnd socket;
};

}  // namespace ponmgr::bench
