#include "sim/ControlTable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <vector>

namespace ponmgr::sim {

namespace {

using Row = std::vector<std::string>;

std::string plain(const Json& value) {
    return value.is_string() ? value.get<std::string>() : value.dump();
}

std::string word(const Json& value, const char* ifTrue, const char* ifFalse) {
    return value.get<bool>() ? ifTrue : ifFalse;
}

Row rowOf(const Json& card) {
    return {plain(card.at("slot")),
            plain(card.at("address")),
            plain(card.at("state")),
            word(card.at("nvs"), "on", "off"),
            word(card.at("marker"), "yes", "no"),
            word(card.at("enabled"), "yes", "no"),
            std::to_string(card.at("domains").size()),
            plain(card.at("requests")),
            word(card.at("muted"), "yes", "no")};
}

std::vector<std::size_t> columnWidths(const std::vector<Row>& rows) {
    std::vector<std::size_t> widths(rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths.at(i) = std::max(widths.at(i), row[i].size());
        }
    }
    return widths;
}

}  // namespace

std::string printCards(const Json& reply) {
    std::vector<Row> rows{
        {"slot", "address", "state", "nvs", "marker", "enabled", "domains", "requests", "muted"}};
    for (const auto& card : reply.at("cards")) {
        rows.push_back(rowOf(card));
    }
    const auto widths = columnWidths(rows);
    std::string text;
    for (const auto& row : rows) {
        for (std::size_t i = 0; i + 1 < row.size(); ++i) {
            text += row[i] + std::string(widths.at(i) + 2 - row[i].size(), ' ');
        }
        text += row.back() + '\n';
    }
    return text;
}

std::string printDetails(const Json& reply) {
    std::string text;
    for (const auto& [name, value] : reply.items()) {
        text += name + ": " + plain(value) + '\n';
    }
    return text;
}

}  // namespace ponmgr::sim
