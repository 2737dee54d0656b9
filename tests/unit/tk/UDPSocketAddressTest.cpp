#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <thread>

#include "support/ScriptedTransport.h"
#include "support/ThrownBy.h"
#include "tk/UDPSocket.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using test::messageThrownBy;
using test::ScriptedTransport;

sockaddr_in sender(const char* ip, std::uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(ip);
    address.sin_port = htons(port);
    return address;
}

TEST(UDPSocketAddress, SenderOfTheCardsAddressAndPortIsTheCard) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    EXPECT_TRUE(socket.hasClientIpAddress(sender("10.1.2.3", 14113)));
    EXPECT_EQ(socket.getClientIpAddress(), "10.1.2.3");
}

TEST(UDPSocketAddress, SenderOfAnotherAddressIsNotTheCard) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    EXPECT_FALSE(socket.hasClientIpAddress(sender("10.1.2.4", 14113)));
    EXPECT_FALSE(socket.hasClientIpAddress(sender("11.1.2.3", 14113)));
}

TEST(UDPSocketAddress, SenderOfAnotherPortIsNotTheCard) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    EXPECT_FALSE(socket.hasClientIpAddress(sender("10.1.2.3", 14112)));
    EXPECT_FALSE(socket.hasClientIpAddress(sender("10.1.2.3", htons(14113))));
}

TEST(UDPSocketAddress, SenderOfAnotherFamilyIsNotTheCard) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    sockaddr_in other = sender("10.1.2.3", 14113);
    other.sin_family = AF_INET6;
    EXPECT_FALSE(socket.hasClientIpAddress(other));
}

TEST(UDPSocketAddress, EveryByteOfThePaddingIsCompared) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    for (std::size_t i = 0; i < sizeof(sockaddr_in::sin_zero); i++) {
        sockaddr_in other = sender("10.1.2.3", 14113);
        other.sin_zero[i] = 1;
        EXPECT_FALSE(socket.hasClientIpAddress(other)) << i;
    }
}

TEST(UDPSocketAddress, UnsetAddressIsAllZeroBytes) {
    UDPSocket socket;
    EXPECT_TRUE(socket.hasClientIpAddress(sockaddr_in{}));
    EXPECT_FALSE(socket.hasClientIpAddress(sender("0.0.0.0", 0)));
    EXPECT_EQ(socket.getClientIpAddress(), "");
}

TEST(UDPSocketAddress, ClearedAddressIsAllZeroBytes) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    socket.clearClientIpAddress();
    EXPECT_FALSE(socket.hasClientIpAddress(sender("10.1.2.3", 14113)));
    EXPECT_TRUE(socket.hasClientIpAddress(sockaddr_in{}));
    EXPECT_EQ(socket.getClientIpAddress(), "");
}

TEST(UDPSocketAddress, EmptyTextClearsTheAddress) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    socket.setClientIpAddress("");
    EXPECT_TRUE(socket.hasClientIpAddress(sockaddr_in{}));
    EXPECT_EQ(socket.getClientIpAddress(), "");
}

TEST(UDPSocketAddress, LaterAddressReplacesTheEarlier) {
    UDPSocket socket;
    socket.setClientIpAddress("10.1.2.3");
    socket.setClientIpAddress("10.1.2.4");
    EXPECT_FALSE(socket.hasClientIpAddress(sender("10.1.2.3", 14113)));
    EXPECT_TRUE(socket.hasClientIpAddress(sender("10.1.2.4", 14113)));
}

// What the thread sanitizer watches: the address is changed by one thread, compared by another and
// sent to by a third.
TEST(UDPSocketAddress, MayChangeWhileItIsComparedAndSentTo) {
    ScriptedTransport card;
    card.acceptTheRest();
    UDPSocket socket({60s, 1ms, 3});
    socket.start(&card, "1");
    socket.setClientIpAddress("127.0.0.2");
    const std::jthread changer([&](const std::stop_token& stop) {
        for (int i = 0; !stop.stop_requested(); i++) {
            socket.setClientIpAddress(i % 2 == 0 ? "127.0.0.3" : "127.0.0.2");
        }
    });
    const std::jthread receiver([&](const std::stop_token& stop) {
        while (!stop.stop_requested()) {
            socket.hasClientIpAddress(sender("127.0.0.2", 14113));
        }
    });
    RequestMessage requests;
    ResponseMessage responses(0ms);
    for (int i = 0; i < 50; i++) {
        requests.addEnableOLT();
    }
    socket.sendRequestMessage(&requests, &responses);
    EXPECT_EQ(responses.getMessagesSize(), 50U);
    for (const auto& sent : card.getSent()) {
        const auto ip = sent.destination.sin_addr.s_addr;
        EXPECT_TRUE(ip == inet_addr("127.0.0.2") || ip == inet_addr("127.0.0.3"));
        EXPECT_EQ(sent.destination.sin_port, htons(14113));
    }
}

TEST(UDPSocketAddress, ClearedDuringAnExchangeLetsItsNextTriesGoNowhere) {
    ScriptedTransport card;
    UDPSocket socket({20ms, 1ms, 3});
    socket.start(&card, "1");
    socket.setClientIpAddress("127.0.0.2");
    card.answerTheRest([&](const test::Bytes&) {
        socket.clearClientIpAddress();
        return std::vector<test::Bytes>();
    });
    RequestMessage requests;
    requests.addEnableOLT();
    ResponseMessage responses(0ms);
    EXPECT_EQ(messageThrownBy([&] { socket.sendRequestMessage(&requests, &responses); }),
              "Impossible to send messages to card");
    const auto sent = card.getSent();
    ASSERT_EQ(sent.size(), 3U);
    EXPECT_EQ(sent[0].destination.sin_addr.s_addr, inet_addr("127.0.0.2"));
    EXPECT_EQ(sent[1].destination.sin_addr.s_addr, 0U);
    EXPECT_EQ(sent[2].destination.sin_addr.s_addr, 0U);
}

}  // namespace
}  // namespace ponmgr
