// ONUs that are plugged in at another card.

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "ChassisFixture.h"
#include "sim/ControlMembers.h"
#include "sim/LinkProvisioning.h"
#include "sim/OnuMove.h"
#include "sim/OnuVerbs.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

/// Slots 1 and 2 with two registered ONUs at each port; a manager has spoken to both.
class OnuMove : public ChassisFixture {
protected:
    OnuMove() {
        buildWithOnus(2);
        for (auto& spokenTo : chassis->cards()) {
            spokenTo.lastPeer = kManager;
            spokenTo.lastSequence = 0;
        }
    }

    Onu& moved() { return *chassis->findOnu({1, 0, 1}).onu; }

    bool moveTo(int slot, std::uint8_t port) {
        auto& from = *chassis->findOnu({1, 0, 1}).card;
        return chassis->onuNetwork().move(from, moved(), card(slot), port);
    }

    /// Until it has started at its new card.
    void settle() {
        advance(settings.onuResetTime);
        advance(settings.discoveryInterval);
    }
};

TEST_F(OnuMove, TimesOutAtTheOldCardAndIsDiscoveredAtTheNewOneOnceItHasStarted) {
    ASSERT_TRUE(moveTo(2, 1));
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].slot, 1);
    EXPECT_EQ(sent[0].hex, hex("801a 0000 000f 0000 0001 03 000db6010001 17 01 01 00"));
    sent.clear();
    advance(settings.onuResetTime - 1ns);
    EXPECT_TRUE(sent.empty());
    settle();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].slot, 2);
    EXPECT_EQ(sent[0].hex.substr(0, 32), hex("8019 0000 001e 0000 0001 000db6010001"));
    EXPECT_EQ(sent[0].hex.substr(sent[0].hex.size() - 2), "01");
    EXPECT_EQ(card(1).onus.size(), 3U);
    EXPECT_EQ(card(2).onus.size(), 5U);
}

TEST_F(OnuMove, RegistersAtTheNewCardThoughItsResetWasOnItsWayAtTheOldOne) {
    chassis->receive(card(1), kManager, bytesOf("0053 0001 0006 000db6010001"));
    ASSERT_TRUE(moveTo(2, 1));
    advance(settings.latency);
    sent.clear();
    settle();
    ASSERT_EQ(sent.size(), 1U);
    EXPECT_EQ(sent[0].slot, 2);
    EXPECT_TRUE(moved().discovered);
}

TEST_F(OnuMove, GetsANumberThatNoOtherLinkOfTheNewCardHas) {
    const auto* const same = &moved();
    ASSERT_TRUE(moveTo(2, 0));
    EXPECT_EQ(&moved(), same);
    // the numbers 0, 1, 124 and 125 are in use there
    EXPECT_EQ(moved().llid, 3);
    EXPECT_EQ(moved().queues.downstream, 0x4008);
    EXPECT_EQ(moved().slot, 2);
}

TEST_F(OnuMove, LeavesAKnownLinkAtTheOldCardUntilItIsCleared) {
    ASSERT_EQ(resultOf(385, "000db6010001"), 0);
    ASSERT_TRUE(moveTo(2, 0));
    EXPECT_EQ(ask(118), hex("0076 0001 0008 0000 000db6010001"));
    EXPECT_EQ(ask(68), hex("0044 0001 0014 0000 000db6010000 000db6010100 000db6010101"));
    EXPECT_EQ(resultOf(119, "000db6010001"), 0);
    EXPECT_EQ(ask(118), hex("0076 0001 0002 0000"));
    EXPECT_EQ(resultOf(119, "000db6010001"), 3);
}

TEST_F(OnuMove, DoesNotMakeALinkKnownAgainThatWasClearedAndHadItsNumber) {
    ASSERT_EQ(resultOf(385, "000db6010001"), 0);
    ASSERT_TRUE(moveTo(2, 0));
    ASSERT_EQ(resultOf(119, "000db6010001"), 0);
    const auto next = chassis->findOnu({2, 0, 0});
    ASSERT_TRUE(chassis->onuNetwork().move(*next.card, *next.onu, card(1), 0));
    settle();
    ASSERT_EQ(next.onu->queues.downstream, 0x4004);
    ASSERT_EQ(resultOf(384,
                       "4004 0000"
                       "00000000 ffff ff ffff 000f4240 00c8 02 0010"),
              0);
    EXPECT_EQ(ask(118), hex("0076 0001 0008 0000 000db6020000"));
    EXPECT_EQ(resultOf(119, "000db6010001"), 3);
}

