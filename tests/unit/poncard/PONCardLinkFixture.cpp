#include "PONCardLinkFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>

#include "model/Helper.h"

namespace ponmgr::test {

namespace {

constexpr const char* kDumpFile = "/tmp/onu-3.log";
/// The dump is written on one call in six.
constexpr int kDumpCalls = 6;

std::string contentOf(const char* path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

template <typename Items, typename Text>
std::string joined(const Items& items, Text&& textOf) {
    std::string text;
    for (const auto& item : items) {
        text += (text.empty() ? "" : ",") + textOf(item);
    }
    return text;
}

}  // namespace

std::string onuText(const OnuRecord& onu) {
    return R"({"alarm_message":")" + onu.alarmMessage + R"(","downstream_queue":")" +
           onu.downstreamQueue + R"(","ether_up_status":")" + onu.etherUp +
           R"(","id":"0","is_gigabit":")" + onu.isGigabit + R"(","mac_address":")" + onu.mac +
           R"(","mcast_queue":")" + onu.multicastQueue + R"(","online_status":")" + onu.online +
           R"(","pon_port":")" + onu.ponPort + R"(","slot_id":")" + onu.slotId +
           R"(","status_reported":")" + onu.reported +
           R"(","supply_voltage":"-","temperature":"-","tx_bias_current":"-",)"
           R"("tx_power_input":"-","tx_power_output":"-","upstream_queue":")" +
           onu.upstreamQueue + R"("})";
}

std::string onuReport(const OnuRecord& onu) {
    return R"({"action":"set","uri":"/onu/new","data":)" + onuText(onu) + "}";
}

std::string linkDiscovery(const std::string& last) {
    return "80 19 00 00 00 1e 00 00 00 00 00 0f e9 00 00 " + last +
           " 00 12"     // length of the information
           " 00 0f e9"  // OUI
           " 37 15"     // product code
           " 00 11"     // product version
           " 00 01"     // LLID
           " 01 00"     // round trip time
           " 01"        // downstream port
           " 00 00 00 00 00"
           " 00";  // upstream port
}

std::string linkAlarm(const std::string& last, const std::string& id, const std::string& state) {
    return "80 1a 00 00 00 0f 00 00 00 00 03 00 0f e9 00 00 " + last + " " + id + " " + state +
           " 01 00";
}

void PONCardLinkFixture::emit(const std::string& event) {
    ASSERT_TRUE(transport.deliverNow(event));
}

void PONCardLinkFixture::discover(const std::string& last) {
    emit(linkDiscovery(last));
    ASSERT_TRUE(helper.handleAlarms());
}

void PONCardLinkFixture::discoverAndProvision(const std::vector<std::string>& lasts) {
    for (const std::string& last : lasts) {
        discover(last);
    }
    transport.acceptTheRest();
    helper.doSetAllOnuGigabit();
    helper.doReportAlarmToDBMan();
    takeNotifications();
}

std::string PONCardLinkFixture::links() {
    std::filesystem::remove(kDumpFile);
    for (int call = 0; call < kDumpCalls; call++) {
        helper.doOnuListDump();
    }
    std::string text = contentOf(kDumpFile);
    std::erase(text, '\n');
    std::erase(text, '\t');
    return Helper::replaceAll(text, "}, {", "},{");
}

std::string PONCardLinkFixture::listOf(const std::vector<OnuRecord>& onus) {
    return R"({"onulist":[)" + joined(onus, onuText) + "]}";
}

Texts PONCardLinkFixture::alarms() {
    static const std::regex time(R"(\d\d/\d\d/\d{4} \d\d:\d\d:\d\d)");
    EXPECT_TRUE(helper.doReportAlarmToDBMan());
    Texts texts = takeNotifications();
    for (std::string& text : texts) {
        text = std::regex_replace(text, time, "<time>");
    }
    return texts;
}

Texts alarmReport(const std::vector<AlarmRow>& rows) {
    return {R"({"action":"set","uri":"/olt/alarm/new","data":{"id":"0","alarm_list":[)" +
            joined(rows,
                   [](const AlarmRow& row) {
                       return R"({"alarm":")" + row.alarm +
                              R"(","datetime":"<time>","id":"0","label":")" + row.label +
                              R"(","slot_id":"3","state":")" + row.state + R"("})";
                   }) +
            "]}}"};
}

}  // namespace ponmgr::test
