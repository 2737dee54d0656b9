#include "benchmarks/snmp/DelayRelay.h"

#include <array>

#include "benchmarks/support/Clock.h"
#include "benchmarks/support/UdpEnd.h"

namespace ponmgr::bench {

namespace {

constexpr unsigned kAgentPatience = 2000;

}  // namespace

void relay(const std::string& listen, std::uint16_t listenPort, const std::string& agent,
           std::uint16_t agentPort, std::int64_t delay) {
    UdpEnd client(listen, listenPort);
    UdpEnd towardsAgent(listen, 0);
    towardsAgent.setPatience(kAgentPatience);
    const sockaddr_in agentAddress = ipv4(agent, agentPort);
    std::array<unsigned char, 65535> buffer{};
    sockaddr_in asker{};
    sockaddr_in answerer{};
    for (;;) {
        const std::size_t request = client.receive(buffer, asker);
        const std::int64_t due = steadyNow() + delay;
        towardsAgent.send({buffer.data(), request}, agentAddress);
        const std::size_t answer = towardsAgent.receive(buffer, answerer);
        if (answer == 0) {
            continue;
        }
        sleepUntil(due);
        client.send({buffer.data(), answer}, asker);
    }
}

}  // namespace ponmgr::bench
