#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>

#include "RunningSimulator.h"
#include "sim/LocalSocket.h"
#include "sim/Simulator.h"
#include "support/WaitFor.h"

namespace ponmgr::sim {
namespace {

using testing::HasSubstr;

std::string constructionError(const ServeOptions& options) {
    try {
        const Simulator simulator(options);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(Simulator, AnswersFromTheAddressOfEachCard) {
    const RunningSimulator running;
    const Manager manager;
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000100020000");
    manager.send("127.0.1.2", "03e7 0002 0000");
    EXPECT_EQ(manager.receive(), "03e7000200020001");
}

TEST(Simulator, AnswersAfterTheLatencyAndReportsReadyAfterAReset) {
    auto options = RunningSimulator::defaults();
    options.chassis.latency = std::chrono::microseconds(500);
    options.chassis.resetTime = std::chrono::milliseconds(1);
    const RunningSimulator running(options);
    const Manager manager;
    manager.send("127.0.1.1", "0006 0001 0000");
    EXPECT_EQ(manager.receive(), "0006000100020000");
    EXPECT_EQ(manager.receive().substr(0, 24), "80000000005b000db6000001");
}

TEST(Simulator, SurvivesDatagramsOfEverySize) {
    const RunningSimulator running;
    const Manager manager;
    for (const std::size_t size : {0UL, 1UL, 5UL, 1500UL, 9000UL, 60000UL}) {
        manager.send("127.0.1.1", std::string(2 * size, '8'));
    }
    manager.send("127.0.1.1", "0008 0001 0000");
    EXPECT_EQ(manager.receive(), "0008000100020000");
}

TEST(Simulator, NamesTheCardAndTheAddressThatIsBusy) {
    const RunningSimulator running;
    auto options = RunningSimulator::defaults();
    options.chassis.slots = {2};
    options.controlPath = "/tmp/other.ctl";
    EXPECT_EQ(constructionError(options),
              "can't bind the card in slot 2 to 127.0.1.2:14113: Address already in use");
}

TEST(Simulator, LeavesAControlSocketAloneThatSomebodyListensAt) {
    const RunningSimulator running;
    auto options = RunningSimulator::defaults();
    options.chassis.port = 14114;
    EXPECT_EQ(constructionError(options), "somebody listens at /tmp/sim.ctl already");
    EXPECT_NO_THROW(connectTo("/tmp/sim.ctl"));
}

TEST(Simulator, ReplacesTheControlSocketOfOneThatHasDied) {
    // Closing a listening socket leaves its file behind, as a killed process does.
    { const auto left = listenAt("/tmp/sim.ctl"); }
    ASSERT_TRUE(std::filesystem::exists("/tmp/sim.ctl"));
    const RunningSimulator running;
    EXPECT_NO_THROW(connectTo("/tmp/sim.ctl"));
}

TEST(Simulator, LeavesAFileAloneThatIsNoSocket) {
    std::ofstream("/tmp/sim.ctl") << "precious";
    EXPECT_EQ(constructionError(RunningSimulator::defaults()),
              "/tmp/sim.ctl exists and is no socket");
    EXPECT_EQ(std::filesystem::file_size("/tmp/sim.ctl"), 8U);
    std::filesystem::remove("/tmp/sim.ctl");
}

TEST(Simulator, MakesItsControlSocketForOwnerAndGroupAndRemovesIt) {
    {
        const RunningSimulator running;
        struct stat status {};
        ASSERT_EQ(stat("/tmp/sim.ctl", &status), 0);
        EXPECT_EQ(status.st_mode & 07777U, 0660U);
    }
    EXPECT_FALSE(std::filesystem::exists("/tmp/sim.ctl"));
}

/// What the child does: tells through `descriptor` when it is ready, serves, and returns its
/// status.
int serveAndReport(int descriptor) {
    prepareSignals();
    try {
        Simulator simulator(RunningSimulator::defaults());
        const auto line = simulator.readyLine();
        const bool told = write(descriptor, line.data(), line.size()) > 0;
        simulator.run();
        return told ? 0 : 1;
    } catch (const std::exception&) {
        return 2;
    }
}

class SimulatorProcess : public testing::TestWithParam<int> {};

TEST_P(SimulatorProcess, EndsCleanlyOnASignal) {
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const FileDescriptor readEnd(ends[0], "pipe");
    FileDescriptor writeEnd(ends[1], "pipe");
    const auto child = fork();
    if (child == 0) {
        _exit(serveAndReport(writeEnd.get()));
    }
    ASSERT_GT(child, 0);
    // So that a child that has died ends the wait for its line.
    writeEnd = FileDescriptor();
    std::array<char, 200> line{};
    const auto size = read(readEnd.get(), line.data(), line.size());
    EXPECT_EQ(std::string(line.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0))),
              "chassis-sim ready: slots 1,2 at 127.0.1.0 + slot, port 14113, control /tmp/sim.ctl, "
              "seed 1");
    EXPECT_TRUE(std::filesystem::exists("/tmp/sim.ctl"));
    kill(child, GetParam());
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
    EXPECT_FALSE(std::filesystem::exists("/tmp/sim.ctl"));
}

INSTANTIATE_TEST_SUITE_P(Signals, SimulatorProcess, testing::Values(SIGINT, SIGTERM),
                         [](const auto& number) {
                             return number.param == SIGINT ? "Interrupt" : "Terminate";
                         });

/// Serves with a standard output that nobody reads from, and says first that it is ready.
int serveWithoutReader(int ready, int output) {
    prepareSignals();
    auto options = RunningSimulator::defaults();
    options.verbose = true;
    if (dup2(output, STDOUT_FILENO) < 0) {
        return 3;
    }
    Simulator simulator(options);
    const bool told = write(ready, "r", 1) == 1;
    simulator.run();
    return told ? 0 : 1;
}

TEST(Simulator, ServesAndEndsThoughNobodyReadsItsOutput) {
    std::array<int, 2> full{};
    std::array<int, 2> ready{};
    ASSERT_EQ(pipe2(full.data(), O_CLOEXEC), 0);
    ASSERT_EQ(pipe2(ready.data(), O_CLOEXEC), 0);
    const FileDescriptor ends[] = {
        {full[0], "pipe"}, {full[1], "pipe"}, {ready[0], "pipe"}, {ready[1], "pipe"}};
    const std::string filling(static_cast<std::size_t>(fcntl(full[1], F_GETPIPE_SZ)), 'x');
    ASSERT_EQ(write(full[1], filling.data(), filling.size()), static_cast<ssize_t>(filling.size()));
    const auto child = fork();
    if (child == 0) {
        _exit(serveWithoutReader(ready[1], full[1]));
    }
    char byte = 0;
    ASSERT_EQ(read(ready[0], &byte, 1), 1);
    const Manager manager;
    for (int i = 0; i < 200; ++i) {
        manager.send("127.0.1.1", "0008 0001 0000");
        ASSERT_EQ(manager.receive(), "0008000100020000") << i;
    }
    kill(child, SIGTERM);
    int status = -1;
    const bool ended = test::waitFor([&] { return waitpid(child, &status, WNOHANG) == child; });
    EXPECT_TRUE(ended);
    if (!ended) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
    }
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
}

TEST(Simulator, LeavesTheControlSocketOfTheOneThatHasTakenItsPlace) {
    FileDescriptor other;
    {
        const RunningSimulator running;
        std::filesystem::remove("/tmp/sim.ctl");
        other = listenAt("/tmp/sim.ctl");
    }
    EXPECT_NO_THROW(connectTo("/tmp/sim.ctl"));
    std::filesystem::remove("/tmp/sim.ctl");
}

TEST(CardSockets, AreSharedAndClosedWithTheLastOwner) {
    constexpr Endpoint kPlace{0x7F000109, 14113};
    CardSockets sockets;
    auto first = sockets.open(kPlace);
    auto second = sockets.open(kPlace);
    EXPECT_EQ(first, second);
    EXPECT_EQ(sockets.count(), 1U);
    first.reset();
    EXPECT_TRUE(sockets.send(kPlace, {0x7F000001, 9}, {}));
    second.reset();
    EXPECT_EQ(sockets.count(), 0U);
    EXPECT_FALSE(sockets.send(kPlace, {0x7F000001, 9}, {}));
    EXPECT_NO_THROW(UdpEndpoint{kPlace});
}

}  // namespace
}  // namespace ponmgr::sim
