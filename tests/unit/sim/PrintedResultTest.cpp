#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "sim/PrintedResult.h"

namespace ponmgr::sim {
namespace {

TEST(PrintedResult, IsPrintedWithItsStatus) {
    std::ostringstream output;
    std::ostringstream errors;
    EXPECT_EQ(printResult({kExitUsage, "out", "err"}, output, errors), kExitUsage);
    EXPECT_EQ(output.str(), "out");
    EXPECT_EQ(errors.str(), "err");
}

TEST(PrintedResult, ThatCannotBeWrittenIsAFailureWithTheReason) {
    std::ofstream full("/dev/full");
    std::ostringstream errors;
    EXPECT_EQ(printResult({kExitOk, "out", ""}, full, errors), kExitFailed);
    EXPECT_EQ(errors.str(),
              "chassis-sim: can't write to the standard output: No space left on device\n");
}

TEST(PrintedResult, OfAMistakeStaysOneWhenItCannotBeWritten) {
    std::ofstream full("/dev/full");
    std::ostringstream errors;
    EXPECT_EQ(printResult({kExitUsage, "{}", ""}, full, errors), kExitUsage);
    EXPECT_EQ(errors.str(),
              "chassis-sim: can't write to the standard output: No space left on device\n");
}

}  // namespace
}  // namespace ponmgr::sim
