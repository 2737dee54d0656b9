#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "LinkTest.h"
#include "OtherUser.h"
#include "ProcessState.h"
#include "RawSocket.h"

namespace ponmgr::test {

namespace {

class ConnectTest : public LinkTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(sender.createSocket()) << sender.getErrorMessage();
        startListener();
    }

    void startListener() {
        listener = std::make_unique<Corvane>(2010);
        ASSERT_TRUE(listener->createSocket()) << listener->getErrorMessage();
        ASSERT_TRUE(listener->bind(kPath)) << listener->getErrorMessage();
    }

    // Ends as a process does that is killed: its file stays.
    void killListener() {
        listener.reset();
        leaveStaleSocket(kPath);
    }

    void expectToTravel(const std::string& text) {
        EXPECT_EQ(sender.send(text), static_cast<ssize_t>(text.size())) << sender.getErrorMessage();
        std::string arrived;
        EXPECT_GE(listener->recv(arrived), 0) << listener->getErrorMessage();
        EXPECT_EQ(arrived, text);
    }

    void expectConnectToFail(const std::string& text) {
        EXPECT_FALSE(sender.connect(kPath));
        EXPECT_EQ(sender.getErrorMessage(), text);
    }

    std::unique_ptr<Corvane> listener;
};

TEST_F(ConnectTest, AListenerIsFound) {
    ASSERT_TRUE(sender.connect(kPath)) << sender.getErrorMessage();
    expectToTravel("message");
}

TEST_F(ConnectTest, APathWithoutAFileFails) {
    listener.reset();
    expectConnectToFail(
        "connect to /tmp/receiver.ipc: nobody listens there: No such file or directory");
}

TEST_F(ConnectTest, TheFileOfAListenerThatHasEndedFails) {
    killListener();
    expectConnectToFail("connect to /tmp/receiver.ipc: nobody listens there: Connection refused");
}

TEST_F(ConnectTest, AFileThatIsNoSocketFails) {
    listener.reset();
    std::ofstream(kPath) << "text";
    expectConnectToFail("connect to /tmp/receiver.ipc: nobody listens there: Connection refused");
}

TEST_F(ConnectTest, AStreamListenerFailsWithTheSystemsReason) {
    listener.reset();
    RawSocket stream(SOCK_STREAM);
    stream.bind(kPath);
    stream.listen();
    expectConnectToFail("connect to /tmp/receiver.ipc: Protocol wrong type for socket");
}

TEST_F(ConnectTest, AListenerThatTheUserMayNotWriteToFailsWithTheSystemsReason) {
    PONMGR_NEEDS_OTHER_USERS();
    const WorkingAs other(kOtherUser);
    expectConnectToFail("connect to /tmp/receiver.ipc: Permission denied");
}

TEST_F(ConnectTest, APathThatIsTooLongFails) {
    const std::string path(200, 'p');
    EXPECT_FALSE(sender.connect(path.c_str()));
    EXPECT_EQ(sender.getErrorMessage(),
              "connect " + path +
                  ": the path has 200 bytes, more than the 107 that a socket's path can have");
}

TEST_F(ConnectTest, NoPathFails) {
    EXPECT_FALSE(sender.connect(nullptr));
    EXPECT_STREQ(sender.getErrorMessage(), "connect: the path is empty");
    EXPECT_FALSE(sender.connect(""));
    EXPECT_STREQ(sender.getErrorMessage(), "connect: the path is empty");
}

TEST_F(ConnectTest, APeerThatCannotBeProbedFails) {
    failOnce(sender);
    {
        const NoMoreDescriptors limit;
        EXPECT_FALSE(sender.connect(kPath));
    }
    EXPECT_STREQ(
        sender.getErrorMessage(),
        "connect to /tmp/receiver.ipc: no socket to probe the path with: Too many open files");
}

TEST_F(ConnectTest, APeerThatWasStartedAgainIsFoundByTheNextSend) {
    ASSERT_TRUE(sender.connect(kPath));
    expectToTravel("to the first");
    listener.reset();
    startListener();
    expectToTravel("to the second");
}

TEST_F(ConnectTest, APeerThatWasKilledAndStartedAgainIsFoundByTheNextSend) {
    ASSERT_TRUE(sender.connect(kPath));
    expectToTravel("to the first");
    killListener();
    startListener();
    expectToTravel("to the second");
}

TEST_F(ConnectTest, ASendWhileThePeerIsAwayFailsAndTheNextAfterItsReturnArrives) {
    ASSERT_TRUE(sender.connect(kPath));
    listener.reset();
    EXPECT_EQ(sender.send("lost"), -1);
    EXPECT_STREQ(sender.getErrorMessage(),
                 "send to /tmp/receiver.ipc: nobody listens there: No such file or directory");
    leaveStaleSocket(kPath);
    EXPECT_EQ(sender.send("lost too"), -1);
    EXPECT_STREQ(sender.getErrorMessage(),
                 "send to /tmp/receiver.ipc: nobody listens there: Connection refused");
    startListener();
    expectToTravel("arrives");
}

TEST_F(ConnectTest, AListenerOfAnotherUserIsRefused) {
    PONMGR_NEEDS_OTHER_USERS();
    RawSocket stranger;
    stranger.bind("/tmp/stranger.ipc");
    ASSERT_EQ(chown("/tmp/stranger.ipc", kOtherUser, kOtherUser), 0);
    EXPECT_FALSE(sender.connect("/tmp/stranger.ipc"));
    EXPECT_STREQ(sender.getErrorMessage(),
                 "connect to /tmp/stranger.ipc: the file there belongs to user 65534, who is not "
                 "trusted");
}

TEST_F(ConnectTest, ALinkOfAnotherUserToAListenerIsRefused) {
    PONMGR_NEEDS_OTHER_USERS();
    ASSERT_EQ(symlink(kPath, "/tmp/link.ipc"), 0);
    ASSERT_EQ(lchown("/tmp/link.ipc", kOtherUser, kOtherUser), 0);
    EXPECT_FALSE(sender.connect("/tmp/link.ipc"));
    EXPECT_STREQ(sender.getErrorMessage(),
                 "connect to /tmp/link.ipc: the file there belongs to user 65534, who is not "
                 "trusted");
}

TEST_F(ConnectTest, AStrangersSocketInThePlaceOfThePeersGetsNothing) {
    PONMGR_NEEDS_OTHER_USERS();
    ASSERT_TRUE(sender.connect(kPath));
    ASSERT_EQ(chown(kPath, kOtherUser, kOtherUser), 0);
    EXPECT_EQ(sender.send("secret"), -1);
    EXPECT_STREQ(sender.getErrorMessage(),
                 "send to /tmp/receiver.ipc: the file there belongs to user 65534, who is not "
                 "trusted");
    ASSERT_EQ(chown(kPath, 0, 0), 0);
    expectToTravel("message");
}

TEST_F(ConnectTest, AnotherConnectChangesThePeer) {
    RawSocket other;
    other.bind("/tmp/other.ipc");
    ASSERT_TRUE(sender.connect("/tmp/other.ipc"));
    ASSERT_TRUE(sender.connect(kPath));
    expectToTravel("message");
}

TEST_F(ConnectTest, AConnectThatFailsKeepsThePeer) {
    ASSERT_TRUE(sender.connect(kPath));
    EXPECT_FALSE(sender.connect("/tmp/missing.ipc"));
    expectToTravel("message");
}

TEST_F(ConnectTest, ConnectSendsThePeerNothing) {
    ASSERT_TRUE(sender.connect(kPath));
    expectToTravel("the first message");
}

}  // namespace

}  // namespace ponmgr::test
