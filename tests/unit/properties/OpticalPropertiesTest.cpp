// Readings of optical modules. In a diagnosis they are words. In a statistic a card can send 64
// bits; what no int holds is refused.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "Property.h"
#include "tk/TKHelper.h"

namespace ponmgr {
namespace {

using test::any;
using test::anyNumber;
using test::inRandomCases;
using test::require;

constexpr int kCases = 1000;
constexpr std::size_t kLongestText = 9;
/// A text that isn't cut off has at most so many characters before its point.
constexpr std::size_t kUncutPoint = kLongestText - 3;
/// Half of the last decimal, and what binary fractions are off.
constexpr double kRounding = 0.005 + 1e-9;

struct Conversion {
    const char* name;
    std::string (*convert)(const std::string& raw);
    /// The reading in its unit, of a raw value above 0.
    double (*exact)(double raw);
};

constexpr Conversion kConversions[] = {
    {"temperature", &TKHelper::toCelsius_Temperature, [](double raw) { return raw / 256; }},
    {"supply voltage", &TKHelper::toVoltage_VCC, [](double raw) { return raw * 100e-6; }},
    {"bias current", &TKHelper::toMiliAmps_Current, [](double raw) { return raw * 2e-3; }},
    {"power", &TKHelper::todBm_Power, [](double raw) { return 10 * std::log10(raw * 1e-4); }},
};

std::string shown(const Conversion& conversion, std::uint64_t raw) {
    return conversion.convert(std::to_string(raw));
}

double reading(const Conversion& conversion, std::uint64_t raw) {
    return std::stod(shown(conversion, raw));
}

std::string said(const Conversion& conversion, std::uint64_t raw) {
    return std::string(conversion.name) + " of " + std::to_string(raw) + " is shown as '" +
           shown(conversion, raw) + "'";
}

bool isRefused(const Conversion& conversion, std::uint64_t raw) {
    try {
        (void)shown(conversion, raw);
    } catch (const std::out_of_range&) {
        return true;
    }
    return false;
}

/// Digits, perhaps behind a minus sign, with one point among them and two decimals behind it; fewer
/// only when the text is cut off at its longest.
bool isNumberOfTwoDecimals(const std::string& text) {
    const std::string digits = text.starts_with('-') ? text.substr(1) : text;
    const std::size_t point = digits.find('.');
    if (point == std::string::npos || point == 0) {
        return false;
    }
    const bool isCut = text.size() - digits.size() + point > kUncutPoint;
    const bool hasTwo = digits.size() - point == 3;
    return std::count_if(digits.begin(), digits.end(),
                         [](unsigned char digit) { return std::isdigit(digit) != 0; }) +
                   1 ==
               static_cast<std::ptrdiff_t>(digits.size()) &&
           (isCut ? text.size() == kLongestText : hasTwo);
}

void requireMonotone(std::uint64_t lower, std::uint64_t higher) {
    for (const auto& conversion : kConversions) {
        require(reading(conversion, lower) <= reading(conversion, higher),
                said(conversion, lower) + ", and " + said(conversion, higher));
    }
}

TEST(OpticalProperties, AHigherRawValueIsNeverShownAsALowerReading) {
    inRandomCases(kCases, [] {
        const auto left = anyNumber("one raw value", 0, INT_MAX);
        const auto right = anyNumber("another raw value", 0, INT_MAX);
        requireMonotone(std::min(left, right), std::max(left, right));
    });
}

TEST(OpticalProperties, ASlightlyHigherRawValueOfAWordIsNeverShownAsALowerReading) {
    inRandomCases(kCases, [] {
        const auto raw = any<std::uint16_t>("raw value");
        requireMonotone(raw, raw + anyNumber("difference", 0, 300));
    });
}

TEST(OpticalProperties, AReadingHasTwoDecimalsAndAtMostNineCharacters) {
    inRandomCases(kCases, [] {
        const auto raw = anyNumber("raw value", 1, any<bool>("a word") ? UINT16_MAX : INT_MAX);
        for (const auto& conversion : kConversions) {
            const auto text = shown(conversion, raw);
            require(text.size() <= kLongestText && isNumberOfTwoDecimals(text),
                    said(conversion, raw));
        }
    });
}

TEST(OpticalProperties, AReadingIsWithinARoundingOfItsExactValue) {
    inRandomCases(kCases, [] {
        const auto raw = anyNumber("raw value", 1, UINT16_MAX);
        for (const auto& conversion : kConversions) {
            const double exact = conversion.exact(static_cast<double>(raw));
            require(std::abs(reading(conversion, raw) - exact) <= kRounding,
                    said(conversion, raw) + ", exactly " + std::to_string(exact));
        }
    });
}

TEST(OpticalProperties, ARawValueThatNoIntHoldsIsRefused) {
    inRandomCases(kCases, [] {
        constexpr std::uint64_t kLeast = std::uint64_t{INT_MAX} + 1;
        const auto raw =
            anyNumber("raw value", kLeast, any<bool>("32 bits") ? UINT32_MAX : UINT64_MAX - 1);
        for (const auto& conversion : kConversions) {
            require(isRefused(conversion, raw),
                    std::string(conversion.name) + " of " + std::to_string(raw) + " is shown");
        }
    });
}

}  // namespace
}  // namespace ponmgr
