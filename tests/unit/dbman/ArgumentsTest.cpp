#include "dbman/Arguments.h"
#include "dbman/Errors.h"

namespace ponmgr::dbman {

namespace {

using testing::ElementsAre;

template <typename Action>
std::string refusalOf(Action action) {
    try {
        action();
    } catch (const ArgumentError& error) {
        return error.what();
    }
    return "accepted";
}

TEST(ParseSlot, TakesOneToEight) {
    EXPECT_EQ(parseSlot("1"), 1);
    EXPECT_EQ(parseSlot("8"), 8);
}

TEST(ParseSlot, NamesTheValueAndWhatIsAllowed) {
    EXPECT_EQ(refusalOf([] { parseSlot("9"); }),
              "slot \"9\" is not allowed: a slot is a number from 1 to 8");
}

TEST(ParseSlot, RefusesEverythingElse) {
    for (const auto* text : {"", "0", "9", "-1", "+1", " 1", "1 ", "1x", "all", "99999999999"}) {
        EXPECT_THROW(parseSlot(text), ArgumentError) << text;
    }
}

TEST(ParseSlotList, TakesSlotsAndRanges) {
    EXPECT_THAT(parseSlotList("1-8"), ElementsAre(1, 2, 3, 4, 5, 6, 7, 8));
    EXPECT_THAT(parseSlotList("3"), ElementsAre(3));
    EXPECT_THAT(parseSlotList("7,1-3"), ElementsAre(1, 2, 3, 7));
    EXPECT_THAT(parseSlotList("4-4,4"), ElementsAre(4));
}

TEST(ParseSlotList, RefusesEverythingElse) {
    for (const auto* text : {"", ",", "1,", "0-3", "1-9", "3-1", "1-2-3", "-", "1-", "a"}) {
        EXPECT_THROW(parseSlotList(text), ArgumentError) << text;
    }
}

TEST(ParsePortAddress, TakesSlotAndPort) {
    EXPECT_EQ(parsePortAddress("3/1").slot, 3);
    EXPECT_EQ(parsePortAddress("3/1").port, 1);
    EXPECT_EQ(parsePortAddress("8/0").port, 0);
}

TEST(ParsePortAddress, RefusesEverythingElse) {
    for (const auto* text : {"", "3", "3/", "/1", "3/2", "0/1", "9/0", "3/1/0", "3/-0", "a/b"}) {
        EXPECT_THROW(parsePortAddress(text), ArgumentError) << text;
    }
}

TEST(ParseMacAddress, IsReturnedInLowerCase) {
    EXPECT_EQ(parseMacAddress("00:0D:B6:aF:00:03"), "00:0d:b6:af:00:03");
}

TEST(ParseMacAddress, RefusesEverythingElse) {
    for (const auto* text :
         {"", "000db600000", "00-0d:b6-00-00-03", "00:0d:b6:00:00", "all", "00:0d:b6:00:00:0g",
          "00:0d:b6:00:00:03:", "0:00d:b6:00:00:03", "000db60000034", "00.0d.b6.00.00.03",
          "00 0d b6 00 00 03", "--:--:--"}) {
        EXPECT_THROW(parseMacAddress(text), ArgumentError) << text;
    }
}

TEST(ParseMacAddress, TakesHyphensAndNoSeparator) {
    EXPECT_EQ(parseMacAddress("00-0D-B6-AF-00-03"), "00:0d:b6:af:00:03");
    EXPECT_EQ(parseMacAddress("000DB6af0003"), "00:0d:b6:af:00:03");
}

TEST(ParseMacAddress, NamesTheFormsThatAreAllowed) {
    EXPECT_EQ(refusalOf([] { parseMacAddress("0:1"); }),
              "MAC address \"0:1\" is not allowed: six pairs of hex digits, such as "
              "00:0d:b6:00:00:03, 00-0D-B6-00-00-03 or 000db6000003");
}

TEST(ParsePort, TakesZeroAndOne) {
    EXPECT_EQ(parsePort("0"), 0);
    EXPECT_EQ(parsePort("1"), 1);
    EXPECT_EQ(refusalOf([] { parsePort("2"); }),
              "port \"2\" is not allowed: a card has the PON ports 0 and 1");
}

TEST(ParseLevel, TakesDecibelsWithAndWithoutTheUnit) {
    EXPECT_EQ(parseLevel("-25"), -25.0);
    EXPECT_EQ(parseLevel("-25.5dBm"), -25.5);
    EXPECT_EQ(parseLevel("-25DBM"), -25.0);
    EXPECT_EQ(parseLevel("3"), 3.0);
    EXPECT_EQ(refusalOf([] { parseLevel("low"); }),
              "level \"low\" is not allowed: a number of dBm from -60 to 20, such as -25 or "
              "-25.5dBm");
}

TEST(ParseLevel, RefusesEverythingElse) {
    for (const auto* text : {"", "dBm", "-", "nan", "-inf", "-60.1", "20.1", "-25 dBm", "-25dB",
                             "1e1", "0x10", "-25,5"}) {
        EXPECT_THROW(parseLevel(text), ArgumentError) << text;
    }
}

TEST(ParseDuration, TakesSecondsMinutesHoursAndDays) {
    using std::chrono::seconds;
    EXPECT_EQ(parseDuration("90s"), seconds(90));
    EXPECT_EQ(parseDuration("15m"), seconds(900));
    EXPECT_EQ(parseDuration("24h"), seconds(86'400));
    EXPECT_EQ(parseDuration("7d"), seconds(604'800));
    EXPECT_EQ(parseDuration("3650d"), seconds(315'360'000));
    EXPECT_EQ(refusalOf([] { parseDuration("24"); }),
              "time \"24\" is not allowed: a number and s, m, h or d, at most 3650d, such as 90s, "
              "15m, 24h or 7d");
}

TEST(ParseDuration, RefusesEverythingElse) {
    for (const auto* text : {"", "s", "0s", "-1h", "1.5h", "1w", "1 h", "3651d", "99999999999s"}) {
        EXPECT_THROW(parseDuration(text), ArgumentError) << text;
    }
}

TEST(ParseRows, TakesOneToAThousandMillion) {
    EXPECT_EQ(parseRows("1"), 1);
    EXPECT_EQ(parseRows("1000000000"), 1'000'000'000);
    EXPECT_EQ(refusalOf([] { parseRows("0"); }),
              "number of rows \"0\" is not allowed: a number from 1 to 1000000000");
    EXPECT_THROW(parseRows("1000000001"), ArgumentError);
    EXPECT_THROW(parseRows("99999999999"), ArgumentError);
    EXPECT_THROW(parseRows(""), ArgumentError);
}

TEST(ParseCount, TakesOneToTenThousand) {
    EXPECT_EQ(parseCount("1"), 1);
    EXPECT_EQ(parseCount("10000"), 10'000);
    EXPECT_EQ(refusalOf([] { parseCount("0"); }),
              "count \"0\" is not allowed: a number from 1 to 10000");
    EXPECT_THROW(parseCount("10001"), ArgumentError);
}

TEST(ParseVlan, TakesOneTo4095) {
    EXPECT_EQ(parseVlan("1"), "1");
    EXPECT_EQ(parseVlan("4095"), "4095");
    EXPECT_EQ(parseVlan("007"), "7");
}

TEST(ParseVlan, RefusesEverythingElse) {
    for (const auto* text : {"", "0", "4096", "-1", "1.5", "x", "0x10"}) {
        EXPECT_THROW(parseVlan(text), ArgumentError) << text;
    }
}

TEST(ParseIpv4, IsTheOppositeOfPrinting) {
    EXPECT_EQ(parseIpv4("127.0.1.3"), 0x7F000103U);
    EXPECT_EQ(printIpv4(0x7F000103U), "127.0.1.3");
}

TEST(ParseIpv4, RefusesWhatAShellWouldObey) {
    for (const auto& text :
         {std::string("127.0.1.3; reboot"), std::string("127.0.1"), std::string("localhost"),
          std::string(), std::string("::1"), std::string("127.0.1.3\0x", 11)}) {
        EXPECT_THROW(parseIpv4(text), ArgumentError) << text;
    }
}

TEST(ParseHostAddress, IsThatOfOneHost) {
    EXPECT_EQ(parseHostAddress("1.0.0.0"), "1.0.0.0");
    EXPECT_EQ(parseHostAddress("223.255.255.255"), "223.255.255.255");
    for (const auto* text : {"0.0.0.0", "0.255.255.255", "224.0.0.1", "255.255.255.255", "x"}) {
        EXPECT_THROW(parseHostAddress(text), ArgumentError) << text;
    }
}

TEST(ParseUri, BeginsWithASlashAndHasNoBlanks) {
    EXPECT_EQ(parseUri("/slot/onu/"), "/slot/onu/");
    for (const auto* text : {"", "slot", "/a b", "/a\n", "/\xff"}) {
        EXPECT_THROW(parseUri(text), ArgumentError) << text;
    }
}

TEST(ParseKeyValue, SplitsAtTheFirstSign) {
    EXPECT_EQ(parseKeyValue("a=b=c"), std::make_pair(std::string("a"), std::string("b=c")));
    EXPECT_EQ(parseKeyValue("a="), std::make_pair(std::string("a"), std::string()));
    for (const auto* text : {"", "a", "=b", "a=\xff"}) {
        EXPECT_THROW(parseKeyValue(text), ArgumentError) << text;
    }
}

TEST(Refusal, ShowsNoControlCharactersOfTheValue) {
    EXPECT_THAT(refusalOf([] { parseSlot("\x1b[31m"); }), testing::HasSubstr("\"?[31m\""));
}

}  // namespace

}  // namespace ponmgr::dbman
