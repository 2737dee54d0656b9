// The passes of the ping loop: whether the card can be reached, and what follows when it can't.

#include <atomic>
#include <thread>

#include "FakePing.h"
#include "PONCardTaskFixture.h"
#include "support/PrintedText.h"
#include "support/WaitFor.h"
#include "tk/SocketHelper.h"
#include "unit/model/SleepingThread.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr auto Lost = FakePing::Lost;
constexpr auto Answered = FakePing::Answered;

const ReportedCard kOnline{
    .appVersion = "", .macAddress = "", .nvsEnabled = "0", .onlineStatus = "1", .slotId = "3"};

/// Slot 3 without an address, before a fake ping.
class PingFixture : public testing::Test {
protected:
    PingFixture() { takeNotifications(); }

    void carryOut(const std::string& uri, const std::string& address) {
        slot.addTask(commandOf(uri, R"({"ip_address":")" + address + R"("})"));
        slot.runTaskPass();
        takeNotifications();
    }

    /// How often the card was forgotten since the last call.
    static int resets() {
        int count = 0;
        for (const std::string& text : takeNotifications()) {
            count += text == kSlotOnusOffline ? 1 : 0;
        }
        return count;
    }

    /// What the main loop's report says now; nothing when there is nothing new.
    Texts report() {
        takeNotifications();
        slot.getHelper().doReportOLTModule();
        return takeNotifications();
    }

    FakePing ping;  // before anything that has threads: it changes the environment
    PONCardTask slot;
};

class PONCardTaskPingTest : public PingFixture {
protected:
    PONCardTaskPingTest() {
        slot.prepare(SocketHelper::kAnyInterface, "3");
        carryOut("/olt/src_ip", "127.0.0.1");
        carryOut("/olt/ip", "127.0.1.3");
    }
};

class PONCardTaskAddressTest : public PingFixture {
protected:
    PONCardTaskAddressTest() { slot.prepare(SocketHelper::kAnyInterface, "3"); }
};

class PONCardTaskPingLockTest : public ScriptedSlotFixture {};

}  // namespace

// --- the probe ---

TEST_F(PONCardTaskPingTest, TheProbeGoesFromTheSourceAddressToTheCard) {
    EXPECT_TRUE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getArguments(), "<-w><1><-I><127.0.0.1><127.0.1.3>\n");
}

TEST_F(PONCardTaskPingTest, AProbeThatThereIsNoMemoryForIsOnline) {
    ping.plan({Lost});
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation noMemory(FailingAllocation::Kind::Throwing);
                  EXPECT_TRUE(slot.checkPONCardOnline());
              }),
              "Unknown Error at pingLoop\n");
    EXPECT_FALSE(slot.checkPONCardOnline());
}

TEST_F(PONCardTaskPingTest, ALostProbeIsOffline) {
    ping.plan({Lost});
    EXPECT_FALSE(slot.checkPONCardOnline());
}

TEST_F(PONCardTaskPingTest, TheProbeFollowsBothAddresses) {
    carryOut("/olt/src_ip", "127.0.0.2");
    carryOut("/olt/ip", "127.0.1.4");
    slot.checkPONCardOnline();
    EXPECT_EQ(ping.getArguments(), "<-w><1><-I><127.0.0.2><127.0.1.4>\n");
}

TEST_F(PONCardTaskAddressTest, WithoutAnyAddressEveryProbeIsOffline) {
    EXPECT_FALSE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getCallCount(), 0U);
}

TEST_F(PONCardTaskAddressTest, WithoutASourceAddressEveryProbeIsOffline) {
    carryOut("/olt/ip", "127.0.1.3");
    EXPECT_FALSE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getCallCount(), 0U);
}

TEST_F(PONCardTaskAddressTest, WithoutTheCardsAddressEveryProbeIsOffline) {
    carryOut("/olt/src_ip", "127.0.0.1");
    EXPECT_FALSE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getCallCount(), 0U);
}

TEST_F(PONCardTaskPingTest, ASourceAddressThatIsTakenAwayMakesTheProbeOffline) {
    carryOut("/olt/src_ip", "");
    EXPECT_FALSE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getCallCount(), 0U);
}

TEST_F(PingFixture, ANamedInterfaceIsWhereTheProbeGoesFrom) {
    slot.prepare("lo", "3");
    carryOut("/olt/src_ip", "127.0.0.9");  // not that of the other interface
    carryOut("/olt/ip", "127.0.1.3");
    EXPECT_TRUE(slot.checkPONCardOnline());
    EXPECT_EQ(ping.getArguments(), "<-w><1><-I><lo><127.0.1.3>\n");
}

TEST_F(PingFixture, ANamedInterfaceNeedsASourceAddressAllTheSame) {
    slot.prepare("lo", "3");
    carryOut("/olt/ip", "127.0.1.3");
    EXPECT_FALSE(slot.checkPONCardOnline());
}

// --- the pass ---

TEST_F(PONCardTaskPingTest, ACardThatAnswersIsOnlineAfterOneProbe) {
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 1U);
    EXPECT_EQ(resets(), 0);
    EXPECT_EQ(report(), Texts{oltReport(kOnline)});
}

