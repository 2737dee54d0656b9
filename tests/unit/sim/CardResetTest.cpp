#include <nlohmann/json.hpp>

#include "ChassisFixture.h"
#include "sim/SettingsReport.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;

class CardReset : public ChassisFixture {
protected:
    void mark() { ASSERT_EQ(resultOf(436, "08" + kMac + "02 05 00 111111 01"), 0); }

    /// Everything that the manager sets, one of each kind.
    void configure() {
        mark();
        ASSERT_EQ(resultOf(9), 0);
        ASSERT_EQ(resultOf(376, "2000 0001 0001 0020 0002 0001 0020"), 0);
        ASSERT_EQ(resultOf(549, "0402 0000 101010 00"), 0);
    }

    void resetCompletely() {
        ASSERT_EQ(resultOf(6), 0);
        advance(settings.resetTime);
    }
};

TEST_F(CardReset, IsAnsweredAndEndsWithAnOltReadyEventToTheLastSpeaker) {
    EXPECT_EQ(ask(6), hex("0006 0001 0002 0000"));
    sent.clear();
    advance(3s - 1ns);
    EXPECT_TRUE(sent.empty());
    advance(1ns);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].to, kManager);
    EXPECT_EQ(sent[0].hex.size(), 2U * (6 + 91));
    EXPECT_EQ(sent[0].hex.substr(0, 28), hex("8000 0000 005b 000db6000001 0053"));
    const auto eventData = sent[0].hex.substr(12);
    EXPECT_EQ(eventData, ask(7).substr(16));
}

TEST_F(CardReset, DropsRequestsUntilItIsOver) {
    EXPECT_EQ(resultOf(6), 0);
    EXPECT_EQ(ask(7), "");
    EXPECT_EQ(card().stateWord(), "resetting");
    EXPECT_EQ(card().counters.unheard, 1U);
    advance(3s);
    EXPECT_EQ(resultOf(7), 0);
}

TEST_F(CardReset, SendsTheEventToWhoeverSpokeMeanwhile) {
    EXPECT_EQ(resultOf(6), 0);
    sent.clear();
    chassis->receive(card(), {0x7F000009, 999}, bytesOf("0007 0001 0000"));
    advance(3s);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].to, (Endpoint{0x7F000009, 999}));
}

TEST_F(CardReset, OfACardThatNobodySpokeToEndsWithoutAnEvent) {
    EXPECT_TRUE(chassis->reset(card()));
    advance(3s);
    EXPECT_TRUE(sent.empty());
    EXPECT_FALSE(card().resetting);
}

TEST_F(CardReset, BeginsWhenItsAnswerIsSent) {
    chassis->receive(card(), kManager, bytesOf("0006 0001 0000"));
    EXPECT_FALSE(card().resetting);
    advance(settings.latency);
    EXPECT_EQ(sent.size(), 1U);
    EXPECT_TRUE(card().resetting);
}

TEST_F(CardReset, LosesTheAnswersThatAreStillOnTheirWay) {
    chassis->receive(card(), kManager, bytesOf("0006 0001 0000"));
    chassis->receive(card(), kManager, bytesOf("0007 0002 0000"));
    chassis->receive(card(), kManager, bytesOf("0006 0003 0000"));
    advance(settings.latency);
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(card().counters.abandoned, 2U);
    EXPECT_EQ(card().resets, 1U);
}

TEST_F(CardReset, InProgressIsNotBegunAgain) {
    EXPECT_TRUE(chassis->reset(card()));
    EXPECT_FALSE(chassis->reset(card()));
}

TEST_F(CardReset, BringsAFreshlySetNvsIntoUse) {
    EXPECT_EQ(resultOf(302, "00"), 0);
    EXPECT_TRUE(card().nvsCurrent);
    resetCompletely();
    EXPECT_EQ(ask(301), hex("012d 0001 0004 0000 00 00"));
}

TEST_F(CardReset, WithNvsOffLosesTheWholeConfiguration) {
    settings.nvsEnabled = false;
    build();
    configure();
    resetCompletely();
    const auto& configuration = card().configuration;
    EXPECT_FALSE(configuration.isMarked());
    EXPECT_TRUE(configuration.enabled);
    EXPECT_TRUE(configuration.domains.empty());
    EXPECT_TRUE(configuration.paths.empty());
    EXPECT_EQ(configuration.accepted.size(), 0U);
    EXPECT_EQ(card().stateWord(), "blank");
}

TEST_F(CardReset, WithNvsOnKeepsTheConfiguration) {
    configure();
    resetCompletely();
    const auto& configuration = card().configuration;
    EXPECT_TRUE(configuration.isMarked());
    EXPECT_FALSE(configuration.enabled);
    EXPECT_EQ(configuration.domains.size(), 1U);
    EXPECT_EQ(configuration.paths.size(), 1U);
    EXPECT_EQ(card().stateWord(), "configured");
}

