#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <iterator>
#include <mutex>
#include <ostream>
#include <sstream>
#include <streambuf>

#include "../RunningSimulator.h"
#include "sim/ControlCommands.h"
#include "sim/ControlJson.h"
#include "sim/faults/FaultKind.h"
#include "support/WaitFor.h"

namespace ponmgr::sim {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// As it is typed behind "chassis-sim ctl".
Finished run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "ctl");
    arguments.insert(arguments.end(), {"--control", RunningSimulator::kControlPath});
    const auto line = parseCommandLine(arguments);
    if (const auto* finished = std::get_if<Finished>(&line)) {
        return *finished;
    }
    return runControlCommand(std::get<ControlOptions>(line));
}

TEST(FaultCommands, AddPrintsTheIdAndRemoveEndsTheFault) {
    const RunningSimulator running;
    const Manager manager;
    EXPECT_EQ(run({"fault", "add", "wrong-ctag", "--card", "1"}).output, "1\n");
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000200020000");
    EXPECT_EQ(run({"fault", "remove", "1"}).output, "removed: 1\n");
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000100020000");
    EXPECT_EQ(run({"fault", "remove", "all"}).output, "removed: none\n");
}

TEST(FaultCommands, ListPrintsATableWithOneRowAFault) {
    const RunningSimulator running;
    run({"fault", "add", "drop", "--card", "1", "--request", "enable olt", "--start", "5s"});
    run({"fault", "add", "garbage", "--card", "2", "--stranger", "--start", "5s"});
    EXPECT_EQ(run({"fault", "list"}).output,
              "fault  kind     card  request     direction  state    hits  passed by  options\n"
              "1      drop     1     Enable OLT  out        waiting  0     0          card=1 "
              "request=enable olt start=5s\n"
              "2      garbage  2     all         out        waiting  0     0          card=2 "
              "start=5s stranger=on\n");
    EXPECT_EQ(Json::parse(run({"fault", "list", "--json"}).output).at("faults").size(), 2U);
}

TEST(FaultCommands, KindsPrintsOneLineAKind) {
    const RunningSimulator running;
    const auto text = run({"fault", "kinds"}).output;
    EXPECT_THAT(text, StartsWith("drop: goes no further\ndelay: goes on after --time\n"));
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), std::ssize(faultKinds()));
}

TEST(FaultCommands, AddAnswersFromAnotherPort) {
    const RunningSimulator running;
    const Manager manager;
    EXPECT_EQ(run({"fault", "add", "wrong-port", "--count", "1"}).status, 0);
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000100020000");
    const auto entries = Json::parse(run({"journal", "--fault", "1", "--json"}).output);
    EXPECT_EQ(entries.at("entries").at(0).at("local"), "127.0.1.1:14114");
}

TEST(FaultCommands, FailWithStatusOneWhenTheSimulatorRefuses) {
    const RunningSimulator running;
    const auto end = run({"fault", "add", "drop", "--card", "5"});
    EXPECT_EQ(end.status, 1);
    EXPECT_EQ(end.errorOutput, "chassis-sim: no card in slot 5; there are: 1, 2\n");
    EXPECT_EQ(run({"fault", "remove", "3"}).errorOutput,
              "chassis-sim: no fault 3; there are: none\n");
}

TEST(JournalCommand, PrintsOneLineADatagram) {
    const RunningSimulator running;
    const Manager manager;
    run({"fault", "add", "drop", "--count", "1"});
    manager.send("127.0.1.1", "0008 0001 0000");
    manager.send("127.0.1.1", "00");
    manager.send("127.0.1.1", "0008 0002 0000");
    EXPECT_EQ(manager.receive(), "0008000200020000");
    const auto text = run({"journal"}).output;
    EXPECT_THAT(text, StartsWith("1  0."));
    EXPECT_THAT(text, HasSubstr("  slot 1 <- 127.0.0.1:14113 Enable OLT (8) ctag 1, hex "
                                "000800010000\n2  "));
    EXPECT_THAT(text, HasSubstr("  slot 1 -> 127.0.0.1:14113 Enable OLT (8) ctag 1, hex "
                                "0008000100020000, faults 1, dropped: dropped by a fault\n"));
    EXPECT_THAT(text, HasSubstr("  slot 1 <- 127.0.0.1:14113 too short for an id, hex 00, dropped: "
                                "shorter than a header\n"));
    EXPECT_EQ(run({"journal", "--card", "2"}).output, "");
    EXPECT_THAT(run({"journal", "--last", "1"}).output, StartsWith("5  "));
}

