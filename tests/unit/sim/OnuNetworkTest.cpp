// Which events a card sends when its ONUs come and go.

#include <gmock/gmock.h>

#include "ChassisFixture.h"
#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;

/// Id, sequence and MAC of a Link Discovery; id, sequence, tag, MAC, code and state of an alarm.
std::string essence(const std::string& frame) {
    const auto head = frame.substr(0, 4) + ' ' + frame.substr(16, 4) + ' ';
    return head + (frame.substr(0, 4) == "801a" ? frame.substr(20, 18) : frame.substr(20, 12));
}

/// Slot 1 with two registered ONUs at each port, and a manager.
class OnuNetworkTest : public ChassisFixture {
protected:
    OnuNetworkTest() {
        buildWithOnus(2);
        // The events before somebody spoke to the card went nowhere.
        card().lastSequence = 0;
        EXPECT_EQ(resultOf(7), 0);
        sent.clear();
    }

    OnuNetwork& network() { return chassis->onuNetwork(); }

    std::vector<std::string> eventsOf(Duration time) {
        const auto end = now + time;
        timers.runDue();
        while (timers.nextDue() && *timers.nextDue() <= end) {
            advance(*timers.nextDue() - now);
        }
        now = end;
        std::vector<std::string> events;
        for (const auto& frame : takeSent()) {
            if (frame.substr(0, 1) == "8") {
                events.push_back(essence(frame));
            }
        }
        return events;
    }
};

TEST_F(OnuNetworkTest, EnablingTheOltRegistersTheOnusOneAfterTheOther) {
    EXPECT_EQ(resultOf(9), 0);
    EXPECT_THAT(eventsOf(1s), IsEmpty());
    EXPECT_EQ(resultOf(8), 0);
    sent.clear();
    EXPECT_THAT(eventsOf(5ms - 1ns), IsEmpty());
    EXPECT_THAT(eventsOf(1ns), ElementsAre("8019 0001 000db6010000"));
    EXPECT_THAT(eventsOf(1s), ElementsAre("8019 0002 000db6010001", "8019 0003 000db6010100",
                                          "8019 0004 000db6010101"));
}

TEST_F(OnuNetworkTest, EnablingTheOltTwiceRegistersNobodyTwice) {
    EXPECT_EQ(resultOf(8), 0);
    EXPECT_EQ(resultOf(8), 0);
    EXPECT_THAT(eventsOf(1s), IsEmpty());
}

TEST_F(OnuNetworkTest, DisablingTheOltEndsTheRegistration) {
    EXPECT_EQ(resultOf(9), 0);
    EXPECT_EQ(resultOf(8), 0);
    EXPECT_THAT(eventsOf(5ms), ElementsAre("8019 0001 000db6010000"));
    EXPECT_EQ(resultOf(9), 0);
    EXPECT_THAT(eventsOf(1s), IsEmpty());
    EXPECT_FALSE(onu(0, 0).discovered);
}

TEST_F(OnuNetworkTest, ResetOfTheCardRegistersTheOnusAfterOltReady) {
    EXPECT_EQ(resultOf(385, "000db6010000"), 0);
    card().nvsAfterNextBoot = false;
    EXPECT_EQ(resultOf(6), 0);
    EXPECT_FALSE(onu(0, 0).discovered);
    const auto events = eventsOf(10s);
    ASSERT_EQ(events.size(), 5U);
    EXPECT_EQ(events[0].substr(0, 4), "8000");
    EXPECT_EQ(events[1], "8019 0001 000db6010000");
    EXPECT_EQ(events[4], "8019 0004 000db6010101");
    EXPECT_FALSE(isKnown(card().configuration, onu(0, 0)));
}

TEST_F(OnuNetworkTest, ResetOfAnOnuTakesItAwayAfterTheAnswerForItsResetTime) {
    EXPECT_EQ(ask(83, "000db6010101"), hex("0053 0001 0002 0000"));
    EXPECT_FALSE(onu(1, 1).discovered);
    EXPECT_THAT(eventsOf(0s), ElementsAre("801a 0001 03000db60101011701"));
    EXPECT_EQ(ask(83, "000db6010101"), hex("0053 0001 0002 0003"));
    EXPECT_THAT(eventsOf(4900ms), IsEmpty());
    EXPECT_THAT(eventsOf(200ms), ElementsAre("8019 0002 000db6010101"));
}

TEST_F(OnuNetworkTest, ResetOfAnOnuAskedTwiceInARowHappensOnce) {
    chassis->receive(card(), kManager, bytesOf("0053 0001 0006 000db6010101"));
    chassis->receive(card(), kManager, bytesOf("0053 0002 0006 000db6010101"));
    EXPECT_THAT(eventsOf(20s),
                ElementsAre("801a 0001 03000db60101011701", "8019 0002 000db6010101"));
}

TEST_F(OnuNetworkTest, UnpluggedOnuTimesOutAndRegistersWhenPluggedAgain) {
    network().setPlugged(card(), onu(0, 1), false);
    EXPECT_THAT(eventsOf(1s), ElementsAre("801a 0001 03000db60100011701"));
    network().setPlugged(card(), onu(0, 1), false);
    EXPECT_THAT(eventsOf(1s), IsEmpty());
    network().setPlugged(card(), onu(0, 1), true);
    EXPECT_THAT(eventsOf(1s), ElementsAre("8019 0002 000db6010001"));
}

