// The passes of the task loop: commands of the database manager.

#include <atomic>
#include <thread>

#include "PONCardTaskFixture.h"
#include "support/ThrownBy.h"
#include "support/WaitFor.h"
#include "tk/SocketHelper.h"
#include "unit/model/SleepingThread.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kNoAddress = "sendRequestMessage[#]: Client ip address empty to slot 3\n";

class PONCardTaskCommandTest : public ScriptedSlotFixture {
protected:
    void identify() {
        transport.expect("00 07 00 01 00 00").deliver(oltInformation());
        slot.getHelper().doRequestOltEponMac();
        ASSERT_TRUE(slot.getHelper().hasOltMacAddress());
    }
};

/// A name that is no command, though nearly.
class UnknownCommandTest : public ScriptedSlotFixture,
                           public testing::WithParamInterface<const char*> {};

}  // namespace

TEST_F(PONCardTaskCommandTest, EnableSwitchesTheCardOn) {
    transport.expect("00 08 00 01 00 00").accept();
    carryOut("/slot/enable");
}

TEST_F(PONCardTaskCommandTest, DisableSwitchesTheCardOff) {
    transport.expect("00 09 00 01 00 00").accept();
    carryOut("/slot/disable");
}

TEST_F(PONCardTaskCommandTest, ResetResetsTheCard) {
    transport.expect("00 06 00 01 00 00").accept();
    EXPECT_EQ(linesPrintedBy([this] { carryOut("/slot/reset"); }),
              "parseMessage[#]: Response Message ID (6) not handled\n");
}

TEST_F(PONCardTaskCommandTest, ACommandThatFailsIsPrintedAndTheNextOneCarriedOut) {
    transport.expect("00 08 00 01 00 00").failToSend();
    transport.expect("00 09 00 02 00 00").accept();
    EXPECT_EQ(linesPrintedBy([this] { carryOut("/slot/enable"); }),
              "sendRequestMessage[#]: Impossible to send messages to card\n");
    carryOut("/slot/disable");
}

TEST_F(PONCardTaskCommandTest, DataThatACommandDoesNotReadIsIgnored) {
    transport.expect("00 08 00 01 00 00").accept();
    carryOut("/slot/enable", R"({"slot_id":"5","ip_address":"10.0.0.1","pon_number":7,"x":[]})");
}

// --- the card's address ---

TEST_F(PONCardTaskCommandTest, AnAddressIsWhereTheRequestsGo) {
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    transport.expect("00 08 00 01 00 00").accept();
    carryOut("/slot/enable");
    EXPECT_EQ(ntohl(transport.getSent()[0].destination.sin_addr.s_addr), 0x7f000109U);
}

TEST_F(PONCardTaskCommandTest, AnAddressReportsTheSlotsOnusOffline) {
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    EXPECT_EQ(takeNotifications(), Texts{kSlotOnusOffline});
}

TEST_F(PONCardTaskCommandTest, AnAddressForgetsTheCard) {
    identify();
    slot.getHelper().setHasDomain(true);
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    EXPECT_FALSE(slot.getHelper().hasOltMacAddress());
    EXPECT_FALSE(slot.getHelper().getHasDomain());
}

TEST_F(PONCardTaskCommandTest, TheSameAddressForgetsTheCardAsWell) {
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    identify();
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    EXPECT_FALSE(slot.getHelper().hasOltMacAddress());
}

TEST_F(PONCardTaskCommandTest, AnAddressItselfSendsNothing) {
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.9"})");
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardTaskCommandTest, AnEmptyAddressTakesTheCardsAddressAway) {
    carryOut("/olt/ip", R"({"ip_address":""})");
    EXPECT_EQ(linesPrintedBy([this] { carryOut("/slot/enable"); }), kNoAddress);
    EXPECT_EQ(takeNotifications(), Texts{kSlotOnusOffline});
}

TEST_F(PONCardTaskCommandTest, AnAddressThatIsAbsentIsEmpty) {
    carryOut("/olt/ip");
    EXPECT_EQ(linesPrintedBy([this] { carryOut("/slot/enable"); }), kNoAddress);
}

