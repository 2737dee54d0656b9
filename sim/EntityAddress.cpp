#include "sim/EntityAddress.h"

#include <vector>

#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

struct PortName {
    const char* name;
    std::uint16_t port;
};

constexpr PortName kPortNames[] = {
    {"0", 0}, {"1", 1}, {"epon-0", 0}, {"epon-1", 1}, {"nni-0", 2}, {"nni-1", 3},
};

constexpr const char* kOltEnd = "olt";

std::vector<std::string> splitAtSlashes(const std::string& text) {
    std::vector<std::string> parts(1);
    for (const char letter : text) {
        if (letter == '/') {
            parts.emplace_back();
        } else {
            parts.back() += letter;
        }
    }
    return parts;
}

[[noreturn]] void refuse(const std::string& option, const std::string& text,
                         const std::string& allowed) {
    throw UsageError(option + ": '" + text + "' can't be used; allowed: " + allowed);
}

std::uint16_t parsePortName(const std::string& option, const std::string& text) {
    for (const auto& entry : kPortNames) {
        if (text == entry.name) {
            return entry.port;
        }
    }
    refuse(option, text, "port 0, 1, epon-0, epon-1, nni-0, nni-1");
}

OnuAddress addressOf(const std::string& option, const std::vector<std::string>& parts) {
    return {parseSlot(option, parts[0]), parsePonPort(option, parts[1]),
            static_cast<std::uint8_t>(parseCount(option, parts[2], kMostOnusPerPort - 1))};
}

}  // namespace

std::uint8_t parsePonPort(const std::string& option, const std::string& text) {
    return static_cast<std::uint8_t>(parseCount(option, text, kPonPorts - 1));
}

OnuAddress parseOnuAddress(const std::string& option, const std::string& text) {
    const auto parts = splitAtSlashes(text);
    if (parts.size() != 3) {
        refuse(option, text, "SLOT/PORT/INDEX, such as 3/0/7");
    }
    return addressOf(option, parts);
}

OnuSelection parseOnuSelection(const std::string& option, const std::string& text) {
    const auto parts = splitAtSlashes(text);
    if (parts.size() > 2) {
        refuse(option, text, "SLOT or SLOT/PORT, such as 3/0");
    }
    OnuSelection selection{parseSlot(option, parts[0]), std::nullopt};
    if (parts.size() == 2) {
        selection.port = parsePonPort(option, parts[1]);
    }
    return selection;
}

PonPort parsePonPortOfSlot(const std::string& option, const std::string& text) {
    const auto parts = splitAtSlashes(text);
    if (parts.size() != 2) {
        refuse(option, text, "SLOT/PORT, such as 5/1");
    }
    return {parseSlot(option, parts[0]), parsePonPort(option, parts[1])};
}

AlarmSubject parseAlarmSubject(const std::string& option, const std::string& text) {
    const auto parts = splitAtSlashes(text);
    AlarmSubject subject;
    if (parts.size() == 2) {
        subject.tag = EntityTag::oltPort;
        subject.slot = parseSlot(option, parts[0]);
        subject.port = parsePortName(option, parts[1]);
    } else if (parts.size() == 3 || (parts.size() == 4 && parts[3] == kOltEnd)) {
        subject.tag = parts.size() == 3 ? EntityTag::onuLink : EntityTag::oltLink;
        subject.onu = addressOf(option, parts);
        subject.slot = subject.onu.slot;
    } else {
        refuse(option, text, "an ONU such as 3/0/7, 3/0/7/olt, or a port such as 3/0, 3/nni-1");
    }
    return subject;
}

}  // namespace ponmgr::sim
