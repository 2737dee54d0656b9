#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

#include "model/Helper.h"

namespace ponmgr::test {

namespace {

constexpr std::time_t kMorningOf5March2024 = 1'709'622'489;  // 07:08:09 UTC

// A clock far from UTC for the duration of a test.
class TimeZone {
public:
    explicit TimeZone(const char* zone) {
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone() {
        unsetenv("TZ");
        tzset();
    }
};

// A file with the given content for the duration of a test.
class File {
public:
    explicit File(const std::string& content)
        : path(testing::TempDir() + "helper-test-" + std::to_string(getpid())) {
        std::ofstream(path, std::ios::binary) << content;
    }
    ~File() { std::remove(path.c_str()); }

    const std::string path;
};

struct Uri {
    std::string path;
    unsigned long id = 4711;
    bool operator==(const Uri&) const = default;
};

Uri parse(const std::string& text) {
    Uri uri;
    Helper::uriParse(text, uri.path, &uri.id);
    return uri;
}

std::string trimmed(std::string text) {
    Helper::trim(text);
    return text;
}

// Whether the text stands for one of the seconds that the call may have seen.
void expectCurrentDateTime(bool compact) {
    const std::time_t before = std::time(nullptr);
    const std::string text = Helper::getCurrentDateTime(compact);
    const std::time_t after = std::time(nullptr);
    std::vector<std::string> seconds;
    for (std::time_t second = before; second <= after; second++) {
        seconds.push_back(Helper::formatDateTime(second, compact));
    }
    EXPECT_THAT(seconds, testing::Contains(text));
}

TEST(HelperTest, ReplaceAllReplacesEveryOccurrence) {
    EXPECT_EQ(Helper::replaceAll("00:11:22:33:44:55", ":", ""), "001122334455");
    EXPECT_EQ(Helper::replaceAll("abcabc", "bc", "-"), "a-a-");
}

TEST(HelperTest, ReplaceAllGoesOnBehindTheInsertedText) {
    EXPECT_EQ(Helper::replaceAll("aa", "a", "aa"), "aaaa");
}

TEST(HelperTest, ReplaceAllScansFromTheLeftWithoutOverlap) {
    EXPECT_EQ(Helper::replaceAll("aaa", "aa", "b"), "ba");
}

TEST(HelperTest, ReplaceAllNeverFindsWhatAReplacementHasMade) {
    EXPECT_EQ(Helper::replaceAll("aabb", "ab", ""), "ab");
}

TEST(HelperTest, ReplaceAllLeavesATextWithoutThePattern) {
    EXPECT_EQ(Helper::replaceAll("text", ":", "-"), "text");
    EXPECT_EQ(Helper::replaceAll("", ":", "-"), "");
    EXPECT_EQ(Helper::replaceAll("a", "aa", "-"), "a");
}

TEST(HelperTest, ReplaceAllOfAnEmptyPatternChangesNothing) {
    EXPECT_EQ(Helper::replaceAll("text", "", "-"), "text");
}

TEST(HelperTest, ACompactDateIsFourteenDigitsDayFirst) {
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024, true), "05032024070809");
}

TEST(HelperTest, ALongDateHasSlashesAndColons) {
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024, false), "05/03/2024 07:08:09");
}

TEST(HelperTest, AnAfternoonHasTwentyFourHours) {
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024 + 12 * 3600, true), "05032024190809");
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024 + 12 * 3600, false),
              "05/03/2024 19:08:09");
}

TEST(HelperTest, DatesAreUtcWhateverTheTimeZone) {
    const TimeZone zone("EAST-11:30");
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024, true), "05032024070809");
    EXPECT_EQ(Helper::formatDateTime(kMorningOf5March2024, false), "05/03/2024 07:08:09");
}

TEST(HelperTest, TheFirstSecondOf1970IsADate) {
    EXPECT_EQ(Helper::formatDateTime(0, true), "01011970000000");
}

TEST(HelperTest, TheCurrentDateIsThatOfTheClock) {
    expectCurrentDateTime(true);
    expectCurrentDateTime(false);
}

TEST(HelperTest, TheCurrentDateIsUtcWhateverTheTimeZone) {
    const TimeZone zone("WEST+9");
    expectCurrentDateTime(true);
    expectCurrentDateTime(false);
}

