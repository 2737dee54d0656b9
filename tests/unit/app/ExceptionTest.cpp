#include <gtest/gtest.h>

#include <exception>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>

#include "app/Exception.h"

namespace ponmgr::test {

namespace {

static_assert(std::is_base_of_v<std::exception, Exception>);

TEST(ExceptionTest, WhatIsFunctionLineAndMessage) {
    EXPECT_STREQ(Exception("X", "f", 7).what(), "f[7]: X");
}

TEST(ExceptionTest, WhatOfALongMessageIsWhole) {
    EXPECT_STREQ(Exception("Data on task can't be null", "parseTask", 43).what(),
                 "parseTask[43]: Data on task can't be null");
}

TEST(ExceptionTest, AnEmptyMessageLeavesTheColonAndABlank) {
    EXPECT_STREQ(Exception("", "f", 7).what(), "f[7]: ");
}

TEST(ExceptionTest, TheMessageAloneIsKeptAsItWasThrown) {
    EXPECT_EQ(Exception(" 100% of 'it'\n", "f", 7).getMessage(), " 100% of 'it'\n");
}

TEST(ExceptionTest, AMessageIsNoFormat) {
    EXPECT_STREQ(Exception("%s%n%d", "f", 7).what(), "f[7]: %s%n%d");
}

TEST(ExceptionTest, LinesArePrintedInDecimalWithTheirSign) {
    EXPECT_STREQ(Exception("X", "f", 0).what(), "f[0]: X");
    EXPECT_STREQ(Exception("X", "f", -1).what(), "f[-1]: X");
    EXPECT_STREQ(Exception("X", "f", std::numeric_limits<int>::max()).what(), "f[2147483647]: X");
}

TEST(ExceptionTest, IsCaughtAsAStandardException) {
    try {
        throw Exception("X", "f", 7);
    } catch (const std::exception& caught) {
        EXPECT_STREQ(caught.what(), "f[7]: X");
    }
}

TEST(ExceptionTest, ItsTextsOutliveTheStringsThatItWasMadeOf) {
    const std::string message(100, 'm');
    const std::string function(100, 'f');
    std::unique_ptr<Exception> exception;
    {
        const std::string shortLivedMessage = message;
        const std::string shortLivedFunction = function;
        exception = std::make_unique<Exception>(shortLivedMessage, shortLivedFunction.c_str(), 7);
    }
    EXPECT_EQ(exception->what(), function + "[7]: " + message);
    EXPECT_EQ(exception->getMessage(), message);
}

TEST(ExceptionTest, ACopySaysTheSame) {
    const Exception original("X", "f", 7);
    const Exception copy(original);  // NOLINT(performance-unnecessary-copy-initialization)
    EXPECT_STREQ(copy.what(), "f[7]: X");
    EXPECT_EQ(copy.getMessage(), "X");
}

void throwHere() {
    PONMGR_THROW("thrown");
}

TEST(ExceptionTest, TheThrowMacroNamesItsFunctionAndLine) {
    constexpr int kLineOfTheThrow = __LINE__ - 4;
    try {
        throwHere();
        FAIL() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_EQ(exception.what(), "throwHere[" + std::to_string(kLineOfTheThrow) + "]: thrown");
    }
}

void throwWithALineOfItsOwn() {
    PONMGR_THROW_LINE("thrown", 4711);
}

TEST(ExceptionTest, TheThrowLineMacroNamesItsFunctionAndTheGivenLine) {
    try {
        throwWithALineOfItsOwn();
        FAIL() << "nothing was thrown";
    } catch (const Exception& exception) {
        EXPECT_STREQ(exception.what(), "throwWithALineOfItsOwn[4711]: thrown");
    }
}

}  // namespace

}  // namespace ponmgr::test
