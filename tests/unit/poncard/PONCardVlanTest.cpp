// VLANs, classification rules, and the commands for one ONU.

#include <ostream>

#include "PONCardFixture.h"
#include "SurpriseWake.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr::test {

namespace {

using Texts = std::vector<std::string>;

constexpr const char* kNoAnswer = "sendRequestMessage[#]: Impossible to send messages to card\n";
constexpr const char* kMac = "00:0f:e9:00:00:0a";

class OltVlanTest : public PONCardFixture {
protected:
    OltVlanTest() { identify(); }

    /// Answers the listing of port 0, ctags 2 and 3, with no rules.
    void expectNoRules() {
        transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00")
            .deliver("01 8f 00 02 00 0d 00 00 05 00 0d b6 01 02 03 00 00 00 00");
        transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 02")
            .deliver("01 8f 00 03 00 0d 00 00 05 00 0d b6 01 02 03 00 02 00 00");
    }
    /// The tagging rule of port 0 with ctag 4; the VLAN as four digits.
    static std::string tagging(const std::string& vlan) {
        return "01 90 00 04 00 21 05 00 0d b6 01 02 03 00 00 00 01 08 01 04 05 01 81 00 " + vlan +
               " 01 01 00 00 00 00 00 00 00 00 00 00 07";
    }
    static constexpr const char* kUntagging =
        "01 90 00 05 00 1d 05 00 0d b6 01 02 03 00 02 00 01 08 01 05 01 01 01 01 00 00"
        " 00 00 00 00 00 00 00 00 07";
};

/// A text that is taken for a number, and the four digits of the VLAN.
struct VlanText {
    const char* test;
    const char* text;
    const char* digits;
};
void PrintTo(const VlanText& vlan, std::ostream* stream) {
    *stream << vlan.test;
}
class AcceptedVlanTest : public OltVlanTest, public testing::WithParamInterface<VlanText> {};

/// Arguments that are refused, and what is printed.
struct Refusal {
    const char* test;
    const char* port;
    const char* vlan;
    const char* printed;
};
void PrintTo(const Refusal& refusal, std::ostream* stream) {
    *stream << refusal.test;
}
class RefusedVlanTest : public OltVlanTest, public testing::WithParamInterface<Refusal> {};

class OnuCommandTest : public PONCardFixture {};

/// A VLAN of an ONU, and all that is sent.
struct OnuVlan {
    const char* test;
    const char* text;
    const char* datagram;
};
void PrintTo(const OnuVlan& vlan, std::ostream* stream) {
    *stream << vlan.test;
}
class OnuVlanTest : public PONCardFixture, public testing::WithParamInterface<OnuVlan> {};

constexpr const char* kUntaggedOnu = "01 11 00 01 00 0d 00 0f e9 00 00 0a 80 01 01 00 00 01 00";

}  // namespace

// --- the VLAN of a port ---

TEST_P(AcceptedVlanTest, TwoRulesAreInstalledInOneExchange) {
    expectNoRules();
    transport.expect(tagging(GetParam().digits)).accept();
    transport.expect(kUntagging).accept();
    EXPECT_EQ(textPrintedBy([this] { EXPECT_TRUE(helper.doSetOltVlan("0", GetParam().text, "")); }),
              "");
}

INSTANTIATE_TEST_SUITE_P(Vlans, AcceptedVlanTest,
                         testing::Values(VlanText{"First", "1", "00 01"},
                                         VlanText{"Hundred", "100", "00 64"},
                                         VlanText{"LastButOne", "4094", "0f fe"},
                                         VlanText{"Last", "4095", "0f ff"},
                                         VlanText{"SixteenBitsAreKept", "65537", "00 01"},
                                         VlanText{"NumberAtTheHead", " 7 seas", "00 07"}),
                         [](const auto& vlan) { return std::string(vlan.param.test); });

