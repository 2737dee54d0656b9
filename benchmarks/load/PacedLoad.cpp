#include "benchmarks/load/PacedLoad.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <thread>

#include "benchmarks/support/CardQuestion.h"
#include "benchmarks/support/Clock.h"
#include "benchmarks/support/UdpEnd.h"
#include "tk/SocketHelper.h"

namespace ponmgr::bench {

namespace {

constexpr unsigned kCards = 8;
constexpr std::size_t kTags = 65536;
constexpr int kReceiveRoom = 4 << 20;
constexpr unsigned kPatience = 100;

/// When the request of each tag left; a tag is used again after 65536 requests.
using Departures = std::vector<std::atomic<std::int64_t>>;

void collect(UdpEnd& socket, Departures& departures, const std::atomic<bool>& ends,
             LoadResult& result) {
    std::array<unsigned char, 1500> buffer{};
    sockaddr_in from{};
    while (!ends) {
        const std::size_t size = socket.receive(buffer, from);
        const auto tag = CardQuestion::tagOfAnswer({buffer.data(), size});
        if (!tag) {
            continue;
        }
        const std::int64_t departure = departures[*tag].exchange(0);
        if (departure != 0) {
            result.answered.push_back(steadyNow() - departure);
        }
    }
}

unsigned sendAll(UdpEnd& socket, Departures& departures, const std::vector<sockaddr_in>& cards,
                 unsigned rate, unsigned requests) {
    CardQuestion question;
    const std::int64_t start = steadyNow();
    for (unsigned i = 0; i < requests; i++) {
        sleepUntil(start + std::int64_t{i} * kNanosecondsOfSecond / rate);
        const auto datagram = question.next();
        departures[question.getTag()] = steadyNow();
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
        cards.push_back(ipv4(base + std::to_string(card), kTkPort));
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
