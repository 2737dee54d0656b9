// The receive thread of a started instance. It begins a second after its start, so each test takes
// that second.

#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <chrono>
#include <ctime>
#include <thread>

#include "CardSocket.h"
#include "OpenSockets.h"
#include "support/ThrownBy.h"
#include "support/WaitFor.h"
#include "tk/SocketHelper.h"
#include "tk/UDPSocket.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::bytes;
using test::CardSocket;
using test::CollectingReceiver;
using test::hexText;
using test::waitFor;
using Datagrams = std::vector<std::string>;

constexpr const char* kSource = "127.0.0.1";
constexpr const char* kCard = "127.0.0.2";
constexpr const char* kFrame = "00 07 00 01 00 03 00 00 aa";
constexpr const char* kOtherFrame = "80 1a 00 00 00 05 00 00 00 07 bb";

class SocketHelperRealSeconds : public testing::Test {
protected:
    void SetUp() override {
        helper->setSourceIP(kSource);
        ASSERT_TRUE(waitFor([&] { return helper->hasDone(); }));
    }

    SocketHelper* helper = SocketHelper::getInstance("ethX");
};

TEST_F(SocketHelperRealSeconds, DatagramOfTheCardReachesItsReceiver) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), Datagrams{kFrame});
}

TEST_F(SocketHelperRealSeconds, DatagramsKeepTheirOrder) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, bytes(kFrame));
    card.sendTo(kSource, bytes(kOtherFrame));
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams(3));
    EXPECT_EQ(receiver.getDatagrams(), (Datagrams{kFrame, kOtherFrame, kFrame}));
}

/// Keeps the receive thread from receiving until it is let go.
class HoldingReceiver : public DatagramReceiver {
public:
    explicit HoldingReceiver(SocketHelper& shared) : transport(shared) {
        transport.registerUDPSocket(this);
    }
    HoldingReceiver(const HoldingReceiver&) = delete;
    HoldingReceiver& operator=(const HoldingReceiver&) = delete;
    ~HoldingReceiver() override {
        letGo = true;
        transport.unregisterUDPSocket(this);
    }

    bool hasClientIpAddress(const sockaddr_in& /*sender*/) const override {
        holds = true;
        waitFor([this] { return letGo.load(); });
        return false;
    }
    bool processRxQueue(std::unique_ptr<TKMessage>& /*message*/) override { return false; }

    mutable std::atomic<bool> holds = false;
    std::atomic<bool> letGo = false;

private:
    SocketHelper& transport;
};

TEST_F(SocketHelperRealSeconds, DatagramsOfAStormWaitWhileTheThreadIsBusy) {
    constexpr std::size_t kStorm = 400;
    const CardSocket card(kCard);
    HoldingReceiver busy(*helper);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(waitFor([&] { return busy.holds.load(); }));
    for (std::size_t sent = 0; sent < kStorm; sent++) {
        card.sendTo(kSource, bytes(kFrame));
    }
    busy.letGo = true;
    EXPECT_TRUE(receiver.waitForDatagrams(1 + kStorm));
}

TEST_F(SocketHelperRealSeconds, EveryMatchingReceiverHasACopyOfItsOwn) {
    const CardSocket card(kCard);
    const CollectingReceiver first(*helper, kCard);
    const CollectingReceiver stranger(*helper, "127.0.0.3");
    const CollectingReceiver second(*helper, kCard);
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(first.waitForDatagrams());
    ASSERT_TRUE(second.waitForDatagrams());
    EXPECT_EQ(first.getDatagrams(), Datagrams{kFrame});
    EXPECT_EQ(second.getDatagrams(), Datagrams{kFrame});
    EXPECT_NE(first.getFrames().at(0), second.getFrames().at(0));
    EXPECT_TRUE(stranger.getDatagrams().empty());
}

TEST_F(SocketHelperRealSeconds, ReceiverThatLetsAMessageGoDoesNotKeepTheNextFromIt) {
    const CardSocket card(kCard);
    CollectingReceiver refusing(*helper, kCard);
    refusing.refuse();
    const CollectingReceiver taking(*helper, kCard);
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(taking.waitForDatagrams());
    EXPECT_EQ(refusing.getDatagrams(), Datagrams{kFrame});
    EXPECT_TRUE(refusing.getFrames().empty());
}

TEST_F(SocketHelperRealSeconds, DatagramFromAnotherPortOfTheCardIsDropped) {
    const CardSocket otherPort(kCard, 14114);
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    otherPort.sendTo(kSource, bytes(kFrame));
    card.sendTo(kSource, bytes(kOtherFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), Datagrams{kOtherFrame});
}

TEST_F(SocketHelperRealSeconds, DatagramFromAnUnknownAddressIsDropped) {
    const CardSocket stranger("127.0.0.3");
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    stranger.sendTo(kSource, bytes(kFrame));
    card.sendTo(kSource, bytes(kOtherFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), Datagrams{kOtherFrame});
}

