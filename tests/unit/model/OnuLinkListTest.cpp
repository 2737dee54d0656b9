#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <type_traits>
#include <vector>

#include "LimitedJsonMemory.h"
#include "model/OnuLinkList.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace ponmgr::test {

namespace {

static_assert(!std::is_copy_constructible_v<OnuLinkList>);

std::string macOf(unsigned number) {
    char mac[18];
    std::snprintf(mac, sizeof mac, "02:00:00:00:%02x:%02x", (number >> 8U) & 0xffU, number & 0xffU);
    return mac;
}

std::vector<std::string> macsOf(OnuLinkList& list) {
    std::vector<std::string> macs;
    for (std::size_t index = 0; index < list.size(); index++) {
        macs.push_back(list.getOnuLinkFromIndex(index)->getMacAddress());
    }
    return macs;
}

void changeMac(OnuLinkList& list, std::size_t index, const std::string& mac) {
    list.getOnuLinkFromIndex(index)->setJsonData("{\"mac_address\":\"" + mac + "\"}");
}

class OnuLinkListTest : public testing::Test {
protected:
    OnuLinkListTest() {
        for (const char* mac : {"c", "a", "b"}) {
            EXPECT_TRUE(list.addOnuLink(mac));
        }
    }
    OnuLinkList list;
};

TEST(EmptyOnuLinkListTest, HasNoLinks) {
    OnuLinkList list;
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.getOnuLinkFromIndex(0), nullptr);
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), nullptr);
    EXPECT_FALSE(list.removeOnuFromIndex(0));
    EXPECT_FALSE(list.removeOnuFromMacAddress("a"));
}

TEST(EmptyOnuLinkListTest, IsAnEmptyArrayInJson) {
    EXPECT_EQ(OnuLinkList().getJsonData(), "{\n\t\"onulist\":\t[]\n}");
}

TEST_F(OnuLinkListTest, KeepsTheOrderOfInsertion) {
    EXPECT_THAT(macsOf(list), ElementsAre("c", "a", "b"));
}

TEST_F(OnuLinkListTest, FindsALinkByItsMac) {
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), list.getOnuLinkFromIndex(1));
}

TEST_F(OnuLinkListTest, FindsNoLinkBehindTheLastIndex) {
    EXPECT_NE(list.getOnuLinkFromIndex(2), nullptr);
    EXPECT_EQ(list.getOnuLinkFromIndex(3), nullptr);
    EXPECT_EQ(list.getOnuLinkFromIndex(static_cast<std::size_t>(-1)), nullptr);
}

TEST_F(OnuLinkListTest, FindsNoLinkByAMacOfOtherCase) {
    EXPECT_EQ(list.getOnuLinkFromMAC("A"), nullptr);
}

TEST_F(OnuLinkListTest, RefusesAMacThatIsThereAlready) {
    OnuLink* const link = list.getOnuLinkFromMAC("a");
    link->setSlotId("3");
    EXPECT_FALSE(list.addOnuLink("a"));
    EXPECT_THAT(macsOf(list), ElementsAre("c", "a", "b"));
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), link);
    EXPECT_EQ(link->getSlotId(), "3");
}

TEST(FullOnuLinkListTest, RefusesALinkMoreUntilOneIsRemoved) {
    OnuLinkList full;
    for (std::size_t i = 0; i < OnuLinkList::kMostLinks; i++) {
        ASSERT_TRUE(full.addOnuLink("mac " + std::to_string(i)));
    }
    EXPECT_FALSE(full.addOnuLink("one more"));
    EXPECT_EQ(full.size(), OnuLinkList::kMostLinks);
    EXPECT_TRUE(full.removeOnuFromMacAddress("mac 3"));
    EXPECT_TRUE(full.addOnuLink("one more"));
}

TEST_F(OnuLinkListTest, TakesAMacOfOtherCaseAsAnotherLink) {
    EXPECT_TRUE(list.addOnuLink("A"));
    EXPECT_THAT(macsOf(list), ElementsAre("c", "a", "b", "A"));
}

TEST_F(OnuLinkListTest, RemovesTheLinkOfAMac) {
    EXPECT_TRUE(list.removeOnuFromMacAddress("a"));
    EXPECT_THAT(macsOf(list), ElementsAre("c", "b"));
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), nullptr);
    EXPECT_EQ(list.getOnuLinkFromMAC("b"), list.getOnuLinkFromIndex(1));
}

