#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>

#include "RunningSimulator.h"
#include "sim/ControlClient.h"
#include "sim/LocalSocket.h"
#include "support/OtherUsers.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

const Json kList = Json::parse(R"({"verb":"list"})");

/// A client that says exactly what it is told to.
class RawClient {
public:
    RawClient() : connection(connectTo(RunningSimulator::kControlPath)) {}

    bool say(const std::string& text) const {
        std::size_t said = 0;
        while (said < text.size()) {
            const auto size =
                send(connection.get(), text.data() + said, text.size() - said, MSG_NOSIGNAL);
            if (size <= 0) {
                return false;
            }
            said += static_cast<std::size_t>(size);
        }
        return true;
    }

    void endInput() const { shutdown(connection.get(), SHUT_WR); }

    /// Everything up to the end of the connection, or to the `lines`th line.
    std::string hear(int lines) const {
        std::string heard;
        std::array<char, 4096> buffer{};
        for (std::ptrdiff_t ends = 0; ends < lines;) {
            pollfd waiting{connection.get(), POLLIN, 0};
            if (poll(&waiting, 1, 10'000) != 1) {
                return heard + "(silence)";
            }
            const auto size = recv(connection.get(), buffer.data(), buffer.size(), 0);
            if (size <= 0) {
                return heard + "(end)";
            }
            ends += std::count(buffer.begin(), buffer.begin() + size, '\n');
            heard.append(buffer.data(), static_cast<std::size_t>(size));
        }
        return heard;
    }

private:
    FileDescriptor connection;
};

TEST(ControlSocket, RepliesToRequestsInTheirOrder) {
    const RunningSimulator running;
    ControlClient client(RunningSimulator::kControlPath);
    EXPECT_EQ(client.request(kList, 10s).at("cards").size(), 2U);
    EXPECT_TRUE(client.request({{"verb", "fly"}}, 10s).contains("error"));
    EXPECT_EQ(client.request({{"verb", "get"}, {"card", 2}}, 10s).at("slot"), 2);
}

TEST(ControlSocket, TakesSeveralLinesAtOnceAndIgnoresBlankOnes) {
    const RunningSimulator running;
    const RawClient client;
    ASSERT_TRUE(client.say("\n \r\n{\"verb\":\"get\"}\r\n{\"verb\":7}\n{\"verb\":\"set\"}\n"));
    EXPECT_EQ(client.hear(3),
              "{\"error\":\"the request has no \\\"card\\\"\"}\n"
              "{\"error\":\"\\\"verb\\\" must be a string\"}\n"
              "{\"error\":\"the request has no \\\"card\\\"\"}\n");
}

TEST(ControlSocket, TakesALastLineWithoutItsEnd) {
    const RunningSimulator running;
    const RawClient client;
    ASSERT_TRUE(client.say("{\"verb\":7}"));
    client.endInput();
    EXPECT_EQ(client.hear(2), "{\"error\":\"\\\"verb\\\" must be a string\"}\n(end)");
}

TEST(ControlSocket, RefusesALineOfMoreThan64KiB) {
    const RunningSimulator running;
    const RawClient client;
    client.say(std::string(1'000'000, 'x'));
    EXPECT_THAT(client.hear(1), HasSubstr("a line may have 65536 bytes at most"));
    EXPECT_EQ(ControlClient(RunningSimulator::kControlPath).request(kList, 10s).size(), 1U);
}

TEST(ControlSocket, RepliesToALineOfExactly64KiB) {
    const RunningSimulator running;
    const RawClient client;
    ASSERT_TRUE(client.say(std::string(65536, 'x') + "\n"));
    EXPECT_EQ(client.hear(1), "{\"error\":\"a request is one line with one JSON object\"}\n");
}

TEST(ControlSocket, IsNotHeldUpByAClientThatReadsNothing) {
    const RunningSimulator running;
    const RawClient slow;
    std::string many;
    for (int i = 0; i < 1000; ++i) {
        many += "{\"verb\":\"get\",\"card\":1}\n";
    }
    ASSERT_TRUE(slow.say(many));
    ControlClient other(RunningSimulator::kControlPath);
    EXPECT_EQ(other.request(kList, 10s).size(), 1U);
    const auto all = slow.hear(1000);
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 1000);
}

