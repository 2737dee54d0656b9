#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "LinkTest.h"
#include "OtherUser.h"
#include "ProcessState.h"
#include "RawSocket.h"

namespace ponmgr::test {

namespace {

namespace fs = std::filesystem;

class BindTest : public LinkTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(receiver.createSocket()) << receiver.getErrorMessage();
        ASSERT_TRUE(sender.createSocket()) << sender.getErrorMessage();
    }

    // The receiver gets a message that was sent to the path it has bound.
    void expectToReceive() {
        RawSocket().send(kPath, "message");
        EXPECT_EQ(received(), "message");
    }

    void expectBindToFail(const std::string& text) {
        EXPECT_FALSE(receiver.bind(kPath));
        EXPECT_EQ(receiver.getErrorMessage(), text);
    }
};

std::string contentOf(const fs::path& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(BindTest, APathOf107BytesIsBound) {
    const auto path = "/tmp/" + std::string(102, 'p');
    ASSERT_TRUE(receiver.bind(path.c_str())) << receiver.getErrorMessage();
    RawSocket().send(path, "far away");
    EXPECT_EQ(received(), "far away");
}

TEST_F(BindTest, APathOf108BytesIsRefused) {
    const auto path = "/tmp/" + std::string(103, 'p');
    EXPECT_FALSE(receiver.bind(path.c_str()));
    EXPECT_EQ(receiver.getErrorMessage(),
              "bind " + path +
                  ": the path has 108 bytes, more than the 107 that a socket's path can have");
    EXPECT_FALSE(fs::exists(fs::symlink_status(path.substr(0, 107))));
}

TEST_F(BindTest, NoPathIsRefused) {
    EXPECT_FALSE(receiver.bind(nullptr));
    EXPECT_STREQ(receiver.getErrorMessage(), "bind: the path is empty");
    EXPECT_FALSE(receiver.bind(""));
    EXPECT_STREQ(receiver.getErrorMessage(), "bind: the path is empty");
}

TEST_F(BindTest, AMissingFolderIsNamedWithTheSystemsReason) {
    EXPECT_FALSE(receiver.bind("/tmp/missing/receiver.ipc"));
    EXPECT_STREQ(receiver.getErrorMessage(),
                 "bind /tmp/missing/receiver.ipc: No such file or directory");
}

TEST_F(BindTest, AFileInPlaceOfTheFolderIsNamedWithTheSystemsReason) {
    std::ofstream("/tmp/file") << "text";
    EXPECT_FALSE(receiver.bind("/tmp/file/receiver.ipc"));
    EXPECT_STREQ(receiver.getErrorMessage(), "bind /tmp/file/receiver.ipc: Not a directory");
}

TEST_F(BindTest, AfterAFailureAnotherPathCanBeBound) {
    EXPECT_FALSE(receiver.bind("/tmp/missing/receiver.ipc"));
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    expectToReceive();
}

TEST_F(BindTest, TheSocketFileOfAProcessThatEndedIsReplaced) {
    leaveStaleSocket(kPath);
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    expectToReceive();
}

TEST_F(BindTest, TheFileOfAStreamSocketThatEndedIsReplaced) {
    leaveStaleSocket(kPath, SOCK_STREAM);
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    expectToReceive();
}

TEST_F(BindTest, APathThatAnotherObjectListensAtIsRefusedAndStaysWithIt) {
    ASSERT_TRUE(receiver.bind(kPath));
    EXPECT_FALSE(sender.bind(kPath));
    EXPECT_STREQ(sender.getErrorMessage(), "bind /tmp/receiver.ipc: a process is listening there");
    expectToReceive();
}

TEST_F(BindTest, ProbingAListenerSendsItNothing) {
    RawSocket listener;
    listener.bind(kPath);
    EXPECT_FALSE(receiver.bind(kPath));
    RawSocket().send(kPath, "first message");
    EXPECT_EQ(listener.receive(), "first message");
}

TEST_F(BindTest, APathWithAStreamListenerIsRefused) {
    RawSocket listener(SOCK_STREAM);
    listener.bind(kPath);
    listener.listen();
    expectBindToFail("bind /tmp/receiver.ipc: a process is listening there");
    EXPECT_TRUE(fs::is_socket(kPath));
}

TEST_F(BindTest, APathWhoseListenerTalksToSomebodyElseOnlyIsRefused) {
    ASSERT_TRUE(sender.bind("/tmp/other.ipc"));
    RawSocket listener;
    listener.bind(kPath);
    listener.connect("/tmp/other.ipc");
    expectBindToFail("bind /tmp/receiver.ipc: a process is listening there");
    EXPECT_TRUE(fs::is_socket(kPath));
}

TEST_F(BindTest, ARegularFileIsLeftAlone) {
    std::ofstream(kPath) << "precious";
    expectBindToFail("bind /tmp/receiver.ipc: the file there is no socket and is left alone");
    EXPECT_EQ(contentOf(kPath), "precious");
}

TEST_F(BindTest, AFolderIsLeftAlone) {
    fs::create_directory(kPath);
    expectBindToFail("bind /tmp/receiver.ipc: the file there is no socket and is left alone");
    EXPECT_TRUE(fs::is_directory(kPath));
}

TEST_F(BindTest, ASymbolicLinkIsLeftAloneEvenToASocketNobodyListensAt) {
    leaveStaleSocket("/tmp/target.ipc");
    fs::create_symlink("/tmp/target.ipc", kPath);
    expectBindToFail("bind /tmp/receiver.ipc: the file there is no socket and is left alone");
    EXPECT_EQ(fs::read_symlink(kPath), "/tmp/target.ipc");
    EXPECT_TRUE(fs::is_socket("/tmp/target.ipc"));
}

TEST_F(BindTest, ASymbolicLinkToNothingIsLeftAlone) {
    fs::create_symlink("/tmp/nothing.ipc", kPath);
    expectBindToFail("bind /tmp/receiver.ipc: the file there is no socket and is left alone");
    EXPECT_TRUE(fs::is_symlink(kPath));
}

TEST_F(BindTest, ASecondBindOfOneObjectIsRefusedAndTheFirstGoesOn) {
    ASSERT_TRUE(receiver.bind(kPath));
    EXPECT_FALSE(receiver.bind("/tmp/second.ipc"));
    EXPECT_STREQ(receiver.getErrorMessage(),
                 "bind /tmp/second.ipc: this socket is bound to /tmp/receiver.ipc already");
    EXPECT_FALSE(fs::exists("/tmp/second.ipc"));
    expectToReceive();
}

TEST_F(BindTest, ASocketThatCannotBeProbedIsLeftAlone) {
    leaveStaleSocket(kPath);
    failOnce(receiver);
    {
        const NoMoreDescriptors limit;
        EXPECT_FALSE(receiver.bind(kPath));
    }
    EXPECT_STREQ(receiver.getErrorMessage(),
                 "bind /tmp/receiver.ipc: no socket to probe the path with: Too many open files");
    EXPECT_TRUE(fs::is_socket(kPath));
}

TEST_F(BindTest, TheSocketOfAnotherUserThatCannotBeProbedIsLeftAlone) {
    PONMGR_NEEDS_OTHER_USERS();
    leaveStaleSocket(kPath);
    ASSERT_EQ(chmod(kPath, 0600), 0);
    const WorkingAs other(kOtherUser);
    expectBindToFail(
        "bind /tmp/receiver.ipc: can't find out whether a process listens there: Permission "
        "denied");
    EXPECT_TRUE(fs::is_socket(kPath));
}

TEST_F(BindTest, AStaleSocketThatCannotBeRemovedIsNamedWithTheSystemsReason) {
    PONMGR_NEEDS_OTHER_USERS();
    leaveStaleSocket(kPath);
    ASSERT_EQ(chmod(kPath, 0666), 0);
    const WorkingAs other(kOtherUser);
    expectBindToFail(
        "bind /tmp/receiver.ipc: can't remove the file of a process that has ended: Operation not "
        "permitted");
}

TEST_F(BindTest, AFolderWithoutPermissionIsNamedWithTheSystemsReason) {
    PONMGR_NEEDS_OTHER_USERS();
    fs::create_directory("/tmp/closed");
    fs::permissions("/tmp/closed", fs::perms::owner_all);
    const WorkingAs other(kOtherUser);
    EXPECT_FALSE(receiver.bind("/tmp/closed/receiver.ipc"));
    EXPECT_STREQ(receiver.getErrorMessage(), "bind /tmp/closed/receiver.ipc: Permission denied");
}

TEST_F(BindTest, TheDestructorRemovesThePath) {
    auto ending = std::make_unique<Corvane>(2010);
    ASSERT_TRUE(ending->createSocket());
    ASSERT_TRUE(ending->bind(kPath));
    EXPECT_TRUE(fs::is_socket(kPath));
    ending.reset();
    EXPECT_FALSE(fs::exists(fs::symlink_status(kPath)));
}

TEST_F(BindTest, TheDestructorLeavesThePathOfASuccessor) {
    auto ending = std::make_unique<Corvane>(2010);
    ASSERT_TRUE(ending->createSocket());
    ASSERT_TRUE(ending->bind(kPath));
    fs::remove(kPath);
    ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
    ending.reset();
    ASSERT_TRUE(fs::is_socket(kPath));
    expectToReceive();
}

TEST_F(BindTest, TheDestructorLeavesAFileThatHasTakenThePath) {
    auto ending = std::make_unique<Corvane>(2010);
    ASSERT_TRUE(ending->createSocket());
    ASSERT_TRUE(ending->bind(kPath));
    fs::remove(kPath);
    std::ofstream(kPath) << "precious";
    ending.reset();
    EXPECT_EQ(contentOf(kPath), "precious");
}

TEST_F(BindTest, TheDestructorOfAnObjectWhoseBindFailedLeavesThePath) {
    leaveStaleSocket(kPath);
    std::make_unique<Corvane>(2010)->createSocket();
    EXPECT_TRUE(fs::is_socket(kPath));
    RawSocket listener;
    fs::remove(kPath);
    listener.bind(kPath);
    auto failing = std::make_unique<Corvane>(2010);
    ASSERT_TRUE(failing->createSocket());
    ASSERT_FALSE(failing->bind(kPath));
    failing.reset();
    EXPECT_TRUE(fs::is_socket(kPath));
}

}  // namespace

}  // namespace ponmgr::test
