#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "FailingAllocation.h"
#include "LinkTest.h"
#include "RawSocket.h"

using testing::AnyOf;

namespace ponmgr::test {

namespace {

// Runs `operation` until no allocation of it fails any more: each time one later allocation fails.
// `operation` is to return whether it succeeded; `afterwards` runs with memory again. Returns how
// many allocations failed.
template <typename Operation, typename Afterwards>
std::size_t failEachAllocation(Operation operation, Afterwards afterwards) {
    for (std::size_t spared = 0;; ++spared) {
        bool succeeded = false;
        bool failed = false;
        {
            const FailingAllocation shortage(spared);
            succeeded = operation();
            failed = shortage.hasFailed();
        }
        EXPECT_EQ(succeeded, !failed);
        afterwards(failed);
        if (!failed) {
            return spared;
        }
    }
}

constexpr const char* kListener = "/tmp/listener.ipc";

class MemoryShortageTest : public AttachedLinkTest {};

TEST_F(MemoryShortageTest, AnObjectWithoutMemoryFailsEveryOperation) {
    std::unique_ptr<Corvane> empty;
    {
        // All but the memory of the object itself.
        const FailingAllocation shortage(1, 0, true);
        empty = std::make_unique<Corvane>(2010);
        ASSERT_TRUE(shortage.hasFailed());
    }
    std::string text = "what was there";
    EXPECT_FALSE(empty->createSocket());
    EXPECT_FALSE(empty->bind("/tmp/empty.ipc"));
    EXPECT_FALSE(empty->connect(kPath));
    EXPECT_EQ(empty->send("text"), -1);
    EXPECT_EQ(empty->recv(text), -1);
    EXPECT_EQ(text, "");
    EXPECT_STREQ(empty->getErrorMessage(), "no memory for the socket object");
}

TEST_F(MemoryShortageTest, AnOperationThatHasNoMemoryForItsErrorTextStillHasOne) {
    const FailingAllocation shortage(0, 0, true);
    EXPECT_EQ(sender.send("text"), -1);
    EXPECT_STREQ(sender.getErrorMessage(), "no memory for the operation");
}

TEST_F(MemoryShortageTest, ABindThatRanOutOfMemoryCanBeTriedAgain) {
    std::unique_ptr<Corvane> listener;
    const auto renew = [&] {
        listener = std::make_unique<Corvane>(2010);
        EXPECT_TRUE(listener->createSocket());
        // A file in the way: the longest way through bind.
        leaveStaleSocket(kListener);
    };
    renew();
    const auto failures = failEachAllocation(
        [&] { return listener->bind(kListener); },
        [&](bool failed) {
            if (failed) {
                EXPECT_STREQ(listener->getErrorMessage(), "no memory for the operation");
                EXPECT_TRUE(listener->bind(kListener)) << listener->getErrorMessage();
            }
            listener.reset();
            renew();
        });
    EXPECT_GT(failures, 0U);
    unlink(kListener);
}

TEST_F(MemoryShortageTest, AConnectThatRanOutOfMemoryCanBeTriedAgain) {
    const auto failures = failEachAllocation(
        [&] { return sender.connect(kPath); },
        [&](bool /*failed*/) { EXPECT_TRUE(sender.connect(kPath)) << sender.getErrorMessage(); });
    EXPECT_GT(failures, 0U);
}

TEST_F(MemoryShortageTest, ASendThatRanOutOfMemorySendsNothing) {
    const auto failures =
        failEachAllocation([&] { return sender.send("message") == 7; },
                           [&](bool failed) {
                               if (failed) {
                                   EXPECT_EQ(sender.send("again"), 5);
                               }
                               EXPECT_EQ(received(), failed ? "again" : "message");
                           });
    EXPECT_GT(failures, 0U);
}

TEST_F(MemoryShortageTest, ARecvThatRanOutOfMemoryDoesNotStopTheMessagesBehind) {
    const std::string first(100, '1');
    std::string text;
    EXPECT_EQ(sender.send(first), 100);
    const auto failures = failEachAllocation(
        [&] {
            std::string().swap(text);
            return receiver.recv(text) == 100;
        },
        [&](bool failed) {
            if (failed) {
                EXPECT_EQ(text, "");
                EXPECT_EQ(sender.send("behind"), 6);
                const auto next = received();
                EXPECT_THAT(next, AnyOf(first, "behind"));
                if (next == first) {
                    EXPECT_EQ(received(), "behind");
                }
                EXPECT_EQ(sender.send(first), 100);
            }
        });
    EXPECT_EQ(text, first);
    EXPECT_GT(failures, 0U);
}

TEST_F(MemoryShortageTest, ARecvWithoutAnyMemoryWaitsForAMessageAndTakesIt) {
    EXPECT_EQ(sender.send("short"), 5);
    EXPECT_EQ(sender.send(std::string(100, '1')), 100);
    EXPECT_EQ(sender.send("behind"), 6);
    std::string text;
    {
        const FailingAllocation shortage(0, 0, true);
        EXPECT_EQ(receiver.recv(text), 5);  // as much as a string holds by itself
        EXPECT_EQ(receiver.recv(text), -1);
        EXPECT_STREQ(receiver.getErrorMessage(), "no memory for the operation");
    }
    EXPECT_EQ(text, "");
    EXPECT_EQ(received(), "behind");
}

TEST_F(MemoryShortageTest, AMessageThatThereIsNoMemoryForIsLostAndNamed) {
    EXPECT_EQ(sender.send(std::string(100'000, 'x')), 100'000);
    EXPECT_EQ(sender.send("next"), 4);
    std::string text;
    {
        const FailingAllocation shortage(0, 100'000);
        EXPECT_EQ(receiver.recv(text), -1);
        EXPECT_TRUE(shortage.hasFailed());
    }
    EXPECT_EQ(text, "");
    EXPECT_STREQ(receiver.getErrorMessage(),
                 "recv at /tmp/receiver.ipc: no memory for a message of 100000 bytes; the message "
                 "is lost");
    EXPECT_EQ(received(), "next");
}

}  // namespace

}  // namespace ponmgr::test