TEST_F(OnuMove, OfALinkWithoutProvisioningLeavesNothing) {
    ASSERT_TRUE(moveTo(2, 0));
    EXPECT_EQ(ask(118), hex("0076 0001 0002 0000"));
    EXPECT_EQ(resultOf(385, "000db6010001"), 3);
}

TEST_F(OnuMove, BackHomeGetsItsOldPlaceAndNumber) {
    ASSERT_EQ(resultOf(385, "000db6010001"), 0);
    ASSERT_TRUE(moveTo(2, 0));
    settle();
    ASSERT_TRUE(moveTo(1, 0));
    settle();
    EXPECT_EQ(moved().llid, 2);
    EXPECT_TRUE(moved().discovered);
    EXPECT_TRUE(card(1).departed.empty());
    std::vector<std::string> names;
    for (const auto& hanging : card(1).onus) {
        names.push_back(toText(hanging.address));
    }
    EXPECT_THAT(names, ElementsAre("1/0/0", "1/0/1", "1/1/0", "1/1/1"));
}

TEST_F(OnuMove, WhileItRestartsTakesItsTimeAnew) {
    chassis->onuNetwork().resetOnu(card(1), moved());
    advance(4s);
    ASSERT_TRUE(moveTo(2, 0));
    sent.clear();
    advance(4s);
    EXPECT_TRUE(moved().restarting);
    EXPECT_TRUE(sent.empty());
    advance(1s);
    EXPECT_FALSE(moved().restarting);
}

TEST_F(OnuMove, ToAFullCardIsRefused) {
    settings.onusPerPort = kMostOnusPerPort;
    build();
    EXPECT_FALSE(hasRoomFor(card(2), moved()));
    EXPECT_FALSE(moveTo(2, 0));
    EXPECT_EQ(moved().slot, 1);
    EXPECT_THROW(
        actOnOnu(*chassis,
                 Json::parse(R"({"verb":"onu","onu":"1/0/1","action":"move","value":"2/1"})")),
        ControlError);
}

TEST_F(OnuMove, ByItsNameWorksFromWhereverItHangs) {
    const auto move = [this](const std::string& to) {
        return actOnOnu(*chassis,
                        Json::parse(R"({"onu":"1/0/1","action":"move","value":)" + to + "}"));
    };
    EXPECT_EQ(move("\"2/1\"").at("slot"), 2);
    EXPECT_EQ(move("0").at("port"), 0);
    EXPECT_EQ(moved().slot, 2);
    EXPECT_THROW(move("\"2/0\""), ControlError);
    EXPECT_THROW(move("\"3/0\""), ControlError);
    EXPECT_EQ(move("\"1/0\"").at("slot"), 1);
}

TEST_F(OnuMove, OffItsFibreDoesNotRegisterAtTheNewCard) {
    chassis->onuNetwork().setPlugged(card(1), moved(), false);
    ASSERT_TRUE(moveTo(2, 0));
    settle();
    EXPECT_FALSE(moved().discovered);
}

TEST_F(OnuMove, ForgetsItsEthernetPortAsEveryRestartDoes) {
    const std::string up = "000db6010001 80010100 0001 01010101";
    ASSERT_EQ(resultOf(299, up), 0);
    EXPECT_TRUE(isEthernetUp(card(1).configuration, moved()));
    chassis->onuNetwork().setPowered(card(1), moved(), false);
    EXPECT_FALSE(isEthernetUp(card(1).configuration, moved()));
    chassis->onuNetwork().setPowered(card(1), moved(), true);
    advance(settings.discoveryInterval);
    ASSERT_EQ(resultOf(299, up), 0);
    chassis->onuNetwork().resetOnu(card(1), moved());
    EXPECT_FALSE(isEthernetUp(card(1).configuration, moved()));
}

}  // namespace
}  // namespace ponmgr::sim
