#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <memory>
#include <string>

#include "LinkTest.h"
#include "OtherUser.h"
#include "ProcessState.h"

namespace ponmgr::test {

namespace {

class StrangerTest : public AttachedLinkTest {
protected:
    // Lets every user's messages into the queue, as an administrator might.
    void openToAll() { ASSERT_EQ(chmod(kPath, 0666), 0); }

    void expectRefusal(const SentBy& sent, uid_t user) {
        ASSERT_EQ(sent.error, 0);
        std::string text = "what was there";
        EXPECT_EQ(receiver.recv(text), -1);
        EXPECT_EQ(text, "");
        EXPECT_EQ(receiver.getErrorMessage(), "recv at /tmp/receiver.ipc: message from process " +
                                                  std::to_string(sent.process) + " of user " +
                                                  std::to_string(user) +
                                                  " refused: only root may send here");
    }
};

TEST_F(StrangerTest, AnotherUserCannotWriteToTheFileAsItIsMade) {
    PONMGR_NEEDS_OTHER_USERS();
    EXPECT_EQ(sendAs(kOtherUser, kPath, "text").error, EACCES);
}

TEST_F(StrangerTest, AMessageOfAnotherUserIsRefusedWithItsProcessAndUser) {
    PONMGR_NEEDS_OTHER_USERS();
    openToAll();
    expectRefusal(sendAs(kOtherUser, kPath, "text"), kOtherUser);
}

TEST_F(StrangerTest, ALongOrEmptyMessageOfAnotherUserIsRefusedToo) {
    PONMGR_NEEDS_OTHER_USERS();
    openToAll();
    expectRefusal(sendAs(kOtherUser, kPath, std::string(150'000, 'x')), kOtherUser);
    expectRefusal(sendAs(kOtherUser, kPath, ""), kOtherUser);
}

TEST_F(StrangerTest, TheMessagesAroundARefusedOneArrive) {
    PONMGR_NEEDS_OTHER_USERS();
    openToAll();
    EXPECT_EQ(sender.send("before"), 6);
    const auto sent = sendAs(kOtherUser, kPath, "text");
    EXPECT_EQ(sender.send("after"), 5);
    EXPECT_EQ(received(), "before");
    expectRefusal(sent, kOtherUser);
    EXPECT_EQ(received(), "after");
}

TEST_F(StrangerTest, DescriptorsThatComeWithARefusedMessageAreClosed) {
    PONMGR_NEEDS_OTHER_USERS();
    openToAll();
    const auto before = openDescriptors();
    expectRefusal(sendAs(kOtherUser, kPath, "text", true), kOtherUser);
    EXPECT_EQ(openDescriptors(), before);
}

TEST_F(StrangerTest, AProcessOfRootIsNoStranger) {
    ASSERT_EQ(sendAs(0, kPath, "from root").error, 0);
    EXPECT_EQ(received(), "from root");
}

// A receiver that runs as an ordinary user.
class OrdinaryReceiverTest : public LinkTest {
protected:
    void listen() {
        ASSERT_TRUE(receiver.createSocket());
        ASSERT_TRUE(receiver.bind(kPath)) << receiver.getErrorMessage();
        ASSERT_EQ(chmod(kPath, 0666), 0);
    }
};

TEST_F(OrdinaryReceiverTest, ItsOwnUserAndRootMaySend) {
    PONMGR_NEEDS_OTHER_USERS();
    const WorkingAs ordinary(kOtherUser);
    listen();
    ASSERT_EQ(sendAs(kOtherUser, kPath, "from its own user").error, 0);
    ASSERT_EQ(sendAs(0, kPath, "from root").error, 0);
    EXPECT_EQ(received(), "from its own user");
    EXPECT_EQ(received(), "from root");
}

TEST_F(OrdinaryReceiverTest, AThirdUserIsRefusedWithTheNamesOfWhoMaySend) {
    PONMGR_NEEDS_OTHER_USERS();
    const WorkingAs ordinary(kOtherUser);
    listen();
    const auto sent = sendAs(kThirdUser, kPath, "text");
    ASSERT_EQ(sent.error, 0);
    std::string text;
    EXPECT_EQ(receiver.recv(text), -1);
    EXPECT_EQ(receiver.getErrorMessage(),
              "recv at /tmp/receiver.ipc: message from process " + std::to_string(sent.process) +
                  " of user 65533 refused: only user 65534 and root may send here");
}

}  // namespace

}  // namespace ponmgr::test
