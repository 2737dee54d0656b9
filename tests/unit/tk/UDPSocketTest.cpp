#include <arpa/inet.h>
#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <type_traits>

#include "support/ScriptedTransport.h"
#include "support/ThrownBy.h"
#include "tk/SocketHelper.h"
#include "tk/UDPSocket.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using test::messageThrownBy;
using test::originThrownBy;
using test::ScriptedTransport;
using Datagrams = std::vector<std::string>;

static_assert(std::has_virtual_destructor_v<UDPSocket>);
static_assert(kTkPort == 14113);
static_assert(ExchangeTiming{}.responseTime == 5s && ExchangeTiming{}.clockStep == 1s &&
              ExchangeTiming{}.tries == 3);

/// For exchanges in which every wait ends by an answer.
constexpr ExchangeTiming kPatient{60s, 1ms, 3};
/// For exchanges in which no wait ends by an answer.
constexpr ExchangeTiming kHasty{20ms, 1ms, 3};
/// For both in one exchange.
constexpr ExchangeTiming kMixed{250ms, 1ms, 3};

constexpr const char* kNoAnswer = "Impossible to send messages to card";

constexpr const char* kInformation = "00 07 00 01 00 00";
constexpr const char* kEnable = "00 08 00 02 00 00";
constexpr const char* kDisable = "00 09 00 03 00 00";
constexpr const char* kInformationAnswer = "00 07 00 01 00 03 00 00 aa";
constexpr const char* kEnableAnswer = "00 08 00 02 00 02 00 00";
constexpr const char* kDisableAnswer = "00 09 00 03 00 02 00 00";

/// The ids of the answers are those of the result check, so that they are parsed in silence.
class UDPSocketExchange : public testing::Test {
protected:
    void connect(ExchangeTiming timing) {
        socket.emplace(timing);
        socket->start(&card, "5");
        socket->setClientIpAddress("127.0.0.2");
    }

    void exchange() { socket->sendRequestMessage(&requests, &responses); }

    ScriptedTransport card;
    std::optional<UDPSocket> socket;
    RequestMessage requests;
    ResponseMessage responses{0ms};
};

TEST_F(UDPSocketExchange, SendsEachRequestOnceWhenItIsAnswered) {
    connect(kPatient);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    requests.addDisableOLT();
    card.expect(kInformation).deliver(kInformationAnswer);
    card.expect(kEnable).deliver(kEnableAnswer);
    card.expect(kDisable).deliver(kDisableAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 3U);
    EXPECT_EQ(responses.getMessagesSize(), 3U);
}

TEST_F(UDPSocketExchange, SendsToTheCardsAddressAndPort) {
    connect(kPatient);
    requests.addEnableOLT();
    card.acceptTheRest();
    exchange();
    const sockaddr_in destination = card.getSent().at(0).destination;
    EXPECT_EQ(destination.sin_family, AF_INET);
    EXPECT_EQ(destination.sin_addr.s_addr, inet_addr("127.0.0.2"));
    EXPECT_EQ(destination.sin_port, htons(14113));
}

TEST_F(UDPSocketExchange, WithoutRequestsSendsNothingAndSucceeds) {
    connect(kHasty);
    exchange();
    EXPECT_TRUE(card.getSent().empty());
}

TEST_F(UDPSocketExchange, AsksASilentCardThreeTimesWithTheSameCtag) {
    connect(kHasty);
    requests.addGetOLTInformation();
    card.expect(kInformation).silent();
    card.expect(kInformation).silent();
    card.expect(kInformation).silent();
    EXPECT_EQ(originThrownBy([&] { exchange(); }),
              "sendRequestMessage: Impossible to send messages to card");
    EXPECT_EQ(card.getSent().size(), 3U);
    EXPECT_EQ(responses.getMessagesSize(), 0U);
}

TEST_F(UDPSocketExchange, AnswerToTheThirdTryIsInTime) {
    connect(kMixed);
    requests.addGetOLTInformation();
    card.expect(kInformation).silent();
    card.expect(kInformation).silent();
    card.expect(kInformation).deliver(kInformationAnswer);
    exchange();
    EXPECT_EQ(responses.getMessagesSize(), 1U);
}

TEST_F(UDPSocketExchange, CountsTheTriesOfEachRequestByItself) {
    connect(kMixed);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    card.expect(kInformation).silent();
    card.expect(kInformation).silent();
    card.expect(kInformation).deliver(kInformationAnswer);
    card.expect(kEnable).silent();
    card.expect(kEnable).silent();
    card.expect(kEnable).deliver(kEnableAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 6U);
    EXPECT_EQ(responses.getMessagesSize(), 2U);
}

TEST_F(UDPSocketExchange, FailureKeepsEarlierResponsesAndSendsNoLaterRequest) {
    connect(kMixed);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    requests.addDisableOLT();
    card.expect(kInformation).deliver(kInformationAnswer);
    card.expect(kEnable).silent();
    card.expect(kEnable).silent();
    card.expect(kEnable).silent();
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    EXPECT_EQ(responses.getMessagesSize(), 1U);
    EXPECT_EQ(card.getSent().size(), 4U);
}

