#include "dbman/Errors.h"
#include "dbman/SlotConfiguration.h"

namespace ponmgr::dbman {

namespace {

constexpr std::uint32_t kSource = 0x7F000001;

std::string refusalOf(const char* text) {
    try {
        parseSlotConfiguration(text, kSource);
    } catch (const Failure& error) {
        return error.what();
    }
    return "accepted";
}

TEST(SlotConfiguration, GivesEachSlotTheBasePlusItsNumber) {
    const auto configuration = makeSlotConfiguration({1, 8}, 0x7F000100, kSource);
    ASSERT_EQ(configuration.size(), 2U);
    EXPECT_EQ(configuration.at(1).card, "127.0.1.1");
    EXPECT_EQ(configuration.at(8).card, "127.0.1.8");
    EXPECT_EQ(configuration.at(8).source, "127.0.0.1");
}

TEST(SlotConfiguration, IsReadFromJson) {
    const auto configuration = parseSlotConfiguration(
        R"({"slots":[{"slot":3,"ip":"127.0.1.3","source":"127.0.0.9"},{"slot":1,"ip":"10.0.0.1"}]})",
        kSource);
    ASSERT_EQ(configuration.size(), 2U);
    EXPECT_EQ(configuration.at(3).card, "127.0.1.3");
    EXPECT_EQ(configuration.at(3).source, "127.0.0.9");
    EXPECT_EQ(configuration.at(1).source, "127.0.0.1");
}

TEST(SlotConfiguration, SaysWhatIsWrongWithTheJson) {
    EXPECT_EQ(refusalOf("{"), "not JSON");
    EXPECT_EQ(refusalOf("[]"), "no array \"slots\"");
    EXPECT_EQ(refusalOf(R"({"slots":{}})"), "no array \"slots\"");
    EXPECT_EQ(refusalOf(R"({"slots":[],"slot":1})"), "unknown key \"slot\"");
    EXPECT_EQ(refusalOf(R"({"slots":[3]})"), "a slot isn't an object");
    EXPECT_EQ(refusalOf(R"({"slots":[{"ip":"127.0.1.3"}]})"), "a slot has no number \"slot\"");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":3}]})"), "a slot has no text \"ip\"");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":3,"ip":"x","scource":""}]})"),
              "unknown key \"scource\"");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":9,"ip":"127.0.1.9"}]})"),
              "slot \"9\" is not allowed: a slot is a number from 1 to 8");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":1,"ip":"x"}]})"),
              "address \"x\" is not allowed: an IPv4 address in dotted form, such as 127.0.1.3");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":1,"ip":"1.2.3.4"},{"slot":1,"ip":"1.2.3.5"}]})"),
              "slot 1 is there twice");
    EXPECT_EQ(refusalOf(R"({"slots":[{"slot":1,"ip":"1.2.3.4"},{"slot":2,"ip":"1.2.3.4"}]})"),
              "slot 1 has the address 1.2.3.4 already; each card has its own");
}

TEST(SlotConfiguration, NamesAFileThatCanNotBeRead) {
    try {
        readSlotConfiguration("/no/such/file.json", kSource);
        FAIL() << "read a file that isn't there";
    } catch (const Failure& error) {
        EXPECT_STREQ(error.what(), "can't read the configuration /no/such/file.json");
    }
}

TEST(AddressMessages, TellTheSourceBeforeTheCardOfEachSlot) {
    const auto messages = addressMessages(makeSlotConfiguration({2, 1}, 0x7F000100, kSource));
    std::vector<std::string> texts;
    for (const auto& message : messages) {
        texts.push_back(serializeMessage(message));
    }
    EXPECT_THAT(
        texts,
        testing::ElementsAre(
            R"({"action":"set","uri":"/olt/src_ip","data":{"slot_id":"1","ip_address":"127.0.0.1"}})",
            R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"1","ip_address":"127.0.1.1"}})",
            R"({"action":"set","uri":"/olt/src_ip","data":{"slot_id":"2","ip_address":"127.0.0.1"}})",
            R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"2","ip_address":"127.0.1.2"}})"));
}

TEST(ListSlots, NamesThemAscending) {
    EXPECT_EQ(listSlots(makeSlotConfiguration({7, 1}, 0, 0)), "1,7");
    EXPECT_EQ(listSlots({}), "none");
}

}  // namespace

}  // namespace ponmgr::dbman
