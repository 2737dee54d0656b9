#include "Property.h"

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <algorithm>
#include <sstream>

namespace ponmgr::test {

namespace {

/// What RC_PARAMS says in "max_success" is per cent of the cases that a property asks for.
constexpr int kPerCent = 100;
constexpr int kFullSize = rc::kNominalSize;
/// Of texts, in characters.
constexpr int kUsualSize = 20;
constexpr int kLongSize = 400;

using CodePoint = std::uint32_t;

rc::Gen<CodePoint> codePoints(CodePoint first, CodePoint last) {
    return rc::gen::resize(kFullSize, rc::gen::inRange(first, last + 1));
}

/// All but zero and the surrogates, which UTF-8 doesn't have.
rc::Gen<CodePoint> anyCodePoint() {
    return rc::gen::weightedOneOf<CodePoint>({
        {4, codePoints(0x20, 0x7E)},
        {2, codePoints(0x01, 0x1F)},
        {2, rc::gen::element<CodePoint>('"', '\\', '/', 'u', 'n', '{', '}', '[', ']', 0x7F)},
        {1, codePoints(0x80, 0x7FF)},
        {1, codePoints(0x800, 0xD7FF)},
        {1, codePoints(0xE000, 0xFFFF)},
        {1, codePoints(0x10000, 0x10FFFF)},
    });
}

void appendUtf8(std::string& text, CodePoint point) {
    const auto tail = [&](unsigned shift) {
        text += static_cast<char>(0x80 | ((point >> shift) & 0x3F));
    };
    if (point < 0x80) {
        text += static_cast<char>(point);
    } else if (point < 0x800) {
        text += static_cast<char>(0xC0 | (point >> 6));
        tail(0);
    } else if (point < 0x10000) {
        text += static_cast<char>(0xE0 | (point >> 12));
        tail(6);
        tail(0);
    } else {
        text += static_cast<char>(0xF0 | (point >> 18));
        tail(12);
        tail(6);
        tail(0);
    }
}

rc::Gen<std::string> texts() {
    const auto points = rc::gen::container<std::vector<CodePoint>>(anyCodePoint());
    const auto sized = rc::gen::weightedOneOf<std::vector<CodePoint>>({
        {19, rc::gen::resize(kUsualSize, points)},
        {1, rc::gen::resize(kLongSize, points)},
    });
    return rc::gen::map(sized, [](const std::vector<CodePoint>& drawn) {
        std::string text;
        for (const CodePoint point : drawn) {
            appendUtf8(text, point);
        }
        return text;
    });
}

/// Drawn at one stroke: the framework's own generator of sequences takes ten times as long.
rc::Gen<Bytes> byteStrings(std::size_t count) {
    return [count](rc::Random random, int) {
        Bytes bytes(count);
        for (auto& byte : bytes) {
            byte = static_cast<std::uint8_t>(random.next());
        }
        return rc::shrinkable::shrinkRecur(bytes, [](const Bytes& drawn) {
            return rc::shrink::eachElement(
                drawn, [](std::uint8_t byte) { return rc::shrink::integral(byte); });
        });
    };
}

}  // namespace

void inRandomCases(int cases, const std::function<void()>& property, Shrinking shrinking) {
    const auto* test = testing::UnitTest::GetInstance()->current_test_info();
    const std::string name = test->test_suite_name() + std::string(".") + test->name();
    auto params = rc::detail::configuration().testParams;
    params.maxSuccess = std::max(1, cases * params.maxSuccess / kPerCent);
    params.disableShrinking = shrinking == Shrinking::off;
    const auto result =
        rc::detail::checkTestable(property, rc::detail::TestMetadata{name, name}, params);
    if (!result.template is<rc::detail::SuccessResult>()) {
        std::ostringstream message;
        rc::detail::printResultMessage(result, message);
        ADD_FAILURE() << message.str() << "\nseed=" << params.seed;
    }
}

std::uint64_t anyNumber(const char* name, std::uint64_t low, std::uint64_t high) {
    return *rc::gen::weightedOneOf<std::uint64_t>(
                {
                    {6, rc::gen::resize(kFullSize, rc::gen::inRange(low, high + 1))},
                    {1, rc::gen::just(low)},
                    {1, rc::gen::just(high)},
                })
                .as(name);
}

Bytes anyBytes(const char* name, std::size_t count) {
    return *byteStrings(count).as(name);
}

std::string anyText(const char* name) {
    static const auto text = texts();
    return *text.as(name);
}

void require(bool holds, const std::string& otherwise) {
    if (!holds) {
        RC_FAIL(otherwise);
    }
}

void requireEqual(const std::string& actual, const std::string& expected, const std::string& what) {
    require(actual == expected, what + ":\n  is        " + actual + "\n  should be " + expected);
}

void requireEqual(std::uint64_t actual, std::uint64_t expected, const std::string& what) {
    requireEqual(std::to_string(actual), std::to_string(expected), what);
}

}  // namespace ponmgr::test