TEST_F(PONCardTaskPingTest, ACardThatGoesAwayIsReportedOffline) {
    slot.runPingPass();
    report();
    ping.plan({Lost, Lost, Lost});
    slot.runPingPass();
    EXPECT_EQ(report(), Texts{oltReport({})});
}

TEST_F(PONCardTaskPingTest, ThreeFailuresInARowForgetTheCardOnce) {
    ping.plan({Lost, Lost, Lost});
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 3U);
    EXPECT_EQ(resets(), 1);
}

TEST_F(PONCardTaskPingTest, ACardIsForgottenOnceAnOutage) {
    ping.plan({Lost, Lost, Lost, Lost, Lost});
    slot.runPingPass();
    resets();
    slot.runPingPass();
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 5U);  // three, and then one in each pass
    EXPECT_EQ(resets(), 0);
}

TEST_F(PONCardTaskPingTest, ASecondProbeThatSucceedsSavesTheCard) {
    ping.plan({Lost, Answered, Lost});
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 2U);
    EXPECT_EQ(resets(), 0);
}

TEST_F(PONCardTaskPingTest, AThirdProbeThatSucceedsSavesTheCard) {
    ping.plan({Lost, Lost, Answered});
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 3U);
    EXPECT_EQ(resets(), 0);
}

TEST_F(PONCardTaskPingTest, OnlyTheFirstProbeOfAPassDecidesTheStatus) {
    slot.runPingPass();
    report();
    ping.plan({Lost, Answered});
    slot.runPingPass();
    EXPECT_EQ(report(), Texts{oltReport({})});
}

TEST_F(PONCardTaskPingTest, FailuresOfDifferentPassesAreNotAddedUp) {
    ping.plan({Lost, Lost, Answered, Lost, Lost, Answered});
    slot.runPingPass();
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 6U);
    EXPECT_EQ(resets(), 0);
}

TEST_F(PONCardTaskPingTest, ASuccessArmsTheResetAgain) {
    ping.plan({Lost, Lost, Lost, Answered, Lost, Lost, Lost});
    slot.runPingPass();
    EXPECT_EQ(resets(), 1);
    slot.runPingPass();
    EXPECT_EQ(resets(), 0);
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 7U);
    EXPECT_EQ(resets(), 1);
}

TEST_F(PONCardTaskAddressTest, ASlotWithoutAddressesIsForgottenOnceAndThenLeftAlone) {
    slot.runPingPass();
    EXPECT_EQ(resets(), 1);
    slot.runPingPass();
    slot.runPingPass();
    EXPECT_EQ(resets(), 0);
    EXPECT_EQ(ping.getCallCount(), 0U);
}

TEST_F(PONCardTaskAddressTest, AddressesAloneDoNotArmTheResetAgain) {
    slot.runPingPass();
    carryOut("/olt/src_ip", "127.0.0.1");
    carryOut("/olt/ip", "127.0.1.3");
    ping.plan({Lost});
    slot.runPingPass();
    EXPECT_EQ(ping.getCallCount(), 1U);
    EXPECT_EQ(resets(), 0);
}

TEST_F(PONCardTaskPingTest, AProbeThatCannotBeRunLeavesTheCardOnline) {
    slot.runPingPass();
    report();
    ASSERT_EQ(setenv("PATH", "/nowhere", 1), 0);
    slot.runPingPass();
    EXPECT_EQ(resets(), 0);
    EXPECT_EQ(report(), Texts{});
}

TEST_F(PONCardTaskPingTest, AnAddressIsOnlyTextToTheShell) {
    carryOut("/olt/ip", "127.0.1.3; touch /tmp/caught $(touch /tmp/caught)");
    slot.runPingPass();
    EXPECT_FALSE(std::filesystem::exists("/tmp/caught"));
    EXPECT_EQ(ping.getArguments(),
              "<-w><1><-I><127.0.0.1><127.0.1.3; touch /tmp/caught $(touch /tmp/caught)>\n");
}

// --- locks ---

TEST_F(PONCardTaskPingLockTest, TheResetWaitsForTheCardAndTheStatusDoesNot) {
    slot.getHelper().setOLTOnlineStatus(true);
    slot.getHelper().doReportOLTModule();
    takeNotifications();
    transport.expect("00 08 00 01 00 00").silent();
    std::jthread taskLoop([this] { carryOut("/slot/enable"); });  // holds the card
    ASSERT_TRUE(waitFor([this] { return transport.getSent().size() == 1; }));
    std::atomic<pid_t> pinging = 0;
    std::atomic<bool> pinged = false;
    std::jthread pingLoop([&] {
        pinging = currentThread();
        slot.runPingPass();  // without addresses: three failures at once
        pinged = true;
    });
    ASSERT_TRUE(waitFor([&] { return pinging != 0 && isAsleep(pinging); }));

    EXPECT_FALSE(pinged);
    EXPECT_EQ(takeNotifications(), Texts{});  // not forgotten yet
    slot.getHelper().doReportOLTModule();
    EXPECT_EQ(takeNotifications(), Texts{oltReport({})});  // but off-line already

    EXPECT_TRUE(waitFor([&] {
        transport.deliverNow("00 08 00 01 00 02 00 00");
        return pinged.load();
    }));
    taskLoop.join();
    pingLoop.join();
    EXPECT_EQ(takeNotifications(), Texts{kSlotOnusOffline});
}

}  // namespace ponmgr::test
