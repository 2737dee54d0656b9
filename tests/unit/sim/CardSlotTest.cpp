// Cards that leave their slots, come back, and are replaced by others.

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "ChassisFixture.h"
#include "sim/CardVerbs.h"
#include "sim/ControlVerbs.h"
#include "sim/LinkProvisioning.h"
#include "sim/TruthReport.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

/// Slot 1 with two registered ONUs at each port, spoken to by a manager.
class CardSlot : public ChassisFixture {
protected:
    CardSlot() {
        buildWithOnus(2);
        EXPECT_EQ(resultOf(7), 0);
    }

    void mark() { ASSERT_EQ(resultOf(436, "08" + kMac + "02 05 00 111111 01"), 0); }

    Json act(Json (*verb)(Chassis&, const Json&), const std::string& request = R"({"card":1})") {
        sent.clear();
        return verb(*chassis, Json::parse(request));
    }

    /// Until the card and its ONUs are up.
    void comeUp() {
        advance(settings.resetTime);
        for (int i = 0; i < 4; ++i) {
            advance(settings.discoveryInterval);
        }
    }

    std::string refusal(Json (*verb)(Chassis&, const Json&), const std::string& request) {
        try {
            act(verb, request);
        } catch (const std::exception& error) {
            return error.what();
        }
        return "";
    }
};

TEST_F(CardSlot, PulledCardAnswersNothingAndTakesItsOnusOutOfService) {
    EXPECT_EQ(act(pullCard).at("state"), "absent");
    EXPECT_EQ(ask(7), "");
    EXPECT_EQ(card().counters.unheard, 1U);
    EXPECT_FALSE(onu(0, 0).discovered);
    const auto onus = truth(*chassis, {}).at("onus");
    EXPECT_EQ(onus.at(0).at("online"), false);
}

TEST_F(CardSlot, PulledCardSendsNoEventAndLosesItsAnswers) {
    chassis->receive(card(), kManager, bytesOf("0007 0001 0000"));
    act(pullCard);
    chassis->onuNetwork().setPowered(card(), onu(0, 1), false);
    EXPECT_FALSE(chassis->emit(card(), bytesOf("802b0000")));
    advance(1s);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(card().counters.abandoned, 1U);
}

TEST_F(CardSlot, CardPulledDuringItsResetStaysAway) {
    ASSERT_TRUE(chassis->reset(card()));
    advance(1s);
    act(pullCard);
    advance(10s);
    EXPECT_EQ(card().stateWord(), "absent");
    EXPECT_TRUE(sent.empty());
}

TEST_F(CardSlot, CardPulledDuringItsResetAndInsertedStartsAnew) {
    ASSERT_TRUE(chassis->reset(card()));
    advance(2s);
    act(pullCard);
    act(insertCard);
    advance(1s);
    EXPECT_EQ(card().stateWord(), "resetting");
    advance(2s);
    EXPECT_EQ(card().stateWord(), "factory");
}

TEST_F(CardSlot, InsertedCardStartsAndSendsOltReadyAndItsOnusRegister) {
    act(pullCard);
    EXPECT_EQ(act(insertCard).at("state"), "resetting");
    comeUp();
    ASSERT_EQ(sent.size(), 5U);
    EXPECT_EQ(sent[0].hex.substr(0, 24), hex("8000 0000 005b 000db6000001"));
    EXPECT_EQ(sent[1].hex.substr(0, 32), hex("8019 0000 001e 0000 0001 000db6010000"));
    EXPECT_EQ(sent[0].to, kManager);
    EXPECT_TRUE(onu(1, 1).discovered);
}

TEST_F(CardSlot, InsertedCardCountsItsEventsFromOneWhateverWasTriedMeanwhile) {
    act(pullCard);
    chassis->onuNetwork().report(card(), {});
    act(insertCard);
    EXPECT_EQ(card().nextSequence(), 1U);
}

TEST_F(CardSlot, InsertedCardHasWhatItsStorageHolds) {
    mark();
    act(pullCard);
    act(insertCard);
    comeUp();
    EXPECT_TRUE(card().configuration.isMarked());
}

TEST_F(CardSlot, InsertedCardWithoutStorageHasForgottenAll) {
    EXPECT_EQ(resultOf(302, "00"), 0);
    mark();
    act(pullCard);
    act(insertCard);
    comeUp();
    EXPECT_EQ(card().stateWord(), "blank");
}

