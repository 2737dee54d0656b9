// What `ctl card N ACTION` asks for.

#include <nlohmann/json.hpp>

#include <span>

#include "sim/ControlCommand.h"
#include "sim/ControlTable.h"
#include "sim/EntityAddress.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

std::string printState(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": " + reply.at("state").get<std::string>() + '\n';
}

std::string printSetting(const Json& reply) {
    return "slot " + reply.at("slot").dump() + ": done\n";
}

std::string printFibre(const Json& reply) {
    return "slot " + reply.at("slot").dump() + " port " + reply.at("port").dump() + ": fibre " +
           reply.at("fibre").get<std::string>() + '\n';
}

Json setRequest(const char* name, const Json& value) {
    return {{"verb", "set"}, {"name", name}, {"value", value}};
}

template <const char* verb>
Json plainRequest(const Words&) {
    return {{"verb", verb}};
}

template <bool muted>
Json muteRequest(const Words&) {
    return setRequest("muted", muted);
}

Json productCodeRequest(const Words& values) {
    parseProductCode("product-code", values.front());
    return setRequest("product-code", values.front());
}

Json fibreRequest(const Words& values, const char* state) {
    return {{"verb", "fibre"}, {"port", parsePonPort("port", values.front())}, {"state", state}};
}

Json cutRequest(const Words& values) {
    return fibreRequest(values, "cut");
}

Json restoreRequest(const Words& values) {
    return fibreRequest(values, "restored");
}

Json leftoverPathRequest(const Words& values) {
    return {{"verb", "set"},
            {"name", "leftover-path"},
            {"id", parseCount("id", values[0], UINT16_MAX)},
            {"usage_count", parseCount("usage count", values[1], UINT16_MAX)}};
}

constexpr char kGet[] = "get";
constexpr char kReset[] = "reset";
constexpr char kPull[] = "pull";
constexpr char kInsert[] = "insert";
constexpr char kSwap[] = "swap";

constexpr const char* kInsertOptions[] = {"product-code", "factory", "as-it-was"};
constexpr const char* kSwapOptions[] = {"product-code"};

struct CardAction {
    const char* name;
    std::size_t values;
    /// The request without its card and its options.
    Json (*request)(const Words& values);
    std::string (*print)(const Json& reply);
    /// Names of the options that it takes.
    std::span<const char* const> options{};
};

constexpr CardAction kCardActions[] = {
    {kGet, 0, plainRequest<kGet>, printDetails},
    {kReset, 0, plainRequest<kReset>, printState},
    {kPull, 0, plainRequest<kPull>, printState},
    {kInsert, 0, plainRequest<kInsert>, printState, kInsertOptions},
    {kSwap, 0, plainRequest<kSwap>, printState, kSwapOptions},
    {"mute", 0, muteRequest<true>, printSetting},
    {"unmute", 0, muteRequest<false>, printSetting},
    {"product-code", 1, productCodeRequest, printSetting},
    {"cut", 1, cutRequest, printFibre},
    {"restore", 1, restoreRequest, printFibre},
    {"leftover-path", 2, leftoverPathRequest, printSetting},
};

void addOptions(const ControlOptions& options, Json& request) {
    const auto& named = options.named;
    if (named.contains("product-code")) {
        parseProductCode("--product-code", named.at("product-code"));
        request["product_code"] = named.at("product-code");
    }
    if (named.contains("factory") && named.contains("as-it-was")) {
        throw UsageError("--factory can't be used with --as-it-was; allowed: one of the two");
    }
    for (const auto* const storage : {"factory", "as-it-was"}) {
        if (named.contains(storage)) {
            request["storage"] = storage;
        }
    }
}

}  // namespace

ControlCommand cardCommand(const ControlOptions& options) {
    const auto& words = options.words;
    if (words.size() < 3) {
        throw UsageError("usage: chassis-sim ctl card N ACTION; actions: " + namesIn(kCardActions));
    }
    const auto slot = parseSlot("card", words[1]);
    const auto& action = entryNamed<UsageError>(kCardActions, words[2], "action");
    requireCount(words, 3 + action.values,
                 std::string("card N ") + action.name + valuesUsage(action.values));
    requireNoOptions(options, {action.options.begin(), action.options.end()});
    auto request = action.request({words.begin() + 3, words.end()});
    request["card"] = slot;
    addOptions(options, request);
    return {request, action.print};
}

}  // namespace ponmgr::sim
