#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>
#include <set>

#include "sim/Options.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

using Arguments = std::vector<std::string>;

ServeOptions served(const Arguments& arguments) {
    const auto line = parseCommandLine(arguments);
    const auto* options = std::get_if<ServeOptions>(&line);
    EXPECT_NE(options, nullptr);
    return options == nullptr ? ServeOptions{} : *options;
}

Finished finished(const Arguments& arguments) {
    const auto line = parseCommandLine(arguments);
    const auto* end = std::get_if<Finished>(&line);
    EXPECT_NE(end, nullptr);
    return end == nullptr ? Finished{} : *end;
}

TEST(Options, HaveTheirDefaults) {
    const auto options = served({});
    EXPECT_THAT(options.chassis.slots, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_EQ(options.chassis.base, 0x7F000100U);
    EXPECT_EQ(options.chassis.port, 14113);
    EXPECT_EQ(options.chassis.latency, 2ms);
    EXPECT_EQ(options.chassis.resetTime, 3s);
    EXPECT_TRUE(options.chassis.nvsEnabled);
    EXPECT_FALSE(options.chassis.configured);
    EXPECT_EQ(options.chassis.productCode, (std::array<std::uint8_t, 2>{0x37, 0x23}));
    EXPECT_EQ(options.chassis.onusPerPort, 16U);
    EXPECT_EQ(options.chassis.discoveryInterval, 5ms);
    EXPECT_EQ(options.chassis.onuResetTime, 5s);
    EXPECT_EQ(options.chassis.opticsInterval, 1s);
    EXPECT_EQ(options.controlPath, "/tmp/chassis-sim.ctl");
    EXPECT_FALSE(options.verbose);
}

TEST(Options, AreTakenFromTheCommandLine) {
    const auto options = served({"--slots", "1-3,7", "--base=127.9.0.0", "--port", "2000",
                                 "--latency", "250us", "--reset-time", "40ms", "--nvs", "off",
                                 "--product-code", "aB01", "--control", "/tmp/x", "--verbose"});
    EXPECT_THAT(options.chassis.slots, ElementsAre(1, 2, 3, 7));
    EXPECT_EQ(options.chassis.base, 0x7F090000U);
    EXPECT_EQ(options.chassis.port, 2000);
    EXPECT_EQ(options.chassis.latency, 250us);
    EXPECT_EQ(options.chassis.resetTime, 40ms);
    EXPECT_FALSE(options.chassis.nvsEnabled);
    EXPECT_EQ(options.chassis.productCode, (std::array<std::uint8_t, 2>{0xAB, 0x01}));
    EXPECT_EQ(options.controlPath, "/tmp/x");
    EXPECT_TRUE(options.verbose);
}

TEST(Options, OfTheOnusAreTakenFromTheCommandLine) {
    const auto chassis =
        served({"--onus", "124", "--discovery-interval", "250us", "--onu-reset-time", "0",
                "--optics-interval", "2s", "--seed", "4294967295"})
            .chassis;
    EXPECT_EQ(chassis.onusPerPort, 124U);
    EXPECT_EQ(chassis.discoveryInterval, 250us);
    EXPECT_EQ(chassis.onuResetTime, 0s);
    EXPECT_EQ(chassis.opticsInterval, 2s);
    EXPECT_EQ(chassis.seed, 4294967295U);
}

TEST(Options, OfTheWireAreTakenFromTheCommandLine) {
    EXPECT_EQ(served({}).chassis.jitter, 0s);
    EXPECT_EQ(served({}).journalEntries, 10'000U);
    EXPECT_EQ(served({}).journalFile + served({}).pcapFile, "");
    const auto options = served(
        {"--jitter", "3ms", "--journal", "5", "--journal-file", "/tmp/j", "--pcap", "/tmp/p"});
    EXPECT_EQ(options.chassis.jitter, 3ms);
    EXPECT_EQ(options.journalEntries, 5U);
    EXPECT_EQ(options.journalFile, "/tmp/j");
    EXPECT_EQ(options.pcapFile, "/tmp/p");
}

TEST(Options, WithoutASeedTakeAnotherEveryTime) {
    const std::set<std::uint32_t> seeds{served({}).chassis.seed, served({}).chassis.seed,
                                        served({}).chassis.seed, served({}).chassis.seed};
    EXPECT_GT(seeds.size(), 1U);
}

TEST(Options, TakeSlotsInAnyOrderEachOnce) {
    EXPECT_THAT(served({"--slots", "7,1-2,2"}).chassis.slots, ElementsAre(1, 2, 7));
}

TEST(Options, TakeALatencyOfZero) {
    EXPECT_EQ(served({"--latency", "0"}).chassis.latency, 0s);
    EXPECT_EQ(served({"--latency", "0ms"}).chassis.latency, 0s);
}

struct BadValue {
    std::string name;
    std::string option;
    std::string value;
    std::string allowed;
};

void PrintTo(const BadValue& bad, std::ostream* output) {
    *output << bad.name;
}

const BadValue kBadValues[] = {
    {"SlotZero", "--slots", "0", "1-3,7"},
    {"SlotNine", "--slots", "1-9", "1-3,7"},
    {"SlotsReversed", "--slots", "3-1", "1-3,7"},
    {"SlotsTrailingComma", "--slots", "1,", "1-3,7"},
    {"SlotsOpenRange", "--slots", "1-", "1-3,7"},
    {"SlotsWord", "--slots", "all", "1-3,7"},
    {"BaseShort", "--base", "127.0.1", "IPv4"},
    {"BaseTooHigh", "--base", "255.255.255.250", "IPv4"},
    {"PortZero", "--port", "0", "1 to 65535"},
    {"PortTooHigh", "--port", "65536", "1 to 65535"},
    {"PortSigned", "--port", "+1", "1 to 65535"},
    {"LatencyWithoutUnit", "--latency", "2", "us, ms or s"},
    {"LatencyUnknownUnit", "--latency", "2min", "us, ms or s"},
    {"LatencyFraction", "--latency", "1.5ms", "us, ms or s"},
    {"LatencyTooLong", "--latency", "61s", "up to 60s"},
    {"LatencyHuge", "--latency", "99999999999999999999s", "up to 60s"},
    {"ResetTimeTooLong", "--reset-time", "3601s", "up to 3600s"},
    {"NvsYes", "--nvs", "yes", "on, off"},
    {"ProductCodeShort", "--product-code", "372", "four hex digits"},
    {"ProductCodeNoHex", "--product-code", "37g3", "four hex digits"},
    {"OnusTooMany", "--onus", "125", "0 to 124"},
    {"OnusNegative", "--onus", "-1", "0 to 124"},
    {"SeedTooLarge", "--seed", "4294967296", "0 to 4294967295"},
    {"SeedEmpty", "--seed", "", "0 to 4294967295"},
    {"DiscoveryIntervalTooLong", "--discovery-interval", "61s", "up to 60s"},
    {"OnuResetTimeWord", "--onu-reset-time", "soon", "us, ms or s"},
    {"OpticsIntervalWithoutUnit", "--optics-interval", "5", "us, ms or s"},
    {"JitterTooLong", "--jitter", "61s", "up to 60s"},
    {"JournalEmpty", "--journal", "0", "from 1 to 1000000"},
    {"JournalTooLong", "--journal", "1000001", "to 1000000"},
    {"ControlTooLong", "--control", std::string(200, 'x'), "1 to 107 bytes"},
};

class BadOptions : public testing::TestWithParam<BadValue> {};

TEST_P(BadOptions, AreRefusedWithTheValueAndWhatIsAllowed) {
    const auto& bad = GetParam();
    const auto end = finished({bad.option, bad.value});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.output, "");
    EXPECT_THAT(end.errorOutput, HasSubstr(bad.option + ": '" + bad.value + "'"));
    EXPECT_THAT(end.errorOutput, HasSubstr("allowed: "));
    EXPECT_THAT(end.errorOutput, HasSubstr(bad.allowed));
}

INSTANTIATE_TEST_SUITE_P(All, BadOptions, testing::ValuesIn(kBadValues),
                         [](const auto& bad) { return bad.param.name; });

TEST(Options, ThatAreUnknownAreNamed) {
    const auto end = finished({"--bogus"});
    EXPECT_EQ(end.status, 2);
    EXPECT_THAT(end.errorOutput, HasSubstr("--bogus"));
}

TEST(Options, RefuseConfiguredCardsWithNvsOn) {
    EXPECT_EQ(finished({"--configured", "--nvs", "on"}).status, 2);
    EXPECT_TRUE(served({"--configured", "--nvs", "off"}).chassis.configured);
    EXPECT_TRUE(served({"--configured"}).chassis.configured);
}

TEST(Options, ShowHelpAndVersionWithStatusZero) {
    const auto help = finished({"--help"});
    EXPECT_EQ(help.status, 0);
    EXPECT_THAT(help.output, HasSubstr("--reset-time"));
    const auto version = finished({"--version"});
    EXPECT_EQ(version.status, 0);
    EXPECT_THAT(version.output, testing::StartsWith("chassis-sim "));
}

TEST(Options, OfControlAreTakenInAnyPlace) {
    const auto line = parseCommandLine(
        {"ctl", "card", "--json", "3", "reset", "--control", "/tmp/x", "--factory"});
    const auto* options = std::get_if<ControlOptions>(&line);
    ASSERT_NE(options, nullptr);
    EXPECT_THAT(options->words, ElementsAre("card", "3", "reset"));
    EXPECT_TRUE(options->json);
    EXPECT_EQ(options->controlPath, "/tmp/x");
    EXPECT_EQ(options->named.count("factory"), 1U);
}

TEST(Options, OfControlTakeATimeoutForWait) {
    const auto line = parseCommandLine({"ctl", "wait", "in-service", "--timeout", "5s"});
    const auto* options = std::get_if<ControlOptions>(&line);
    ASSERT_NE(options, nullptr);
    EXPECT_EQ(options->timeout, 5s);
    const auto end = finished({"ctl", "list", "--timeout", "5s"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.errorOutput, "chassis-sim: list takes no --timeout; allowed: with wait\n");
}

TEST(Options, OfTheSimulatorAreRefusedWithACommand) {
    const auto end = finished({"--slots", "77", "ctl", "list"});
    EXPECT_EQ(end.status, 2);
    EXPECT_EQ(end.errorOutput,
              "chassis-sim: ctl takes no --slots; that is an option of the simulator itself\n");
    EXPECT_THAT(finished({"--verbose", "ctl", "list"}).errorOutput,
                HasSubstr("takes no --verbose"));
    EXPECT_THAT(finished({"--scenario-exit", "completion", "bash"}).errorOutput,
                HasSubstr("completion takes no --scenario-exit"));
    const auto line = parseCommandLine({"--control", "/tmp/x", "ctl", "list"});
    ASSERT_TRUE(std::holds_alternative<ControlOptions>(line));
    EXPECT_EQ(std::get<ControlOptions>(line).controlPath, "/tmp/x");
}

TEST(Options, ThatAreWrongAreReportedAsJsonOnRequest) {
    const auto end = finished({"ctl", "wait", "in-service", "--json", "--timeout", "soon"});
    EXPECT_EQ(end.status, 2);
    EXPECT_THAT(end.output, testing::StartsWith(R"({"error":"--timeout: 'soon')"));
    EXPECT_EQ(end.errorOutput, "");
}

}  // namespace
}  // namespace ponmgr::sim
