#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <set>
#include <string>

using testing::ElementsAre;

namespace {

// The names that programs can link against, in the library's own order and without their addresses.
std::set<std::string> exportedNames() {
    struct ClosePipe {
        void operator()(FILE* pipe) const { pclose(pipe); }
    };
    constexpr auto kCommand = PONMGR_NM " --dynamic --defined-only " PONMGR_CORVANE_LIBRARY;
    const std::unique_ptr<FILE, ClosePipe> pipe(popen(kCommand, "r"));
    std::set<std::string> names;
    std::array<char, 512> line{};
    while (pipe && fgets(line.data(), static_cast<int>(line.size()), pipe.get()) != nullptr) {
        std::string text(line.data());
        text.resize(text.find_last_not_of('\n') + 1);
        names.insert(text.substr(text.rfind(' ') + 1));
    }
    return names;
}

TEST(Exports, AreTheOperationsOfTheClassAndNothingElse) {
    EXPECT_THAT(
        exportedNames(),
        ElementsAre("_ZN7Corvane12createSocketEv", "_ZN7Corvane15getErrorMessageEv",
                    "_ZN7Corvane4bindEPKc",
                    "_ZN7Corvane4recvERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                    "_ZN7Corvane4sendERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
                    "_ZN7Corvane7connectEPKc", "_ZN7CorvaneC1Ei", "_ZN7CorvaneC2Ei",
                    "_ZN7CorvaneD1Ev", "_ZN7CorvaneD2Ev"));
}

}  // namespace
