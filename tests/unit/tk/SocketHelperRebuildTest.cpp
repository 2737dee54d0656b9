// What makes the receive thread build its socket anew, a second later.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

#include "CardSocket.h"
#include "OpenSockets.h"
#include "support/WaitFor.h"
#include "tk/SocketHelper.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using test::bytes;
using test::CardSocket;
using test::CollectingReceiver;
using test::tkSocketsBoundTo;
using test::waitFor;

constexpr const char* kSource = "127.0.0.1";
constexpr const char* kCard = "127.0.0.2";
constexpr const char* kFrame = "00 07 00 01 00 03 00 00 aa";
constexpr const char* kSevenBytes = "00 07 00 01 00 03 00";

/// Which socket is bound now; 0 while there is none.
unsigned long currentSocket(const char* source = kSource) {
    const auto sockets = tkSocketsBoundTo(source);
    return sockets.empty() ? 0 : sockets[0];
}

class SocketHelperRebuildRealSeconds : public testing::Test {
protected:
    void SetUp() override {
        helper->setSourceIP(kSource);
        ASSERT_TRUE(waitFor([&] { return helper->hasDone() && currentSocket() != 0; }));
    }

    /// Sends what makes the thread fail and waits until it has a new socket.
    void breakSocket(const CardSocket& card) {
        const unsigned long before = currentSocket();
        card.sendTo(kSource, bytes(kSevenBytes));
        ASSERT_TRUE(waitFor([&] { return currentSocket() != before; }));
        EXPECT_TRUE(helper->hasDone());
        ASSERT_TRUE(waitFor([] { return currentSocket() != 0; }));
    }

    SocketHelper* helper = SocketHelper::getInstance("ethX");
};

TEST_F(SocketHelperRebuildRealSeconds, SevenBytesOfTheCardRebuildTheSocketAfterASecond) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    testing::internal::CaptureStdout();
    const auto start = std::chrono::steady_clock::now();
    breakSocket(card);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 990ms);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(log.rfind("Exception: TKMessage[", 0), 0U) << log;
    EXPECT_NE(log.find("]: Impossible to create TKMessage with small size\n"), std::string::npos);
    EXPECT_TRUE(helper->hasDone());
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), std::vector<std::string>{kFrame});
}

TEST_F(SocketHelperRebuildRealSeconds, SevenBytesOfAStrangerChangeNothing) {
    const CardSocket stranger("127.0.0.3");
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    const unsigned long before = currentSocket();
    stranger.sendTo(kSource, bytes(kSevenBytes));
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(currentSocket(), before);
}

TEST_F(SocketHelperRebuildRealSeconds, RebuildsLeaveNoDescriptorOpen) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    testing::internal::CaptureStdout();
    const std::size_t before = test::openDescriptorCount();
    breakSocket(card);
    breakSocket(card);
    EXPECT_EQ(test::openDescriptorCount(), before);
    EXPECT_EQ(tkSocketsBoundTo(kSource).size(), 1U);
    testing::internal::GetCapturedStdout();
}

TEST_F(SocketHelperRebuildRealSeconds, SendDuringTheRebuildIsNoFailure) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    testing::internal::CaptureStdout();
    card.sendTo(kSource, bytes(kSevenBytes));
    ASSERT_TRUE(waitFor([] { return currentSocket() == 0; }));
    sockaddr_in destination{};
    destination.sin_family = AF_INET;
    destination.sin_addr.s_addr = inet_addr(kCard);
    destination.sin_port = htons(14113);
    helper->send(TKMessage(TKIDMessage::EnableOLT, 1, nullptr, 0), destination);
    ASSERT_TRUE(waitFor([] { return currentSocket() != 0; }));
    helper->send(TKMessage(TKIDMessage::EnableOLT, 2, nullptr, 0), destination);
    EXPECT_EQ(card.receive(), "00 08 00 02 00 00");
    testing::internal::GetCapturedStdout();
}

/// A receiver whose first message fails it.
class FailingReceiver : public DatagramReceiver {
public:
    bool hasClientIpAddress(const sockaddr_in& sender) const override {
        return sender.sin_addr.s_addr == inet_addr("127.0.0.5");
    }
    bool processRxQueue(std::unique_ptr<TKMessage>& message) override {
        throw std::runtime_error("no receiver of the system throws this " +
                                 std::to_string(message->getId()));
    }
};

TEST_F(SocketHelperRebuildRealSeconds, AnyOtherExceptionRebuildsTheSocketAsWell) {
    const CardSocket card("127.0.0.5");
    FailingReceiver receiver;
    helper->registerUDPSocket(&receiver);
    testing::internal::CaptureStdout();
    const unsigned long before = currentSocket();
    card.sendTo(kSource, bytes(kFrame));
    EXPECT_TRUE(waitFor([&] { return currentSocket() != 0 && currentSocket() != before; }));
    helper->unregisterUDPSocket(&receiver);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Unknow Exception on SocketHelper::processRxQueue\n");
}

/// Gives the loopback one more address, in this process's own network.
void addLoopbackAddress(const char* label, const char* ip) {
    ifreq request{};
    std::strncpy(request.ifr_name, label, sizeof request.ifr_name - 1);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(ip);
    std::memcpy(&request.ifr_addr, &address, sizeof address);
    const int descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    EXPECT_EQ(ioctl(descriptor, SIOCSIFADDR, &request), 0);
    close(descriptor);
}

TEST(SocketHelperBindRealSeconds, FailedBindIsPrintedAndTriedAgainUntilItSucceeds) {
    constexpr const char* address = "198.51.100.7";
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    SocketHelper* helper = SocketHelper::getInstance("lo");
    helper->setSourceIP(address);
    EXPECT_FALSE(waitFor([&] { return helper->hasDone(); }, 1500ms));
    addLoopbackAddress("lo:1", address);
    EXPECT_TRUE(waitFor([&] { return helper->hasDone(); }));
    EXPECT_EQ(tkSocketsBoundTo(address).size(), 1U);
    const std::string log = testing::internal::GetCapturedStdout();
    EXPECT_EQ(log.rfind("Exception: ", 0), 0U) << log;
    EXPECT_NE(log.find("]: Failed to bind socket\n"), std::string::npos) << log;
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  "bind failed: Cannot assign requested address\n"),
              std::string::npos);
}

}  // namespace
}  // namespace ponmgr
