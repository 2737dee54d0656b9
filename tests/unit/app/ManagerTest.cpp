#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "app/Manager.h"
#include "ipc/APIData.h"
#include "support/Notifications.h"
#include "support/PrintedText.h"
#include "support/ThrownBy.h"
#include "unit/model/LimitedJsonMemory.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr int kNowhere = 0;

class ManagerTest : public testing::Test {
protected:
    ManagerTest() { takeNotifications(); }

    /// Hands over a command; `data` is its JSON object.
    void handle(const std::string& uri, const std::string& data) {
        parse(R"({"action":"set","uri":")" + uri + R"(","data":)" + data + "}");
        manager.handlerApiRequest(&request);
    }
    void handleForSlot(const std::string& slotId) {
        handle("/slot/reset", R"({"slot_id":")" + slotId + R"("})");
    }
    void parse(const std::string& text) {
        request.parseRequest(text.data(), static_cast<int>(text.size()));
    }

    /// How many commands wait in the slots, from slot 1 on.
    std::vector<std::size_t> waiting() {
        std::vector<std::size_t> counts;
        for (int number = 1; number <= static_cast<int>(Manager::kSlots); number++) {
            counts.push_back(manager.getSlot(number).getTaskCount());
        }
        return counts;
    }
    static std::vector<std::size_t> oneIn(int number) {
        std::vector<std::size_t> counts(Manager::kSlots, 0);
        if (number != kNowhere) {
            counts[static_cast<std::size_t>(number - 1)] = 1;
        }
        return counts;
    }

    Manager manager;
    APIData request;
};

/// A "slot_id" and the slot that it means.
struct Routing {
    const char* name;
    const char* slotId;
    int slot;
};

void PrintTo(const Routing& routing, std::ostream* stream) {
    *stream << routing.name;
}

std::string nameOf(const testing::TestParamInfo<Routing>& routing) {
    return routing.param.name;
}

class RoutedTest : public ManagerTest, public testing::WithParamInterface<Routing> {};
class UnknownSlotTest : public ManagerTest, public testing::WithParamInterface<Routing> {};
class NoNumberTest : public ManagerTest, public testing::WithParamInterface<Routing> {};

/// The commands for ONUs whose "mac_address" isn't asked for.
class UncheckedNameTest : public ManagerTest, public testing::WithParamInterface<const char*> {};

}  // namespace

// --- routing ---

TEST_P(RoutedTest, TheCommandWaitsInItsSlotAlone) {
    EXPECT_EQ(textPrintedBy([this] { handleForSlot(GetParam().slotId); }), "");
    EXPECT_EQ(waiting(), oneIn(GetParam().slot));
}

INSTANTIATE_TEST_SUITE_P(
    SlotId, RoutedTest,
    testing::Values(Routing{"One", "1", 1}, Routing{"Two", "2", 2}, Routing{"Three", "3", 3},
                    Routing{"Four", "4", 4}, Routing{"Five", "5", 5}, Routing{"Six", "6", 6},
                    Routing{"Seven", "7", 7}, Routing{"Eight", "8", 8},
                    Routing{"LeadingBlankTrailingLetters", " 3abc", 3},
                    Routing{"LeadingTabAndLineEnd", "\\t\\n3", 3}, Routing{"Plus", "+3", 3},
                    Routing{"LeadingZeros", "0003", 3}, Routing{"Fraction", "3.9", 3},
                    Routing{"TwoNumbers", "3 4", 3}),
    nameOf);

