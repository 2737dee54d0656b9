#include "sim/DatagramLine.h"

#include "sim/RequestNames.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

namespace {

std::string describeFrame(const JournalEntry& entry) {
    Reader reader(entry.bytes);
    const auto messageId = reader.u16();
    const auto ctag = reader.u16();
    const auto length = reader.u16();
    std::string text(nameOfMessage(messageId));
    text += " (" + std::to_string(messageId) + ") ctag " + std::to_string(ctag) + " length " +
            std::to_string(length);
    if (entry.direction == Direction::fromCard && messageId != id::kOltReady) {
        text += " result " + std::to_string(reader.u16());
        if (messageId > id::kOltReady) {
            text += " sequence " + std::to_string(reader.u16());
        }
    }
    return text;
}

}  // namespace

std::string describeDatagram(const JournalEntry& entry) {
    const bool toCard = entry.direction == Direction::toCard;
    std::string line = "slot " + std::to_string(entry.slot) + (toCard ? " <- " : " -> ") +
                       toText(entry.peer) + ' ';
    line += entry.bytes.size() < kRequestHeaderSize ? std::to_string(entry.size) + " bytes"
                                                    : describeFrame(entry);
    for (const auto fault : entry.faults) {
        line += ", fault " + std::to_string(fault);
    }
    if (!entry.dropped.empty()) {
        line += ", dropped: ";
        line += entry.dropped;
    }
    return line;
}

}  // namespace ponmgr::sim
