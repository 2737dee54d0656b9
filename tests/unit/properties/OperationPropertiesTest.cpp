// The daemon's operations on a simulated card in a random state: what the card has then is what was
// asked for, and it refuses nothing.

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "ManagedCard.h"
#include "Property.h"
#include "RandomState.h"
#include "sim/LinkProvisioning.h"
#include "sim/RequestNames.h"

namespace ponmgr {
namespace {

using test::addAnyRules;
using test::any;
using test::anyNumber;
using test::anyOnu;
using test::Bytes;
using test::inRandomCases;
using test::ManagedCard;
using test::require;
using test::requireEqual;

constexpr int kCases = 200;
/// From a PON port to its other side.
constexpr std::uint64_t kOtherSide = 2;

using Rules = std::vector<sim::Rule>;

std::string shown(const Rules& rules) {
    std::string text;
    for (const auto& rule : rules) {
        text += sim::hexText(rule) + " ";
    }
    return text;
}

Bytes twoBytes(std::uint64_t number) {
    return {static_cast<std::uint8_t>(number >> 8), static_cast<std::uint8_t>(number)};
}

sim::Rule ruleOf(Bytes head, const Bytes& vlan, const Bytes& tail) {
    head.insert(head.end(), vlan.begin(), vlan.end());
    head.insert(head.end(), tail.begin(), tail.end());
    return head;
}

Rules taggingRules(std::uint64_t vlan) {
    return {ruleOf({0x08, 0x01, 0x04, 0x05, 0x01, 0x81, 0x00}, twoBytes(vlan),
                   {0x01, 0x01, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0x07})};
}

Rules untaggingRules(std::uint64_t vlan, bool discardUntagged) {
    Rules rules{
        {0x08, 0x01, 0x05, 0x01, 0x01, 0x01, 0x01, 0x00, 0x00, 0, 0, 0, 0, 0, 0, 0, 0, 0x07}};
    if (discardUntagged) {
        rules.push_back(
            ruleOf({0x08, 0x01, 0x02, 0x02, 0x00, 0x00, 0x01, 0x06, 0x34, 0x00, 0, 0, 0, 0, 0, 0},
                   twoBytes(vlan), {0x02}));
        rules.push_back({0x08, 0x01, 0x02, 0x02, 0x00, 0x00, 0x01, 0x06, 0x00, 0x00, 0, 0, 0, 0, 0,
                         0, 0, 0, 0x06});
    }
    return rules;
}

void requireRules(ManagedCard& managed, const std::map<std::uint64_t, Rules>& expected) {
    for (const auto& port : expected) {
        requireEqual(shown(managed.configuration().rules.at(port.first).all()), shown(port.second),
                     "the rules of port " + std::to_string(port.first));
    }
}

std::map<std::uint64_t, Rules> rulesOf(ManagedCard& managed) {
    std::map<std::uint64_t, Rules> rules;
    for (std::uint64_t port = 0; port < sim::CardConfiguration::kRulePorts; port++) {
        rules[port] = managed.configuration().rules.at(port).all();
    }
    return rules;
}

// ---- VLANs and rules

TEST(OperationProperties, RulesOfAPortAreAllDeletedAndNoOthers) {
    inRandomCases(kCases, [] {
        ManagedCard managed;
        addAnyRules(managed.card());
        auto expected = rulesOf(managed);
        const auto port = anyNumber("port", 0, 1);
        expected[port] = expected[port + kOtherSide] = {};
        managed.requireDone("doClearAllRules",
                            managed.operations().doClearAllRules(static_cast<std::uint16_t>(port)));
        requireRules(managed, expected);
    });
}

TEST(OperationProperties, TheVlanOfAPortReplacesItsRulesAndNoOthers) {
    inRandomCases(kCases, [] {
        ManagedCard managed;
        addAnyRules(managed.card());
        auto expected = rulesOf(managed);
        const auto port = anyNumber("port", 0, 1);
        const auto vlan = anyNumber("VLAN, or 0 for none", 0, 4095);
        const bool discard = any<bool>("discard untagged");
        expected[port] = vlan == 0 ? Rules{} : taggingRules(vlan);
        expected[port + kOtherSide] = vlan == 0 ? Rules{} : untaggingRules(vlan, discard);
        managed.requireDone(
            "doSetOltVlan",
            managed.operations().doSetOltVlan(
                std::to_string(port), vlan == 0 ? "" : std::to_string(vlan), discard ? "1" : "0"));
        requireRules(managed, expected);
    });
}

TEST(OperationProperties, TheVlanOfAnOnuIsTheLastThatWasSet) {
    inRandomCases(kCases, [] {
        ManagedCard managed(1);
        auto& onu = anyOnu(managed.card());
        onu.discovered = true;
        for (auto left = anyNumber("times", 1, 3); left > 0; --left) {
            const auto vlan = any<std::uint16_t>("VLAN, or 0 for none");
            managed.requireDone(
                "doSetOnuVlan",
                managed.operations().doSetOnuVlan(std::to_string(vlan), sim::toText(onu.mac)) == 0);
            requireEqual(sim::portVlan(managed.configuration(), onu), vlan, "the VLAN of the ONU");
        }
    });
}

// ---- links

/// The card has accepted the same for this request, whatever it is kept by.
void requireSameAccepted(const sim::PayloadStore& actual, const sim::PayloadStore& expected,
                         std::uint16_t id) {
    const auto what = "of request " + std::to_string(id);
    require(actual.keysOf(id) == expected.keysOf(id), "other links or queues have one " + what);
    for (const auto key : expected.keysOf(id)) {
        requireEqual(sim::hexText(*actual.find(id, key)), sim::hexText(*expected.find(id, key)),
                     "the payload " + what);
    }
}

TEST(OperationProperties, LinksOnLineAreProvisionedWithTheirOwnQueues) {
    inRandomCases(kCases, [] {
        ManagedCard managed(1);
        anyOnu(managed.card());
        anyOnu(managed.card());
        auto expected = managed.configuration();
        for (auto& onu : managed.card().card().onus) {
            onu.discovered = any<bool>("on-line");
            if (onu.discovered) {
                sim::provision(expected, onu);
            }
        }
        auto& operations = managed.operations();
        managed.requireDone("doGetAllOnuKnown", operations.doGetAllOnuKnown(true));
        managed.requireDone("doGetAllOnuQueue", operations.doGetAllOnuQueue());
        operations.doSetAllOnuGigabit();
        managed.requireDone("doSetAllOnuGigabit", true);
        for (const auto id : {sim::id::kEnableLink, sim::id::kSetLinkSla, sim::id::kSetQueueSla,
                              sim::id::kSetEthernetPort}) {
            requireSameAccepted(managed.configuration().accepted, expected.accepted, id);
        }
        managed.requireDone("clearAllLogicalLink", operations.clearAllLogicalLink());
        requireEqual(managed.configuration().accepted.size(), 0, "payloads left");
    });
}

// ---- paths

using Paths = std::map<std::uint16_t, sim::Path>;

std::string shown(const Paths& paths) {
    std::string text;
    for (const auto& path : paths) {
        text += std::to_string(path.first) + "=" + sim::hexText(path.second.ends) + " ";
    }
    return text;
}

TEST(OperationProperties, APathHasTheEndsThatWereSetAndIsDeletedWithItsSuccessor) {
    inRandomCases(kCases, [] {
        ManagedCard managed;
        const auto path = any<std::uint16_t>("path");
        const auto next = static_cast<std::uint16_t>(path + 1);
        const auto a = any<std::uint16_t>("a");
        const auto b = any<std::uint16_t>("b");
        const auto c = any<std::uint16_t>("c");
        Bytes ends;
        for (const auto number : {a, std::uint16_t{1}, c, b, std::uint16_t{1}, c}) {
            const auto bytes = twoBytes(number);
            ends.insert(ends.end(), bytes.begin(), bytes.end());
        }
        managed.requireDone("doSetPath", managed.operations().doSetPath(path, a, b, c));
        managed.requireDone("doSetPath", managed.operations().doSetPath(next, a, b, c));
        requireEqual(shown(managed.configuration().paths),
                     shown(Paths{{path, {ends, 0}}, {next, {ends, 0}}}), "the paths");
        managed.requireDone("doAllDeletePath", managed.operations().doAllDeletePath(path));
        requireEqual(shown(managed.configuration().paths), "", "the paths left");
    });
}

TEST(OperationProperties, UnusedPathsAreDeletedWithTheirSuccessorsAndNoOthers) {
    inRandomCases(kCases, [] {
        ManagedCard managed;
        auto& configuration = managed.configuration();
        for (auto left = anyNumber("paths", 0, 40); left > 0; --left) {
            const auto low = any<bool>("low");
            const auto id = anyNumber("path", 0, low ? 20 : 0x2010);
            require(
                configuration.setLeftoverPath(static_cast<std::uint16_t>(id),
                                              static_cast<std::uint16_t>(anyNumber("users", 0, 4))),
                "the path fits");
        }
        auto expected = configuration.paths;
        for (const auto& path : configuration.paths) {
            if (path.first >= 9 && path.first <= 8191 && path.second.otherUsers <= 2) {
                expected.erase(path.first);
                expected.erase(static_cast<std::uint16_t>(path.first + 1));
            }
        }
        managed.requireDone("clearAllUnusedPaths", managed.operations().clearAllUnusedPaths());
        requireEqual(shown(configuration.paths), shown(expected), "the paths left");
    });
}

// ---- the configuration

using Step = bool (*)(PONCardHelper& card);
using PortStep = bool (PONCardHelper::*)(std::uint16_t port);

constexpr Step kSteps[] = {
    [](PONCardHelper& card) { return card.doDisableOLT(); },
    [](PONCardHelper& card) { return card.doSetEnCtcMode(); },
    [](PONCardHelper& card) { return card.doSetDefaultOAMRate(); },
    [](PONCardHelper& card) { return card.doSetOLTBridgingConfiguration(); },
    [](PONCardHelper& card) { return card.doSetAllPaths(); },
    [](PONCardHelper& card) { return card.doSetOLTIPMulticastGlobalProvisioning(); },
    [](PONCardHelper& card) { return card.doSetDomainVersion2(); },
    [](PONCardHelper& card) { return card.doSetDomainRules(0, 0); },
    [](PONCardHelper& card) { return card.doSetDomainRules(1, 0); },
    [](PONCardHelper& card) { return card.doSetDomainRules(0, 1); },
    [](PONCardHelper& card) { return card.doSetDomainRules(1, 1); },
    [](PONCardHelper& card) { return card.doSetOLTIPMulticastDomainProxyProvisioning(); },
    [](PONCardHelper& card) { return card.doSetOLTIPMulticastHostCopy(); },
    [](PONCardHelper& card) { return card.doSetNVSDisabled(); },
    [](PONCardHelper& card) { return card.doEnableOLT(); },
};

/// With the id of the request that keeps what is set for each port.
struct StepOfEachPort {
    PortStep step;
    std::uint16_t id;
};
constexpr StepOfEachPort kPortSteps[] = {
    {&PONCardHelper::doSetDBAAggregateBandwidth, 412},
    {&PONCardHelper::doSetAggregateBandwidth, 371},
    {&PONCardHelper::doSetEncryptionModeDefault, 393},
    {&PONCardHelper::doClearAllAllowedLinks, 294},
    {&PONCardHelper::doSetDBAPollingIntervalHighResolution, 355},
    {&PONCardHelper::doSetEPONLoopTiming, 359},
    {&PONCardHelper::doSetEPONSyncTime, 544},
};

void requireManaged(const sim::Card& card) {
    const auto managed = sim::CardConfiguration::provisioned();
    const auto& configuration = card.configuration;
    require(configuration.isMarked(), "the card is marked");
    require(configuration.enabled, "the card is enabled");
    require(!card.nvsAfterNextBoot, "the storage is off after the next reset");
    requireEqual(shown(configuration.paths), shown(managed.paths), "the paths");
    requireEqual(configuration.domains.size(), 1, "domains");
    requireEqual(configuration.domains.front().id, managed.domains.front().id, "the domain");
    require(configuration.domains.front().paths == managed.domains.front().paths,
            "the domain names its paths");
}

TEST(OperationProperties, EveryStepOfTheConfigurationIsTakenByACardOfAnyMac) {
    inRandomCases(kCases, [] {
        ManagedCard managed;
        const auto first = anyNumber("first port", 0, 1);
        for (const auto port : {first, 1 - first}) {
            for (const auto& each : kPortSteps) {
                managed.requireDone(
                    "a step of request " + std::to_string(each.id),
                    (managed.operations().*each.step)(static_cast<std::uint16_t>(port)));
            }
        }
        for (const auto step : kSteps) {
            managed.requireDone("a step", step(managed.operations()));
        }
        const auto bothPorts = std::vector<std::uint64_t>{0, 1};
        for (const auto& each : kPortSteps) {
            require(managed.configuration().accepted.keysOf(each.id) == bothPorts,
                    "request " + std::to_string(each.id) + " is kept for both ports");
        }
        requireManaged(managed.card().card());
    });
}

}  // namespace
}  // namespace ponmgr
