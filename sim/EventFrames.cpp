#include "sim/EventFrames.h"

#include "sim/RequestNames.h"

namespace ponmgr::sim {

void writeLinkDiscovery(Writer& frame, std::uint16_t sequence, const Onu& onu) {
    beginEvent(frame, id::kLinkDiscovery, sequence);
    writeLinkInformation(onu, frame);
    finishEvent(frame);
}

void writeReportAlarm(Writer& frame, std::uint16_t sequence, const Alarm& alarm) {
    beginEvent(frame, id::kReportAlarm, sequence);
    frame.u8(static_cast<std::uint8_t>(alarm.tag));
    frame.copy(alarm.mac);
    if (alarm.tag == EntityTag::oltPort) {
        frame.u16(alarm.port);
    }
    frame.u8(alarm.code);
    frame.u8(alarm.raised ? 1 : 0);
    // How often it has come since the last report, and no further information.
    frame.u8(1);
    frame.u8(0);
    finishEvent(frame);
}

void writeLinkMoved(Writer& frame, std::uint16_t sequence, const MacAddress& mac, std::uint8_t from,
                    std::uint8_t to) {
    beginEvent(frame, id::kOnuLinkMoved, sequence);
    frame.copy(mac);
    frame.u8(from);
    frame.u8(to);
    finishEvent(frame);
}

}  // namespace ponmgr::sim
