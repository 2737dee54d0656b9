#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "CapturedOutput.h"
#include "dbman/CommandLine.h"
#include "dbman/LocalSocket.h"
#include "dbman/Serve.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman::test {

/// A dbman with the slots 1 and 3, run by the test's own process, and what it shows.
class RunningServer {
public:
    explicit RunningServer(bool quiet = false) : server(options(quiet), output.stream()) {
        server.start();
        EXPECT_TRUE(waitToShow("\n"));
    }

    static ServeOptions options(bool quiet = false) {
        using std::chrono::milliseconds;
        ServeOptions result;
        result.configuration = makeSlotConfiguration({1, 3}, 0x7F000100, 0x7F000001);
        result.controlPath = kDefaultControlPath;
        result.quiet = quiet;
        result.announces = false;
        result.store.file = "/tmp/dbman.db";
        result.senderTiming = {milliseconds(1), milliseconds(50)};
        // What a daemon takes it takes, however busy the machine is.
        result.commandTiming.answerLimit = std::chrono::minutes(1);
        return result;
    }

    bool waitToShow(const std::string& part) const {
        return ponmgr::test::waitFor([&] { return output.contains(part); });
    }

    CapturedOutput output;
    Server server;
};

/// One run of the program and what came of it.
struct Outcome {
    ExitCode code;
    std::string out;
    std::string err;
};

inline Outcome runProgram(const std::vector<std::string>& arguments) {
    CapturedOutput out;
    CapturedOutput err;
    const auto code = runDbman(arguments, out.stream(), err.stream());
    return {code, out.text(), err.text()};
}

}  // namespace ponmgr::dbman::test
