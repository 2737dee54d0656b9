// A card's list of links, by its length, and the records that are kept of them.

#include <string>

#include "benchmarks/codec/Allocations.h"
#include "benchmarks/codec/Cases.h"
#include "benchmarks/codec/CopyFloor.h"
#include "benchmarks/codec/Datagram.h"
#include "model/OnuLinkList.h"
#include "tk/ResponseMessage.h"

namespace ponmgr::bench {

namespace {

constexpr int kLengths[] = {8, 62, 124, 248};
/// A full card's list, and the quarter of it that its growth is told by.
constexpr int kNotedLengths[] = {62, 248};
constexpr std::size_t kHeader = 8;
constexpr std::size_t kMac = 6;

Datagram listOf(int links) {
    Datagram datagram = datagramFrom("0044 0001 0000 0000");
    for (int link = 0; link < links; link++) {
        const auto last = static_cast<unsigned char>(link);
        datagram.insert(datagram.end(), {0x00, 0x0D, 0xB6, 0x03, 0x00, last});
    }
    return datagram;
}

void measureParsing(benchmark::State& state, const Datagram& datagram) {
    ResponseMessage responses;
    measure(state, datagram.size(), [&] {
        const TKMessage message(datagram.data(), static_cast<std::uint16_t>(datagram.size()));
        benchmark::DoNotOptimize(responses.parseMessage(&message));
    });
}

/// Takes the links of the list into the card's own and looks each of them up once more.
void measureNoting(benchmark::State& state, const Datagram& datagram) {
    ResponseMessage responses;
    const TKMessage message(datagram.data(), static_cast<std::uint16_t>(datagram.size()));
    const auto record = responses.parseMessage(&message);
    measure(state, datagram.size(), [&] {
        OnuLinkList links;
        for (const auto& item : record->getList("link_macs")) {
            const std::string mac = item->getValue("mac_address");
            links.addOnuLink(mac);
            links.getOnuLinkFromMAC(mac)->setOnlineStatus(true);
        }
        benchmark::DoNotOptimize(links.size());
    });
}

}  // namespace

void registerLinkLists() {
    for (const int links : kLengths) {
        const Datagram datagram = listOf(links);
        const std::string name = "links/parse/" + std::to_string(links);
        benchmark::RegisterBenchmark(
            name.c_str(), [datagram](benchmark::State& state) { measureParsing(state, datagram); });
        registerCopyFloor(name, kHeader + kMac * static_cast<std::size_t>(links));
    }
    for (const int links : kNotedLengths) {
        benchmark::RegisterBenchmark(("links/note/" + std::to_string(links)).c_str(),
                                     [datagram = listOf(links)](benchmark::State& state) {
                                         measureNoting(state, datagram);
                                     });
    }
}

}  // namespace ponmgr::bench
