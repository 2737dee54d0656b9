// What bash offers, asked of bash itself.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>

#include "MistakenWords.h"
#include "sim/CommandOptions.h"
#include "sim/CompletionScript.h"
#include "sim/faults/FaultOptions.h"

namespace ponmgr::sim {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

struct ClosePipe {
    void operator()(FILE* pipe) const { pclose(pipe); }
};

/// Stands in for a running simulator with two ONUs and a fault; tells nothing of another one's.
constexpr auto kSimulator = R"bash(chassis-sim() {
    case $* in
        'ctl onu list --json') echo '{"onus":[{"onu":"3/0/7","mac":"m"},{"onu":"3/0/8"}]}' ;;
        'ctl onu list --json --control /tmp/other') echo '{"onus":[{"onu":"5/1/2"}]}' ;;
        'ctl fault list --json') echo '{"faults":[{"card":3,"fault":4}]}' ;;
    esac
}
)bash";

/// What bash offers for the last of these words, which are as bash has split the line; all of them
/// stand behind the program's name.
Words offered(const Words& words) {
    const auto script =
        std::filesystem::temp_directory_path() / ("sim-completion-" + std::to_string(getpid()));
    {
        std::ofstream text(script);
        text << completionScript() << kSimulator << "COMP_WORDS=(chassis-sim";
        for (const auto& word : words) {
            text << " $'";
            for (const char character : word) {
                text << (character == '\'' || character == '\\' ? "\\" : "") << character;
            }
            text << "'";
        }
        text << ")\nCOMP_CWORD=" << words.size()
             << "\n_chassis_sim\nprintf '%s\\n' \"${COMPREPLY[@]}\"\n";
    }
    const std::unique_ptr<FILE, ClosePipe> pipe(
        popen(("bash --norc -u " + script.string() + " 2>&1").c_str(), "r"));
    Words result;
    std::array<char, 256> line{};
    while (fgets(line.data(), line.size(), pipe.get()) != nullptr) {
        std::string word = line.data();
        word.pop_back();
        if (!word.empty()) {
            result.push_back(word);
        }
    }
    std::filesystem::remove(script);
    return result;
}

/// These words and one that is still empty.
Words behind(Words words) {
    words.emplace_back();
    return words;
}

TEST(Completion, OffersEveryOptionOfTheSimulator) {
    const auto line = parseCommandLine({"--help"});
    std::istringstream help(std::get<Finished>(line).output);
    const auto all = offered({""});
    EXPECT_THAT(all, IsSupersetOf({"ctl", "completion"}));
    std::size_t checked = 0;
    for (std::string word; help >> word;) {
        if (word.starts_with("--")) {
            std::erase(word, ',');
            EXPECT_THAT(all, Contains(word));
            ++checked;
        }
    }
    EXPECT_GT(checked, 20U);
}

TEST(Completion, OffersEveryCommandAndItsActions) {
    EXPECT_THAT(offered({"ctl", ""}), testing::UnorderedElementsAreArray(wordsThere({"fly"})));
    for (const auto& kind :
         {Words{"card", "1"}, Words{"onu", "1/0/0"}, Words{"fault"}, Words{"fault", "add"}}) {
        auto mistaken = kind;
        mistaken.emplace_back("fly");
        Words typed{"ctl"};
        typed.insert(typed.end(), kind.begin(), kind.end());
        EXPECT_THAT(offered(behind(typed)),
                    testing::UnorderedElementsAreArray(wordsThere(mistaken)));
    }
}

TEST(Completion, OffersTheOptionsOfAKindOfFaultAndNoOthers) {
    for (const auto& kind : faultKinds()) {
        Words wanted{"--json", "--control", "--timeout", "--help"};
        for (const auto& option : optionsOf(kind)) {
            wanted.push_back("--" + option);
        }
        EXPECT_THAT(offered({"ctl", "fault", "add", kind.name, "--"}),
                    testing::UnorderedElementsAreArray(wanted))
            << kind.name;
    }
}

TEST(Completion, OffersEveryOptionOfTheCommands) {
    Words all;
    for (const auto& kind : faultKinds()) {
        for (const auto& option : optionsOf(kind)) {
            all.push_back("--" + option);
        }
    }
    const auto more = offered({"ctl", "journal", "--"});
    all.insert(all.end(), more.begin(), more.end());
    const auto card = offered({"ctl", "card", "3", "insert", "--"});
    all.insert(all.end(), card.begin(), card.end());
    for (const auto& option : commandOptions()) {
        EXPECT_THAT(all, Contains(std::string("--") + option.name));
    }
}

