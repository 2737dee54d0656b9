#include <nlohmann/json.hpp>

#include <cerrno>
#include <iostream>
#include <thread>
#include <utility>

#include "sim/ControlClient.h"
#include "sim/ControlCommand.h"
#include "sim/NamedTable.h"
#include "sim/OptionValues.h"
#include "sim/PrintedResult.h"
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
    const auto hex = entry.at("hex").get<std::string>();
    line += ", hex " + hex;
    const auto size = entry.at("size").get<std::size_t>();
    if (size > hex.size() / 2) {
        line += "... of " + std::to_string(size) + " bytes";
    }
    line += faultsText(entry.at("faults"));
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

/// The error of a reply; empty when there is none.
std::string errorIn(const Json& reply) {
    const auto error = reply.find("error");
    return error == reply.end() ? "" : error->get<std::string>();
}

/// Asks for page after page until all that was wanted is there; prints it as one.
Finished showLast(const ControlCommand& command, const ControlOptions& options) {
    ControlClient client(options.controlPath);
    auto request = command.request;
    auto entries = Json::array();
    Json newest;
    const auto wanted = request.value("last", std::size_t{kUsualJournalEntries});
    while (true) {
        request["last"] = wanted - entries.size();
        const auto reply = client.request(request, command.patience);
        const auto error = errorIn(reply);
        if (!error.empty()) {
            return failure(kExitFailed, error, options.json);
        }
        for (const auto& entry : reply.at("entries")) {
            entries.push_back(entry);
        }
        request["after"] = reply.at("seen");
        newest = reply.at("newest");
        if (reply.at("seen") == reply.at("newest") || entries.size() >= wanted) {
            break;
        }
    }
    const Json all{
        {"entries", std::move(entries)}, {"seen", request["after"]}, {"newest", std::move(newest)}};
    return {kExitOk, options.json ? all.dump() + '\n' : command.print(all), ""};
}

/// Shows what is there and then what comes, until the simulator ends or nobody reads it.
Finished follow(const ControlCommand& command, const ControlOptions& options) {
    ControlClient client(options.controlPath);
    auto request = command.request;
    while (true) {
        const auto reply = client.request(request, command.patience);
        const auto error = errorIn(reply);
        if (!error.empty()) {
            return failure(kExitFailed, error, options.json);
        }
        errno = 0;
        show(reply, options.json);
        if (!std::cout.good()) {
            return unwritableOutput();
        }
        if (reply.at("entries").empty()) {
            std::this_thread::sleep_for(kFollowPause);
        }
        request["after"] = reply.at("seen");
        // "--last" is about what was there before; of what comes, all is wanted.
        request["last"] = kJournalPage;
    }
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
    command.run = options.named.contains("follow") ? follow : showLast;
    return command;
}

}  // namespace ponmgr::sim
