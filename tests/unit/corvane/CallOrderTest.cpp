#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "LinkTest.h"
#include "ProcessState.h"

namespace ponmgr::test {

namespace {

class CallOrderTest : public LinkTest {
protected:
    std::string text = "what was there";
};

TEST_F(CallOrderTest, TheErrorTextIsEmptyBeforeAnyFailure) {
    EXPECT_STREQ(sender.getErrorMessage(), "");
    ASSERT_TRUE(sender.createSocket());
    EXPECT_STREQ(sender.getErrorMessage(), "");
}

TEST_F(CallOrderTest, TheErrorTextStaysUntilTheNextFailure) {
    EXPECT_LT(sender.send("text"), 0);
    ASSERT_TRUE(sender.createSocket());
    EXPECT_STREQ(sender.getErrorMessage(), "send: there is no socket; call createSocket first");
    EXPECT_FALSE(sender.connect("/tmp/missing.ipc"));
    EXPECT_STREQ(sender.getErrorMessage(),
                 "connect to /tmp/missing.ipc: nobody listens there: No such file or directory");
}

TEST_F(CallOrderTest, BindBeforeCreateSocketFails) {
    EXPECT_FALSE(receiver.bind(kPath));
    EXPECT_STREQ(receiver.getErrorMessage(), "bind: there is no socket; call createSocket first");
    EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST_F(CallOrderTest, ConnectBeforeCreateSocketFails) {
    EXPECT_FALSE(sender.connect(kPath));
    EXPECT_STREQ(sender.getErrorMessage(), "connect: there is no socket; call createSocket first");
}

TEST_F(CallOrderTest, SendBeforeCreateSocketFails) {
    EXPECT_EQ(sender.send("text"), -1);
    EXPECT_STREQ(sender.getErrorMessage(), "send: there is no socket; call createSocket first");
}

TEST_F(CallOrderTest, RecvBeforeCreateSocketFails) {
    EXPECT_EQ(receiver.recv(text), -1);
    EXPECT_STREQ(receiver.getErrorMessage(), "recv: there is no socket; call createSocket first");
    EXPECT_EQ(text, "");
}

TEST_F(CallOrderTest, SendBeforeConnectFails) {
    ASSERT_TRUE(sender.createSocket());
    EXPECT_EQ(sender.send("text"), -1);
    EXPECT_STREQ(sender.getErrorMessage(), "send: there is no peer; call connect first");
}

TEST_F(CallOrderTest, RecvBeforeBindFails) {
    ASSERT_TRUE(receiver.createSocket());
    EXPECT_EQ(receiver.recv(text), -1);
    EXPECT_STREQ(receiver.getErrorMessage(), "recv: this socket has no path; call bind first");
    EXPECT_EQ(text, "");
}

TEST_F(CallOrderTest, RecvOfASenderFails) {
    attach();
    EXPECT_EQ(sender.recv(text), -1);
    EXPECT_STREQ(sender.getErrorMessage(), "recv: this socket has no path; call bind first");
}

TEST_F(CallOrderTest, ASecondCreateSocketFailsAndTheFirstSocketGoesOn) {
    attach();
    EXPECT_FALSE(receiver.createSocket());
    EXPECT_STREQ(receiver.getErrorMessage(), "createSocket: this object has its socket already");
    EXPECT_EQ(sender.send("text"), 4);
    EXPECT_EQ(received(), "text");
}

TEST_F(CallOrderTest, CreateSocketFailsWithTheSystemsReasonAndCanBeTriedAgain) {
    failOnce(sender);
    {
        const NoMoreDescriptors limit;
        EXPECT_FALSE(sender.createSocket());
    }
    EXPECT_STREQ(sender.getErrorMessage(), "createSocket: Too many open files");
    EXPECT_TRUE(sender.createSocket());
}

TEST_F(CallOrderTest, AnObjectThatWasNeverUsedEndsQuietly) {
    const auto before = openDescriptors();
    { const Corvane unused(2001); }
    EXPECT_EQ(openDescriptors(), before);
}

}  // namespace

}  // namespace ponmgr::test