TEST_F(UDPSocketExchange, ResponsesAreParsedInTheOrderTheyCame) {
    connect(kPatient);
    requests.addGetAllPath();
    requests.addGetOLTNVSEnabled();
    card.expect("01 79 00 01 00 00").deliver("01 79 00 01 00 02 00 00");
    card.expect("01 2d 00 02 00 00").deliver("01 2d 00 02 00 04 00 00 01 00");
    exchange();
    responses.parseAllMessages();
    ASSERT_EQ(responses.getContainerSize(), 2U);
    EXPECT_FALSE(responses.getContainer(0)->hasKey("current"));
    EXPECT_TRUE(responses.getContainer(1)->hasKey("current"));
}

TEST_F(UDPSocketExchange, ResponseAfterTheExchangeIsDropped) {
    connect(kPatient);
    requests.addEnableOLT();
    card.acceptTheRest();
    exchange();
    EXPECT_FALSE(card.deliverNow("00 08 00 01 00 02 00 00"));
    EXPECT_EQ(responses.getMessagesSize(), 1U);
}

TEST_F(UDPSocketExchange, ResponseAfterAFailedExchangeIsDropped) {
    connect(kHasty);
    requests.addGetOLTInformation();
    for (int i = 0; i < 3; i++) {
        card.expect(kInformation).silent();
    }
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    EXPECT_FALSE(card.deliverNow(kInformationAnswer));
    EXPECT_EQ(responses.getMessagesSize(), 0U);
}

TEST_F(UDPSocketExchange, ResponseBeforeAnyExchangeIsDropped) {
    connect(kHasty);
    EXPECT_FALSE(card.deliverNow(kInformationAnswer));
    EXPECT_FALSE(card.deliverNow("00 00 00 00 00 00 00 00"));
    EXPECT_FALSE(card.deliverNow("7f ff 00 01 00 02 00 00"));
}

TEST_F(UDPSocketExchange, NextExchangeIsUnharmedByAFailedOne) {
    connect(kMixed);
    requests.addGetOLTInformation();
    for (int i = 0; i < 3; i++) {
        card.expect(kInformation).silent();
    }
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    requests.clear();
    requests.addEnableOLT();
    card.expect(kEnable).deliver(kInformationAnswer).deliver(kEnableAnswer);
    exchange();
    EXPECT_EQ(responses.getMessagesSize(), 1U);
    EXPECT_FALSE(card.getDeliveries().at(0).taken) << "an answer to the request given up";
}

TEST_F(UDPSocketExchange, ResponsesThatAreNotExpectedNeitherCountNorEndTheWait) {
    connect(kPatient);
    requests.addGetOLTInformation();
    card.expect(kInformation)
        .deliver("00 07 00 02 00 02 00 00")  // another ctag
        .deliver("00 08 00 01 00 02 00 00")  // another id
        .deliver("00 01 00 07 00 02 00 00")  // the two swapped
        .deliver(kInformationAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 1U);
    EXPECT_EQ(responses.getMessagesSize(), 1U);
    for (std::size_t i = 0; i < 3; i++) {
        EXPECT_FALSE(card.getDeliveries().at(i).taken) << i;
    }
}

// The card's first answer comes after the request was sent again; its second answer finds the
// exchange at the next request.
TEST_F(UDPSocketExchange, LateAnswerEndsTheWaitAndItsTwinIsDropped) {
    connect(kMixed);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    card.expect(kInformation).silent();
    card.expect(kInformation).deliver(kInformationAnswer);
    card.expect(kEnable).deliver(kInformationAnswer).deliver(kEnableAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 3U);
    EXPECT_EQ(responses.getMessagesSize(), 2U);
    EXPECT_FALSE(card.getDeliveries().at(1).taken);
}

TEST_F(UDPSocketExchange, DuplicateOfAResponseIsKept) {
    connect(kPatient);
    requests.addGetOLTInformation();
    card.expect(kInformation)
        .deliverInsideSend(kInformationAnswer)
        .deliverInsideSend(kInformationAnswer)
        .deliver(kInformationAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 1U);
    EXPECT_EQ(responses.getMessagesSize(), 3U);
}

TEST_F(UDPSocketExchange, ResponseBeforeTheWaitIsKeptButTheRequestIsSentAgain) {
    connect(kMixed);
    requests.addGetOLTInformation();
    card.expect(kInformation).deliverInsideSend(kInformationAnswer);
    card.expect(kInformation).deliver(kInformationAnswer);
    exchange();
    EXPECT_EQ(card.getSent().size(), 2U);
    EXPECT_EQ(responses.getMessagesSize(), 2U);
}

TEST_F(UDPSocketExchange, ThreeResponsesBeforeTheWaitAreAllKeptAndTheExchangeFails) {
    connect(kHasty);
    requests.addGetOLTInformation();
    for (int i = 0; i < 3; i++) {
        card.expect(kInformation).deliverInsideSend(kInformationAnswer);
    }
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    EXPECT_EQ(responses.getMessagesSize(), 3U);
}

