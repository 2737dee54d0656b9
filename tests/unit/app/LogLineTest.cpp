#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "RecordedOutput.h"
#include "app/LogLine.h"
#include "support/PrintedText.h"
#include "unit/tk/FailingAllocation.h"

using testing::ElementsAre;
using testing::Pair;

namespace ponmgr::test {

namespace {

TEST(LogLineTest, ALineIsItsTextAndALineEnd) {
    EXPECT_EQ(textOf([] { printLine("the text"); }), "the text\n");
}

TEST(LogLineTest, AnEmptyLineIsALineEnd) {
    EXPECT_EQ(textOf([] { printLine(""); }), "\n");
}

TEST(LogLineTest, ALineIsNoFormat) {
    EXPECT_EQ(textOf([] { printLine("%s %n 100%"); }), "%s %n 100%\n");
}

TEST(LogLineTest, AZeroByteDoesNotEndALine) {
    EXPECT_EQ(textOf([] { printLine(std::string("a\0b", 3)); }), std::string("a\0b\n", 4));
}

TEST(LogLineTest, UnendedTextIsWrittenAtOnceWithoutALineEnd) {
    EXPECT_THAT(writesOf([] { printUnended("..."); }), ElementsAre("..."));
}

TEST(LogLineTest, UnendedTextIsWrittenAtOnceToAStartedLogToo) {
    const auto writes = writesOf([] {
        startLog();
        printUnended("...");
    });
    EXPECT_THAT(writes, ElementsAre("..."));
}

TEST(LogLineTest, AnUnknownErrorNamesTheOperation) {
    EXPECT_EQ(textOf([] { printUnknownError("setcJsonData"); }), "Unknown Error at setcJsonData\n");
}

TEST(LogLineTest, WithoutMemoryTheLinesAreTheSame) {
    const Exception exception("a text that is too long for a short string", "function", 7);
    EXPECT_EQ(textOf([&] {
                  const FailingAllocation noMemory(FailingAllocation::Kind::Throwing);
                  printLine(exception.what());
                  printLine("Exception: ", exception.what());
                  printUnknownError("doGetAllOnuInformation");
                  printException("threadNotifyWorker", 98, exception);
                  printUnexpectedException("threadNotifyWorker", 100);
                  printReceiveError("threadWorker", 129, "no memory for a message");
              }),
              "function[7]: a text that is too long for a short string\n"
              "Exception: function[7]: a text that is too long for a short string\n"
              "Unknown Error at doGetAllOnuInformation\n"
              "threadNotifyWorker[98]: Exception: function[7]: a text that is too long for a short "
              "string\n"
              "threadNotifyWorker[100]: Unexpected exception\n"
              "threadWorker[129]-Error: no memory for a message\n");
}

// It is flushed at once, and what records other lines takes memory for that.
TEST(LogLineTest, WithoutMemoryUnendedTextIsTheSame) {
    EXPECT_EQ(textPrintedBy([] {
                  const FailingAllocation noMemory(FailingAllocation::Kind::Throwing);
                  printUnended("doGetAllOnuQueue", " - ONU not found: ", "00:0f:e9:00:00:ff");
              }),
              "doGetAllOnuQueue - ONU not found: 00:0f:e9:00:00:ff");
}

TEST(LogLineTest, AnExceptionIsPrintedByItsWhat) {
    EXPECT_EQ(textOf([] { printException("handlerApiRequest", 102, Exception("X", "f", 7)); }),
              "handlerApiRequest[102]: Exception: f[7]: X\n");
}

TEST(LogLineTest, AnUnexpectedExceptionIsPrintedByItsPlace) {
    EXPECT_EQ(textOf([] { printUnexpectedException("threadWorker", 138); }),
              "threadWorker[138]: Unexpected exception\n");
}

TEST(LogLineTest, AReceiveErrorHasNoBlankBeforeError) {
    EXPECT_EQ(textOf([] { printReceiveError("threadWorker", 129, "no message"); }),
              "threadWorker[129]-Error: no message\n");
}

TEST(LogLineTest, AFatalErrorIsWrittenAtOnce) {
    EXPECT_THAT(writesOf([] { printFatalError("threadNotifyWorker", 76, "nobody listens"); }),
                ElementsAre("Fatal Error - threadNotifyWorker[76]: nobody listens\n"));
}

TEST(LogLineTest, AFatalErrorTakesAllEarlierLinesWithIt) {
    const auto writes = writesOf([] {
        printLine("earlier");
        printFatalError("f", 7, "X");
    });
    EXPECT_THAT(writes, ElementsAre("earlier\nFatal Error - f[7]: X\n"));
}

TEST(LogLineTest, EachLineOfAStartedLogIsWrittenAtOnceAndWhole) {
    const auto writes = writesOf([] {
        startLog();
        printLine("first");
        printException("f", 7, Exception("second", "g", 8));
        printUnknownError("third");
        printUnexpectedException("f", 4);
        printReceiveError("f", 5, "fifth");
        printFatalError("f", 6, "sixth");
    });
    EXPECT_THAT(writes, ElementsAre("first\n", "f[7]: Exception: g[8]: second\n",
                                    "Unknown Error at third\n", "f[4]: Unexpected exception\n",
                                    "f[5]-Error: fifth\n", "Fatal Error - f[6]: sixth\n"));
}

TEST(LogLineTest, ALongLineIsOneWriteToo) {
    const std::string text(50'000, 'x');
    const auto writes = writesOf([&] {
        startLog();
        printLine(text);
    });
    ASSERT_EQ(writes.size(), 1U);
    EXPECT_EQ(writes.front(), text + "\n");
}

TEST(LogLineTest, AVeryLongLineIsWhole) {
    const std::string text(1'048'576, 'x');
    const auto written = textOf([&] {
        startLog();
        printLine(text);
    });
    EXPECT_TRUE(written == text + "\n");
}

TEST(LogLineTest, AfterALineThatTheDiskHadNoRoomForTheNextBeginsALineOfItsOwn) {
    const auto text = textOnDiskOf(8, [](const auto& makeRoom) {
        startLog();
        printLine("first");
        printLine("second");  // two bytes of it
        printLine("lost");
        makeRoom(100);
        printLine("fourth");
        printLine("fifth");
    });
    EXPECT_EQ(text, "first\nse\nfourth\nfifth\n");
}

TEST(LogLineTest, AfterUnendedTextThatTheDiskHadNoRoomForTheNextBeginsALineOfItsOwn) {
    const auto text = textOnDiskOf(2, [](const auto& makeRoom) {
        startLog();
        printUnended("first");
        makeRoom(100);
        printUnended("second ");
        printLine("third");
    });
    EXPECT_EQ(text, "fi\nsecond third\n");
}

TEST(LogLineTest, AFullDiskTakesNoMoreThanALineEndOfTheNextLine) {
    const auto text = textOnDiskOf(2, [](const auto& makeRoom) {
        startLog();
        printLine("first");
        makeRoom(1);
        printLine("second");
        makeRoom(100);
        printLine("third");
    });
    EXPECT_EQ(text, "fi\n\nthird\n");
}

TEST(LogLineTest, LinesOfSeveralThreadsNeverMix) {
    constexpr int kThreads = 4;
    constexpr int kLines = 500;
    const auto writes = writesOf([] {
        startLog();
        std::vector<std::thread> threads;
        for (int number = 0; number < kThreads; number++) {
            threads.emplace_back([number] {
                for (int line = 0; line < kLines; line++) {
                    printException("thread", number, Exception("X", "f", 7));
                }
            });
        }
        std::for_each(threads.begin(), threads.end(), [](auto& thread) { thread.join(); });
    });
    std::map<std::string, int> counts;
    std::for_each(writes.begin(), writes.end(), [&](const auto& write) { counts[write]++; });
    EXPECT_EQ(counts, (std::map<std::string, int>{{"thread[0]: Exception: f[7]: X\n", kLines},
                                                  {"thread[1]: Exception: f[7]: X\n", kLines},
                                                  {"thread[2]: Exception: f[7]: X\n", kLines},
                                                  {"thread[3]: Exception: f[7]: X\n", kLines}}));
}

// What printFailures returns and prints for a body.
template <typename Body>
std::pair<bool, std::string> resultOf(const char* operation, Body body) {
    bool ended = false;
    std::string text = textOf([&] { ended = printFailures(operation, body); });
    return {ended, std::move(text)};
}

TEST(PrintFailuresTest, ABodyThatEndsByItselfPrintsNothing) {
    bool ran = false;
    EXPECT_THAT(resultOf("operation", [&] { ran = true; }), Pair(true, ""));
    EXPECT_TRUE(ran);
}

TEST(PrintFailuresTest, AnExceptionIsPrintedByItsWhatAlone) {
    EXPECT_THAT(resultOf("operation", [] { throw Exception("X", "f", 7); }),
                Pair(false, "f[7]: X\n"));
}

TEST(PrintFailuresTest, AnotherExceptionIsAnUnknownErrorOfTheOperation) {
    EXPECT_THAT(resultOf("setOltIpAddress", [] { throw std::runtime_error("X"); }),
                Pair(false, "Unknown Error at setOltIpAddress\n"));
}

TEST(PrintFailuresTest, WhatIsNoExceptionAtAllIsAnUnknownErrorToo) {
    EXPECT_THAT(resultOf("pingLoop", [] { throw 7; }), Pair(false, "Unknown Error at pingLoop\n"));
}

}  // namespace

}  // namespace ponmgr::test
