#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

#include "support/ScriptedTransport.h"
#include "support/ThrownBy.h"
#include "support/WaitFor.h"
#include "tk/UDPSocket.h"

namespace ponmgr {
namespace {

using namespace std::chrono_literals;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;
using test::messageThrownBy;
using test::ScriptedTransport;

constexpr const char* kNoAnswer = "Impossible to send messages to card";

/// The time cut down to whole steps.
system_clock::time_point stepOf(system_clock::time_point time, milliseconds step) {
    return time - time.time_since_epoch() % step;
}

/// When a card that never answers was asked, and when it was given up.
struct SilentExchange {
    system_clock::time_point started;
    std::vector<ScriptedTransport::Sent> sent;
    system_clock::time_point ended;
};

SilentExchange askASilentCard(ExchangeTiming timing) {
    ScriptedTransport card;
    card.answerTheRest([](const test::Bytes&) { return std::vector<test::Bytes>(); });
    UDPSocket socket(timing);
    socket.start(&card, "1");
    socket.setClientIpAddress("127.0.0.2");
    RequestMessage requests;
    requests.addEnableOLT();
    ResponseMessage responses(0ms);
    SilentExchange result;
    result.started = system_clock::now();
    EXPECT_EQ(messageThrownBy([&] { socket.sendRequestMessage(&requests, &responses); }),
              kNoAnswer);
    result.ended = system_clock::now();
    result.sent = card.getSent();
    return result;
}

TEST(UDPSocketTiming, RequestIsTriedAsOftenAsTheTimingSays) {
    EXPECT_EQ(askASilentCard({10ms, 1ms, 1}).sent.size(), 1U);
    EXPECT_EQ(askASilentCard({10ms, 1ms, 5}).sent.size(), 5U);
}

// All bounds count from the start: what a busy machine adds only moves things further away.
TEST(UDPSocketTiming, NoTryEndsBeforeItsStepPlusTheResponseTime) {
    constexpr milliseconds step = 10ms;
    const auto exchange = askASilentCard({50ms, step, 3});
    const auto start = stepOf(exchange.started, step);
    ASSERT_EQ(exchange.sent.size(), 3U);
    EXPECT_GE(exchange.sent[1].time, start + 50ms);
    EXPECT_GE(exchange.sent[2].time, start + 100ms);
    EXPECT_GE(exchange.ended, start + 150ms);
}

/// How long the first wait is that begins late in a step of the clock.
system_clock::duration firstWaitLateInAStep(milliseconds responseTime, milliseconds step,
                                            milliseconds lateFrom) {
    EXPECT_TRUE(test::waitFor([&] {
        const auto now = system_clock::now();
        return now - stepOf(now, step) >= lateFrom;
    }));
    const auto exchange = askASilentCard({responseTime, step, 1});
    return exchange.ended - exchange.started;
}

// A busy machine only makes a wait longer, so one short wait shows that the deadline was cut.
TEST(UDPSocketTiming, DeadlineIsCutToWholeStepsOfTheClock) {
    auto shortest = system_clock::duration::max();
    for (int i = 0; i < 20 && shortest >= 100ms; i++) {
        shortest = std::min(shortest, firstWaitLateInAStep(120ms, 100ms, 70ms));
    }
    EXPECT_LT(shortest, 100ms);
}

// A try after a time-out begins with a step of the clock, and so has its whole time; a clock that
// lags a little would cut it by a step.
TEST(UDPSocketTiming, TriesAfterATimeOutHaveTheirWholeTime) {
    constexpr milliseconds step = 40ms;
    const auto exchange = askASilentCard({step, step, 6});
    EXPECT_GE(exchange.ended, stepOf(exchange.started, step) + 6 * step);
}

/// Takes its time to send, and never answers.
class SlowTransport : public DatagramTransport {
public:
    static constexpr milliseconds kSendTime{100};

    void send(const TKMessage& /*message*/, const sockaddr_in& /*destination*/) override {
        std::this_thread::sleep_for(kSendTime);
    }
    bool hasDone() const override { return true; }
    void registerUDPSocket(DatagramReceiver* /*receiver*/) override {}
    void unregisterUDPSocket(DatagramReceiver* /*receiver*/) override {}
};

// A busy machine only makes the exchange longer, so one that is shorter than both times together
// shows that they ran side by side.
TEST(UDPSocketTiming, DeadlineIsTakenBeforeTheSend) {
    constexpr milliseconds responseTime = 2 * SlowTransport::kSendTime;
    SlowTransport slow;
    auto shortest = steady_clock::duration::max();
    for (int i = 0; i < 5 && shortest >= responseTime + SlowTransport::kSendTime; i++) {
        UDPSocket socket({responseTime, 1ms, 1});
        socket.start(&slow, "1");
        socket.setClientIpAddress("127.0.0.2");
        RequestMessage requests;
        requests.addEnableOLT();
        ResponseMessage responses(0ms);
        const auto start = steady_clock::now();
        EXPECT_EQ(messageThrownBy([&] { socket.sendRequestMessage(&requests, &responses); }),
                  kNoAnswer);
        shortest = std::min<steady_clock::duration>(shortest, steady_clock::now() - start);
    }
    EXPECT_LT(shortest, responseTime + SlowTransport::kSendTime);
}

TEST(UDPSocketTiming, AnswerEndsTheWaitLongBeforeItsTime) {
    ScriptedTransport card;
    card.acceptTheRest();
    UDPSocket socket({60s, 1ms, 3});
    socket.start(&card, "1");
    socket.setClientIpAddress("127.0.0.2");
    RequestMessage requests;
    requests.addEnableOLT();
    ResponseMessage responses(0ms);
    const auto start = steady_clock::now();
    socket.sendRequestMessage(&requests, &responses);
    EXPECT_LT(steady_clock::now() - start, 60s);
}

TEST(UDPSocketTiming, SilentCardCostsThreeTriesOfFiveSecondsRealSeconds) {
    const auto start = steady_clock::now();
    const auto exchange = askASilentCard({});
    const auto elapsed = steady_clock::now() - start;
    ASSERT_EQ(exchange.sent.size(), 3U);
    const auto firstSecond = stepOf(exchange.started, 1s);
    EXPECT_GE(exchange.sent[1].time, firstSecond + 5s);
    EXPECT_GE(exchange.sent[2].time, firstSecond + 10s);
    EXPECT_GE(exchange.ended, firstSecond + 15s);
    EXPECT_GE(elapsed, 13900ms);
    EXPECT_LT(elapsed, 25s);
}

}  // namespace
}  // namespace ponmgr