TEST(ControlSocket, OutlivesClientsThatLeaveInTheMiddle) {
    const RunningSimulator running;
    for (int i = 0; i < 200; ++i) {
        const RawClient client;
        client.say(i % 2 == 0 ? "{\"verb\":\"wait\",\"for\":\"in-service\",\"timeout_ms\":60000}\n"
                              : "{\"verb\":");
    }
    EXPECT_EQ(ControlClient(RunningSimulator::kControlPath).request(kList, 10s).size(), 1U);
}

TEST(ControlSocket, WaitEndsWhenTheLastCardComesIntoService) {
    auto options = RunningSimulator::defaults();
    options.chassis.configured = true;
    const RunningSimulator running(options);
    const Manager manager;
    manager.send("127.0.1.1", "0009 0001 0000");
    ASSERT_EQ(manager.receive(), "0009000100020000");
    const RawClient client;
    client.say("{\"verb\":\"wait\",\"for\":\"in-service\",\"timeout_ms\":60000}\n");
    manager.send("127.0.1.1", "0008 0002 0000");
    EXPECT_EQ(client.hear(1), "{\"in_service\":[1,2]}\n");
}

TEST(ControlSocket, TurnsAwayMoreSessionsThanItCanHold) {
    const RunningSimulator running;
    std::vector<RawClient> clients(ControlServer::kMostSessions);
    for (const auto& client : clients) {
        client.say("{\"verb\":7}\n");
        client.hear(1);
    }
    const RawClient onemore;
    EXPECT_EQ(onemore.hear(2), "{\"error\":\"too many sessions: 64\"}\n(end)");
}

TEST(ControlSocket, AcceptsAgainWhenThereAreDescriptorsAgain) {
    const ChassisSettings settings;
    EventLoop loop;
    Chassis chassis(settings, loop.timers(),
                    [](const Card&, Endpoint, std::span<const std::uint8_t>) { return true; });
    ControlVerbs verbs(chassis, loop.timers());
    const ControlServer server(loop, RunningSimulator::kControlPath, verbs);
    const auto runUntilSessions = [&](std::size_t sessions) {
        loop.timers().after(60s, [&] { loop.stop(); });
        loop.setAfterBatch([&, sessions] {
            if (server.sessionCount() == sessions) {
                loop.stop();
            }
        });
        loop.run();
        ASSERT_EQ(server.sessionCount(), sessions);
    };
    // The sanitizers look at a type for the first time with descriptors of their own.
    const auto earlier = connectTo(RunningSimulator::kControlPath);
    runUntilSessions(1);
    const auto client = connectTo(RunningSimulator::kControlPath);
    rlimit usual{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &usual), 0);
    const rlimit none{0, usual.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    loop.setAfterBatch(nullptr);
    loop.timers().after(5ms, [&] { loop.stop(); });
    loop.run();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &usual), 0);
    ASSERT_EQ(server.sessionCount(), 1U);
    runUntilSessions(2);
}

TEST(ControlSocket, TurnsAwayOtherUsers) {
    PONMGR_NEEDS_OTHER_USERS();
    constexpr int kStillRoot = 2;
    const RunningSimulator running;
    ASSERT_EQ(chmod(RunningSimulator::kControlPath, 0666), 0);
    const auto child = fork();
    if (child == 0) {
        if (setuid(test::kOtherUser) != 0) {
            _exit(kStillRoot);
        }
        const bool refused =
            RawClient().hear(1).find("only root and the user who runs") != std::string::npos;
        _exit(refused ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

}  // namespace
}  // namespace ponmgr::sim
