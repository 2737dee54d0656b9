// Answers and events, as the simulator encodes a card's state and as the daemon's parsers read it:
// one property a layout, each over random states.

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "ExpectedRecord.h"
#include "Property.h"
#include "RandomState.h"
#include "SimulatedCard.h"
#include "sim/CardRequests.h"
#include "sim/LinkProvisioning.h"
#include "sim/RequestNames.h"

namespace ponmgr {
namespace {

using test::addAnyDepartedOnus;
using test::addAnyRules;
using test::any;
using test::anyBytes;
using test::anyIdentity;
using test::anyNumber;
using test::anyOnu;
using test::Bytes;
using test::inRandomCases;
using test::linkInformation;
using test::oltInformation;
using test::require;
using test::requireEqual;
using test::SimulatedCard;
using Expected = test::ExpectedRecord;

constexpr int kCases = 200;
constexpr std::uint64_t kRefused = 3;

using RM = RequestMessage;

// ---- the card itself

void oltInformationIsTheCardsIdentity() {
    SimulatedCard simulated;
    auto& identity = simulated.card().identity;
    identity = anyIdentity(identity.mac);
    oltInformation(identity).requireIn(simulated.ask(&RM::addGetOLTInformation).get());
}

void oltReadyIsTheCardsIdentity() {
    SimulatedCard simulated;
    auto& identity = simulated.card().identity;
    identity = anyIdentity(identity.mac);
    require(simulated.reset(), "the card can be reset");
    simulated.advance(SimulatedCard::kDelay);
    oltInformation(identity).with("alarm_message_id", 32768).requireIn(simulated.event().get());
}

void nvsEnabledIsTheStateOfTheStorage() {
    SimulatedCard simulated;
    auto& card = simulated.card();
    card.nvsCurrent = any<bool>("current");
    card.nvsAfterNextBoot = any<bool>("after next boot");
    Expected()
        .with("after_next_boot", card.nvsAfterNextBoot ? 1 : 0)
        .with("current", card.nvsCurrent ? 1 : 0)
        .requireIn(simulated.ask(&RM::addGetOLTNVSEnabled).get());
}

void oamExtensionSetsAreThoseAskedForInTheirOrder() {
    SimulatedCard simulated;
    auto& sets = simulated.configuration().extensionSets;
    const auto firstType = any<std::uint8_t>("first type");
    for (std::size_t i = 0; i < sets.size(); i++) {
        sets[i].type = static_cast<std::uint8_t>(firstType + 67 * i);
        sets[i].version = any<std::uint8_t>("version");
        anyBytes("OUI", sets[i].oui);
        sets[i].enabled = any<bool>("enabled");
    }
    TKMPayload payload;
    payload.addU8Number(8).addHex(sim::hexText(simulated.mac()));
    Expected expected;
    for (auto left = anyNumber("sets asked for", 0, sets.size()); left > 0; --left) {
        const auto& set = sets.at(anyNumber("set", 0, sets.size() - 1));
        payload.addU8Number(set.type).addU8Number(0);
        expected.withItem("oam_sets", Expected()
                                          .with("type", set.type)
                                          .with("length", 5)
                                          .with("version", set.version)
                                          .withHex("oui", set.oui)
                                          .with("state", set.enabled ? 1 : 0));
    }
    expected.requireIn(simulated.ask(&RM::addGetOAMExtensionSetSupport, payload).get());
}

void domainsAreReadWhenThereIsOneAtMost() {
    SimulatedCard simulated;
    auto& domains = simulated.configuration().domains;
    for (auto left = anyNumber("domains", 0, any<bool>("many") ? 64 : 1); left > 0; --left) {
        domains.push_back({any<std::uint16_t>("id"), any<std::uint16_t>("count"), {}});
    }
    Expected expected;
    if (domains.size() <= 1) {
        const auto only = domains.empty() ? sim::Domain{} : domains.front();
        expected.with("id", only.id).with("count", only.count);
    }
    expected.requireIn(simulated.ask(&RM::doAddGetAllDomains).get());
}

void pathsAreReadWithTheirUsers() {
    SimulatedCard simulated;
    auto& configuration = simulated.configuration();
    configuration.domains.resize(anyNumber("domains", 0, 3));
    std::map<std::uint16_t, std::uint64_t> users;
    for (auto left = anyNumber("paths", 0, 40); left > 0; --left) {
        const auto id = any<std::uint16_t>("path");
        if (users.contains(id)) {
            continue;
        }
        const auto others = anyNumber("users beyond the domains", 0, UINT16_MAX - 3);
        require(configuration.setLeftoverPath(id, static_cast<std::uint16_t>(others)),
                "the path fits");
        const auto naming = anyNumber("domains that name it", 0, configuration.domains.size());
        for (std::size_t i = 0; i < naming; i++) {
            configuration.domains[i].paths.push_back(id);
        }
        users[id] = others + naming;
    }
    Expected expected;
    for (const auto& path : users) {
        expected.withItem("paths",
                          Expected().with("id", path.first).with("usage_count", path.second));
    }
    expected.requireIn(simulated.ask(&RM::addGetAllPath).get());
}

void statisticsAreTheReadingsOfThePort() {
    SimulatedCard simulated;
    auto& card = simulated.card();
    for (auto& optics : card.optics) {
        optics = {any<std::uint16_t>("power"), any<std::uint16_t>("voltage"),
                  any<std::uint16_t>("bias"), any<std::uint16_t>("temperature")};
    }
    const auto port = anyNumber("port", 0, 1);
    const auto element = anyNumber("element", 0, any<bool>("low") ? 8 : 255);
    const auto group = any<bool>("another group") ? any<std::uint16_t>("group") : 11;
    TKMPayload payload;
    payload.addHex(sim::hexText(simulated.portTarget(port)))
        .addU16Number(static_cast<std::uint16_t>(group))
        .addU8Number(static_cast<std::uint8_t>(element))
        .addU8Number(4);
    Expected expected;
    expected.with("result", 0)
        .with("target_tag", 5)
        .withMac("target_label_mac_address", card.identity.mac)
        .with("target_label_port_number", port);
    const auto& optics = card.optics.at(port);
    const std::uint16_t readings[] = {optics.transmitPower, optics.supplyVoltage,
                                      optics.biasCurrent, optics.temperature};
    for (std::uint64_t i = 0; i < std::size(readings); i++) {
        if (group == 11 && (element == 255 || element == 4 + i)) {
            expected.withItem("result_list_stats", Expected()
                                                       .with("result_id_val_group", 11)
                                                       .with("result_id_val_element", 4 + i)
                                                       .with("result_id_flags", 0)
                                                       .with("result_value", readings[i]));
        }
    }
    expected.requireIn(simulated.ask(&RM::addGetStatistics, payload).get());
}

// ---- classification rules

void rulesAreReadByteByByteWithTheirTails() {
    SimulatedCard simulated;
    addAnyRules(simulated);
    const auto port = anyNumber("port", 0, 3);
    const auto& rules = simulated.configuration().rules.at(port).all();
    Expected expected;
    expected.with("result", 0)
        .withHex("target", simulated.portTarget(port))
        .with("flags", 0)
        .with("rules_count", rules.size());
    for (const auto& rule : rules) {
        expected.withItem("rules", Expected().withHex("rule", rule));
    }
    TKMPayload payload;
    payload.addHex(sim::hexText(simulated.portTarget(port)));
    expected.requireIn(simulated.ask(&RM::addGetOltRule, payload).get());
}

// ---- ONUs and their links

void onuInformationIsTheOnusOwnWhileItIsOnLine() {
    SimulatedCard simulated(1);
    auto& onu = anyOnu(simulated);
    onu.discovered = any<bool>("on-line");
    auto expected = onu.discovered ? linkInformation(onu) : Expected();
    expected.with("result", onu.discovered ? 0 : kRefused)
        .requireIn(simulated.askWithMac(&RM::addGetONUInformation, onu.mac).get());
}

void linkDiscoveryIsTheInformationOfTheOnuThatRegisters() {
    SimulatedCard simulated(1);
    auto& onu = anyOnu(simulated);
    for (auto& other : simulated.card().onus) {
        other.plugged = &other == &onu;
    }
    simulated.advance(SimulatedCard::kDelay);
    linkInformation(onu).with("alarm_message_id", 32793).requireIn(simulated.event().get());
}

void linkMovedNamesTheLinkAndBothPorts() {
    SimulatedCard simulated(1);
    auto& onu = anyOnu(simulated);
    onu.discovered = true;
    const auto from = onu.port;
    simulated.network().move(simulated.card(), onu, static_cast<std::uint8_t>(1 - from));
    Expected()
        .with("alarm_message_id", 32811)
        .withMac("link_mac_address", onu.mac)
        .with("from", from)
        .with("to", 1U - from)
        .requireIn(simulated.event().get());
}

void bridgingModeIsTheCardsWithTheQueuesOfTheLink() {
    SimulatedCard simulated(1);
    auto& onu = anyOnu(simulated);
    onu.discovered = true;
    auto& configuration = simulated.configuration();
    configuration.bridgingType = any<std::uint8_t>("bridging type");
    configuration.macTableEntryLimit = any<std::uint16_t>("MAC table entry limit");
    Expected()
        .withMac("link", onu.mac)
        .with("bridging_type", configuration.bridgingType)
        .with("mac_table_entry_limit", configuration.macTableEntryLimit)
        .withHex("down_path_endpoint", onu.queues.downstream)
        .with("down_queue_index", 0)
        .withHex("up_path_endpoint", onu.queues.upstream)
        .with("up_queue_index", 0)
        .withHex("mcast_path_endpoint", onu.queues.multicast)
        .with("mcast_queue_index", 0)
        .requireIn(simulated.askWithMac(&RM::addGetOLTBridgingMode, onu.mac).get());
}

void diagnosisIsWhatTheOnusModuleShowsWhileItIsOnLine() {
    SimulatedCard simulated(1);
    auto& onu = anyOnu(simulated);
    onu.discovered = any<bool>("on-line");
    onu.optics = {any<std::uint16_t>("temperature"), any<std::uint16_t>("supply voltage"),
                  any<std::uint16_t>("bias current"), any<std::uint16_t>("power in"),
                  any<std::uint16_t>("power out")};
    onu.fadeDecibels = static_cast<double>(anyNumber("fade in 0.1 dB", 0, 400)) / 10;
    Expected expected;
    expected.with("result", onu.discovered ? 0 : kRefused);
    if (onu.discovered) {
        expected.withMac("target_onu", onu.mac)
            .with("transceiver_temperature", onu.optics.temperature)
            .with("supply_vcc", onu.optics.supplyVoltage)
            .with("tx_bias_current", onu.optics.biasCurrent)
            .with("tx_power_in", onu.shownOptics().powerIn)
            .with("tx_power_out", onu.optics.powerOut);
    }
    expected.requireIn(
        simulated.askWithMac(&RM::addGetCTC21OpticalTransceiverDiagnosis, onu.mac).get());
}

void alarmsAreReadWithTheEntityTheyAreAbout() {
    constexpr sim::EntityTag kTags[] = {sim::EntityTag::onuLink, sim::EntityTag::oltPort,
                                        sim::EntityTag::oltLink};
    SimulatedCard simulated;
    sim::Alarm alarm;
    alarm.tag = kTags[anyNumber("entity", 0, 2)];
    anyBytes("MAC", alarm.mac);
    alarm.port = any<std::uint16_t>("port");
    alarm.code = any<std::uint8_t>("code");
    alarm.raised = any<bool>("raised");
    require(simulated.network().report(simulated.card(), alarm), "the alarm is sent");
    Expected expected;
    expected.with("alarm_message_id", 32794)
        .with("entity_tag", static_cast<std::uint8_t>(alarm.tag))
        .withMac("mac_address", alarm.mac)
        .with("alarm_id", alarm.code)
        .with("alarm_state", alarm.raised ? 1 : 0)
        .with("alarm_count", 1)
        .with("alarm_info_len", 0);
    if (alarm.tag == sim::EntityTag::oltPort) {
        expected.with("port_number", alarm.port);
    }
    expected.requireIn(simulated.event().get());
}

// ---- lists of links

void listsOfLinksAreThoseOnLineAndThoseRemembered() {
    const auto perPort = anyNumber("ONUs per port", 0, sim::kMostOnusPerPort);
    SimulatedCard simulated(static_cast<unsigned>(perPort));
    addAnyDepartedOnus(simulated,
                       anyNumber("ONUs that moved away", 0,
                                 std::min<std::uint64_t>(sim::kMostOnusPerPort - perPort, 4)));
    auto& card = simulated.card();
    Expected discovered;
    Expected known;
    for (auto* const onus : {&card.onus, &card.departed}) {
        const auto states = anyBytes("states of the ONUs", onus->size());
        auto state = states.begin();
        for (auto& onu : *onus) {
            onu.discovered = onus == &card.onus && (*state & 1) != 0;
            if (onu.discovered) {
                discovered.withItem("link_macs", Expected().withMac("mac_address", onu.mac));
            }
            if ((*state & 2) != 0) {
                sim::provision(card.configuration, onu);
                known.withItem("link_macs", Expected().withMac("mac_address", onu.mac));
            }
            ++state;
        }
    }
    discovered.requireIn(simulated.ask(&RM::addGetListOfDiscoveredLinks).get());
    known.requireIn(simulated.ask(&RM::addGetListOfAllKnownLogicalLinks).get());
}

// ---- all of them

/// What must hold for the layouts of these messages.
struct Layout {
    const char* name;
    std::set<std::uint16_t> ids;
    void (*property)();
};
void PrintTo(const Layout& layout, std::ostream* stream) {
    *stream << layout.name;
}

const std::vector<Layout> kLayouts = {
    {"OltInformation", {7}, oltInformationIsTheCardsIdentity},
    {"ListsOfLinks", {68, 118}, listsOfLinksAreThoseOnLineAndThoseRemembered},
    {"NvsEnabled", {301}, nvsEnabledIsTheStateOfTheStorage},
    {"Statistics", {312}, statisticsAreTheReadingsOfThePort},
    {"OnuInformation", {363}, onuInformationIsTheOnusOwnWhileItIsOnLine},
    {"Paths", {377}, pathsAreReadWithTheirUsers},
    {"Domains", {381}, domainsAreReadWhenThereIsOneAtMost},
    {"BridgingMode", {388}, bridgingModeIsTheCardsWithTheQueuesOfTheLink},
    {"Rules", {399}, rulesAreReadByteByByteWithTheirTails},
    {"OamExtensionSets", {435}, oamExtensionSetsAreThoseAskedForInTheirOrder},
    {"Diagnosis", {585}, diagnosisIsWhatTheOnusModuleShowsWhileItIsOnLine},
    {"OltReady", {0x8000}, oltReadyIsTheCardsIdentity},
    {"LinkDiscovery", {0x8019}, linkDiscoveryIsTheInformationOfTheOnuThatRegisters},
    {"Alarms", {0x801A}, alarmsAreReadWithTheEntityTheyAreAbout},
    {"LinkMoved", {0x802B}, linkMovedNamesTheLinkAndBothPorts},
};

class ResponseProperty : public testing::TestWithParam<Layout> {};

TEST_P(ResponseProperty, HoldsInEveryStateAndHearsItsMessages) {
    SimulatedCard::heardIds().clear();
    inRandomCases(kCases, GetParam().property);
    EXPECT_EQ(SimulatedCard::heardIds(), GetParam().ids);
}

INSTANTIATE_TEST_SUITE_P(Layouts, ResponseProperty, testing::ValuesIn(kLayouts),
                         [](const auto& layout) { return std::string(layout.param.name); });

TEST(ResponseProperties, CoverEveryAnswerWithDataAndEveryEvent) {
    std::set<std::uint16_t> said{sim::id::kOltReady, sim::id::kLinkDiscovery, sim::id::kReportAlarm,
                                 sim::id::kOnuLinkMoved};
    for (const auto& request : sim::cardRequests()) {
        if (request.purpose == sim::Purpose::asks) {
            said.insert(request.id);
        }
    }
    std::set<std::uint16_t> covered;
    for (const auto& layout : kLayouts) {
        covered.insert(layout.ids.begin(), layout.ids.end());
    }
    EXPECT_EQ(covered, said);
}

}  // namespace
}  // namespace ponmgr
