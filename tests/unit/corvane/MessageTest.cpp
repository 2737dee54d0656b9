#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "LinkTest.h"
#include "RawSocket.h"

using testing::HasSubstr;

namespace ponmgr::test {

namespace {

constexpr std::size_t kMebibyte = 1'048'576;

// Bytes that differ from their neighbours, so that a shifted or doubled part is seen.
std::string pattern(std::size_t length) {
    std::string text(length, '\0');
    unsigned int value = 1;
    for (auto& byte : text) {
        value = value * 1'103'515'245U + 12'345U;
        byte = static_cast<char>(value >> 16U);
    }
    return text;
}

bool fullLengthIsPossible() {
    return RawSocket().reachesSendBuffer(kMebibyte + 32);
}

class MessageTest : public AttachedLinkTest {
protected:
    void expectToTravel(const std::string& text) {
        ASSERT_EQ(sender.send(text), static_cast<ssize_t>(text.size())) << sender.getErrorMessage();
        EXPECT_TRUE(received() == text);
    }
};

TEST_F(MessageTest, AnEmptyMessageArrivesEmpty) {
    expectToTravel("");
}

TEST_F(MessageTest, AMessageOfOneByteArrives) {
    expectToTravel("x");
}

TEST_F(MessageTest, EveryByteTravelsNulIncluded) {
    std::string text;
    for (int value = 0; value < 256; ++value) {
        text += static_cast<char>(value);
    }
    expectToTravel(text + text);
}

TEST_F(MessageTest, AMessageOfOneNulIsNotEmpty) {
    expectToTravel(std::string(1, '\0'));
}

TEST_F(MessageTest, AMessageOf200KilobytesTravelsWhole) {
    expectToTravel(pattern(200'000));
}

TEST_F(MessageTest, AMessageOfOneMebibyteTravelsWholeOrNamesTheUsersLimit) {
    if (fullLengthIsPossible()) {
        expectToTravel(pattern(kMebibyte));
        return;
    }
    EXPECT_LT(sender.send(pattern(kMebibyte)), 0);
    EXPECT_THAT(sender.getErrorMessage(), HasSubstr("net.core.wmem_max"));
}

TEST_F(MessageTest, AMessageOfMoreThanAMebibyteIsRefusedWithItsLengthAndTheLimit) {
    EXPECT_EQ(sender.send(pattern(kMebibyte + 1)), -1);
    EXPECT_STREQ(sender.getErrorMessage(),
                 "send to /tmp/receiver.ipc: a message of 1048577 bytes is longer than the 1048576 "
                 "that a message can have");
}

TEST_F(MessageTest, ARefusedMessageLeavesNothingBehindAndTheNextTravels) {
    EXPECT_LT(sender.send(pattern(kMebibyte + 1)), 0);
    expectToTravel("next");
}

TEST_F(MessageTest, EachSendIsOneRecv) {
    EXPECT_EQ(sender.send("one"), 3);
    EXPECT_EQ(sender.send(""), 0);
    EXPECT_EQ(sender.send("three"), 5);
    EXPECT_EQ(received(), "one");
    EXPECT_EQ(received(), "");
    EXPECT_EQ(received(), "three");
}

TEST_F(MessageTest, AReceivedMessageReplacesWhatTheStringHeld) {
    std::string text = "something much longer that was there before";
    EXPECT_EQ(sender.send("new"), 3);
    EXPECT_EQ(receiver.recv(text), 3);
    EXPECT_EQ(text, "new");
}

TEST_F(MessageTest, ManyMessagesKeepTheirOrder) {
    constexpr int kCount = 5'000;
    const std::jthread writer([&] {
        for (int number = 0; number < kCount; ++number) {
            EXPECT_GT(sender.send(std::to_string(number)), 0) << sender.getErrorMessage();
        }
    });
    for (int number = 0; number < kCount; ++number) {
        ASSERT_EQ(received(), std::to_string(number));
    }
}

TEST_F(MessageTest, LongAndShortMessagesKeepTheirOrder) {
    constexpr std::size_t kCount = 60;
    const auto text = [](std::size_t number) {
        return std::to_string(number) + pattern(number % 3 == 0 ? 150'000 : number);
    };
    const std::jthread writer([&] {
        for (std::size_t number = 0; number < kCount; ++number) {
            EXPECT_GT(sender.send(text(number)), 0) << sender.getErrorMessage();
        }
    });
    for (std::size_t number = 0; number < kCount; ++number) {
        ASSERT_TRUE(received() == text(number)) << number;
    }
}

TEST_F(MessageTest, AMessageIsOneDatagramWithoutFraming) {
    const std::string path = "/tmp/raw.ipc";
    RawSocket raw;
    raw.bind(path);
    ASSERT_TRUE(sender.connect(path.c_str())) << sender.getErrorMessage();
    EXPECT_EQ(sender.send("{\"a\": 1}"), 8);
    EXPECT_EQ(raw.receive(), "{\"a\": 1}");
    unlink(path.c_str());
}

TEST_F(MessageTest, ADatagramOfAnyOtherProgramIsAMessage) {
    RawSocket().send(kPath, "from elsewhere");
    EXPECT_EQ(received(), "from elsewhere");
}

TEST_F(MessageTest, OneObjectReceivesFromAllWhileItSendsToOne) {
    ASSERT_TRUE(sender.bind("/tmp/sender.ipc")) << sender.getErrorMessage();
    RawSocket().send("/tmp/sender.ipc", "to the sender");
    expectToTravel("to the receiver");
    std::string text;
    EXPECT_EQ(sender.recv(text), 13) << sender.getErrorMessage();
    EXPECT_EQ(text, "to the sender");
}

TEST_F(MessageTest, TheLinksNumberMakesNoDifference) {
    Corvane other(-7);
    ASSERT_TRUE(other.createSocket());
    ASSERT_TRUE(other.connect(kPath));
    EXPECT_EQ(other.send("any link"), 8);
    EXPECT_EQ(received(), "any link");
}

TEST_F(MessageTest, APeerThatHasStoppedReadingFailsTheSendWithoutASignal) {
    const std::string path = "/tmp/deaf.ipc";
    RawSocket deaf;
    deaf.bind(path);
    ASSERT_EQ(shutdown(deaf.get(), SHUT_RD), 0);
    ASSERT_TRUE(sender.connect(path.c_str()));
    EXPECT_EQ(sender.send("text"), -1);
    EXPECT_STREQ(sender.getErrorMessage(), "send to /tmp/deaf.ipc: Broken pipe");
    unlink(path.c_str());
}

}  // namespace

}  // namespace ponmgr::test
