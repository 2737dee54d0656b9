#include <gtest/gtest.h>
#include <sys/socket.h>

#include <string>

#include "LinkTest.h"
#include "ProcessState.h"

namespace ponmgr::test {

namespace {

class SendLimitTest : public AttachedLinkTest {
protected:
    // Gives the sender the smallest send buffer there is, as a system with a low limit does.
    void shrinkSendBuffer() {
        const auto before = openDescriptors();
        ASSERT_TRUE(limited.createSocket());
        for (const int descriptor : openDescriptors()) {
            if (before.count(descriptor) == 0) {
                const int least = 1;
                socklen_t length = sizeof size;
                ASSERT_EQ(setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &least, sizeof least), 0);
                ASSERT_EQ(getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &length), 0);
            }
        }
        ASSERT_GT(size, 32);
        ASSERT_TRUE(limited.connect(kPath)) << limited.getErrorMessage();
    }

    // What the kernel takes: the buffer less its 32 bytes.
    std::size_t limit() const { return static_cast<std::size_t>(size) - 32; }

    Corvane limited{2001};
    int size = 0;
};

TEST_F(SendLimitTest, AMessageOfTheBuffersLimitTravels) {
    shrinkSendBuffer();
    const std::string text(limit(), 'x');
    EXPECT_EQ(limited.send(text), static_cast<ssize_t>(text.size())) << limited.getErrorMessage();
    EXPECT_EQ(received(), text);
}

TEST_F(SendLimitTest, AMessageBeyondTheBuffersLimitIsRefusedWithTheLimitAndTheCure) {
    shrinkSendBuffer();
    EXPECT_EQ(limited.send(std::string(limit() + 1, 'x')), -1);
    EXPECT_EQ(limited.getErrorMessage(),
              "send to /tmp/receiver.ipc: a message of " + std::to_string(limit() + 1) +
                  " bytes is longer than the " + std::to_string(limit()) +
                  " that this user's send buffer takes; run as root, or set sysctl "
                  "net.core.wmem_max=1048576 and start again: Message too long");
}

TEST_F(SendLimitTest, AfterAMessageThatWasTooLongTheNextTravels) {
    shrinkSendBuffer();
    EXPECT_LT(limited.send(std::string(limit() + 1, 'x')), 0);
    EXPECT_EQ(limited.send("short"), 5);
    EXPECT_EQ(received(), "short");
}

}  // namespace

}  // namespace ponmgr::test
