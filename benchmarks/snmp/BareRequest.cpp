#include "benchmarks/snmp/BareRequest.h"

#include <array>
#include <stdexcept>

namespace ponmgr::bench {

namespace {

constexpr const char* kSource = "127.0.0.1";
constexpr unsigned kPatience = 5000;

/// Version 2c, community public; one request for the first row of the table, which is a null there.
constexpr std::array<unsigned char, 45> kGet{
    0x30, 0x2B, 0x02, 0x01, 0x01,                          // version
    0x04, 0x06, 'p',  'u',  'b',  'l',  'i',  'c',         // community
    0xA0, 0x1E, 0x02, 0x01, 0x01,                          // get, number 1
    0x02, 0x01, 0x00, 0x02, 0x01, 0x00,                    // no error, at no place
    0x30, 0x13, 0x30, 0x11, 0x06, 0x0D,                    // one name
    0x2B, 0x06, 0x01, 0x04, 0x01, 0xBF, 0x08, 0xCE, 0x0F,  // 1.3.6.1.4.1.8072.9999
    0xCE, 0x0F, 0x01, 0x01, 0x05, 0x00,                    // .9999.1.1, and no value
};
constexpr std::size_t kKindAt = 13;
constexpr unsigned char kResponse = 0xA2;

}  // namespace

BareRequest::BareRequest(const std::string& address, std::uint16_t port)
    : agent(ipv4(address, port)), socket(kSource, 0) {
    socket.setPatience(kPatience);
}

void BareRequest::get(unsigned times) {
    std::array<unsigned char, 1500> buffer{};
    sockaddr_in from{};
    for (unsigned i = 0; i < times; i++) {
        socket.send(kGet, agent);
        if (socket.receive(buffer, from) <= kGet.size() || buffer[kKindAt] != kResponse) {
            throw std::runtime_error("the agent didn't answer within 5 s with a row");
        }
    }
}

}  // namespace ponmgr::bench