TEST_F(OnuLinkListTest, RemovesNothingForAnUnknownMac) {
    EXPECT_FALSE(list.removeOnuFromMacAddress("d"));
    EXPECT_FALSE(list.removeOnuFromMacAddress("A"));
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(OnuLinkListTest, RemovesTheLinkAtAnIndex) {
    EXPECT_TRUE(list.removeOnuFromIndex(0));
    EXPECT_THAT(macsOf(list), ElementsAre("a", "b"));
    EXPECT_EQ(list.getOnuLinkFromMAC("c"), nullptr);
}

TEST_F(OnuLinkListTest, RemovesNothingBehindTheLastIndex) {
    EXPECT_FALSE(list.removeOnuFromIndex(3));
    EXPECT_FALSE(list.removeOnuFromIndex(static_cast<std::size_t>(-1)));
    EXPECT_EQ(list.size(), 3U);
}

TEST_F(OnuLinkListTest, AddsARemovedLinkAnewAtTheEnd) {
    list.getOnuLinkFromMAC("c")->setSlotId("3");
    list.removeOnuFromMacAddress("c");
    EXPECT_TRUE(list.addOnuLink("c"));
    EXPECT_THAT(macsOf(list), ElementsAre("a", "b", "c"));
    EXPECT_EQ(list.getOnuLinkFromMAC("c")->getSlotId(), "");
}

TEST_F(OnuLinkListTest, LinksStayWhereTheyAreWhileOthersCome) {
    OnuLink* const link = list.getOnuLinkFromMAC("a");
    for (unsigned number = 0; number < 100; number++) {
        list.addOnuLink(macOf(number));
    }
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), link);
    EXPECT_EQ(link->getMacAddress(), "a");
}

// Stepping through a list whose links go away under the index, as the tracking of links does.
TEST_F(OnuLinkListTest, RemovalMovesTheLaterLinksUp) {
    std::vector<std::string> visited;
    std::size_t index = 0;
    while (OnuLink* const link = list.getOnuLinkFromIndex(index)) {
        visited.push_back(link->getMacAddress());
        if (visited.back() == "a") {
            list.removeOnuFromIndex(index);
        } else {
            index++;
        }
    }
    EXPECT_THAT(visited, ElementsAre("c", "a", "b"));
    EXPECT_THAT(macsOf(list), ElementsAre("c", "b"));
}

TEST_F(OnuLinkListTest, ClearRemovesEveryLink) {
    list.clear();
    EXPECT_EQ(list.size(), 0U);
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), nullptr);
    EXPECT_EQ(list.getJsonData(), "{\n\t\"onulist\":\t[]\n}");
}

TEST_F(OnuLinkListTest, AClearedListIsFilledAnew) {
    list.clear();
    EXPECT_TRUE(list.addOnuLink("a"));
    EXPECT_THAT(macsOf(list), ElementsAre("a"));
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), list.getOnuLinkFromIndex(0));
}

TEST_F(OnuLinkListTest, ALinkWithANewMacIsFoundByItOnly) {
    changeMac(list, 1, "d");
    EXPECT_EQ(list.getOnuLinkFromMAC("a"), nullptr);
    EXPECT_EQ(list.getOnuLinkFromMAC("d"), list.getOnuLinkFromIndex(1));
    EXPECT_FALSE(list.addOnuLink("d"));
    EXPECT_TRUE(list.addOnuLink("a"));
}

TEST_F(OnuLinkListTest, ALinkWithANewMacIsRemovedByIndex) {
    changeMac(list, 1, "d");
    EXPECT_TRUE(list.removeOnuFromIndex(1));
    EXPECT_EQ(list.getOnuLinkFromMAC("d"), nullptr);
    EXPECT_THAT(macsOf(list), ElementsAre("c", "b"));
}

TEST_F(OnuLinkListTest, OfTwoLinksWithOneMacTheFirstIsFound) {
    changeMac(list, 2, "c");
    EXPECT_EQ(list.getOnuLinkFromMAC("c"), list.getOnuLinkFromIndex(0));
    changeMac(list, 0, "b");
    changeMac(list, 1, "b");
    EXPECT_EQ(list.getOnuLinkFromMAC("b"), list.getOnuLinkFromIndex(0));
}

TEST_F(OnuLinkListTest, OfTwoLinksWithOneMacTheSecondIsFoundOnceTheFirstIsGone) {
    changeMac(list, 2, "c");
    OnuLink* const second = list.getOnuLinkFromIndex(2);
    EXPECT_TRUE(list.removeOnuFromMacAddress("c"));
    EXPECT_EQ(list.getOnuLinkFromMAC("c"), second);
    EXPECT_THAT(macsOf(list), ElementsAre("a", "c"));
    EXPECT_TRUE(list.removeOnuFromMacAddress("c"));
    EXPECT_FALSE(list.removeOnuFromMacAddress("c"));
    EXPECT_THAT(macsOf(list), ElementsAre("a"));
}

TEST_F(OnuLinkListTest, OfTwoLinksWithOneMacTheSecondCanBeRemovedByIndex) {
    changeMac(list, 2, "c");
    OnuLink* const first = list.getOnuLinkFromIndex(0);
    EXPECT_TRUE(list.removeOnuFromIndex(2));
    EXPECT_EQ(list.getOnuLinkFromMAC("c"), first);
    EXPECT_THAT(macsOf(list), ElementsAre("c", "a"));
}

