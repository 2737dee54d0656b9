// Every answer and event that has a layout of its own, parsed to its record.

#include <string>
#include <vector>

#include "benchmarks/codec/Allocations.h"
#include "benchmarks/codec/Cases.h"
#include "benchmarks/codec/CopyFloor.h"
#include "benchmarks/codec/Datagram.h"
#include "tk/ResponseMessage.h"

namespace ponmgr::bench {

namespace {

struct ResponseCase {
    const char* name;
    std::string datagram;
};

std::string repeated(std::size_t times, const char* text) {
    std::string all;
    for (std::size_t i = 0; i < times; i++) {
        all += text;
    }
    return all;
}

/// Header and data of one answer a line, in hexadecimal.
std::vector<ResponseCase> responseCases() {
    const std::string identity =
        "000db6000003 0000 000db6 3723 0100 0417" + repeated(64, "41") + "1234 5678 00010203 02 02";
    const std::string linkInformation =
        "000db6030007 0012 000db6 2300 0100 0001 00c8 00 0001 02 03 01 00";
    const std::string statistic = "000b 04 00 0000000000004e20";
    const std::string rule = "010101 01 05060708 090a0b0c 0d0e0f10 1112 13";
    return {
        {"PlainAnswer", "0181 0001 0002 0000"},
        {"GetOLTInformation", "0007 0001 005d 0000" + identity},
        {"GetOLTNVSEnabled", "012d 0001 0004 0000 01 01"},
        {"GetOAMExtensionSetSupport",
         "01b3 0001 0025 0000 08 000db6000003" + repeated(4, "01 05 00 111111 01")},
        {"GetAllDomains", "017d 0001 0006 0000 0402 0001"},
        {"GetAllPathsOf64", "0179 0001 0102 0000" + repeated(64, "2000 0001")},
        {"GetOLTBridgingMode",
         "0184 0001 0017 0000 000db6030007 01 0040 4000 0000 4001 0000 4002 0000"},
        {"GetONUInformation", "016b 0001 001c 0000" + linkInformation},
        {"LinkDiscovery", "8019 0000 001e 0000 0001" + linkInformation},
        {"OnuLinkMoved", "802b 0000 000c 0000 0001 000db6030007 00 01"},
        {"ReportAlarmOfLink", "801a 0000 000f 0000 0001 03 000db6030007 17 01 01 00"},
        {"ReportAlarmOfPort", "801a 0000 0011 0000 0001 05 000db6000003 0000 11 01 01 00"},
        {"OLTReady", "8000 0000 005b" + identity},
        {"Diagnosis", "0249 0001 0012 0000 000db6030007 2900 80e8 1770 0190 3e80"},
        {"GetStatistics",
         "0138 0001 0033 0000 05 000db6000003 0000" + repeated(4, statistic.c_str())},
        {"GetOLTRules",
         "018f 0001 0044 0000 05 000db6000003 0000 00 03" + repeated(3, rule.c_str())},
    };
}

void measureParsing(benchmark::State& state, const Datagram& datagram) {
    ResponseMessage responses;
    measure(state, datagram.size(), [&] {
        const TKMessage message(datagram.data(), static_cast<std::uint16_t>(datagram.size()));
        benchmark::DoNotOptimize(responses.parseMessage(&message));
    });
}

}  // namespace

void registerResponses() {
    for (const ResponseCase& response : responseCases()) {
        const Datagram datagram = datagramFrom(response.datagram);
        const std::string name = std::string("response/") + response.name;
        benchmark::RegisterBenchmark(
            name.c_str(), [datagram](benchmark::State& state) { measureParsing(state, datagram); });
        registerCopyFloor(name, datagram.size());
    }
}

}  // namespace ponmgr::bench
