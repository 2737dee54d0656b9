#include "sim/DatagramLine.h"

#include "sim/RequestNames.h"

namespace ponmgr::sim {

namespace {

std::string describeFrame(const DatagramEvent& event) {
    Reader reader(event.bytes);
    const auto messageId = reader.u16();
    const auto ctag = reader.u16();
    const auto length = reader.u16();
    std::string text(nameOfMessage(messageId));
    text += " (" + std::to_string(messageId) + ") ctag " + std::to_string(ctag) + " length " +
            std::to_string(length);
    if (event.direction == Direction::fromCard && messageId != id::kOltReady) {
        text += " result " + std::to_string(reader.u16());
        if (messageId > id::kOltReady) {
            text += " sequence " + std::to_string(reader.u16());
        }
    }
    return text;
}

}  // namespace

std::string describeDatagram(const DatagramEvent& event) {
    const bool toCard = event.direction == Direction::toCard;
    std::string line = "slot " + std::to_string(event.card.slot) + (toCard ? " <- " : " -> ") +
                       toText(event.peer) + ' ';
    line += event.bytes.size() < kRequestHeaderSize ? std::to_string(event.bytes.size()) + " bytes"
                                                    : describeFrame(event);
    if (!event.dropped.empty()) {
        line += ", dropped: ";
        line += event.dropped;
    }
    return line;
}

}  // namespace ponmgr::sim