TEST(Completion, PassesOverTheValuesOfOptions) {
    EXPECT_THAT(offered({"--seed", "7", "--slo"}), ElementsAre("--slots"));
    EXPECT_THAT(offered({"ctl", "--timeout", "3s", "wa"}), ElementsAre("wait"));
    EXPECT_THAT(offered({"ctl", "fault", "--card", "3", "re"}), ElementsAre("remove"));
    EXPECT_THAT(offered({"ctl", "--json", "fault", "re"}), ElementsAre("remove"));
    EXPECT_THAT(offered({"--seed", "="}), IsEmpty());
}

TEST(Completion, OffersTheValuesOfOptions) {
    EXPECT_THAT(offered({"--nvs", ""}), ElementsAre("on", "off"));
    EXPECT_THAT(offered({"--nvs", "=", "of"}), ElementsAre("off"));
    EXPECT_THAT(offered({"--seed", ""}), IsEmpty());
    EXPECT_THAT(offered({"ctl", "journal", "--fault", ""}), ElementsAre("4"));
    EXPECT_THAT(offered({"ctl", "fault", "add", "drop", "--direction", ""}),
                ElementsAre("in", "out", "all"));
}

TEST(Completion, OffersEveryAlarm) {
    const auto names = wordsThere({"alarm", "3/0/7", "fly", "raise"}, "a code or one of ");
    EXPECT_GT(names.size(), 40U);
    EXPECT_EQ(offered({"ctl", "alarm", "3/0/7", "\""}), names);
    EXPECT_EQ(offered({"ctl", "fault", "add", "event-burst", "--alarm", "'"}), names);
}

TEST(Completion, OffersEveryRequest) {
    const auto names =
        wordsThere({"fault", "add", "drop"}, "or 0x0007, and ", {{"request", "fly"}});
    EXPECT_GT(names.size(), 40U);
    auto all = offered({"ctl", "fault", "add", "drop", "--request", "\""});
    EXPECT_EQ(offered({"ctl", "fault", "add", "wrong-id", "--id", "\""}), names);
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all.back(), "all");
    all.pop_back();
    EXPECT_EQ(all, names);
}

TEST(Completion, WritesNamesWithBlanksAsBashReadsThem) {
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/7", "Loss"}), ElementsAre("Loss\\ of\\ Signal"));
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/7", "Loss\\ o"}), ElementsAre("Loss\\ of\\ Signal"));
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/7", "'Loss o"}), ElementsAre("Loss of Signal"));
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/7", "\"Loss of Signal\"", ""}),
                ElementsAre("raise", "clear"));
}

TEST(Completion, AsksTheRunningSimulatorForItsOnusAndFaults) {
    EXPECT_THAT(offered({"ctl", "onu", ""}), ElementsAre("list", "3/0/7", "3/0/8"));
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/"}), ElementsAre("3/0/7", "3/0/8"));
    EXPECT_THAT(offered({"ctl", "fault", "remove", ""}), ElementsAre("all", "4"));
    EXPECT_THAT(offered({"ctl", "--control", "/tmp/other", "onu", ""}),
                ElementsAre("list", "5/1/2"));
    EXPECT_THAT(offered({"ctl", "--control", "/tmp/nobody", "onu", ""}), ElementsAre("list"));
}

TEST(Completion, OffersNothingBehindAWholeCommand) {
    EXPECT_THAT(offered({"ctl", "alarm", "3/0/7", "17", "raise", ""}), IsEmpty());
    EXPECT_THAT(offered({"ctl", "onu", "3/0/7", "get", ""}), IsEmpty());
    EXPECT_THAT(offered({"ctl", "fly", ""}), IsEmpty());
    EXPECT_THAT(offered({"fly", ""}), Not(Contains("--slots")));
}

TEST(Completion, IsPrintedForBashAlone) {
    const auto printed = parseCommandLine({"completion", "bash"});
    EXPECT_EQ(std::get<Finished>(printed).output, completionScript());
    const auto line = parseCommandLine({"completion", "fish"});
    EXPECT_EQ(std::get<Finished>(line).status, 2);
    EXPECT_THAT(std::get<Finished>(line).errorOutput, testing::HasSubstr("allowed: bash"));
}

}  // namespace
}  // namespace ponmgr::sim
