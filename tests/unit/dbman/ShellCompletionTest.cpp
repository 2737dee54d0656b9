#include <unistd.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "dbman/CommandTable.h"
#include "dbman/ShellCompletion.h"

namespace ponmgr::dbman {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Words = std::vector<std::string>;

std::string fileText(const std::string& path) {
    std::stringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

struct ClosePipe {
    void operator()(FILE* pipe) const { pclose(pipe); }
};

/// What bash offers where `line` ends. `known` is what stands in for dbman there.
Words completed(const std::string& line, const std::string& known) {
    static const auto folder =
        std::filesystem::temp_directory_path() / ("dbman-completion-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const auto script = folder / "script";
    std::ofstream(script) << bashCompletion() << "dbman() { " << known << "; }\n"
                          << "COMP_LINE='" << line << "'\nCOMP_POINT=${#COMP_LINE}\n"
                          << "_dbman\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    const std::unique_ptr<FILE, ClosePipe> pipe(
        popen(("bash --norc -u " + script.string() + " 2>&1").c_str(), "r"));
    Words words;
    std::array<char, 256> piece{};
    while (fgets(piece.data(), piece.size(), pipe.get()) != nullptr) {
        std::string word = piece.data();
        word.pop_back();
        if (!word.empty()) {
            words.push_back(word);
        }
    }
    std::filesystem::remove_all(folder);
    return words;
}

Words completed(const std::string& line) {
    return completed(line, "return 3");
}

constexpr auto kKnows =
    R"(echo "{\"onus\":[{\"mac_address\":\"00:0d:b6:03:00:07\",\"slot_id\":\"3\"}]}")";

TEST(BashCompletion, BeginsWithGroupsAndCommands) {
    EXPECT_THAT(completed("dbman s"), ElementsAre("slot", "serve", "status", "send"));
    EXPECT_THAT(completed("dbman "), Contains("--version"));
}

TEST(BashCompletion, OffersTheNamesOfAGroup) {
    EXPECT_THAT(completed("dbman alarm "), ElementsAre("list", "history"));
    EXPECT_THAT(completed("dbman nonsense "), IsEmpty());
}

TEST(BashCompletion, OffersValuesByTheirKind) {
    EXPECT_THAT(completed("dbman slot reset "),
                ElementsAre("1", "2", "3", "4", "5", "6", "7", "8"));
    EXPECT_THAT(completed("dbman slot announce a"), ElementsAre("all"));
    EXPECT_THAT(completed("dbman onu list --offline --slot 7"), ElementsAre("7"));
    EXPECT_THAT(completed("dbman send /slot/e"), ElementsAre("/slot/enable"));
    EXPECT_THAT(completed("dbman send /slot/reset a=1 mac"), ElementsAre("mac_address="));
}

TEST(BashCompletion, OffersOptions) {
    EXPECT_THAT(completed("dbman slot set 3 --"),
                ElementsAre("--ip", "--source", "--control", "--json", "--help"));
}

TEST(BashCompletion, OffersTheOnusThatTheRunningDbmanKnows) {
    EXPECT_THAT(completed("dbman onu show ", kKnows), ElementsAre("00:0d:b6:03:00:07"));
}

TEST(BashCompletion, LeavesOutWhatStandsBeforeTheLastColon) {
    EXPECT_THAT(completed("dbman onu show 00:0d:b", kKnows), ElementsAre("b6:03:00:07"));
}

TEST(BashCompletion, OffersNoOnuWithoutARunningDbman) {
    EXPECT_THAT(completed("dbman onu show "), IsEmpty());
}

TEST(BashCompletion, AsksTheDbmanThatTheLineNames) {
    const auto asked =
        R"([[ "$*" == "onu list --json --control /tmp/x" ]] && )" + std::string(kKnows);
    EXPECT_THAT(completed("dbman onu show --control /tmp/x ", asked),
                ElementsAre("00:0d:b6:03:00:07"));
    EXPECT_THAT(completed("dbman onu show ", asked), IsEmpty());
}

TEST(BashCompletion, GoesOnBehindAControlPath) {
    EXPECT_THAT(completed("dbman --control /tmp/x slot res"), ElementsAre("reset"));
}

TEST(BashCompletion, OffersFilesButObeysNoneOfTheirNames) {
    const auto folder =
        std::filesystem::temp_directory_path() / ("dbman-files-" + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    std::ofstream(folder / "$(echo obeyed)") << "x";
    const auto path = folder.string() + "/$";
    EXPECT_THAT(completed("dbman card list --control " + path),
                ElementsAre(path + "(echo obeyed)"));
    std::filesystem::remove_all(folder);
}

TEST(BashCompletion, IsTheFileThatIsInstalled) {
    EXPECT_EQ(fileText(PONMGR_PACKAGING "/completion/dbman.bash"), bashCompletion())
        << "write it anew: dbman completion bash > packaging/completion/dbman.bash";
}

TEST(ManualPage, TellsEveryCommandAndOption) {
    auto page = fileText(PONMGR_PACKAGING "/man/dbman.1");
    std::erase(page, '\\');
    for (const auto& command : commandTable()) {
        EXPECT_THAT(page, HasSubstr(".B dbman " + fullName(command)));
        for (const auto& argument : argumentsOf(command)) {
            EXPECT_TRUE(!isOption(argument) || page.find(argument.name) != std::string::npos)
                << argument.name;
        }
    }
}

}  // namespace

}  // namespace ponmgr::dbman
