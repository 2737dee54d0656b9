#include <gtest/gtest.h>

#include <optional>
#include <thread>

#include "support/PrintedText.h"
#include "support/ScriptedTransport.h"
#include "support/ThrownBy.h"
#include "tk/UDPSocket.h"
#include "unit/tk/FailingAllocation.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using test::messageThrownBy;
using test::received;
using test::ScriptedTransport;

constexpr ExchangeTiming kPatient{60s, 1ms, 3};
constexpr ExchangeTiming kHasty{20ms, 1ms, 3};

constexpr const char* kRequest = "00 08 00 01 00 00";
constexpr const char* kAnswer = "00 08 00 01 00 02 00 00";

/// An event, told from others by its ctag.
std::string event(const char* id, const char* ctag) {
    return std::string(id) + " " + ctag + " 00 04 00 00 00 01";
}

class UDPSocketEvents : public testing::Test {
protected:
    void connect(ExchangeTiming timing) {
        socket.emplace(timing);
        socket->start(&card, "1");
        socket->setClientIpAddress("127.0.0.2");
        requests.addEnableOLT();
    }

    void exchange() { socket->sendRequestMessage(&requests, &responses); }

    /// Hands an event over without the transport, which would keep a note of each.
    bool socketTakes(const char* id) {
        auto message = received(event(id, "00 00"));
        return socket->processRxQueue(message);
    }

    std::size_t pulledCount() {
        ResponseMessage pulled(0ms);
        socket->pullAllAlarm(pulled);
        return pulled.getMessagesSize();
    }

    ScriptedTransport card;
    std::optional<UDPSocket> socket;
    RequestMessage requests;
    ResponseMessage responses{0ms};
};

TEST_F(UDPSocketEvents, EventWithoutAnExchangeWaitsToBePulled) {
    connect(kHasty);
    EXPECT_TRUE(card.deliverNow(event("80 1a", "00 00")));
    EXPECT_EQ(pulledCount(), 1U);
}

TEST_F(UDPSocketEvents, EventsBeyondTheMostAreLostAndCounted) {
    connect(kHasty);
    for (std::size_t i = 0; i < UDPSocket::kMostEvents; i++) {
        ASSERT_TRUE(socketTakes("80 1a"));
    }
    EXPECT_FALSE(socketTakes("80 1a"));
    EXPECT_FALSE(socketTakes("80 19"));
    std::size_t pulled = 0;
    EXPECT_EQ(test::textPrintedBy([&] { pulled = pulledCount(); }),
              "pullAllAlarm: 2 events of slot 1 lost, more than 8192 waited\n");
    EXPECT_EQ(pulled, UDPSocket::kMostEvents);
    EXPECT_TRUE(socketTakes("80 1a"));
    EXPECT_EQ(test::textPrintedBy([&] { pulled = pulledCount(); }), "");
    EXPECT_EQ(pulled, 1U);
}

// The room for the events is there already: what would take memory is the line.
TEST_F(UDPSocketEvents, WithoutMemoryTheLostAreCountedAllTheSameAndNoOtherIsLost) {
    connect(kHasty);
    ResponseMessage pulled(0ms);
    const auto fill = [this](std::size_t count) {
        for (std::size_t i = 0; i < count; i++) {
            socketTakes("80 1a");
        }
    };
    fill(UDPSocket::kMostEvents);
    socket->pullAllAlarm(pulled);
    pulled.clear();
    fill(UDPSocket::kMostEvents + 3);
    EXPECT_EQ(test::textPrintedBy([&] {
                  const test::FailingAllocation noMemory(test::FailingAllocation::Kind::Throwing);
                  socket->pullAllAlarm(pulled);
              }),
              "pullAllAlarm: 3 events of slot 1 lost, more than 8192 waited\n");
    EXPECT_EQ(pulled.getMessagesSize(), UDPSocket::kMostEvents);
}

TEST_F(UDPSocketEvents, EveryIdFrom0x8000UpIsAnEvent) {
    connect(kHasty);
    for (const char* id : {"80 00", "80 01", "80 19", "80 1a", "80 2b", "ff ff"}) {
        EXPECT_TRUE(card.deliverNow(event(id, "00 00"))) << id;
    }
    EXPECT_FALSE(card.deliverNow(event("7f ff", "00 00")));
    EXPECT_EQ(pulledCount(), 6U);
}