TEST(HelperTest, ANumberHasTwoDecimals) {
    EXPECT_EQ(Helper::toStringNumber(-45.678), "-45.68");
    EXPECT_EQ(Helper::toStringNumber(0), "0.00");
    EXPECT_EQ(Helper::toStringNumber(3), "3.00");
    EXPECT_EQ(Helper::toStringNumber(0.004), "0.00");
    EXPECT_EQ(Helper::toStringNumber(99.999), "100.00");
}

TEST(HelperTest, ASmallNegativeNumberKeepsItsSign) {
    EXPECT_EQ(Helper::toStringNumber(-0.001), "-0.00");
}

TEST(HelperTest, ANumberOfNineCharactersIsWhole) {
    EXPECT_EQ(Helper::toStringNumber(123456.78), "123456.78");
    EXPECT_EQ(Helper::toStringNumber(-12345.67), "-12345.67");
}

TEST(HelperTest, ALongerNumberIsCutToNineCharacters) {
    EXPECT_EQ(Helper::toStringNumber(1234567.89), "1234567.8");
    EXPECT_EQ(Helper::toStringNumber(-123456.78), "-123456.7");
    EXPECT_EQ(Helper::toStringNumber(12345678.9), "12345678.");
    EXPECT_EQ(Helper::toStringNumber(123456789.0), "123456789");
    EXPECT_EQ(Helper::toStringNumber(1e300), "100000000");
    EXPECT_EQ(Helper::toStringNumber(std::numeric_limits<double>::lowest()), "-17976931");
}