TEST_F(PONCardTaskCommandTest, AnAddressThatIsNoTextIsEmpty) {
    carryOut("/olt/ip", R"({"ip_address":127})");
    EXPECT_EQ(linesPrintedBy([this] { carryOut("/slot/enable"); }), kNoAddress);
}

TEST_F(PONCardTaskCommandTest, AFailureToTakeAnAddressIsPrintedUnderTheOperation) {
    identify();
    // longer than what a text holds without memory of its own
    const std::string address = "127.0.1.9 and some more";
    EXPECT_EQ(textPrintedBy([this, &address] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  slot.setOltIpAddress(address);
              }),
              "Unknown Error at setOltIpAddress\n");
    EXPECT_TRUE(slot.getHelper().hasOltMacAddress());
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardTaskCommandTest, ACommandThatThereIsNoMemoryForIsPrintedAndTheNextOneCarriedOut) {
    slot.addTask(commandOf("/slot/onu/reset", R"({"mac_address":"00:0f:e9:00:00:0a"})"));
    slot.addTask(commandOf("/slot/disable"));
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation noMemory(FailingAllocation::Kind::Throwing);
                  slot.runTaskPass();
              }),
              "Unknown Error at taskLoop\n");
    transport.expect("00 09 00 01 00 00").accept();
    slot.runTaskPass();
}

// --- ONUs and VLANs ---