TEST_F(CardSlot, PulledCardWithoutStorageHasForgottenAllAtOnce) {
    card().nvsCurrent = false;
    mark();
    EXPECT_EQ(resultOf(385, "000db6010001"), 0);
    const auto details = act(pullCard);
    EXPECT_FALSE(card().configuration.isMarked());
    EXPECT_FALSE(isKnown(card().configuration, onu(0, 1)));
    EXPECT_EQ(details.at("marker"), false);
}

TEST_F(CardSlot, CardInsertedFromTheFactoryHasForgottenItsStorageToo) {
    mark();
    EXPECT_EQ(resultOf(302, "00"), 0);
    act(pullCard);
    act(insertCard, R"({"card":1,"storage":"factory","product_code":"3724"})");
    comeUp();
    EXPECT_EQ(card().stateWord(), "factory");
    EXPECT_EQ(toText(card().identity.mac), "00:0d:b6:00:00:01");
    EXPECT_EQ(ask(7).substr(38, 4), "3724");
}

TEST_F(CardSlot, SwappedCardHasAnotherMacTheFactorysStateAndTheSameOnus) {
    mark();
    act(swapCard);
    EXPECT_EQ(card().stateWord(), "resetting");
    comeUp();
    EXPECT_EQ(card().stateWord(), "factory");
    EXPECT_EQ(ask(7).substr(16, 12), "000db6000101");
    EXPECT_EQ(resultOf(544, kMac + "0000 0010"), 3);
    EXPECT_EQ(resultOf(544, "000db6000101 0000 0010"), 0);
    EXPECT_EQ(ask(68), hex("0044 0001 001a 0000 000db6010000 000db6010001 000db6010100 "
                           "000db6010101"));
    act(swapCard);
    EXPECT_EQ(toText(card().identity.mac), "00:0d:b6:00:02:01");
}

TEST_F(CardSlot, SwappedCardHasTheChassisProductCodeUnlessAnotherIsGiven) {
    card().identity.productCode = {0x11, 0x11};
    act(swapCard);
    EXPECT_EQ(hexText(card().identity.productCode), "3723");
    act(swapCard, R"({"card":1,"product_code":"3724"})");
    EXPECT_EQ(hexText(card().identity.productCode), "3724");
}

TEST_F(CardSlot, SwapFillsAnEmptySlotAndEndsMuting) {
    card().muted = true;
    act(pullCard);
    act(swapCard);
    comeUp();
    EXPECT_EQ(resultOf(7), 0);
}

TEST_F(CardSlot, RefusesWhatMakesNoSense) {
    EXPECT_EQ(refusal(insertCard, R"({"card":1})"),
              "slot 1 holds a card; pull it first, or swap it");
    EXPECT_EQ(refusal(pullCard, R"({"card":3})"), "no card in slot 3; there are: 1, 2");
    act(pullCard);
    EXPECT_EQ(refusal(pullCard, R"({"card":1})"), "slot 1 is empty; insert the card first");
    EXPECT_THAT(refusal(insertCard, R"({"card":1,"storage":"new"})"),
                HasSubstr("there are: as-it-was, factory"));
    EXPECT_THAT(refusal(insertCard, R"({"card":1,"product_code":"x"})"),
                HasSubstr("four hex digits"));
    EXPECT_FALSE(card().present);
}

TEST_F(CardSlot, TruthShowsWhatOughtToBeInTheInventory) {
    card(2).identity.productCode = {0x37, 0x24};
    ASSERT_TRUE(chassis->reset(card()));
    const auto report = truth(*chassis, {});
    EXPECT_EQ(report.at("cards").dump(),
              R"([{"slot":1,"mac":"00:0d:b6:00:00:01","online":false,"managed":true},)"
              R"({"slot":2,"mac":"00:0d:b6:00:00:02","online":true,"managed":false}])");
    EXPECT_EQ(report.at("onus").size(), 8U);
    EXPECT_EQ(report.at("onus").at(4).dump(),
              R"({"onu":"2/0/0","mac":"00:0d:b6:02:00:00","slot":2,"port":0,"online":true})");
}

}  // namespace
}  // namespace ponmgr::sim
