#pragma once

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "dbman/ControlServer.h"
#include "dbman/Json.h"
#include "dbman/LocalSocket.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

/// Answers by the commands that they are for.
using Answers = std::map<std::string, std::string>;

/// Stands where a running dbman would: answers each command with the text that it was given for it
/// and keeps the requests.
class ScriptedDbman {
public:
    /// Clients can connect as soon as it is there; they get their answers once it is started.
    explicit ScriptedDbman(Answers answersByCommand = {})
        : answers(std::move(answersByCommand)),
          server(std::make_unique<ControlServer>(
              kDefaultControlPath, [this](const std::string& line) { return answer(line); },
              [](const std::string&) {})) {
        server->listen();
    }

    void start() { server->start(); }

    void script(const std::string& command, const std::string& text) {
        const std::lock_guard lock(mutex);
        answers[command] = text;
    }

    std::vector<std::string> requests() const {
        const std::lock_guard lock(mutex);
        return received;
    }

    bool waitForRequest(const std::string& request) const {
        return ponmgr::test::waitFor([&] {
            const auto all = requests();
            return std::find(all.begin(), all.end(), request) != all.end();
        });
    }

private:
    std::string answer(const std::string& line) {
        const std::lock_guard lock(mutex);
        received.push_back(line);
        const auto found = answers.find(stringMember(parseJson(line), "command"));
        return found == answers.end() ? R"({"error":"not scripted"})" : found->second;
    }

    mutable std::mutex mutex;
    // Guarded by mutex.
    Answers answers;
    std::vector<std::string> received;

    // Last, so that its thread ends before the rest.
    std::unique_ptr<ControlServer> server;
};

}  // namespace ponmgr::dbman::test