TEST_F(SocketHelperRealSeconds, ReceiverThatLeftGetsNothingMore) {
    const CardSocket card(kCard);
    const CollectingReceiver staying(*helper, kCard);
    { const CollectingReceiver leaving(*helper, kCard); }
    card.sendTo(kSource, bytes(kFrame));  // the address sanitizer would see the one that left
    ASSERT_TRUE(staying.waitForDatagrams());
    EXPECT_EQ(staying.getDatagrams(), Datagrams{kFrame});
}

/// A response whose first bytes are a header and whose others count up.
Bytes longFrame(std::size_t size) {
    Bytes frame = bytes("00 07 00 01 00 00 00 00");
    while (frame.size() < size) {
        frame.push_back(static_cast<unsigned char>(frame.size()));
    }
    return frame;
}

TEST_F(SocketHelperRealSeconds, DatagramOf1500BytesIsReceivedWhole) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, longFrame(1500));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), Datagrams{hexText(longFrame(1500))});
}

TEST_F(SocketHelperRealSeconds, LongerDatagramIsReceivedUpTo1500Bytes) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, longFrame(1501));
    card.sendTo(kSource, longFrame(9000));
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams(3));
    const std::string cut = hexText(longFrame(1500));
    EXPECT_EQ(receiver.getDatagrams(), (Datagrams{cut, cut, kFrame}));
}

TEST_F(SocketHelperRealSeconds, EmptyDatagramIsIgnored) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    const auto before = test::tkSocketsBoundTo(kSource);
    card.sendTo(kSource, {});
    card.sendTo(kSource, bytes(kFrame));
    ASSERT_TRUE(receiver.waitForDatagrams());
    EXPECT_EQ(receiver.getDatagrams(), Datagrams{kFrame});
    EXPECT_EQ(test::tkSocketsBoundTo(kSource), before);
}

TEST_F(SocketHelperRealSeconds, ShortestFrameIsDelivered) {
    const CardSocket card(kCard);
    const CollectingReceiver receiver(*helper, kCard);
    card.sendTo(kSource, bytes("80 1a 00 01 00 02 00 00"));
    ASSERT_TRUE(receiver.waitForDatagrams());
}

// What the thread sanitizer watches: receivers come and go while datagrams are delivered.
TEST_F(SocketHelperRealSeconds, ReceiversMayComeAndGoWhileDatagramsArrive) {
    const CardSocket card(kCard);
    const CollectingReceiver staying(*helper, kCard);
    const std::jthread sender([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            card.sendTo(kSource, bytes(kFrame));
            std::this_thread::yield();
        }
    });
    for (int i = 0; i < 100; i++) {
        const CollectingReceiver passing(*helper, kCard);
        ASSERT_TRUE(passing.waitForDatagrams());
    }
    EXPECT_GE(staying.getDatagrams().size(), 100U);
}

TEST_F(SocketHelperRealSeconds, ExchangeRunsOverTheSharedSocketOfItsInterface) {
    const CardSocket card(kCard);
    UDPSocket socket({1s, 1ms, 3});
    socket.start("ethX", "1");
    socket.setClientIpAddress(kCard);
    EXPECT_TRUE(socket.hasDone());
    std::jthread answers([&](const std::stop_token& stop) {
        // Every try is answered: an answer that comes before the wait is asked for again.
        for (std::string request = card.receive(); !stop.stop_requested();
             request = card.receive()) {
            card.sendTo(kSource, bytes("00 07 00 01 00 02 00 00"));
        }
    });
    RequestMessage requests;
    requests.addGetOLTInformation();
    ResponseMessage responses;
    EXPECT_EQ(test::messageThrownBy([&] { socket.sendRequestMessage(&requests, &responses); }),
              "nothing");
    EXPECT_GE(responses.getMessagesSize(), 1U);
    answers.request_stop();
    CardSocket("127.0.0.4").sendTo(kCard, bytes("00"));  // ends the receive
}

/// The processor time that this process has used.
std::chrono::nanoseconds processorTime() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

// A pipe in the socket's place: every receive on it fails.
TEST_F(SocketHelperRealSeconds, ReceiveThatFailsAgainAndAgainKeepsNoCoreBusy) {
    const int descriptor = test::descriptorOf(test::tkSocketsBoundTo(kSource).at(0));
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe(ends.data()), 0);
    ASSERT_EQ(dup2(ends[0], descriptor), descriptor);
    // The receive that was under way still has the socket: a datagram ends it.
    CardSocket(kCard).sendTo(kSource, bytes(kFrame));
    const auto before = processorTime();
    std::this_thread::sleep_for(500ms);
    EXPECT_LT(processorTime() - before, 250ms);
}

TEST(SocketHelperStartRealSeconds, IdlesUntilASourceAddressIsSet) {
    SocketHelper* helper = SocketHelper::getInstance("lo");
    EXPECT_FALSE(waitFor([&] { return helper->hasDone(); }, 1500ms));
    EXPECT_TRUE(test::tkSocketsBoundTo("127.0.0.21").empty());
    helper->setSourceIP("127.0.0.21");
    EXPECT_TRUE(waitFor([&] { return helper->hasDone(); }));
    EXPECT_EQ(test::tkSocketsBoundTo("127.0.0.21").size(), 1U);
}

}  // namespace
}  // namespace ponmgr
