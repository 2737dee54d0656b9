#include "benchmarks/support/CardQuestion.h"

#include "tk/RequestMessage.h"
#include "tk/TKIDMessage.h"

namespace ponmgr::bench {

namespace {

constexpr std::size_t kResponseHeader = 8;

std::uint16_t numberAt(std::span<const unsigned char> bytes, std::size_t offset) {
    return static_cast<std::uint16_t>(bytes[offset] << 8 | bytes[offset + 1]);
}

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
    return tagOfAnswer(received) == tag;
}

std::optional<std::uint16_t> CardQuestion::tagOfAnswer(std::span<const unsigned char> received) {
    constexpr auto kId = static_cast<std::uint16_t>(TKIDMessage::GetOLTInformation);
    if (received.size() < kResponseHeader || numberAt(received, 0) != kId) {
        return std::nullopt;
    }
    return numberAt(received, 2);
}

}  // namespace ponmgr::bench