TEST(HelperTest, WhatIsNoNumberIsPrintedByName) {
    EXPECT_EQ(Helper::toStringNumber(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(Helper::toStringNumber(-std::numeric_limits<double>::infinity()), "-inf");
    EXPECT_EQ(Helper::toStringNumber(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(Helper::toStringNumber(std::copysign(std::nan(""), -1.0)), "-nan");
}

TEST(HelperTest, HexadecimalOfWidthZeroHasNoPadding) {
    EXPECT_EQ(Helper::toStringHex(255, 0), "FF");
    EXPECT_EQ(Helper::toStringHex(0, 0), "0");
    EXPECT_EQ(Helper::toStringHex(0xFFFFFFFF, 0), "FFFFFFFF");
}

TEST(HelperTest, HexadecimalIsPaddedWithZeros) {
    EXPECT_EQ(Helper::toStringHex(255, 4), "00FF");
    EXPECT_EQ(Helper::toStringHex(0, 1), "0");
    EXPECT_EQ(Helper::toStringHex(0xABCDEF, 16), "0000000000ABCDEF");
}

TEST(HelperTest, HexadecimalIsNeverCutToItsWidth) {
    EXPECT_EQ(Helper::toStringHex(255, 1), "FF");
    EXPECT_EQ(Helper::toStringHex(0xDEADBEEF, 4), "DEADBEEF");
}

TEST(HelperTest, HexadecimalTakesTheWidestWidth) {
    const std::string zeros(251, '0');
    EXPECT_EQ(Helper::toStringHex(0x1A2B, 255), zeros + "1A2B");
}

TEST(HelperTest, AUriEndsInItsNumber) {
    EXPECT_EQ(parse("/slot/onu/12"), (Uri{"/slot/onu", 12}));
    EXPECT_EQ(parse("/0"), (Uri{"", 0}));
    EXPECT_EQ(parse("slot/010"), (Uri{"slot", 10}));
}

TEST(HelperTest, AUriWithoutANumberIsAllPath) {
    EXPECT_EQ(parse("/slot/onu/x"), (Uri{"/slot/onu/x", 0}));
    EXPECT_EQ(parse("/slot/onu/"), (Uri{"/slot/onu/", 0}));
    EXPECT_EQ(parse("/slot/12/onu"), (Uri{"/slot/12/onu", 0}));
}

TEST(HelperTest, AUriWithoutASlashIsAllPath) {
    EXPECT_EQ(parse("12"), (Uri{"12", 0}));
    EXPECT_EQ(parse(""), (Uri{"", 0}));
}

TEST(HelperTest, AUriNumberIsReadAsFarAsItGoes) {
    EXPECT_EQ(parse("/slot/12x"), (Uri{"/slot", 12}));
    EXPECT_EQ(parse("/slot/0x10"), (Uri{"/slot", 0}));
}

TEST(HelperTest, AUriNumberMayBeTheLargest) {
    EXPECT_EQ(parse("/slot/18446744073709551615"),
              (Uri{"/slot", std::numeric_limits<unsigned long>::max()}));
}

TEST(HelperTest, AUriNumberOutOfRangeIsPath) {
    EXPECT_EQ(parse("/slot/18446744073709551616"), (Uri{"/slot/18446744073709551616", 0}));
}

TEST(HelperTest, AUriMayBeParsedIntoItself) {
    std::string text = "/slot/onu/12";
    unsigned long id = 0;
    Helper::uriParse(text, text, &id);
    EXPECT_EQ(text, "/slot/onu");
    EXPECT_EQ(id, 12U);
}

TEST(HelperTest, PostIsSetWhateverItsCase) {
    EXPECT_EQ(Helper::httpRequestToAction("POST"), "set");
    EXPECT_EQ(Helper::httpRequestToAction("post"), "set");
    EXPECT_EQ(Helper::httpRequestToAction("pOsT"), "set");
}

TEST(HelperTest, EveryOtherMethodIsGet) {
    for (const char* method : {"GET", "PUT", "POS", "POSTS", " POST", "set", ""}) {
        EXPECT_EQ(Helper::httpRequestToAction(method), "get") << method;
    }
}

TEST(HelperTest, AFileIsReadWholeWhateverItsLength) {
    for (const std::size_t length : {0U, 1U, 998U, 999U, 1000U, 1998U, 1999U, 100'000U}) {
        std::string content(length, 'x');
        if (!content.empty()) {
            content.back() = 'y';
        }
        const File file(content);
        EXPECT_EQ(Helper::getAllContentFile(file.path), content) << length;
    }
}

TEST(HelperTest, AFileIsReadByteByByte) {
    const std::string content("a\0b\r\n\x1a\xff\n", 8);
    const File file(content);
    EXPECT_EQ(Helper::getAllContentFile(file.path), content);
}

TEST(HelperTest, AFileThatCannotBeReadIsEmpty) {
    EXPECT_EQ(Helper::getAllContentFile("/there/is/no/such/file"), "");
    EXPECT_EQ(Helper::getAllContentFile("/"), "");
    EXPECT_EQ(Helper::getAllContentFile(""), "");
}

TEST(HelperTest, AValidNumberIsReadInDecimal) {
    EXPECT_EQ(Helper::getValidNumber("12"), 12);
    EXPECT_EQ(Helper::getValidNumber("010"), 10);
    EXPECT_EQ(Helper::getValidNumber("-5"), -5);
    EXPECT_EQ(Helper::getValidNumber(" +7"), 7);
    EXPECT_EQ(Helper::getValidNumber("12abc"), 12);
    EXPECT_EQ(Helper::getValidNumber("2147483647"), 2147483647);
    EXPECT_EQ(Helper::getValidNumber("-2147483648"), std::numeric_limits<int>::min());
}

TEST(HelperTest, WhatIsNoValidNumberIsMinusOne) {
    for (const char* text :
         {"", " ", "x", "x12", "-", "2147483648", "-2147483649", "99999999999999999999999"}) {
        EXPECT_EQ(Helper::getValidNumber(text), -1) << text;
    }
}

TEST(HelperTest, TrimRemovesWhiteSpaceAtBothEnds) {
    EXPECT_EQ(trimmed(" \t\n\v\f\ra b\r\n "), "a b");
    EXPECT_EQ(trimmed("a "), "a");
    EXPECT_EQ(trimmed(" a"), "a");
    EXPECT_EQ(trimmed("a \t b"), "a \t b");
}

TEST(HelperTest, TrimOfNothingButWhiteSpaceIsEmpty) {
    EXPECT_EQ(trimmed(" \t\n"), "");
    EXPECT_EQ(trimmed(""), "");
}

TEST(HelperTest, TrimKeepsBytesAboveAscii) {
    EXPECT_EQ(trimmed(" \xc3\xa9\xa0 "), "\xc3\xa9\xa0");
}

}  // namespace

}  // namespace ponmgr::test
