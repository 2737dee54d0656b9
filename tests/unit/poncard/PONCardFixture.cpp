#include "PONCardFixture.h"

namespace ponmgr::test {

namespace {

constexpr std::string_view kVendorInfo =
    "50 4f 4e 20 63 61 72 64 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 "
    "00 00";

constexpr const char* kModuleRow =
    R"({"id":"0","ucOpticModuleOltPonIndex":"","ucOpticModuleOltSlotIndex":"",)"
    R"("ucOpticModuleOltTemperature":"-","ucOpticModuleOltTxBias":"-",)"
    R"("ucOpticModuleOltTxPower":"-","ucOpticModuleOltVcc":"-"})";

PONCardTiming timingOf(ExchangeTiming exchange) {
    PONCardTiming timing;
    timing.exchange = exchange;
    timing.acceptedLaterPause = std::chrono::milliseconds(1);
    return timing;
}

}  // namespace

std::string oltInformation(std::string_view ctag, std::string_view productCode) {
    std::string frame = "00 07 ";
    frame += ctag;
    frame += " 00 5d 00 00";        // length, result
    frame += " 00 0d b6 01 02 03";  // MAC address
    frame += " 00 00";              // not used
    frame += " 00 0d b6 ";          // OUI
    frame += productCode;           // product code
    frame += " 00 11";              // product version
    frame += " 01 02 ";             // firmware version
    frame += kVendorInfo;           // vendor's text
    frame += " 12 34";              // JEDEC id
    frame += " 37 23 00 00 00 01";  // chip id, chip version
    frame += " 02 02";              // EPON ports, NNI ports
    return frame;
}

std::string oltReport(const ReportedCard& card) {
    return R"({"action":"set","uri":"/olt/new","data":{"app_version":")" + card.appVersion +
           R"(","id":"0","mac_address":")" + card.macAddress + R"(","nvs_enabled":")" +
           card.nvsEnabled + R"(","online_status":")" + card.onlineStatus + R"(","slot_id":")" +
           card.slotId + R"(","status_reported":"0","module_olt_table":[)" + kModuleRow + "," +
           kModuleRow + "]}}";
}

PONCardFixture::PONCardFixture(ExchangeTiming exchange) : helper(timingOf(exchange)) {
    takeNotifications();
    helper.start(&transport, "3");
    helper.setOltIpAddress("127.0.1.3");
}

void PONCardFixture::identify() {
    transport.expect("00 07 00 01 00 00").deliver(oltInformation());
    ASSERT_TRUE(helper.doRequestOltEponMac());
    ASSERT_TRUE(helper.hasOltMacAddress());
}

std::vector<std::string> PONCardFixture::report() {
    EXPECT_EQ(takeNotifications(), std::vector<std::string>{});
    helper.doReportOLTModule();
    return takeNotifications();
}

SilentCardFixture::SilentCardFixture()
    : PONCardFixture({std::chrono::milliseconds(5), std::chrono::milliseconds(1), 3}) {}

void SilentCardFixture::expectUnanswered(std::string_view datagram) {
    transport.expect(datagram).silent();
    transport.expect(datagram).silent();
    transport.expect(datagram).silent();
}

}  // namespace ponmgr::test
