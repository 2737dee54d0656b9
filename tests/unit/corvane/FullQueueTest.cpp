#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "LinkTest.h"
#include "ProcessState.h"
#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

// A thread that sends "0", "1", ... each filled up to a length, and can be watched.
class Writer {
public:
    Writer(Corvane& corvane, int messages, std::size_t length)
        : thread([this, &corvane, messages, length] {
              number = gettid();
              for (int message = 0; message < messages; ++message) {
                  result = corvane.send(textOf(message, length));
                  ++sent;
                  if (result < 0) {
                      return;
                  }
              }
          }) {}

    static std::string textOf(int message, std::size_t length) {
        auto text = std::to_string(message);
        text.resize(length, '.');
        return text;
    }

    bool isBlocked() const { return number != 0 && sent > 0 && isAsleep(number); }
    void join() { thread.join(); }

    std::atomic<int> sent{0};
    std::atomic<ssize_t> result{0};

private:
    std::atomic<pid_t> number{0};
    std::jthread thread;
};

class FullQueueTest : public AttachedLinkTest {
protected:
    // Reads nothing until the writer is blocked, then everything.
    void expectBlockedAndLossless(int messages, std::size_t length) {
        Writer writer(sender, messages, length);
        ASSERT_TRUE(waitFor([&] { return writer.isBlocked(); }));
        EXPECT_LT(writer.sent, messages);
        for (int message = 0; message < messages; ++message) {
            ASSERT_TRUE(received() == Writer::textOf(message, length)) << message;
        }
        writer.join();
        EXPECT_EQ(writer.sent, messages);
        EXPECT_EQ(writer.result, static_cast<ssize_t>(length));
    }
};

TEST_F(FullQueueTest, ASlowReaderBlocksTheSenderAndNothingIsLost) {
    expectBlockedAndLossless(1'000, 10);
}

TEST_F(FullQueueTest, ASlowReaderBlocksTheSenderOfLongMessagesAndNothingIsLost) {
    expectBlockedAndLossless(40, 200'000);
}

TEST_F(FullQueueTest, ABlockedSendFailsWhenTheReceiverEnds) {
    auto ending = std::make_unique<Corvane>(2010);
    ASSERT_TRUE(ending->createSocket());
    ASSERT_TRUE(ending->bind("/tmp/ending.ipc"));
    ASSERT_TRUE(sender.connect("/tmp/ending.ipc"));
    Writer writer(sender, 1'000, 10);
    ASSERT_TRUE(waitFor([&] { return writer.isBlocked(); }));
    ending.reset();
    writer.join();
    EXPECT_LT(writer.result, 0);
    EXPECT_STREQ(sender.getErrorMessage(),
                 "send to /tmp/ending.ipc: nobody listens there: No such file or directory");
}

}  // namespace

}  // namespace ponmgr::test
