#include "sim/journal/JournalReport.h"

#include <nlohmann/json.hpp>

#include <array>
#include <cstdio>
#include <ctime>

#include "sim/CardRequests.h"
#include "sim/RequestNames.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

namespace {

/// Of a request that a card knows, and of its answer; null for all else.
Json purposeOf(std::uint16_t messageId) {
    const auto* const request = findCardRequest(messageId);
    return request == nullptr ? Json() : Json(request->purpose == Purpose::sets ? "sets" : "asks");
}

void addHeader(const JournalEntry& entry, Json& row) {
    Reader reader(entry.bytes);
    const auto messageId = reader.u16();
    const auto ctag = reader.u16();
    if (reader.failed()) {
        row["id"] = nullptr;
        row["name"] = nullptr;
        row["purpose"] = nullptr;
        row["ctag"] = nullptr;
        return;
    }
    row["id"] = messageId;
    row["name"] = nameOfMessage(messageId);
    row["purpose"] = purposeOf(messageId);
    row["ctag"] = ctag;
}

}  // namespace

const char* directionText(Direction direction) {
    return direction == Direction::toCard ? "in" : "out";
}

std::string wallText(WallTime time) {
    const auto seconds = std::chrono::floor<std::chrono::seconds>(time);
    const auto fraction = std::chrono::duration_cast<std::chrono::nanoseconds>(time - seconds);
    const std::time_t whole = std::chrono::system_clock::to_time_t(seconds);
    std::tm parts{};
    gmtime_r(&whole, &parts);
    std::array<char, 32> date{};
    const auto size = std::strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    std::array<char, 16> nanoseconds{};
    (void)std::snprintf(nanoseconds.data(), nanoseconds.size(), ".%09lldZ",
                        static_cast<long long>(fraction.count()));
    return std::string(date.data(), size) + nanoseconds.data();
}

Json journalRow(const JournalEntry& entry) {
    const auto since = std::chrono::duration_cast<std::chrono::nanoseconds>(entry.sinceStart);
    Json row{{"number", entry.number},
             {"time_ns", since.count()},
             {"wall", wallText(entry.wall)},
             {"card", entry.slot},
             {"direction", directionText(entry.direction)},
             {"local", toText(entry.local)},
             {"peer", toText(entry.peer)}};
    addHeader(entry, row);
    row["size"] = entry.size;
    row["hex"] = hexText(entry.bytes);
    row["card_hex"] = entry.cardBytes ? Json(hexText(*entry.cardBytes)) : Json();
    row["faults"] = entry.faults;
    row["dropped"] = entry.dropped.empty() ? Json() : Json(entry.dropped);
    return row;
}

}  // namespace ponmgr::sim
