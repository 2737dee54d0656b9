#include "sim/ControlTable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>
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
            plain(card.at("onus_total")),
            plain(card.at("onus_discovered")),
            plain(card.at("onus_provisioned")),
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

Row onuRowOf(const Json& onu) {
    return {plain(onu.at("onu")),
            plain(onu.at("mac")),
            plain(onu.at("port")),
            plain(onu.at("state")),
            word(onu.at("known"), "yes", "no"),
            word(onu.at("provisioned"), "yes", "no"),
            word(onu.at("ethernet_up"), "up", "down"),
            plain(onu.at("vlan"))};
}

std::string printTable(Row heading, const Json& entries, Row (*rowOfEntry)(const Json& entry)) {
    std::vector<Row> rows{std::move(heading)};
    for (const auto& entry : entries) {
        rows.push_back(rowOfEntry(entry));
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

}  // namespace

std::string printCards(const Json& reply) {
    return printTable({"slot", "address", "state", "nvs", "marker", "enabled", "domains", "onus",
                       "discovered", "provisioned", "requests", "muted"},
                      reply.at("cards"), rowOf);
}

std::string printOnus(const Json& reply) {
    return printTable({"onu", "mac", "port", "state", "known", "provisioned", "ethernet", "vlan"},
                      reply.at("onus"), onuRowOf);
}

std::string printDetails(const Json& reply) {
    std::string text;
    for (const auto& [name, value] : reply.items()) {
        text += name + ": " + plain(value) + '\n';
    }
    return text;
}

}  // namespace ponmgr::sim
