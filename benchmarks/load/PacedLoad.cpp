#include "benchmarks/load/PacedLoad.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <ctime>
#include <thread>

#include "benchmarks/support/Clock.h"
#include "benchmarks/support/UdpEnd.h"

namespace ponmgr::bench {

namespace {

constexpr unsigned kCards = 8;
constexpr std::uint16_t kCardPort = 14113;
constexpr std::int64_t kSecond = 1'000'000'000;
constexpr std::size_t kTags = 65536;
constexpr int kReceiveRoom = 4 << 20;
constexpr unsigned kPatience = 100;

/// Get OLT Information, which every card answers.
std::array<unsigned char, 6> request(std::uint16_t tag) {
    return {
        0x00, 0x07, static_cast<unsigned char>(tag >> 8), static_cast<unsigned char>(tag & 0xFF),
        0x00, 0x00};
}

void sleepUntil(std::int64_t moment) {
    timespec time{};
    time.tv_sec = moment / kSecond;
    time.tv_nsec = moment % kSecond;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr) != 0) {
    }
}

/// When the request of each tag left; a tag is used again after 65536 requests.
using Departures = std::vector<std::atomic<std::int64_t>>;

void collect(UdpEnd& socket, Departures& departures, const std::atomic<bool>& ends,
             LoadResult& result) {
    std::array<unsigned char, 1500> buffer{};
    sockaddr_in from{};
    while (!ends) {
        const std::size_t size = socket.receive(buffer, from);
        if (size < 4 || buffer[0] != 0x00 || buffer[1] != 0x07) {
            continue;
        }
        const std::size_t tag = std::size_t{buffer[2]} << 8 | buffer[3];
        const std::int64_t departure = departures[tag].exchange(0);
        if (departure != 0) {
            result.answered.push_back(steadyNow() - departure);
        }
    }
}

unsigned sendAll(UdpEnd& socket, Departures& departures, const std::vector<sockaddr_in>& cards,
                 unsigned rate, unsigned requests) {
    const std::int64_t start = steadyNow();
    for (unsigned i = 0; i < requests; i++) {
        sleepUntil(start + std::int64_t{i} * kSecond / rate);
        const auto tag = static_cast<std::uint16_t>(i % kTags);
        const auto datagram = request(tag);
        departures[tag] = steadyNow();
        socket.send(datagram, cards[i % kCards]);
    }
    return requests;
}

}  // namespace

LoadResult runLoad(const std::string& source, const std::string& base, unsigned rate,
                   unsigned seconds) {
    UdpEnd socket(source, 0);
    socket.setPatience(kPatience);
    socket.setReceiveRoom(kReceiveRoom);
    std::vector<sockaddr_in> cards;
    for (unsigned card = 1; card <= kCards; card++) {
        cards.push_back(ipv4(base + std::to_string(card), kCardPort));
    }
    Departures departures(kTags);
    std::atomic<bool> ends = false;
    LoadResult result;
    result.answered.reserve(std::size_t{rate} * seconds);
    std::thread collector([&] { collect(socket, departures, ends, result); });
    result.sent = sendAll(socket, departures, cards, rate, rate * seconds);
    std::this_thread::sleep_for(std::chrono::seconds(1));
    ends = true;
    collector.join();
    std::sort(result.answered.begin(), result.answered.end());
    return result;
}

}  // namespace ponmgr::bench
