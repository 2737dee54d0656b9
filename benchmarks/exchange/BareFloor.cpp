#include "benchmarks/exchange/BareFloor.h"

#include <array>
#include <stdexcept>

namespace ponmgr::bench {

namespace {

constexpr unsigned kPatience = 5000;

}  // namespace

BareFloor::BareFloor(const std::string& source, const sockaddr_in& cardAddress)
    : socket(source, 0), card(cardAddress) {
    socket.setPatience(kPatience);
}

void BareFloor::exchange(unsigned times) {
    std::array<unsigned char, 1500> buffer{};
    sockaddr_in from{};
    for (unsigned i = 0; i < times; i++) {
        socket.send(question.next(), card);
        const std::size_t size = socket.receive(buffer, from);
        if (!question.isAnswer({buffer.data(), size})) {
            throw std::runtime_error("the card didn't answer within 5 s");
        }
    }
}

}  // namespace ponmgr::bench