TEST_P(UnknownSlotTest, TheCommandIsDroppedWithALine) {
    const std::string line = linesPrintedBy([this] { handleForSlot(GetParam().slotId); });
    EXPECT_EQ(line, std::string("handlerApiRequest[#]: Exception: getSlot[#]: Slot (") +
                        std::to_string(GetParam().slot) + ") not found\n");
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

INSTANTIATE_TEST_SUITE_P(SlotId, UnknownSlotTest,
                         testing::Values(Routing{"Zero", "0", 0}, Routing{"Nine", "9", 9},
                                         Routing{"MinusOne", "-1", -1},
                                         Routing{"MinusThree", "-3", -3},
                                         Routing{"Thirtythree", "33", 33},
                                         Routing{"Hexadecimal", "0x3", 0},
                                         Routing{"GreatestInt", "2147483647", 2147483647},
                                         Routing{"SmallestInt", "-2147483648", -2147483647 - 1}),
                         nameOf);

TEST_F(ManagerTest, ACommandForAnUnknownSlotIsPrintedAtTheHandlersOwnLine) {
    const std::string line = textPrintedBy([this] { handleForSlot("9"); });
    EXPECT_TRUE(line.starts_with("handlerApiRequest[102]: Exception: ")) << line;
}

TEST_P(NoNumberTest, TheFailureGoesToTheCallerAndNothingIsPrinted) {
    EXPECT_EQ(textPrintedBy([this] {
                  EXPECT_THROW(handleForSlot(GetParam().slotId), std::invalid_argument);
              }),
              "");
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

INSTANTIATE_TEST_SUITE_P(
    SlotId, NoNumberTest,
    testing::Values(Routing{"Empty", "", kNowhere}, Routing{"Letters", "abc", kNowhere},
                    Routing{"Blank", " ", kNowhere}, Routing{"SignAlone", "-", kNowhere},
                    Routing{"TwoSigns", "+-3", kNowhere}, Routing{"LetterBefore", "a3", kNowhere}),
    nameOf);

TEST_F(ManagerTest, ANumberTooLargeForAnIntGoesToTheCaller) {
    for (const char* slotId : {"2147483648", "-2147483649", "99999999999999999999999"}) {
        EXPECT_THROW(handleForSlot(slotId), std::out_of_range) << slotId;
    }
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, AnAbsentSlotIdGoesToTheCaller) {
    EXPECT_THROW(handle("/slot/reset", "{}"), std::invalid_argument);
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, ASlotIdThatIsNoTextGoesToTheCaller) {
    EXPECT_THROW(handle("/slot/reset", R"({"slot_id":3})"), std::invalid_argument);
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, ANameThatIsNoCommandIsRoutedAsWell) {
    handle("/no/such/command", R"({"slot_id":"3"})");
    EXPECT_EQ(waiting(), oneIn(3));
}

TEST_F(ManagerTest, CommandsForASlotAreKept) {
    handleForSlot("3");
    handleForSlot("3");
    EXPECT_EQ(manager.getSlot(3).getTaskCount(), 2U);
}

TEST_F(ManagerTest, ACommandIsNotAnswered) {
    handleForSlot("3");
    textPrintedBy([this] { handleForSlot("9"); });
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(ManagerTest, TheRequestStaysTheCallersAndCanBeUsedAgain) {
    handleForSlot("3");
    EXPECT_EQ(request.getUri(), "/slot/reset");
    EXPECT_EQ(request.getJsonData(), R"({"slot_id":"3"})");
    handleForSlot("5");
    EXPECT_EQ(manager.getSlot(3).getTaskCount(), 1U);
    EXPECT_EQ(manager.getSlot(5).getTaskCount(), 1U);
}

// --- what is refused ---

TEST_F(ManagerTest, AnOnuCommandWithoutAMacAddressIsRefused) {
    EXPECT_EQ(textPrintedBy([this] { handle("/slot/onu/", R"({"slot_id":"3"})"); }),
              "handlerApiRequest[102]: Exception: handlerApiRequest[92]: "
              "MAC Address not set for task /slot/onu\n");
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, AnOnuCommandWithAnEmptyMacAddressIsRefused) {
    EXPECT_EQ(
        textPrintedBy([this] { handle("/slot/onu/", R"({"slot_id":"3","mac_address":""})"); }),
        "handlerApiRequest[102]: Exception: handlerApiRequest[92]: "
        "MAC Address not set for task /slot/onu\n");
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, AnOnuCommandWithAMacAddressIsRouted) {
    EXPECT_EQ(textPrintedBy([this] {
                  handle("/slot/onu/", R"({"slot_id":"3","mac_address":"00:0d:b6:00:00:01"})");
              }),
              "");
    EXPECT_EQ(waiting(), oneIn(3));
}

TEST_F(ManagerTest, TheMacAddressIsLookedAtBeforeTheSlot) {
    EXPECT_EQ(textPrintedBy([this] { handle("/slot/onu/", R"({"slot_id":"abc"})"); }),
              "handlerApiRequest[102]: Exception: handlerApiRequest[92]: "
              "MAC Address not set for task /slot/onu\n");
}

TEST_P(UncheckedNameTest, NoMacAddressIsAskedFor) {
    EXPECT_EQ(textPrintedBy([this] { handle(GetParam(), R"({"slot_id":"3"})"); }), "");
    EXPECT_EQ(waiting(), oneIn(3));
}

INSTANTIATE_TEST_SUITE_P(Names, UncheckedNameTest,
                         testing::Values("/slot/onu/remove", "/slot/onu/reset",
                                         "/slot/onu/set/vlanid", "/slot/onu", "/slot/onu//",
                                         "/SLOT/ONU/", "slot/onu/"));

TEST_F(ManagerTest, ARequestWithoutDataIsRefused) {
    parse(R"({"action":"get","uri":"/slot/reset","data":{"slot_id":"3"}})");
    EXPECT_EQ(textPrintedBy([this] { manager.handlerApiRequest(&request); }),
              "handlerApiRequest[102]: Exception: parseTask[43]: Data on task can't be null\n");
    EXPECT_EQ(waiting(), oneIn(kNowhere));
}

TEST_F(ManagerTest, ARequestWhoseDataIsNoObjectNamesNoSlot) {
    for (const char* data : {"[]", "null", "\"3\"", "3", "true"}) {
        EXPECT_THROW(handle("/slot/reset", data), std::invalid_argument) << data;
    }
}

// --- reports ---

TEST_F(ManagerTest, AllOltsAndThenAllOnusAreReportedOffline) {
    manager.doReportAllOffline();
    EXPECT_EQ(takeNotifications(),
              (Texts{R"({"action":"set","uri":"/olt/set/all/offline","data":{}})",
                     R"({"action":"set","uri":"/onu/set/all/offline","data":{}})"}));
}

TEST_F(ManagerTest, TheAddressesOfAllSlotsAreAskedFor) {
    manager.doReportGetAllSlotIps();
    EXPECT_EQ(takeNotifications(), Texts{R"({"action":"set","uri":"/olt/get/all/ip","data":{}})"});
}

TEST_F(ManagerTest, AnOfflineReportThatFailsIsPrintedAndDropped) {
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  manager.doReportAllOffline();
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(ManagerTest, AQuestionForAddressesThatFailsIsPrintedAndDropped) {
    EXPECT_EQ(linesPrintedBy([this] {
                  const LimitedJsonMemory noMemory(0);
                  manager.doReportGetAllSlotIps();
              }),
              "createObject[#]: Impossible to allocate memory\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(ManagerTest, AnyOtherFailureOfTheOfflineReportIsPrintedUnderItsName) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  manager.doReportAllOffline();
              }),
              "Unknown Error at doReportAllOffline\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

TEST_F(ManagerTest, AnyOtherFailureOfTheQuestionForAddressesIsPrintedUnderItsName) {
    EXPECT_EQ(textPrintedBy([this] {
                  const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
                  manager.doReportGetAllSlotIps();
              }),
              "Unknown Error at doReportGetAllSlotIps\n");
    EXPECT_EQ(takeNotifications(), Texts{});
}

// --- the slots and the single instance ---

TEST_F(ManagerTest, ThereAreEightSlots) {
    EXPECT_EQ(messageThrownBy([this] { manager.getSlot(1); }), "nothing");
    EXPECT_EQ(messageThrownBy([this] { manager.getSlot(8); }), "nothing");
    EXPECT_EQ(messageThrownBy([this] { manager.getSlot(0); }), "Slot (0) not found");
    EXPECT_EQ(messageThrownBy([this] { manager.getSlot(9); }), "Slot (9) not found");
}

TEST(ManagerInstance, IsTheSameAtEveryCall) {
    EXPECT_EQ(Manager::getInstance(), Manager::getInstance());
}

}  // namespace ponmgr::test