TEST_P(RefusedVlanTest, ItIsPrintedAndNothingSent) {
    EXPECT_EQ(linesPrintedBy([this] {
                  EXPECT_FALSE(helper.doSetOltVlan(GetParam().port, GetParam().vlan, "1"));
              }),
              GetParam().printed);
    EXPECT_EQ(transport.getSent().size(), 1U);  // the identification
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, RefusedVlanTest,
    testing::Values(
        Refusal{"Port2", "2", "100", "doSetOltVlan[#]: Impossible to add VLAN to PON Number(2)\n"},
        Refusal{"Port65535", "65535", "100",
                "doSetOltVlan[#]: Impossible to add VLAN to PON Number(65535)\n"},
        Refusal{"PortBelowZero", "-1", "100",
                "doSetOltVlan[#]: Impossible to add VLAN to PON Number(-1)\n"},
        Refusal{"Port2WithoutVlan", "2", "",
                "doSetOltVlan[#]: Impossible to add VLAN to PON Number(2)\n"},
        Refusal{"NoPort", "", "100", "Unknown Error at doSetOltVlan\n"},
        Refusal{"WordAsPort", "abc", "100", "Unknown Error at doSetOltVlan\n"},
        Refusal{"PortBeyondInt", "2147483648", "100", "Unknown Error at doSetOltVlan\n"},
        Refusal{"Vlan0", "0", "0", "doSetOltVlan[#]: Impossible to set VLAN ID equals to (0)\n"},
        Refusal{"Vlan4096", "1", "4096",
                "doSetOltVlan[#]: Impossible to set VLAN ID equals to (4096)\n"},
        Refusal{"Vlan65536", "0", "65536",
                "doSetOltVlan[#]: Impossible to set VLAN ID equals to (65536)\n"},
        Refusal{"VlanBelowZero", "0", "-1",
                "doSetOltVlan[#]: Impossible to set VLAN ID equals to (-1)\n"},
        Refusal{"WordAsVlan", "0", "abc", "Unknown Error at doSetOltVlan\n"}),
    [](const auto& refusal) { return std::string(refusal.param.test); });

TEST_F(OltVlanTest, UntaggedTrafficIsDiscardedByTwoMoreRulesOfTheSameExchange) {
    expectNoRules();
    transport.expect(tagging("0a bc")).accept();
    transport.expect(kUntagging).accept();
    transport
        .expect(
            "01 90 00 06 00 1e 05 00 0d b6 01 02 03 00 02 00 01 08 01 02 02 00 00 01 06 34 00"
            " 00 00 00 00 00 00 0a bc 02")
        .accept();
    transport
        .expect(
            "01 90 00 07 00 1e 05 00 0d b6 01 02 03 00 02 00 01 08 01 02 02 00 00 01 06 00 00"
            " 00 00 00 00 00 00 00 00 06")
        .accept();
    EXPECT_TRUE(helper.doSetOltVlan("0", "2748", "1"));
}

TEST_F(OltVlanTest, OnlyExactlyOneDiscardsUntaggedTraffic) {
    for (const char* flag : {"", "0", "2", "01", "1 ", "true"}) {
        transport.acceptTheRest();
        const std::size_t before = transport.getSent().size();
        linesPrintedBy([&] { EXPECT_TRUE(helper.doSetOltVlan("0", "1", flag)); });
        // the first listing fails as it carries no rules; two rules follow the two listings
        EXPECT_EQ(transport.getSent().size() - before, 4U) << flag;
    }
}

TEST_F(OltVlanTest, TheSecondPortHasItsRulesOnOneAndThree) {
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
    EXPECT_TRUE(helper.doSetOltVlan("1", "100", "1"));
}

TEST_F(OltVlanTest, APortNumberIsKeptAsSixteenBits) {
    expectNoRules();
    EXPECT_TRUE(helper.doSetOltVlan("65536", "", ""));
}

TEST_F(OltVlanTest, AnEmptyVlanDeletesTheRulesAndInstallsNone) {
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00")
        .deliver(
            "01 8f 00 02 00 1f 00 00 05 00 0d b6 01 02 03 00 00 00 01"
            " 08 01 04 01 05 01 81 00 00 64 01 01 00 00 00 00 00 00");
    transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 02")
        .deliver("01 8f 00 03 00 0d 00 00 05 00 0d b6 01 02 03 00 02 00 00");
    transport
        .expect(
            "01 91 00 04 00 1d 05 00 0d b6 01 02 03 00 00 00 01"
            " 08 01 04 01 05 01 81 00 00 64 01 01 00 00 00 00 00 00")
        .accept();
    EXPECT_TRUE(helper.doSetOltVlan("0", "", "1"));
}

