#include "sim/RequestNames.h"

#include "sim/CardRequests.h"

namespace ponmgr::sim {

namespace {

struct EventName {
    std::uint16_t id;
    std::string_view name;
};

constexpr EventName kEvents[] = {
    {id::kOltReady, "OLT Ready"},
    {id::kLinkDiscovery, "Link Discovery"},
    {id::kReportAlarm, "Report Alarm"},
    {id::kOnuLinkMoved, "ONU Link Moved Between PON Ports"},
};

}  // namespace

std::string_view nameOfMessage(std::uint16_t id) {
    if (const auto* request = findCardRequest(id)) {
        return request->name;
    }
    for (const auto& event : kEvents) {
        if (event.id == id) {
            return event.name;
        }
    }
    return "unknown";
}

}  // namespace ponmgr::sim
