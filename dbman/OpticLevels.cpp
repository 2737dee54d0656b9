#include "dbman/OpticLevels.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace ponmgr::dbman {

namespace {

constexpr std::array kOnuKeys = {"temperature", "supply_voltage", "tx_bias_current",
                                 "tx_power_output", "tx_power_input"};
constexpr std::array kModuleKeys = {"ucOpticModuleOltTemperature", "ucOpticModuleOltVcc",
                                    "ucOpticModuleOltTxBias", "ucOpticModuleOltTxPower"};
constexpr auto kReceivedKey = "tx_power_input";
constexpr auto kNotRead = "-";

template <typename Keys>
Record pick(const Record& record, const Keys& keys) {
    Record levels;
    for (const auto* key : keys) {
        const auto found = record.find(key);
        if (found != record.end()) {
            levels.insert(*found);
        }
    }
    return levels;
}

}  // namespace

Record onuLevels(const Record& onu) {
    return pick(onu, kOnuKeys);
}

Record moduleLevels(const Record& module) {
    return pick(module, kModuleKeys);
}

bool hasReading(const Record& levels) {
    return std::any_of(levels.begin(), levels.end(), [](const auto& level) {
        return !level.second.empty() && level.second != kNotRead;
    });
}

std::optional<double> receivedLevel(const Record& onu) {
    const auto text = valueOf(onu, kReceivedKey);
    double level = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), level);
    const bool isNumber = error == std::errc() && end == text.data() + text.size();
    return isNumber && !std::isnan(level) ? std::optional(level) : std::nullopt;
}

}  // namespace ponmgr::dbman
