#include "sim/RequestNames.h"

#include <strings.h>

#include <charconv>
#include <optional>
#include <vector>

#include "sim/CardRequests.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

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

struct NamedMessage {
    std::uint16_t id;
    std::string name;
};

std::vector<NamedMessage> allMessages() {
    std::vector<NamedMessage> messages;
    for (const auto& request : cardRequests()) {
        messages.push_back({request.id, std::string(request.name)});
    }
    for (const auto& event : kEvents) {
        messages.push_back({event.id, std::string(event.name)});
    }
    return messages;
}

std::optional<std::uint16_t> numberIn(const std::string& text) {
    const bool hex = text.starts_with("0x");
    const auto* const end = text.data() + text.size();
    std::uint16_t value = 0;
    const auto [stop, error] =
        std::from_chars(text.data() + (hex ? 2 : 0), end, value, hex ? 16 : 10);
    return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

}  // namespace

std::uint16_t parseMessageId(const std::string& option, const std::string& text) {
    if (const auto number = numberIn(text)) {
        return *number;
    }
    std::vector<std::string> names;
    for (const auto& message : allMessages()) {
        if (strcasecmp(message.name.c_str(), text.c_str()) == 0) {
            return message.id;
        }
        names.push_back(message.name);
    }
    throw UsageError(option + ": '" + text +
                     "' can't be used; allowed: a number up to 65535, such as 7 or 0x0007, and " +
                     joined(names));
}

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
