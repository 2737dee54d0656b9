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
            word(card.at("muted"), "yes", "no"),
            plain(card.at("faults"))};
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
            plain(onu.at("slot")),
            plain(onu.at("port")),
            plain(onu.at("state")),
            word(onu.at("known"), "yes", "no"),
            word(onu.at("provisioned"), "yes", "no"),
            word(onu.at("ethernet_up"), "up", "down"),
            plain(onu.at("vlan"))};
}

Row truthOfCard(const Json& card) {
    return {plain(card.at("slot")), plain(card.at("mac")), word(card.at("online"), "yes", "no"),
            word(card.at("managed"), "yes", "no")};
}

Row truthOfOnu(const Json& onu) {
    return {plain(onu.at("onu")), plain(onu.at("mac")), plain(onu.at("slot")),
            plain(onu.at("port")), word(onu.at("online"), "yes", "no")};
}

Row faultRowOf(const Json& fault) {
    std::string options;
    for (const auto& [name, value] : fault.at("options").items()) {
        options += (options.empty() ? "" : " ") + name + '=' + plain(value);
    }
    return {plain(fault.at("fault")),   plain(fault.at("kind")),      plain(fault.at("card")),
            plain(fault.at("request")), plain(fault.at("direction")), plain(fault.at("state")),
            plain(fault.at("hits")),    plain(fault.at("passed_by")), options};
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
                       "discovered", "provisioned", "requests", "muted", "faults"},
                      reply.at("cards"), rowOf);
}

std::string printOnus(const Json& reply) {
    return printTable(
        {"onu", "mac", "slot", "port", "state", "known", "provisioned", "ethernet", "vlan"},
        reply.at("onus"), onuRowOf);
}

std::string printTruth(const Json& reply) {
    return printTable({"slot", "mac", "online", "managed"}, reply.at("cards"), truthOfCard) + '\n' +
           printTable({"onu", "mac", "slot", "port", "online"}, reply.at("onus"), truthOfOnu);
}

std::string printFaults(const Json& reply) {
    return printTable(
        {"fault", "kind", "card", "request", "direction", "state", "hits", "passed by", "options"},
        reply.at("faults"), faultRowOf);
}

std::string printDetails(const Json& reply) {
    std::string text;
    for (const auto& [name, value] : reply.items()) {
        text += name + ": " + plain(value) + '\n';
    }
    return text;
}

}  // namespace ponmgr::sim
