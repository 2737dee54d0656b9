#include <gmock/gmock.h>

#include <iterator>
#include <set>

#include "ChassisFixture.h"
#include "sim/AlarmNames.h"
#include "sim/EntityAddress.h"
#include "sim/EventFrames.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {
namespace {

Onu sampleOnu() {
    Random random(1);
    auto onu = *std::next(makeOnus(3, 124, random).begin(), 124 + 7);
    onu.roundTripTime = 0x1234;
    return onu;
}

TEST(Onu, HasAMacOfItsSlotPortAndIndex) {
    EXPECT_EQ(toText(sampleOnu().mac), "00:0d:b6:03:01:07");
    EXPECT_EQ(toText(sampleOnu().address), "3/1/7");
}

TEST(Onu, LinkInformationHas26Bytes) {
    Writer data;
    writeLinkInformation(sampleOnu(), data);
    // MAC, length, OUI, product code and version, LLID, RTT, port, vendor type, formats, grants,
    // speeds, port
    EXPECT_EQ(hexText(data.view()),
              hex("000db6030107 0012 000db6 4201 0002 0084 1234 01 0001 01 08 01 01"));
}

TEST(Onu, SharesNoEndpointAndNoLlidWithAnotherOfItsCard) {
    Random random(1);
    std::set<std::uint16_t> endpoints;
    std::set<std::uint16_t> llids;
    for (const auto& onu : makeOnus(1, 124, random)) {
        endpoints.insert({onu.queues.downstream, onu.queues.upstream, onu.queues.multicast});
        llids.insert(onu.llid);
    }
    EXPECT_EQ(endpoints.size(), 3U * 248);
    EXPECT_FALSE(endpoints.contains(0));
    EXPECT_EQ(llids.size(), 248U);
}

TEST(Onu, IsTheSameWithTheSameSeedAndAnotherWithAnother) {
    Random first(7);
    Random second(7);
    Random other(8);
    const auto onus = makeOnus(1, 8, first);
    const auto same = makeOnus(1, 8, second);
    const auto different = makeOnus(1, 8, other);
    EXPECT_EQ(onus.back().roundTripTime, same.back().roundTripTime);
    EXPECT_EQ(onus.back().optics, same.back().optics);
    EXPECT_NE(onus.back().optics, different.back().optics);
}

TEST(EventFrames, LinkDiscoveryHasTenBytesOfHeaderAndTheInformation) {
    Writer frame;
    writeLinkDiscovery(frame, 0x0102, sampleOnu());
    EXPECT_EQ(hexText(frame.view()),
              hex("8019 0000 001e 0000 0102 000db6030107 0012 000db6 4201 0002 0084 1234 01 0001 "
                  "01 08 01 01"));
}

TEST(EventFrames, AlarmOfALinkHasItsMacAndNoPort) {
    Writer frame;
    writeReportAlarm(frame, 7, {EntityTag::onuLink, sampleOnu().mac, 0, 23, true});
    EXPECT_EQ(hexText(frame.view()), hex("801a 0000 000f 0000 0007 03 000db6030107 17 01 01 00"));
    writeReportAlarm(frame, 8, {EntityTag::oltLink, sampleOnu().mac, 0, 0x11, false});
    EXPECT_EQ(hexText(frame.view()), hex("801a 0000 000f 0000 0008 07 000db6030107 11 00 01 00"));
}

TEST(EventFrames, AlarmOfAPortHasItsNumber) {
    Writer frame;
    writeReportAlarm(frame, 9, {EntityTag::oltPort, {0, 0x0D, 0xB6, 0, 0, 3}, 2, 0x11, true});
    EXPECT_EQ(hexText(frame.view()),
              hex("801a 0000 0011 0000 0009 05 000db6000003 0002 11 01 01 00"));
}

TEST(EventFrames, LinkMovedHasBothPorts) {
    Writer frame;
    writeLinkMoved(frame, 0xFFFF, sampleOnu().mac, 1, 0);
    EXPECT_EQ(hexText(frame.view()), hex("802b 0000 000c 0000 ffff 000db6030107 01 00"));
}

TEST(AlarmNames, GoBothWays) {
    EXPECT_EQ(parseAlarm("alarm", "Loss of Signal"), 17);
    EXPECT_EQ(parseAlarm("alarm", "172"), 172);
    EXPECT_EQ(nameOfAlarm(64), "Standard Dying Gasp");
    EXPECT_EQ(nameOfAlarm(0x14), "unknown");
}

TEST(AlarmNames, RefuseWhatIsNoAlarmAndSayWhatIs) {
    for (const std::string text : {"20", "loss", "", "0x11"}) {
        EXPECT_THROW(parseAlarm("alarm", text), UsageError) << text;
    }
}

TEST(EntityAddress, NamesOnusAndPorts) {
    EXPECT_EQ(parseOnuAddress("onu", "3/1/123"), (OnuAddress{3, 1, 123}));
    EXPECT_EQ(parseOnuSelection("of", "3").port, std::nullopt);
    EXPECT_EQ(parseOnuSelection("of", "3/1").port, 1);
    const auto link = parseAlarmSubject("target", "3/1/7");
    EXPECT_EQ(link.tag, EntityTag::onuLink);
    EXPECT_EQ(link.onu, (OnuAddress{3, 1, 7}));
    EXPECT_EQ(parseAlarmSubject("target", "3/1/7/olt").tag, EntityTag::oltLink);
    const auto port = parseAlarmSubject("target", "8/nni-1");
    EXPECT_EQ(port.tag, EntityTag::oltPort);
    EXPECT_EQ(port.slot, 8);
    EXPECT_EQ(port.port, 3);
    EXPECT_EQ(parseAlarmSubject("target", "8/1").port, 1);
}

TEST(EntityAddress, RefusesWhatIsNone) {
    for (const std::string text :
         {"", "3", "3/0", "3/2/0", "3/0/124", "9/0/0", "3/0/", "3/0/-1", "3/0/7/8", "a/b/c"}) {
        EXPECT_THROW(parseOnuAddress("onu", text), UsageError) << text;
    }
    for (const std::string text : {"", "9", "3/2", "3/0/7"}) {
        EXPECT_THROW(parseOnuSelection("of", text), UsageError) << text;
    }
    for (const std::string text : {"", "3", "3/nni-2", "3/0/7/onu", "3/0/7/olt/1"}) {
        EXPECT_THROW(parseAlarmSubject("target", text), UsageError) << text;
    }
}

TEST(Optics, LoseDecibelsAndNeverBecomeZero) {
    EXPECT_EQ(attenuated(10000, 0), 10000);
    EXPECT_EQ(attenuated(10000, 10), 1000);
    EXPECT_EQ(attenuated(10000, 3), 5012);
    EXPECT_EQ(attenuated(10, 60), 1);
}

TEST(Optics, DriftWithinTheirRange) {
    Random random(5);
    const auto typical = typicalOptics(20000, random);
    auto now = typical;
    const auto typicalPort = typicalPortOptics(random);
    auto port = typicalPort;
    bool moved = false;
    for (int i = 0; i < 10000; ++i) {
        const auto before = now;
        drift(now, typical, random);
        drift(port, typicalPort, random);
        moved = moved || !(before == now);
        ASSERT_LE(std::abs(now.temperature - before.temperature), 16);
        ASSERT_NEAR(now.temperature, typical.temperature, 512);
        ASSERT_NEAR(now.powerIn, typical.powerIn, 6);
        ASSERT_NEAR(port.transmitPower, typicalPort.transmitPower, 400);
    }
    EXPECT_TRUE(moved);
}

TEST(Optics, ReceiveLessAtTheEndOfALongerFibre) {
    Random near(1);
    Random far(1);
    EXPECT_GT(typicalOptics(200, near).powerIn, 2 * typicalOptics(20000, far).powerIn);
}

}  // namespace
}  // namespace ponmgr::sim
