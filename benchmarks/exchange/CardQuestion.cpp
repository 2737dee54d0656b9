#include "benchmarks/exchange/CardQuestion.h"

#include <algorithm>

#include "tk/RequestMessage.h"

namespace ponmgr::bench {

namespace {

constexpr std::size_t kIdAndTag = 4;
constexpr std::size_t kResponseHeader = 8;

}  // namespace

CardQuestion::CardQuestion() {
    RequestMessage requests;
    requests.addGetOLTInformation();
    const TKMessage& request = *requests.getAll().front();
    datagram.assign(request.getMessage(), request.getMessage() + request.getSize());
}

std::span<const unsigned char> CardQuestion::next() {
    tag++;
    datagram[2] = static_cast<unsigned char>(tag >> 8);
    datagram[3] = static_cast<unsigned char>(tag & 0xFF);
    return datagram;
}

bool CardQuestion::isAnswer(std::span<const unsigned char> received) const {
    return received.size() >= kResponseHeader &&
           std::equal(datagram.begin(), datagram.begin() + kIdAndTag, received.begin());
}

}  // namespace ponmgr::bench