TEST_F(OnuLinkListTest, OfTwoLinksWithOneMacEachCanGetItsOwnAgain) {
    changeMac(list, 2, "c");
    EXPECT_EQ(list.getOnuLinkFromMAC("b"), nullptr);
    changeMac(list, 0, "d");
    EXPECT_EQ(list.getOnuLinkFromMAC("d"), list.getOnuLinkFromIndex(0));
    EXPECT_EQ(list.getOnuLinkFromMAC("c"), list.getOnuLinkFromIndex(2));
}

TEST_F(OnuLinkListTest, ThreeLinksWithOneMacGoOneByOne) {
    changeMac(list, 1, "c");
    changeMac(list, 2, "c");
    for (std::size_t left = 3; left > 0; left--) {
        EXPECT_EQ(list.getOnuLinkFromMAC("c"), list.getOnuLinkFromIndex(0));
        EXPECT_EQ(list.size(), left);
        EXPECT_TRUE(list.removeOnuFromMacAddress("c"));
    }
    EXPECT_THAT(macsOf(list), IsEmpty());
}

TEST(FullOnuLinkListTest, HoldsAllLinksOfACard) {
    constexpr unsigned kLinks = 248;
    OnuLinkList list;
    for (unsigned number = 0; number < kLinks; number++) {
        ASSERT_TRUE(list.addOnuLink(macOf(number)));
        ASSERT_FALSE(list.addOnuLink(macOf(number / 2)));
    }
    EXPECT_EQ(list.size(), kLinks);
    for (unsigned number = 0; number < kLinks; number++) {
        ASSERT_EQ(list.getOnuLinkFromMAC(macOf(number)), list.getOnuLinkFromIndex(number));
        ASSERT_EQ(list.getOnuLinkFromIndex(number)->getMacAddress(), macOf(number));
    }
    for (unsigned number = 0; number < kLinks; number += 2) {
        ASSERT_TRUE(list.removeOnuFromMacAddress(macOf(number)));
    }
    EXPECT_EQ(list.size(), kLinks / 2);
    EXPECT_EQ(list.getOnuLinkFromIndex(0)->getMacAddress(), macOf(1));
    EXPECT_EQ(list.getOnuLinkFromIndex(kLinks / 2 - 1)->getMacAddress(), macOf(kLinks - 1));
}

// One link of the list, two levels further in than in its own text.
std::string indentedLink(const std::string& mac) {
    return "{\n"
           "\t\t\t\"alarm_message\":\t\"\",\n"
           "\t\t\t\"downstream_queue\":\t\"\",\n"
           "\t\t\t\"ether_up_status\":\t\"0\",\n"
           "\t\t\t\"id\":\t\"0\",\n"
           "\t\t\t\"is_gigabit\":\t\"0\",\n"
           "\t\t\t\"mac_address\":\t\"" +
           mac +
           "\",\n"
           "\t\t\t\"mcast_queue\":\t\"\",\n"
           "\t\t\t\"online_status\":\t\"0\",\n"
           "\t\t\t\"pon_port\":\t\"-\",\n"
           "\t\t\t\"slot_id\":\t\"\",\n"
           "\t\t\t\"status_reported\":\t\"0\",\n"
           "\t\t\t\"supply_voltage\":\t\"-\",\n"
           "\t\t\t\"temperature\":\t\"-\",\n"
           "\t\t\t\"tx_bias_current\":\t\"-\",\n"
           "\t\t\t\"tx_power_input\":\t\"-\",\n"
           "\t\t\t\"tx_power_output\":\t\"-\",\n"
           "\t\t\t\"upstream_queue\":\t\"\"\n"
           "\t\t}";
}

TEST(OnuLinkListJsonTest, ListsTheLinksInOrderIndented) {
    OnuLinkList list;
    list.addOnuLink("b");
    list.addOnuLink("a");
    EXPECT_EQ(list.getJsonData(),
              "{\n\t\"onulist\":\t[" + indentedLink("b") + ", " + indentedLink("a") + "]\n}");
}

TEST(OnuLinkListJsonTest, IsAnEmptyObjectWhenMemoryRunsOut) {
    OnuLinkList list;
    list.addOnuLink("a");
    const std::string whole = list.getJsonData();
    std::size_t allowed = 0;
    for (bool refused = true; refused; allowed++) {
        const LimitedJsonMemory memory(allowed);
        const std::string text = list.getJsonData();
        refused = memory.hasRefused();
        ASSERT_EQ(text, refused ? "{}" : whole) << allowed;
    }
    EXPECT_GT(allowed, 20U);
}

}  // namespace

}  // namespace ponmgr::test
