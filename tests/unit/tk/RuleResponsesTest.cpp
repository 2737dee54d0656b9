#include <gtest/gtest.h>

#include <chrono>

#include "ParsedDatagram.h"
#include "support/Bytes.h"
#include "support/ThrownBy.h"
#include "tk/ResponseMessage.h"

namespace ponmgr {
namespace {

using test::cut;
using test::FieldPlace;
using test::firstMissing;
using test::originThrownBy;
using test::parsed;
using test::received;

const std::string kTargetAndFlags = "05 00 0f e9 01 02 03 00 ff  80";

/// A rule of 18 bytes with this fourth byte.
std::string ruleWith(const std::string& fourthByte) {
    return "a1 b2 c3 " + fourthByte + " 05 06 07 08 09 0a 0b 0c 0d 0e 0f 10 11 12";
}

std::string ruleText(const std::string& fourthByte) {
    return "a1b2c3" + fourthByte + "05060708090a0b0c0d0e0f101112";
}

std::string repeated(const std::string& text, std::size_t times) {
    std::string all;
    for (std::size_t i = 0; i < times; i++) {
        all += text;
    }
    return all;
}

std::string parsedRules(const std::string& rulesCount, const std::string& rules) {
    return parsed("01 8f 00 01 05 d0 00 00" + kTargetAndFlags + rulesCount + rules);
}

/// The record as JSON; without rules there is no list.
std::string record(const std::string& rulesCount, const std::string& items) {
    return R"({"flags":"128","id":"0","result":"0","rules_count":")" + rulesCount +
           R"(","target":"05000fe901020300ff")" +
           (items.empty() ? "}" : R"(,"rules":[)" + items + "]}");
}

std::string item(const std::string& rule) {
    return R"({"id":"0","rule":")" + rule + R"("})";
}

constexpr const char* kInvalid = "parseGet_OLT_PortLink_Rules: Invalid OLT Port/Link Rules";

std::string missing(std::size_t offset, std::size_t width) {
    return "parseGet_OLT_PortLink_Rules: Impossible to parse offset=" + std::to_string(offset) +
           ", length=" + std::to_string(width);
}

// ---- what is judged before anything is read

TEST(RuleResponses, RulesOfAnyResultButZeroAreInvalidWhateverTheirData) {
    for (const char* result : {"00 01", "00 02", "00 08", "01 00", "ff ff"}) {
        EXPECT_EQ(parsed(std::string("01 8f 00 01 00 1f") + result + kTargetAndFlags + "01" +
                         ruleWith("01")),
                  kInvalid)
            << result;
        EXPECT_EQ(parsed(std::string("01 8f 00 01 00 02") + result), kInvalid) << result;
    }
}

TEST(RuleResponses, RulesWithALengthFieldOfTenOrLessAreInvalidWhateverTheirData) {
    for (const char* length : {"00 00", "00 02", "00 09", "00 0a"}) {
        EXPECT_EQ(parsed(std::string("01 8f 00 01") + length + "00 00" + kTargetAndFlags + "00"),
                  kInvalid)
            << length;
        EXPECT_EQ(parsed(std::string("01 8f 00 01") + length + "00 00"), kInvalid) << length;
    }
}

TEST(RuleResponses, RulesWithALengthFieldOfElevenOrMoreAreReadToTheEndOfTheirData) {
    for (const char* length : {"00 0b", "00 0c", "01 00", "ff ff"}) {
        EXPECT_EQ(parsed(std::string("01 8f 00 01") + length + "00 00" + kTargetAndFlags + "01" +
                         ruleWith("00")),
                  record("1", item(ruleText("00"))))
            << length;
        EXPECT_EQ(parsed(std::string("01 8f 00 01") + length + "00 00"), missing(0, 9)) << length;
    }
}

// ---- target, flags and count

constexpr FieldPlace kHeadFields[] = {{0, 9}, {9, 1}, {10, 1}};

TEST(RuleResponses, RulesFailOnTheFirstFieldThatDoesNotFit) {
    for (std::size_t length = 0; length < 11; length++) {
        EXPECT_EQ(parsed("01 8f 00 01 00 0d 00 00" + cut(kTargetAndFlags + "00", length)),
                  "parseGet_OLT_PortLink_Rules: " + firstMissing(kHeadFields, length))
            << length << " bytes";
    }
}

TEST(RuleResponses, NoRulesAreNoList) {
    EXPECT_EQ(parsedRules("00", ""), record("0", ""));
    EXPECT_EQ(parsedRules("00", ruleWith("01")), record("0", ""));
}

TEST(RuleResponses, RulesAreKeptInTheirOrder) {
    EXPECT_EQ(parsedRules("02", ruleWith("00") + ruleWith("01")),
              record("2", item(ruleText("00")) + "," + item(ruleText("01"))));
}

