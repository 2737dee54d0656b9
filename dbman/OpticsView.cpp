#include "dbman/OpticsView.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <ctime>

#include "dbman/Columns.h"
#include "dbman/FitText.h"
#include "dbman/Plot.h"
#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

constexpr std::size_t kShownValueBytes = 40;
constexpr std::size_t kSecondsEnd = 19;

// What holds the level that an ONU receives, the most telling first.
constexpr std::array kReceiveKeys = {"tx_power_input", "rx_power", "olt_rx_power"};

struct Reading {
    const char* name;
    const char* key;
    const char* unit;
};

constexpr std::array kReadings = {
    Reading{"power out", "tx_power_output", "dBm"},
    Reading{"bias current", "tx_bias_current", "mA"},
    Reading{"temperature", "temperature", "C"},
    Reading{"supply", "supply_voltage", "V"},
};

// Of a card's module, which tells only what it sends.
constexpr std::array kModuleColumns = {
    Column{"time", "time"},
    Column{"port", "port"},
    Column{"power out", "ucOpticModuleOltTxPower"},
    Column{"temperature", "ucOpticModuleOltTemperature", 1},
    Column{"bias current", "ucOpticModuleOltTxBias", 2},
    Column{"supply", "ucOpticModuleOltVcc", 3},
};
constexpr std::size_t kSamplesListed = 10;

std::string viewModuleSamples(const Json& list, const Screen& screen) {
    Json last = Json::array();
    const auto skipped = list.size() - std::min(list.size(), kSamplesListed);
    for (std::size_t index = skipped; index < list.size(); ++index) {
        if (!textOf(list[index], "ucOpticModuleOltTxPower").empty()) {
            last.push_back(list[index]);
        }
    }
    return last.empty() ? "" : viewList(last, kModuleColumns, screen);
}

std::string levelText(double level) {
    std::array<char, 32> text{};
    std::snprintf(text.data(), text.size(), "%.2f dBm", level);
    return text.data();
}

std::string valueLine(const char* what, const LevelSample& sample) {
    return std::string(what) + " " + levelText(sample.level) + " at " + formatUtc(sample.time) +
           "\n";
}

std::string otherReadings(const Json& sample) {
    std::string line;
    for (const auto& reading : kReadings) {
        const auto value = printable(textOf(sample, reading.key), kShownValueBytes);
        if (!value.empty() && value != "-") {
            line += (line.empty() ? "last    " : ", ") + (reading.name + (" " + value + " ")) +
                    reading.unit;
        }
    }
    return line;
}

}  // namespace

std::optional<Time> parseUtc(const std::string& text) {
    std::tm parts{};
    const char* const rest = strptime(text.c_str(), "%Y-%m-%dT%H:%M:%S", &parts);
    if (rest != text.c_str() + kSecondsEnd || !text.ends_with('Z')) {
        return std::nullopt;
    }
    int milliseconds = 0;
    const auto fraction = text.substr(kSecondsEnd, text.size() - kSecondsEnd - 1);
    if (!fraction.empty()) {
        const auto* const last = fraction.data() + fraction.size();
        const auto [end, error] = std::from_chars(fraction.data() + 1, last, milliseconds);
        if (fraction.size() != 4 || fraction[0] != '.' || error != std::errc() || end != last) {
            return std::nullopt;
        }
    }
    return std::chrono::system_clock::from_time_t(timegm(&parts)) +
           std::chrono::milliseconds(milliseconds);
}

std::optional<double> receiveLevelOf(const Json& record) {
    for (const auto* key : kReceiveKeys) {
        const auto text = textOf(record, key);
        double level = 0;
        const auto* const last = text.data() + text.size();
        const auto [end, error] = std::from_chars(text.data(), last, level);
        // Nothing received is minus infinity in dBm, and no level.
        if (error == std::errc() && end == last && std::isfinite(level)) {
            return level;
        }
    }
    return std::nullopt;
}

std::string viewOptics(const Json& answer, const Screen& screen) {
    std::vector<LevelSample> samples;
    std::size_t without = 0;
    const Json list = arrayOf(answer, "samples");
    for (const auto& item : list) {
        const auto level = receiveLevelOf(item);
        const auto time = parseUtc(textOf(item, "time"));
        if (level && time) {
            samples.push_back({*time, *level});
        } else {
            ++without;
        }
    }
    const auto mac = printable(textOf(answer, "mac_address"), kShownValueBytes);
    if (samples.empty()) {
        return "no reading of " + mac + " has a receive level (" + std::to_string(list.size()) +
               " readings)\n" + viewModuleSamples(list, screen);
    }
    const auto [lowest, highest] = std::minmax_element(
        samples.begin(), samples.end(),
        [](const auto& left, const auto& right) { return left.level < right.level; });
    std::string text = fitText("receive level of " + mac + " in dBm", screen.columns) + "\n" +
                       plotLevels(samples, screen);
    text += valueLine("lowest ", *lowest) + valueLine("highest", *highest) +
            valueLine("last   ", samples.back());
    const auto others = otherReadings(list.back());
    text += others.empty() ? "" : others + "\n";
    if (without > 0) {
        text += std::to_string(without) + " of " + std::to_string(list.size()) +
                " readings without a receive level\n";
    }
    return text;
}

}  // namespace ponmgr::dbman