TEST_F(OnuNetworkTest, OnuThatLosesItsPowerSaysSoFirst) {
    network().setPowered(card(), onu(0, 1), false);
    EXPECT_THAT(eventsOf(1s), ElementsAre("801a 0001 03000db60100014001"));
    EXPECT_FALSE(onu(0, 1).discovered);
    network().setPowered(card(), onu(0, 1), true);
    EXPECT_THAT(eventsOf(1s), ElementsAre("8019 0002 000db6010001"));
}

TEST_F(OnuNetworkTest, CutFibreTimesOutItsOnusAndRestoredBringsThemBack) {
    network().setFibre(card(), 1, false);
    EXPECT_THAT(eventsOf(1s),
                ElementsAre("801a 0001 03000db60101001701", "801a 0002 03000db60101011701"));
    network().setPlugged(card(), onu(1, 0), true);
    EXPECT_THAT(eventsOf(1s), IsEmpty());
    network().setFibre(card(), 1, true);
    EXPECT_THAT(eventsOf(1s), ElementsAre("8019 0003 000db6010100", "8019 0004 000db6010101"));
}

TEST_F(OnuNetworkTest, MovedOnuStaysOnLineAndSaysItsPorts) {
    network().move(card(), onu(0, 1), 1);
    EXPECT_THAT(takeSent(), ElementsAre(hex("802b 0000 000c 0000 0001 000db6010001 00 01")));
    EXPECT_TRUE(onu(0, 1).discovered);
    EXPECT_EQ(ask(363, "000db6010001").substr(16 + 38, 2), "01");
}

TEST_F(OnuNetworkTest, OnuMovedToACutFibreIsLost) {
    network().setFibre(card(), 1, false);
    eventsOf(1s);
    network().move(card(), onu(0, 1), 1);
    EXPECT_THAT(eventsOf(1s), ElementsAre("801a 0003 03000db60100011701"));
}

TEST_F(OnuNetworkTest, OnuMovedFromACutFibreRegisters) {
    network().setFibre(card(), 0, false);
    eventsOf(1s);
    network().move(card(), onu(0, 1), 1);
    EXPECT_THAT(eventsOf(1s), ElementsAre("8019 0003 000db6010001"));
}

TEST_F(OnuNetworkTest, EventsGoToWhoeverSpokeLast) {
    chassis->receive(card(), {0x7F000009, 999}, bytesOf("0007 0001 0000"));
    network().setPlugged(card(), onu(0, 0), false);
    EXPECT_EQ(sent.back().to, (Endpoint{0x7F000009, 999}));
    EXPECT_EQ(sent.back().slot, 1);
}

TEST_F(OnuNetworkTest, EventsOfACardThatNobodySpokeToGoNowhere) {
    chassis->onuNetwork().setPlugged(card(2), *card(2).findOnu({2, 0, 0}), false);
    EXPECT_TRUE(sent.empty());
    EXPECT_EQ(card(2).counters.events, 0U);
    EXPECT_FALSE(card(2).findOnu({2, 0, 0})->discovered);
}

TEST_F(OnuNetworkTest, SequenceNumbersOfTwoCardsAreTheirOwnAndWrap) {
    card().lastSequence = 0xFFFF;
    network().setPlugged(card(), onu(0, 0), false);
    EXPECT_EQ(takeSent().front().substr(16, 4), "0000");
    EXPECT_NE(card(2).lastSequence, 0);
}

TEST_F(OnuNetworkTest, ConfiguredCardsStartWithTheirOnusProvisioned) {
    settings.configured = true;
    build();
    EXPECT_EQ(timers.size(), 0U);
    for (const auto& onu : card().onus) {
        EXPECT_TRUE(onu.discovered);
        EXPECT_TRUE(isProvisioned(card().configuration, onu));
    }
    EXPECT_EQ(ask(118).size(), ask(68).size());
}

TEST_F(OnuNetworkTest, ReadingsChangeAtTheirIntervalTheSameWayWithTheSameSeed) {
    settings.opticsInterval = 1s;
    std::vector<OnuOptics> ends;
    for (int run = 0; run < 2; ++run) {
        build();
        const auto before = onu(1, 1).optics;
        eventsOf(1s - 1ns);
        EXPECT_EQ(onu(1, 1).optics, before);
        eventsOf(1ns);
        EXPECT_NE(onu(1, 1).optics, before);
        eventsOf(20s);
        ends.push_back(onu(1, 1).optics);
    }
    EXPECT_EQ(ends[0], ends[1]);
    EXPECT_NE(card().optics[0], PortOptics{});
}

TEST_F(OnuNetworkTest, ReadingsOfTheCardsModulesAreThoseOfTheSeed) {
    const auto first = card().optics;
    build();
    EXPECT_EQ(card().optics, first);
    EXPECT_NE(card().optics[0], card().optics[1]);
    EXPECT_NE(card(2).optics, first);
    settings.seed = 2;
    build();
    EXPECT_NE(card().optics, first);
    EXPECT_NEAR(card().optics[0].transmitPower, 20000, 1500);
}

TEST_F(OnuNetworkTest, ReadingsOfAnOnuDriftTheSameWhereverTheOthersHang) {
    settings.opticsInterval = 1s;
    std::vector<OnuOptics> ends;
    for (const bool moves : {false, true}) {
        build();
        if (moves) {
            chassis->onuNetwork().move(card(1), onu(0, 0), card(2), 0);
        }
        eventsOf(20s);
        ends.push_back(onu(1, 1).optics);
    }
    EXPECT_EQ(ends[0], ends[1]);
}

}  // namespace
}  // namespace ponmgr::sim