TEST_F(UDPSocketExchange, WithoutAResponseListIsRefused) {
    connect(kHasty);
    requests.addGetOLTInformation();
    EXPECT_EQ(originThrownBy([&] { socket->sendRequestMessage(&requests, nullptr); }),
              "sendRequestMessage: Impossible to allocate a new Response Message");
    EXPECT_TRUE(card.getSent().empty());
}

TEST_F(UDPSocketExchange, WithoutAResponseListIsRefusedBeforeTheAddressIsLookedAt) {
    connect(kHasty);
    socket->clearClientIpAddress();
    EXPECT_EQ(messageThrownBy([&] { socket->sendRequestMessage(&requests, nullptr); }),
              "Impossible to allocate a new Response Message");
}

TEST_F(UDPSocketExchange, WithoutACardAddressNamesTheSlot) {
    socket.emplace(kHasty);
    socket->start(&card, "5");
    requests.addGetOLTInformation();
    EXPECT_EQ(originThrownBy([&] { exchange(); }),
              "sendRequestMessage: Client ip address empty to slot 5");
    EXPECT_TRUE(card.getSent().empty());
}

TEST_F(UDPSocketExchange, AfterTheCardAddressWasClearedNamesTheSlot) {
    connect(kHasty);
    socket->clearClientIpAddress();
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), "Client ip address empty to slot 5");
    socket->setClientIpAddress("127.0.0.2");
    socket->setClientIpAddress("");
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), "Client ip address empty to slot 5");
}

TEST_F(UDPSocketExchange, WithTheZeroAddressNamesTheSlot) {
    connect(kHasty);
    socket->setClientIpAddress("0.0.0.0");
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), "Client ip address empty to slot 5");
}

TEST_F(UDPSocketExchange, FailedSendIsReportedOnStandardErrorAndEndsTheExchange) {
    connect(kPatient);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    card.expect(kInformation).failToSend();
    testing::internal::CaptureStderr();
    const std::string failure = originThrownBy([&] { exchange(); });
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Error on SendRequestMessage\n");
    EXPECT_EQ(failure, "sendRequestMessage: Impossible to send messages to card");
    EXPECT_EQ(card.getSent().size(), 1U);
}

TEST_F(UDPSocketExchange, FailedSendKeepsEarlierResponsesAndForgetsTheRequest) {
    connect(kPatient);
    requests.addGetOLTInformation();
    requests.addEnableOLT();
    card.expect(kInformation).deliver(kInformationAnswer);
    card.expect(kEnable).failToSend();
    testing::internal::CaptureStderr();
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    testing::internal::GetCapturedStderr();
    EXPECT_FALSE(card.deliverNow(kEnableAnswer));
    EXPECT_EQ(responses.getMessagesSize(), 1U);
}

TEST_F(UDPSocketExchange, SilentCardIsNotReportedOnStandardError) {
    connect(kHasty);
    requests.addGetOLTInformation();
    for (int i = 0; i < 3; i++) {
        card.expect(kInformation).silent();
    }
    testing::internal::CaptureStderr();
    EXPECT_EQ(messageThrownBy([&] { exchange(); }), kNoAnswer);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(UDPSocketExchange, ExchangesOfOneCardFollowOneAnother) {
    connect(kPatient);
    card.acceptTheRest();
    const auto many = [&](bool enable) {
        RequestMessage ownRequests;
        for (int i = 0; i < 20; i++) {
            enable ? ownRequests.addEnableOLT() : ownRequests.addDisableOLT();
        }
        ResponseMessage ownResponses(0ms);
        socket->sendRequestMessage(&ownRequests, &ownResponses);
        EXPECT_EQ(ownResponses.getMessagesSize(), 20U);
    };
    {
        const std::jthread first(many, true);
        const std::jthread second(many, false);
    }
    const Datagrams sent = card.getSentDatagrams();
    ASSERT_EQ(sent.size(), 40U);
    int changes = 0;
    for (std::size_t i = 1; i < sent.size(); i++) {
        changes += sent[i].substr(0, 5) == sent[i - 1].substr(0, 5) ? 0 : 1;
    }
    EXPECT_EQ(changes, 1);
}

TEST_F(UDPSocketExchange, HasDoneIsThatOfTheSharedSocket) {
    UDPSocket unconnected;
    EXPECT_FALSE(unconnected.hasDone());
    connect(kHasty);
    EXPECT_FALSE(socket->hasDone());
    card.setDone(true);
    EXPECT_TRUE(socket->hasDone());
}

TEST_F(UDPSocketExchange, JoinsTheSharedSocketAtStartAndLeavesItAtItsEnd) {
    connect(kHasty);
    EXPECT_EQ(card.getReceiverCount(), 1U);
    socket.reset();
    EXPECT_EQ(card.getReceiverCount(), 0U);
}

}  // namespace
}  // namespace ponmgr
