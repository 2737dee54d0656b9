#pragma once

#include <gtest/gtest.h>

#include <regex>
#include <string>
#include <utility>

namespace ponmgr::test {

/// All that the process prints on standard output while `call` runs.
template <typename Call>
std::string textPrintedBy(Call&& call) {
    testing::internal::CaptureStdout();
    std::forward<Call>(call)();
    return testing::internal::GetCapturedStdout();
}

/// The same with "[#]" for every line number in brackets: for texts whose line moves with the code.
template <typename Call>
std::string linesPrintedBy(Call&& call) {
    static const std::regex lineNumber(R"(\[\d+\])");
    return std::regex_replace(textPrintedBy(std::forward<Call>(call)), lineNumber, "[#]");
}

}  // namespace ponmgr::test
