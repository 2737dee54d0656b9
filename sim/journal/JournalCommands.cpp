#include <nlohmann/json.hpp>

#include <iostream>
#include <thread>

#include "sim/ControlClient.h"
#include "sim/ControlCommand.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/journal/Journal.h"
#include "sim/journal/JournalVerbs.h"

namespace ponmgr::sim {

namespace {

/// From one question to the next while nothing new has passed.
constexpr auto kFollowPause = std::chrono::milliseconds(100);

std::string secondsText(const Json& nanoseconds) {
    constexpr std::uint64_t kSecond = 1'000'000'000;
    const auto time = nanoseconds.get<std::uint64_t>();
    const auto fraction = std::to_string(kSecond + time % kSecond).substr(1);
    return std::to_string(time / kSecond) + '.' + fraction;
}

std::string faultsText(const Json& ids) {
    std::vector<std::string> words;
    for (const auto& id : ids) {
        words.push_back(id.dump());
    }
    return words.empty() ? "" : ", faults " + joined(words);
}

std::string entryLine(const Json& entry) {
    const bool toCard = entry.at("direction") == "in";
    std::string line = entry.at("number").dump() + "  " + secondsText(entry.at("time_ns")) +
                       "  slot " + entry.at("card").dump() + (toCard ? " <- " : " -> ") +
                       entry.at("peer").get<std::string>() + ' ';
    if (entry.at("id").is_null()) {
        line += "too short for an id";
    } else {
        line += entry.at("name").get<std::string>() + " (" + entry.at("id").dump() + ") ctag " +
                entry.at("ctag").dump();
    }
    line += ", hex " + entry.at("hex").get<std::string>() + faultsText(entry.at("faults"));
    if (entry.at("dropped").is_string()) {
        line += ", dropped: " + entry.at("dropped").get<std::string>();
    }
    return line + '\n';
}

std::string printEntries(const Json& reply) {
    std::string text;
    for (const auto& entry : reply.at("entries")) {
        text += entryLine(entry);
    }
    return text;
}

void show(const Json& reply, bool json) {
    if (!json) {
        std::cout << printEntries(reply);
    }
    for (const auto& entry : reply.at("entries")) {
        if (json) {
            std::cout << entry.dump() << '\n';
        }
    }
    std::cout << std::flush;
}

/// Shows what is there and then what comes, until the simulator ends or nobody reads it.
Finished follow(const ControlCommand& command, const ControlOptions& options) {
    ControlClient client(options.controlPath);
    auto request = command.request;
    while (std::cout.good()) {
        const auto reply = client.request(request, command.patience);
        const auto error = reply.find("error");
        if (error != reply.end()) {
            return failure(kExitFailed, error->get<std::string>(), options.json);
        }
        show(reply, options.json);
        if (reply.at("entries").empty()) {
            std::this_thread::sleep_for(kFollowPause);
        }
        request["after"] = reply.at("seen");
    }
    return {kExitOk, "", ""};
}

std::uint32_t parseLast(const std::string& text) {
    return parseCount("--last", text, Journal::kLargestCapacity);
}

}  // namespace

ControlCommand journalCommand(const ControlOptions& options) {
    requireCount(options.words, 1, "journal [--card N] [--fault ID] [--last N] [--follow]");
    requireNoOptions(options, {"card", "fault", "last", "follow"});
    Json request{{"verb", "journal"}};
    for (const auto& [name, text] : options.named) {
        if (name == "card" && text != "all") {
            request["card"] = parseSlot("--card", text);
        } else if (name == "fault") {
            request["fault"] = parseCount("--fault", text, UINT32_MAX);
        } else if (name == "last") {
            request["last"] = parseLast(text);
        }
    }
    ControlCommand command{request, printEntries};
    if (options.named.contains("follow")) {
        command.run = follow;
    }
    return command;
}

}  // namespace ponmgr::sim
