#include "dbman/RequestArguments.h"

#include "dbman/Arguments.h"
#include "dbman/Errors.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownValueBytes = 60;

[[noreturn]] void refuse(const std::string& key, const Json& value, const std::string& allowed) {
    throw ArgumentError("\"" + key + "\" " + printable(printJson(value), kShownValueBytes) +
                        " is not allowed: " + allowed);
}

}  // namespace

std::optional<int> optionalSlot(const Json& request) {
    return request.contains("slot") ? std::optional(parseSlot(stringMember(request, "slot")))
                                    : std::nullopt;
}

std::optional<std::string> optionalPort(const Json& request) {
    if (!request.contains("port")) {
        return std::nullopt;
    }
    const auto port = stringMember(request, "port");
    if (port != "0" && port != "1") {
        refuse("port", request["port"], "a port is the text \"0\" or \"1\"");
    }
    return port;
}

bool flagOf(const Json& request, const std::string& key) {
    if (!request.contains(key)) {
        return false;
    }
    if (!request[key].is_boolean()) {
        refuse(key, request[key], "true or false");
    }
    return request[key].get<bool>();
}

std::optional<std::int64_t> optionalNumber(const Json& request, const std::string& key,
                                           std::int64_t first, std::int64_t last) {
    if (!request.contains(key)) {
        return std::nullopt;
    }
    const auto& value = request[key];
    // One past the signed numbers is an unsigned one, which would wrap round.
    const bool fits = value.is_number_integer() &&
                      (!value.is_number_unsigned() ||
                       value.get<std::uint64_t>() <= static_cast<std::uint64_t>(last));
    if (!fits || value.get<std::int64_t>() < first || value.get<std::int64_t>() > last) {
        refuse(key, value,
               "a whole number from " + std::to_string(first) + " to " + std::to_string(last));
    }
    return value.get<std::int64_t>();
}

std::optional<double> optionalLevel(const Json& request) {
    constexpr auto kKey = "below";
    if (!request.contains(kKey)) {
        return std::nullopt;
    }
    const auto& value = request[kKey];
    if (!value.is_number() || value.get<double>() < kLowestLevel ||
        value.get<double>() > kHighestLevel) {
        refuse(kKey, value, "a number of dBm from -60 to 20, such as -25");
    }
    return value.get<double>();
}

std::string addressOf(const Json& request, const std::string& key) {
    return parseHostAddress(stringMember(request, key));
}

std::optional<std::string> optionalAddress(const Json& request, const std::string& key) {
    return request.contains(key) ? std::optional(addressOf(request, key)) : std::nullopt;
}

}  // namespace ponmgr::dbman