TEST_F(CardReset, WithNvsJustSwitchedOffLosesTheConfiguration) {
    configure();
    EXPECT_EQ(resultOf(302, "00"), 0);
    resetCompletely();
    EXPECT_FALSE(card().configuration.isMarked());
}

TEST_F(CardReset, WithNvsSwitchedOnAgainBringsBackWhatItHeld) {
    mark();
    EXPECT_EQ(resultOf(302, "00"), 0);
    resetCompletely();
    EXPECT_EQ(resultOf(549, "0402 0000 101010 00"), 0);
    EXPECT_EQ(resultOf(302, "01"), 0);
    resetCompletely();
    EXPECT_TRUE(card().configuration.isMarked());
    EXPECT_TRUE(card().configuration.domains.empty());
}

/// A card with one ONU at each port and all that the manager sets.
class ManagedCardReset : public CardReset {
protected:
    ManagedCardReset() {
        settings.configured = true;
        settings.onusPerPort = 1;
        build();
        EXPECT_EQ(resultOf(273, "000db6010000 80010100 0001 01 8100 0064"), 0);
        EXPECT_EQ(resultOf(400, "05" + kMac +
                                    "0000 00 01 08 01 04 05 01 8100 0064 01 01 00 00 "
                                    "0000000000000000 07"),
                  0);
    }

    Json ofOnu() { return onuSettings(card().configuration, onu(0, 0)); }
};

TEST_F(ManagedCardReset, BeginsWithEverythingSet) {
    const auto ofCard = cardSettings(card().configuration);
    for (const auto& [name, values] : ofCard.items()) {
        EXPECT_FALSE(values.empty()) << name;
    }
    const auto ofLink = ofOnu();
    for (const auto& [name, value] : ofLink.items()) {
        EXPECT_TRUE(value.is_string()) << name;
    }
    EXPECT_EQ(ofCard.at("loop_timing").dump(),
              R"([{"port":0,"data":"00001a5e0c350000"},{"port":1,"data":"00001a5e0c350000"}])");
    EXPECT_EQ(ofLink.at("port_vlan"),
              "80010100000101"
              "81000064");
}

TEST_F(ManagedCardReset, WithNvsOffLosesEverySetting) {
    resetCompletely();
    const auto ofCard = cardSettings(card().configuration);
    for (const auto& [name, values] : ofCard.items()) {
        EXPECT_TRUE(values.empty()) << name;
    }
    const auto ofLink = ofOnu();
    for (const auto& [name, value] : ofLink.items()) {
        EXPECT_TRUE(value.is_null()) << name;
    }
    EXPECT_TRUE(card().configuration.rules[0].all().empty());
    EXPECT_EQ(card().configuration.bridgingType, 0);
}

TEST_F(ManagedCardReset, WithNvsOnKeepsEverySetting) {
    card().nvsCurrent = true;
    card().nvsAfterNextBoot = true;
    const auto before = cardSettings(card().configuration);
    const auto onuBefore = ofOnu();
    resetCompletely();
    EXPECT_EQ(cardSettings(card().configuration), before);
    EXPECT_EQ(ofOnu(), onuBefore);
    EXPECT_EQ(card().configuration.rules[0].all().size(), 1U);
}

TEST_F(ManagedCardReset, CountsItsEventsFromOneAgain) {
    chassis->onuNetwork().setPlugged(card(), onu(0, 0), false);
    EXPECT_EQ(card().lastSequence, 1);
    resetCompletely();
    EXPECT_EQ(card().lastSequence, 0);
}

TEST_F(CardReset, LeavesTheOtherCardsAlone) {
    EXPECT_EQ(resultOf(6), 0);
    EXPECT_FALSE(card(2).resetting);
}

TEST_F(CardReset, TakesNoTimeWhenItIsSetToNone) {
    settings.resetTime = 0s;
    build();
    EXPECT_EQ(resultOf(6), 0);
    advance(0s);
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_FALSE(card().resetting);
}

TEST_F(CardReset, FromTheFactoryToServiceAsTheManagerGoes) {
    EXPECT_EQ(card().stateWord(), "factory");
    EXPECT_EQ(resultOf(302, "00"), 0);
    resetCompletely();
    EXPECT_EQ(card().stateWord(), "blank");
    EXPECT_EQ(resultOf(9), 0);
    mark();
    EXPECT_EQ(card().stateWord(), "configured");
    EXPECT_FALSE(card().isInService());
    EXPECT_EQ(resultOf(8), 0);
    EXPECT_EQ(card().stateWord(), "in-service");
    EXPECT_TRUE(card().isInService());
}

}  // namespace
}  // namespace ponmgr::sim
