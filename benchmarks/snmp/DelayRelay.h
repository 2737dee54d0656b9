#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <string>

namespace ponmgr::bench {

/// Stands between one client and whoever answers it, a card or an agent, and holds every answer
/// back until `delay` nanoseconds have passed since its request came. So both are equally late,
/// whatever time they take themselves, and the relay's own lateness is in both. Runs until the
/// process is ended. One request at a time, which is what a client that waits for its answers
/// sends. Throws std::system_error.
[[noreturn]] void relay(const std::string& listen, std::uint16_t listenPort,
                        const std::string& agent, std::uint16_t agentPort, std::int64_t delay);

}  // namespace ponmgr::bench