TEST(JournalCommand, AsksForPageAfterPage) {
    const RunningSimulator running;
    const Manager manager;
    for (int i = 0; i < 400; ++i) {
        manager.send("127.0.1.1", "0008 0001 0000");
        ASSERT_EQ(manager.receive(), "0008000100020000");
    }
    const auto reply = Json::parse(run({"journal", "--last", "700", "--json"}).output);
    EXPECT_EQ(reply.at("entries").size(), 700U);
    EXPECT_EQ(reply.at("entries").front().at("number"), 101);
    EXPECT_EQ(reply.at("entries").back().at("number"), 800);
    EXPECT_EQ(reply.at("seen"), 800);
    EXPECT_EQ(Json::parse(run({"journal", "--last", "5000", "--json"}).output).at("entries").size(),
              800U);
}

TEST(JournalCommand, AsksForPagesThatTheirBytesHaveEnded) {
    const RunningSimulator running;
    const Manager manager;
    for (int i = 0; i < 100; ++i) {
        manager.send("127.0.1.1", std::string(2 * 3000, '8'));
        if (i % 10 == 9) {
            manager.send("127.0.1.1", "0008 0001 0000");
            ASSERT_EQ(manager.receive(), "0008000100020000");
        }
    }
    const auto reply = Json::parse(run({"journal", "--last", "120", "--json"}).output);
    EXPECT_EQ(reply.at("entries").size(), 120U);
    EXPECT_EQ(reply.at("seen"), 120);
    EXPECT_EQ(reply.at("newest"), 120);
}

TEST(JournalCommand, SaysHowLongADatagramIsThatItShowsTheBeginningOf) {
    const RunningSimulator running;
    const Manager manager;
    manager.send("127.0.1.1", std::string(2 * 3000, '8'));
    manager.send("127.0.1.1", "0008 0001 0000");
    ASSERT_EQ(manager.receive(), "0008000100020000");
    EXPECT_THAT(run({"journal"}).output, HasSubstr("88... of 3000 bytes"));
}

/// What is printed while it lives, for another thread to look at.
class PrintedLines final : public std::streambuf {
public:
    PrintedLines() : before(std::cout.rdbuf(this)) {}
    PrintedLines(const PrintedLines&) = delete;
    PrintedLines& operator=(const PrintedLines&) = delete;
    ~PrintedLines() override { std::cout.rdbuf(before); }

    std::vector<std::string> all() {
        const std::scoped_lock lock(mutex);
        std::istringstream input(text);
        std::vector<std::string> lines;
        for (std::string line; std::getline(input, line);) {
            lines.push_back(line);
        }
        return lines;
    }

private:
    int_type overflow(int_type character) override {
        const std::scoped_lock lock(mutex);
        text += static_cast<char>(character);
        return character;
    }

    std::mutex mutex;
    std::string text;
    std::streambuf* before;
};

TEST(JournalCommand, FollowsUntilTheSimulatorEnds) {
    auto running = std::make_unique<RunningSimulator>();
    const Manager manager;
    PrintedLines printed;
    auto end = std::async(std::launch::async, [] {
        return run({"journal", "--follow", "--json"});
    });
    for (const std::size_t count : {2U, 4U}) {
        manager.send("127.0.1.1", "0008 0001 0000");
        EXPECT_EQ(manager.receive(), "0008000100020000");
        EXPECT_TRUE(test::waitFor([&] { return printed.all().size() >= count; }));
    }
    running.reset();
    EXPECT_EQ(end.get().output, "{\"error\":\"the simulator has closed the connection\"}\n");
    std::vector<int> numbers;
    for (const auto& line : printed.all()) {
        numbers.push_back(Json::parse(line).at("number").get<int>());
    }
    EXPECT_THAT(numbers, testing::ElementsAre(1, 2, 3, 4));
}

