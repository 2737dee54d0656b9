#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "dbman/Notifications.h"

namespace ponmgr::dbman::test {

/// Notifications over an inventory of the slots 1 and 3, at a time that stands still.
class NotificationsFixture : public testing::Test {
protected:
    NotificationsFixture() {
        for (const auto& [slot, address] : makeSlotConfiguration({1, 3}, 0x7F000100, 0x7F000001)) {
            inventory.setAddress(slot, address);
        }
    }

    static std::string line(const std::string& text) {
        return "2001-09-09T01:46:40.000Z " + text + "\n";
    }

    void handle(const std::string& uri, const std::string& data) {
        notifications.handle(R"({"action":"set","uri":")" + uri + R"(","data":)" + data + "}");
    }

    /// What has been shown since the last call.
    std::string shown() {
        auto text = stream.str();
        stream.str("");
        return text;
    }

    std::uint64_t counted(const char* what) const { return counters.toJson()[what]; }
    std::uint64_t countedOf(const char* uri) const {
        return counters.toJson()["notifications"][uri];
    }

    /// The rows of one kind that were to be kept.
    template <typename Row>
    std::vector<Row> kept() const {
        std::vector<Row> result;
        for (const auto& row : rows) {
            if (const auto* found = std::get_if<Row>(&row)) {
                result.push_back(*found);
            }
        }
        return result;
    }

    Time time = Time() + std::chrono::seconds(1'000'000'000);
    std::ostringstream stream;
    Output output{stream, false, [this] { return time; }};
    Counters counters{Notifications::uris()};
    CurrentState state;
    Inventory& inventory = state.inventory;
    std::vector<HistoryRow> rows;
    int answers = 0;
    Notifications notifications{state, counters, output,
                                [this](HistoryRow row) { rows.push_back(std::move(row)); },
                                [this] { ++answers; }};
};

}  // namespace ponmgr::dbman::test