TEST_F(OltVlanTest, RulesThatCannotBeListedDoNotKeepTheNewOnesFromBeingInstalled) {
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00").failToSend();
    transport
        .expect(
            "01 90 00 04 00 21 05 00 0d b6 01 02 03 00 00 00 01 08 01 04 05 01 81 00 00 01"
            " 01 01 00 00 00 00 00 00 00 00 00 00 07")
        .accept();
    transport.expect(kUntagging).accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doSetOltVlan("0", "1", "")); }),
              kNoAnswer);
}

TEST_F(OltVlanTest, ARuleThatIsRefusedFailsTheOperation) {
    expectNoRules();
    transport.expect(tagging("00 01")).deliver("01 90 00 04 00 02 00 05");
    transport.expect(kUntagging).accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_FALSE(helper.doSetOltVlan("0", "1", "")); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <400>\n");
}

// --- listing and deleting ---

TEST_F(OltVlanTest, EveryRuleOfBothSidesIsDeletedInAnExchangeOfItsOwn) {
    // two rules with flags 5, the second of them four bytes longer; one on the other side
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00")
        .deliver(
            "01 8f 00 02 00 35 00 00 05 00 0d b6 01 02 03 00 00 05 02"
            " a1 01 04 01 05 01 81 00 00 64 01 01 00 00 00 00 00 00"
            " a2 01 04 05 05 01 81 00 00 64 01 01 00 00 00 00 00 00 b1 b2 b3 b4");
    transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 02")
        .deliver(
            "01 8f 00 03 00 1f 00 00 05 00 0d b6 01 02 03 00 02 ff 01"
            " a3 01 04 00 05 01 81 00 00 64 01 01 00 00 00 00 00 00");
    transport
        .expect(
            "01 91 00 04 00 1d 05 00 0d b6 01 02 03 00 00 05 01"
            " a1 01 04 01 05 01 81 00 00 64 01 01 00 00 00 00 00 00")
        .accept();
    transport
        .expect(
            "01 91 00 05 00 21 05 00 0d b6 01 02 03 00 00 05 01"
            " a2 01 04 05 05 01 81 00 00 64 01 01 00 00 00 00 00 00 b1 b2 b3 b4")
        .deliver("01 91 00 05 00 02 00 05");
    transport
        .expect(
            "01 91 00 06 00 1d 05 00 0d b6 01 02 03 00 02 ff 01"
            " a3 01 04 00 05 01 81 00 00 64 01 01 00 00 00 00 00 00")
        .accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doClearAllRules(0)); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <401>\n");
}

TEST_F(OltVlanTest, APortWithoutRulesHasNoneDeleted) {
    expectNoRules();
    EXPECT_TRUE(helper.doClearAllRules(0));
}

TEST_F(OltVlanTest, AListingThatIsRefusedDeletesNothingAndIsNoFailureOfTheClearing) {
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 00")
        .deliver(
            "01 8f 00 02 00 1f 00 00 05 00 0d b6 01 02 03 00 00 00 01"
            " 08 01 04 01 05 01 81 00 00 64 01 01 00 00 00 00 00 00");
    transport.expect("01 8f 00 03 00 09 05 00 0d b6 01 02 03 00 02")
        .deliver("01 8f 00 03 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_TRUE(helper.doClearAllRules(0)); }),
              "parseGet_OLT_PortLink_Rules[#]: Invalid OLT Port/Link Rules\n");
}

TEST_F(OltVlanTest, AListingThatFailsIsFalseAndAppendsNothing) {
    transport.expect("01 8f 00 02 00 09 05 00 0d b6 01 02 03 00 01").failToSend();
    PONCardHelper::Payloads rules;
    EXPECT_EQ(linesPrintedBy([&] { EXPECT_FALSE(helper.doGetAllTkmRules(rules, 1)); }), kNoAnswer);
    EXPECT_TRUE(rules.empty());
}