TEST(JournalCommand, FollowsWhatComesAlsoWithoutShowingWhatIsThere) {
    auto running = std::make_unique<RunningSimulator>();
    const Manager manager;
    const auto askOnce = [&manager] {
        manager.send("127.0.1.1", "0008 0001 0000");
        EXPECT_EQ(manager.receive(), "0008000100020000");
    };
    askOnce();
    PrintedLines printed;
    auto end = std::async(std::launch::async, [] {
        return run({"journal", "--follow", "--last", "0", "--json"});
    });
    // When it has begun to follow can't be seen.
    EXPECT_TRUE(test::waitFor([&] {
        askOnce();
        return printed.all().size() >= 4;
    }));
    running.reset();
    end.get();
    EXPECT_GT(Json::parse(printed.all().front()).at("number").get<int>(), 2);
}

TEST(JournalCommand, FilesAreWrittenWhileTheSimulatorRuns) {
    auto options = RunningSimulator::defaults();
    options.journalFile = "/tmp/journal.jsonl";
    options.pcapFile = "/tmp/capture.pcap";
    const RunningSimulator running(options);
    const Manager manager;
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000100020000");
    // Served behind the datagrams, so that both are in the files by now.
    EXPECT_EQ(run({"journal"}).status, 0);
    EXPECT_EQ(std::filesystem::file_size("/tmp/capture.pcap"), 24U + 16 + 28 + 6 + 16 + 28 + 8);
    std::ifstream file("/tmp/journal.jsonl");
    EXPECT_EQ(std::count(std::istreambuf_iterator<char>(file), {}, '\n'), 2);
}

struct Misuse {
    std::string name;
    std::vector<std::string> arguments;
    std::string text;
};

void PrintTo(const Misuse& misuse, std::ostream* output) {
    *output << misuse.name;
}

const Misuse kMisuses[] = {
    {"NoAction",
     {"fault"},
     "usage: chassis-sim ctl fault ACTION; actions: add, list, remove, kinds"},
    {"UnknownAction", {"fault", "fly"}, "unknown action 'fly'; there are: add, list, remove"},
    {"NoKind", {"fault", "add"}, "usage: chassis-sim ctl fault add KIND [OPTIONS]; kinds: drop, "},
    {"UnknownKind", {"fault", "add", "fly"}, "unknown kind of fault 'fly'; there are: drop, delay"},
    {"UnknownMessage", {"fault", "add", "drop", "--request", "x"}, "Get OLT Information"},
    {"UnknownOption", {"fault", "add", "drop", "--bogus", "1"}, "options of ctl: --json"},
    {"ListWithOption",
     {"fault", "list", "--card", "1"},
     "fault takes no --card; its options: none"},
    {"RemoveNothing", {"fault", "remove"}, "usage: chassis-sim ctl fault remove ID|all"},
    {"RemoveWord", {"fault", "remove", "some"}, "fault remove: 'some' can't be used"},
    {"JournalOfWhat", {"journal", "all"}, "usage: chassis-sim ctl journal [--card N]"},
    {"JournalWithFaultOption",
     {"journal", "--bit", "3"},
     "journal takes no --bit; its options: --card, --fault, --last, --follow"},
    {"JournalCard", {"journal", "--card", "9"}, "--card: '9' can't be used"},
    {"JournalFault", {"journal", "--fault", "x"}, "--fault: 'x' can't be used"},
    {"JournalLast", {"journal", "--last", "1000001"}, "a whole number from 0 to 1000000"},
    {"OptionOfAnotherCommand", {"list", "--card", "3"}, "list takes no --card; its options: none"},
};

class MisusedFaultCommands : public testing::TestWithParam<Misuse> {};

TEST_P(MisusedFaultCommands, AreRefusedWithWhatThereIs) {
    const auto end = run(GetParam().arguments);
    EXPECT_EQ(end.status, 2);
    EXPECT_THAT(end.errorOutput, HasSubstr(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(All, MisusedFaultCommands, testing::ValuesIn(kMisuses),
                         [](const auto& misuse) { return misuse.param.name; });

}  // namespace
}  // namespace ponmgr::sim