TEST_F(PONCardTaskCommandTest, RemovingAnOnuClearsItOnTheCardAndTakesItOffTheList) {
    transport.deliverNow(
        "80 19 00 00 00 1e 00 00 00 00 00 0f e9 00 00 0a 00 12 00 0f e9 37 15 00 11 00 01 01 00 01"
        " 00 00 00 00 00 00");
    slot.getHelper().handleAlarms();
    transport.expect("00 77 00 01 00 06 00 0f e9 00 00 0a").accept();
    carryOut("/slot/onu/remove", R"({"mac_address":"00:0f:e9:00:00:0a"})");
    // an empty list has no queues to ask for
    EXPECT_TRUE(slot.getHelper().doGetAllOnuQueue());
    EXPECT_EQ(transport.getSent().size(), 1U);
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(PONCardTaskCommandTest, RemovingAnOnuThatIsNotListedClearsItOnTheCardAllTheSame) {
    transport.expect("00 77 00 01 00 06 00 0f e9 00 00 0b").accept();
    carryOut("/slot/onu/remove", R"({"mac_address":"00:0f:e9:00:00:0b"})");
}

TEST_F(PONCardTaskCommandTest, RemovingAnOnuWithoutAnAddressSendsAnEmptyRequest) {
    transport.expect("00 77 00 01 00 00").accept();
    carryOut("/slot/onu/remove");
}

TEST_F(PONCardTaskCommandTest, ResettingAnOnuSendsItsAddress) {
    transport.expect("00 53 00 01 00 06 00 0f e9 00 00 0a").accept();
    EXPECT_EQ(linesPrintedBy([this] {
                  carryOut("/slot/onu/reset", R"({"mac_address":"00:0f:e9:00:00:0a"})");
              }),
              "parseMessage[#]: Response Message ID (83) not handled\n");
}

TEST_F(PONCardTaskCommandTest, ResettingAnOnuWithoutAnAddressSendsAnEmptyRequest) {
    transport.expect("00 53 00 01 00 00").accept();
    linesPrintedBy([this] { carryOut("/slot/onu/reset"); });
}

TEST_F(PONCardTaskCommandTest, TheVlanOfAnOnuIsSetByItsAddress) {
    transport.expect("01 11 00 01 00 11 00 0f e9 00 00 0a 80 01 01 00 00 01 01 81 00 00 64")
        .accept();
    carryOut("/slot/onu/set/vlanid", R"({"vlan_id":"100","mac_address":"00:0f:e9:00:00:0a"})");
}

TEST_F(PONCardTaskCommandTest, AVlanThatIsAbsentTakesItOffTheOnu) {
    transport.expect("01 11 00 01 00 0d 00 0f e9 00 00 0a 80 01 01 00 00 01 00").accept();
    carryOut("/slot/onu/set/vlanid", R"({"mac_address":"00:0f:e9:00:00:0a"})");
}

TEST_F(PONCardTaskCommandTest, TheVlanOfAPortReplacesItsRules) {
    identify();
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 01")
        .deliver("01 8f 00 02 00 0d 00 00 05 00 0d b6 01 02 03 00 01 00 00");
    transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 03")
        .deliver("01 8f 00 03 00 0d 00 00 05 00 0d b6 01 02 03 00 03 00 00");
    transport
        .expect(
            "01 90 00 04 00 21 05 00 0d b6 01 02 03 00 01 00 01 08 01 04 05 01 81 00 00 64"
            " 01 01 00 00 00 00 00 00 00 00 00 00 07")
        .accept();
    transport
        .expect(
            "01 90 00 05 00 1d 05 00 0d b6 01 02 03 00 03 00 01 08 01 05 01 01 01 01 00 00"
            " 00 00 00 00 00 00 00 00 07")
        .accept();
    transport
        .expect(
            "01 90 00 06 00 1e 05 00 0d b6 01 02 03 00 03 00 01 08 01 02 02 00 00 01 06 34 00"
            " 00 00 00 00 00 00 00 64 02")
        .accept();
    transport
        .expect(
            "01 90 00 07 00 1e 05 00 0d b6 01 02 03 00 03 00 01 08 01 02 02 00 00 01 06 00 00"
            " 00 00 00 00 00 00 00 00 06")
        .accept();
    carryOut("/olt/vlan", R"({"pon_number":"1","vlan_id":"100","discard_untagged":"1"})");
}

TEST_F(PONCardTaskCommandTest, AVlanWithoutAPortIsPrintedAndSendsNothing) {
    EXPECT_EQ(textPrintedBy([this] { carryOut("/olt/vlan", R"({"vlan_id":"100"})"); }),
              "Unknown Error at doSetOltVlan\n");
    EXPECT_TRUE(transport.getSent().empty());
}

TEST_F(PONCardTaskCommandTest, AVlanOfAPortThatIsAbsentDeletesItsRules) {
    identify();
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00")
        .deliver("01 8f 00 02 00 0d 00 00 05 00 0d b6 01 02 03 00 00 00 00");
    transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 02")
        .deliver("01 8f 00 03 00 0d 00 00 05 00 0d b6 01 02 03 00 02 00 00");
    carryOut("/olt/vlan", R"({"pon_number":"0"})");
}

// --- unknown names ---

TEST_P(UnknownCommandTest, ItVanishesWithoutALine) {
    slot.addTask(commandOf(GetParam(), R"({"slot_id":"3","ip_address":"127.0.1.9"})"));
    EXPECT_EQ(textPrintedBy([this] { slot.runTaskPass(); }), "");
    EXPECT_EQ(slot.getTaskCount(), 0U);
    EXPECT_TRUE(transport.getSent().empty());
    EXPECT_EQ(takeNotifications(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Names, UnknownCommandTest,
                         testing::Values("", "/", "/slot", "/slot/", "/slot/enable/", "/slot/enabl",
                                         "slot/enable", " /slot/enable", "/SLOT/ENABLE",
                                         "/slot/enable2", "/x/slot/enable", "/slot/disabled",
                                         "/slot/resets", "/slot/onu/", "/olt", "/olt/", "/olt/ip/",
                                         "/olt/ip_address", "/olt/src_ip2", "/olt/new",
                                         "/onu/set/all/offline"));

// --- the queue ---

TEST_F(PONCardTaskCommandTest, CommandsAreCarriedOutInTheirOrder) {
    transport.expect("00 09 00 01 00 00").accept();
    transport.expect("00 08 00 02 00 00").accept();
    transport.expect("00 09 00 03 00 00").accept();
    for (const char* uri : {"/slot/disable", "/slot/enable", "/slot/disable"}) {
        slot.addTask(commandOf(uri));
    }
    for (int pass = 0; pass < 3; pass++) {
        slot.runTaskPass();
    }
}

TEST_F(PONCardTaskCommandTest, APassCarriesOutOneCommand) {
    slot.addTask(commandOf("/unknown"));
    slot.addTask(commandOf("/unknown"));
    EXPECT_EQ(slot.getTaskCount(), 2U);
    slot.runTaskPass();
    EXPECT_EQ(slot.getTaskCount(), 1U);
}

TEST_F(PONCardTaskCommandTest, ACommandBeyondTheMostIsRefusedAndThoseThatWaitStay) {
    for (std::size_t i = 0; i < PONCardTask::kMostTasks; i++) {
        slot.addTask(commandOf("/unknown"));
    }
    EXPECT_EQ(messageThrownBy([this] { slot.addTask(commandOf("/unknown")); }),
              "Too many commands wait for slot ");
    EXPECT_EQ(slot.getTaskCount(), PONCardTask::kMostTasks);
    slot.runTaskPass();
    slot.addTask(commandOf("/unknown"));
    EXPECT_EQ(slot.getTaskCount(), PONCardTask::kMostTasks);
}

TEST_F(PONCardTaskCommandTest, CommandsThatAreNeverTakenEndWithTheSlot) {
    slot.addTask(commandOf("/slot/enable"));
    EXPECT_EQ(slot.getTaskCount(), 1U);
}

TEST_F(PONCardTaskCommandTest,
       APassOverAnEmptyQueueWaitsForACommandAndReturnsWithoutCarryingItOut) {
    std::atomic<pid_t> waiting = 0;
    std::atomic<bool> returned = false;
    std::jthread taskLoop([&] {
        waiting = currentThread();
        slot.runTaskPass();
        returned = true;
    });
    ASSERT_TRUE(waitFor([&] { return waiting != 0 && isAsleep(waiting); }));
    EXPECT_FALSE(returned);
    slot.addTask(commandOf("/slot/enable"));
    taskLoop.join();
    EXPECT_EQ(slot.getTaskCount(), 1U);
    EXPECT_TRUE(transport.getSent().empty());
    transport.expect("00 08 00 01 00 00").accept();
    slot.runTaskPass();
    EXPECT_EQ(slot.getTaskCount(), 0U);
}

TEST_F(PONCardTaskCommandTest, CommandsMayBeQueuedWhileOneIsCarriedOut) {
    transport.expect("00 08 00 01 00 00").silent();
    std::atomic<bool> carriedOut = false;
    std::jthread taskLoop([&] {
        carryOut("/slot/enable");
        carriedOut = true;
    });
    ASSERT_TRUE(waitFor([this] { return transport.getSent().size() == 1; }));
    slot.addTask(commandOf("/unknown"));
    EXPECT_FALSE(carriedOut);
    EXPECT_EQ(slot.getTaskCount(), 1U);
    EXPECT_TRUE(waitFor([&] {
        transport.deliverNow("00 08 00 01 00 02 00 00");
        return carriedOut.load();
    }));
    taskLoop.join();
}

// --- the source address ---

TEST(SourceAddressRealSecondsTest, ASourceAddressHasTheSharedSocketBound) {
    takeNotifications();
    PONCardTask slot;
    slot.prepare(SocketHelper::kAnyInterface, "3");
    const auto* socket = SocketHelper::getInstance(SocketHelper::kAnyInterface);
    slot.addTask(commandOf("/olt/src_ip", R"({"ip_address":"127.0.0.1"})"));
    slot.runTaskPass();
    EXPECT_TRUE(waitFor([socket] { return socket->hasDone(); }));
    EXPECT_EQ(takeNotifications(), Texts{});  // it does not start the card's bring-up
}

}  // namespace ponmgr::test
