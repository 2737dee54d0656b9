// Records to JSON and back, beside what cJSON alone takes for the same text.

#include <cjson/cJSON.h>

#include <array>
#include <memory>
#include <string>
#include <utility>

#include "benchmarks/codec/Allocations.h"
#include "benchmarks/codec/Cases.h"
#include "benchmarks/codec/Datagram.h"
#include "model/OltAlarmTableRow.h"
#include "model/OnuLink.h"
#include "tk/ResponseMessage.h"

namespace ponmgr::bench {

namespace {

constexpr const char* kAlarm = "801a 0000 0011 0000 0001 05 000db6000003 0000 11 01 01 00";
/// As many as a card may report in one pass of a storm.
constexpr int kBatch = 100;

struct TreeDeleter {
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
};
using Tree = std::unique_ptr<cJSON, TreeDeleter>;

struct TextDeleter {
    void operator()(char* text) const { cJSON_free(text); }
};
using Text = std::unique_ptr<char, TextDeleter>;

/// What cJSON alone does for a text that exists as a tree: a new tree of the same members, printed.
Tree rebuilt(const cJSON* tree) {
    if (cJSON_IsString(tree) != 0) {
        return Tree(cJSON_CreateString(tree->valuestring));
    }
    const bool isArray = cJSON_IsArray(tree) != 0;
    Tree made(isArray ? cJSON_CreateArray() : cJSON_CreateObject());
    for (const cJSON* member = tree->child; member != nullptr; member = member->next) {
        if (isArray) {
            cJSON_AddItemToArray(made.get(), rebuilt(member).release());
        } else {
            cJSON_AddItemToObject(made.get(), member->string, rebuilt(member).release());
        }
    }
    return made;
}

void registerPrintFloor(const std::string& name, const std::string& text) {
    benchmark::RegisterBenchmark((name + "/floor").c_str(), [text](benchmark::State& state) {
        const Tree tree(cJSON_Parse(text.c_str()));
        measure(state, text.size(), [&] {
            const Tree made = rebuilt(tree.get());
            benchmark::DoNotOptimize(Text(cJSON_PrintUnformatted(made.get())));
        });
    });
}

/// Two texts by turns.
void registerParseFloor(const std::string& name, const std::array<std::string, 2>& texts) {
    benchmark::RegisterBenchmark((name + "/floor").c_str(), [texts](benchmark::State& state) {
        std::size_t turn = 0;
        measure(state, texts[0].size(), [&] {
            benchmark::DoNotOptimize(Tree(cJSON_Parse(texts[turn].c_str())));
            turn = 1 - turn;
        });
    });
}

std::unique_ptr<Container> parsedAlarm(ResponseMessage& responses, const Datagram& datagram) {
    const TKMessage message(datagram.data(), static_cast<std::uint16_t>(datagram.size()));
    return responses.parseMessage(&message);
}

/// From the card's datagram to the JSON text of its record.
void registerParsedAlarm() {
    const Datagram datagram = datagramFrom(kAlarm);
    ResponseMessage parser;
    const std::string text = parsedAlarm(parser, datagram)->getJsonFile();
    const std::string name = "json/parsed-alarm";
    benchmark::RegisterBenchmark(
        name.c_str(), [datagram, size = text.size()](benchmark::State& state) {
            ResponseMessage responses;
            measure(state, size, [&] {
                benchmark::DoNotOptimize(parsedAlarm(responses, datagram)->getJsonFile());
            });
        });
    registerPrintFloor(name, text);
}

void fillReport(Container& report) {
    for (int i = 0; i < kBatch; i++) {
        auto row = std::make_unique<OltAlarmTableRow>();
        row->setValue("alarm", "Loss of Signal", false);
        row->setValue("label", "OLT Port: EPON-0", false);
        row->setValue("state", i % 2 == 0 ? "On" : "Off", false);
        row->setValue("slot_id", "3", false);
        row->setValue("datetime", "20/11/2026 23:50:12", false);
        report.addItemToList("alarm_list", std::move(row));
    }
}

/// The report of a pass: one record with a list of alarms.
void registerAlarmReport() {
    const auto report = std::make_shared<Container>();
    fillReport(*report);
    const std::string text = report->getJsonFile();
    const std::string name = "json/alarm-report-of-100";
    benchmark::RegisterBenchmark(
        name.c_str(), [report, size = text.size()](benchmark::State& state) {
            measure(state, size, [&] { benchmark::DoNotOptimize(report->getJsonFile()); });
        });
    registerPrintFloor(name, text);
}

/// An ONU's record to JSON.
void registerOnu() {
    const auto onu = std::make_shared<OnuLink>("00:0d:b6:03:00:07");
    const std::string text = onu->getJsonData();
    benchmark::RegisterBenchmark("json/onu", [onu, size = text.size()](benchmark::State& state) {
        measure(state, size, [&] { benchmark::DoNotOptimize(onu->getJsonData()); });
    });
    registerPrintFloor("json/onu", text);
}

/// The text of an ONU whose readings have this last digit.
std::string textOfOnu(const std::string& digit) {
    OnuLink onu("00:0d:b6:03:00:07");
    onu.setTemperature("41.5" + digit);
    onu.setSupplyVoltage("3.3" + digit);
    onu.setTxBiasCurrent("12.0" + digit);
    onu.setTxPowerOutput("2.1" + digit);
    onu.setTxPowerInput("-14.2" + digit);
    return onu.getJsonData();
}

/// An ONU's record from JSON: readings that differ from those before, so that they are stored.
void registerOnuBack() {
    const std::array<std::string, 2> texts{textOfOnu("0"), textOfOnu("1")};
    benchmark::RegisterBenchmark("json/onu-back", [texts](benchmark::State& state) {
        OnuLink onu("00:0d:b6:03:00:07");
        std::size_t turn = 0;
        measure(state, texts[0].size(), [&] {
            benchmark::DoNotOptimize(onu.setJsonData(texts[turn]));
            turn = 1 - turn;
        });
    });
    registerParseFloor("json/onu-back", texts);
}

}  // namespace

void registerAlarmRecords() {
    registerParsedAlarm();
    registerAlarmReport();
    registerOnu();
    registerOnuBack();
}

}  // namespace ponmgr::bench