TEST_F(UDPSocketEvents, EventDuringAnExchangeIsNoResponseAndDoesNotEndTheWait) {
    connect(kPatient);
    card.expect(kRequest)
        .deliverInsideSend(event("80 1a", "00 01"))
        .deliver(event("80 19", "00 01"))
        .deliver(kAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 1U);
    EXPECT_EQ(responses.getMessagesSize(), 1U);
    EXPECT_EQ(pulledCount(), 2U);
}

TEST_F(UDPSocketEvents, EventAfterAFailedExchangeWaitsToBePulled) {
    connect(kHasty);
    for (int i = 0; i < 3; i++) {
        card.expect(kRequest).silent();
    }
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), "Impossible to send messages to card");
    EXPECT_TRUE(card.deliverNow(event("80 1a", "00 00")));
    EXPECT_EQ(pulledCount(), 1U);
}

TEST_F(UDPSocketEvents, EventIsTakenWithoutACardAddress) {
    connect(kHasty);
    socket->clearClientIpAddress();
    EXPECT_TRUE(card.deliverNow(event("80 1a", "00 00")));
    EXPECT_EQ(pulledCount(), 1U);
}

TEST_F(UDPSocketEvents, PullingLeavesNothingForTheNextPull) {
    connect(kHasty);
    card.deliverNow(event("80 1a", "00 00"));
    EXPECT_EQ(pulledCount(), 1U);
    EXPECT_EQ(pulledCount(), 0U);
    card.deliverNow(event("80 1a", "00 00"));
    EXPECT_EQ(pulledCount(), 1U);
}

/// An OLT Ready event of the card with this last MAC byte; 91 bytes of data.
std::string oltReady(const char* lastMacByte) {
    std::string datagram = std::string("80 00 00 00 00 5b 00 0a f5 10 20") + lastMacByte;
    for (int i = 0; i < 85; i++) {
        datagram += "00";
    }
    return datagram;
}

TEST_F(UDPSocketEvents, PulledEventsAreInTheOrderOfArrivalBehindWhatWasThere) {
    connect(kPatient);
    card.deliverNow(oltReady("01"));
    card.expect(kRequest).deliver(oltReady("02")).deliver(kAnswer);
    exchange();
    card.deliverNow(oltReady("03"));

    ResponseMessage pulled(0ms);
    pulled.addResponseMessage(received(oltReady("00")));
    socket->pullAllAlarm(pulled);
    pulled.parseAllMessages();
    ASSERT_EQ(pulled.getContainerSize(), 4U);
    for (std::size_t i = 0; i < 4; i++) {
        EXPECT_EQ(pulled.getContainer(i)->getValue("olt_epon_mac"),
                  "00:0a:f5:10:20:0" + std::to_string(i));
    }
}

TEST_F(UDPSocketEvents, MessageIsGivenUpOnlyWhenItIsTaken) {
    connect(kHasty);
    auto taken = received(event("80 1a", "00 00"));
    EXPECT_TRUE(socket->processRxQueue(taken));
    EXPECT_EQ(taken, nullptr);
    auto left = received(kAnswer);
    EXPECT_FALSE(socket->processRxQueue(left));
    EXPECT_NE(left, nullptr);
}

TEST_F(UDPSocketEvents, NoneIsLostWhileAnotherThreadPulls) {
    connect(kPatient);
    constexpr std::size_t kEvents = 2000;
    std::jthread receiver([&] {
        for (std::size_t i = 0; i < kEvents; i++) {
            card.deliverNow(event("80 1a", "00 00"));
        }
    });
    std::size_t pulled = 0;
    while (pulled < kEvents) {
        pulled += pulledCount();
    }
    EXPECT_EQ(pulled, kEvents);
}

TEST_F(UDPSocketEvents, UnpulledEventsEndWithTheirSocket) {
    connect(kHasty);
    card.deliverNow(event("80 1a", "00 00"));
    socket.reset();  // the leak checker says the rest
    EXPECT_EQ(card.getReceiverCount(), 0U);
}

}  // namespace
}  // namespace ponmgr