TEST_F(OltVlanTest, EveryOperationPrintsAnUnknownFailureUnderItsName) {
    const auto printedBy = [](const auto& call) {
        return textPrintedBy([&call] {
            const FailingAllocation failure(FailingAllocation::Kind::Throwing, 1);
            call();
        });
    };
    PONCardHelper::Payloads rules;
    TKMPayload rule;
    rule.addU8Number(1);
    const std::string mac = kMac;  // its memory is taken before
    EXPECT_EQ(printedBy([&] { helper.doGetAllTkmRules(rules, 0); }),
              "Unknown Error at doGetAllTkmRules\n");
    EXPECT_EQ(printedBy([&] { helper.doDeleteTkmpRule(&rule); }),
              "Unknown Error at doDeleteTkmpRule\n");
    EXPECT_EQ(printedBy([&] { helper.doSetOnuVlan("1", mac); }), "Unknown Error at doSetOnuVlan\n");
    EXPECT_EQ(printedBy([&] { helper.doResetOnu(mac); }), "Unknown Error at doResetOnu\n");
    EXPECT_EQ(printedBy([&] { helper.clearAllProvisioningForLogicalLink(mac); }),
              "Unknown Error at clearAllProvisioningForLogicalLink\n");
}

// --- commands for one ONU ---

TEST_P(OnuVlanTest, ItsBytesAreSent) {
    transport.expect(GetParam().datagram).accept();
    EXPECT_EQ(textPrintedBy([this] { EXPECT_EQ(helper.doSetOnuVlan(GetParam().text, kMac), 0); }),
              "");
}

INSTANTIATE_TEST_SUITE_P(
    Vlans, OnuVlanTest,
    testing::Values(
        OnuVlan{"Zero", "0", kUntaggedOnu}, OnuVlan{"Empty", "", kUntaggedOnu},
        OnuVlan{"Word", "abc", kUntaggedOnu}, OnuVlan{"BelowZero", "-5", kUntaggedOnu},
        OnuVlan{"One", "1", "01 11 00 01 00 11 00 0f e9 00 00 0a 80 01 01 00 00 01 01 81 00 00 01"},
        OnuVlan{"Hundred", "100",
                "01 11 00 01 00 11 00 0f e9 00 00 0a 80 01 01 00 00 01 01 81 00 00 64"},
        OnuVlan{"SixteenBitsAreKept", "70000",
                "01 11 00 01 00 11 00 0f e9 00 00 0a 80 01 01 00 00 01 01 81 00 11 70"}),
    [](const auto& vlan) { return std::string(vlan.param.test); });

TEST_F(OnuCommandTest, AVlanThatIsRefusedIsPrintedAndTheResultIsZero) {
    transport.expect(kUntaggedOnu).deliver("01 11 00 01 00 02 00 05");
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_EQ(helper.doSetOnuVlan("0", kMac), 0); }),
              "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <273>\n");
}

TEST_F(OnuCommandTest, AnOnuIsResetAndItsAnswerNotHandled) {
    transport.expect("00 53 00 01 00 06 00 0f e9 00 00 0a").accept();
    EXPECT_EQ(linesPrintedBy([this] { EXPECT_EQ(helper.doResetOnu(kMac), 0); }),
              "parseMessage[#]: Response Message ID (83) not handled\n");
}

TEST_F(OnuCommandTest, TheProvisioningOfAnOnuIsCleared) {
    transport.expect("00 77 00 01 00 06 00 0f e9 00 00 0a").accept();
    EXPECT_TRUE(helper.clearAllProvisioningForLogicalLink(kMac));
}

TEST_F(OnuCommandTest, AnAddressWithoutColonsWillDoAsWell) {
    transport.expect("00 77 00 01 00 06 00 0f e9 00 00 0a").accept();
    EXPECT_TRUE(helper.clearAllProvisioningForLogicalLink("000fe900000a"));
}

TEST_F(OnuCommandTest, AClearingThatIsRefusedIsPrintedAndFalse) {
    transport.expect("00 77 00 01 00 06 00 0f e9 00 00 0a").deliver("00 77 00 01 00 02 00 05");
    EXPECT_EQ(
        linesPrintedBy([this] { EXPECT_FALSE(helper.clearAllProvisioningForLogicalLink(kMac)); }),
        "parseCheckResultOk[#]: Invalid Return Code(5) from Message ID <119>\n");
}

}  // namespace ponmgr::test
