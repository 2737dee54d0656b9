#include "benchmarks/exchange/AnswerArrivals.h"

#include "benchmarks/support/Clock.h"
#include "benchmarks/support/UdpEnd.h"
#include "tk/SocketHelper.h"

namespace ponmgr::bench {

namespace {

constexpr std::size_t kTags = 65536;

}  // namespace

AnswerArrivals::AnswerArrivals(DatagramTransport& sharedSocket, const std::string& cardAddress)
    : transport(sharedSocket), card(ipv4(cardAddress, kTkPort)), arrivals(kTags) {
    transport.registerUDPSocket(this);
}

AnswerArrivals::~AnswerArrivals() {
    transport.unregisterUDPSocket(this);
}

void AnswerArrivals::forget(std::uint16_t tag) {
    arrivals[tag] = 0;
}

std::int64_t AnswerArrivals::firstOf(std::uint16_t tag) const {
    return arrivals[tag];
}

bool AnswerArrivals::hasClientIpAddress(const sockaddr_in& sender) const {
    return sender.sin_addr.s_addr == card.sin_addr.s_addr && sender.sin_port == card.sin_port;
}

bool AnswerArrivals::processRxQueue(std::unique_ptr<TKMessage>& message) {
    std::int64_t none = 0;
    arrivals[message->getCtag()].compare_exchange_strong(none, steadyNow());
    return false;
}

}  // namespace ponmgr::bench
