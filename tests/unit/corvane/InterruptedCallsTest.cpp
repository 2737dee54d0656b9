#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <unistd.h>

#include <atomic>
#include <string>
#include <thread>

#include "LinkTest.h"
#include "ProcessState.h"
#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

std::atomic<int> interruptions{0};

// While it lives, SIGUSR1 interrupts blocking calls and is counted.
class Interruptions {
public:
    Interruptions() {
        interruptions = 0;
        struct sigaction action {};
        action.sa_handler = [](int /*number*/) { ++interruptions; };
        // Without SA_RESTART: a blocking call ends with EINTR.
        sigaction(SIGUSR1, &action, &before);
    }
    Interruptions(const Interruptions&) = delete;
    Interruptions& operator=(const Interruptions&) = delete;
    ~Interruptions() { sigaction(SIGUSR1, &before, nullptr); }

private:
    struct sigaction before {};
};

class InterruptedCallsTest : public AttachedLinkTest {
protected:
    // Interrupts `thread` again and again, each time once it is asleep in a call.
    static void interrupt(std::jthread& thread, const std::atomic<pid_t>& number) {
        for (int times = 1; times <= 5; ++times) {
            ASSERT_TRUE(waitFor([&] { return number != 0 && isAsleep(number); }));
            ASSERT_EQ(pthread_kill(thread.native_handle(), SIGUSR1), 0);
            ASSERT_TRUE(waitFor([&] { return interruptions == times; }));
        }
    }

    const Interruptions installed;
    std::atomic<pid_t> number{0};
};

TEST_F(InterruptedCallsTest, SignalsDoNotEndARecv) {
    std::string text;
    int length = 0;
    std::jthread reader([&] {
        number = gettid();
        length = receiver.recv(text);
    });
    interrupt(reader, number);
    EXPECT_EQ(sender.send("after the signals"), 17);
    reader.join();
    EXPECT_EQ(length, 17) << receiver.getErrorMessage();
    EXPECT_EQ(text, "after the signals");
}

TEST_F(InterruptedCallsTest, SignalsNeitherEndNorRepeatASendThatIsBlocked) {
    constexpr int kCount = 500;
    std::atomic<int> failures{0};
    std::jthread writer([&] {
        number = gettid();
        for (int message = 0; message < kCount; ++message) {
            failures += sender.send(std::to_string(message)) < 0 ? 1 : 0;
        }
    });
    interrupt(writer, number);
    for (int message = 0; message < kCount; ++message) {
        ASSERT_EQ(received(), std::to_string(message));
    }
    writer.join();
    EXPECT_EQ(failures, 0) << sender.getErrorMessage();
}

}  // namespace

}  // namespace ponmgr::test