TEST(RuleResponses, RulesIgnoreBytesBehindTheirLast) {
    EXPECT_EQ(parsedRules("01", ruleWith("01") + "99"), record("1", item(ruleText("01"))));
    EXPECT_EQ(parsedRules("01", ruleWith("00") + ruleWith("01")),
              record("1", item(ruleText("00"))));
}

TEST(RuleResponses, RulesOfTheLargestCountAreAllRead) {
    const std::string one = item(ruleText("01"));
    EXPECT_EQ(parsedRules("ff", repeated(ruleWith("01"), 255)),
              record("255", repeated(one + ",", 254) + one));
}

TEST(RuleResponses, MoreRulesThanTheDataHoldsFailOnTheFirstMissing) {
    EXPECT_EQ(parsedRules("01", ""), missing(11, 18));
    EXPECT_EQ(parsedRules("01", cut(ruleWith("01"), 1)), missing(11, 18));
    EXPECT_EQ(parsedRules("01", cut(ruleWith("01"), 17)), missing(11, 18));
    EXPECT_EQ(parsedRules("02", ruleWith("01")), missing(29, 18));
    EXPECT_EQ(parsedRules("02", ruleWith("01") + cut(ruleWith("01"), 17)), missing(29, 18));
    EXPECT_EQ(parsedRules("ff", ruleWith("01")), missing(29, 18));
    EXPECT_EQ(parsedRules("ff", repeated(ruleWith("01"), 254)), missing(11 + 254 * 18, 18));
}

// ---- the tails of rules

struct Tail {
    /// Two hexadecimal digits, which are read as decimal ones: tens * 10 + ones - 1 bytes follow,
    /// in one byte's arithmetic, with 49 for 'a' to 54 for 'f'.
    const char* fourthByte;
    std::size_t length;
};

constexpr Tail kTails[] = {
    {"02", 1},   {"05", 4},   {"09", 8},  {"10", 9},   {"12", 11},  {"99", 98},
    {"0a", 48},  {"0f", 53},  {"1a", 58}, {"9f", 143}, {"a0", 233}, {"aa", 26},
    {"c0", 253}, {"c1", 254}, {"c4", 1},  {"f0", 27},  {"fa", 76},  {"ff", 81},
};
static_assert('a' - '0' == 49 && 'f' - '0' == 54);

class RuleTail : public testing::TestWithParam<Tail> {};

INSTANTIATE_TEST_SUITE_P(RuleResponses, RuleTail, testing::ValuesIn(kTails),
                         [](const auto& entry) { return std::string(entry.param.fourthByte); });

TEST_P(RuleTail, BelongsToTheRule) {
    const auto [fourthByte, length] = GetParam();
    EXPECT_EQ(parsedRules("01", ruleWith(fourthByte) + repeated("5a", length)),
              record("1", item(ruleText(fourthByte) + repeated("5a", length))));
}

TEST_P(RuleTail, EndsWhereTheNextRuleBegins) {
    const auto [fourthByte, length] = GetParam();
    EXPECT_EQ(parsedRules("02", ruleWith(fourthByte) + repeated("5a", length) + ruleWith("00")),
              record("2", item(ruleText(fourthByte) + repeated("5a", length)) + "," +
                              item(ruleText("00"))));
}

TEST_P(RuleTail, FailsWhenItIsOneByteShort) {
    const auto [fourthByte, length] = GetParam();
    EXPECT_EQ(parsedRules("01", ruleWith(fourthByte) + repeated("5a", length - 1)),
              missing(29, length));
}

TEST(RuleResponses, RuleOfALengthOfZeroOrOneHasNoTail) {
    // c2 is 51 * 10 + 2 = 512, and c3 one more.
    for (const char* fourthByte : {"00", "01", "c2", "c3"}) {
        EXPECT_EQ(parsedRules("01", ruleWith(fourthByte)), record("1", item(ruleText(fourthByte))));
        EXPECT_EQ(parsedRules("02", ruleWith(fourthByte) + ruleWith("00")),
                  record("2", item(ruleText(fourthByte)) + "," + item(ruleText("00"))))
            << fourthByte;
    }
}

// ---- rules in an event that is shorter than its header

TEST(RuleResponses, RulesInAnEventShorterThanItsHeaderHaveNothingToRead) {
    ResponseMessage responses(std::chrono::milliseconds{0});
    const auto message = received("80 1a 00 01 ff ff 00 00");
    EXPECT_EQ(originThrownBy([&] { responses.parseGet_OLT_PortLink_Rules(message.get()); }),
              missing(0, 9));
}

}  // namespace
}  // namespace ponmgr
