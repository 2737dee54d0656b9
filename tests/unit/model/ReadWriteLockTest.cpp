#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <iostream>
#include <mutex>
#include <shared_mutex>
#include <thread>
#include <vector>

#include "SleepingThread.h"
#include "model/ReadWriteLock.h"
#include "support/WaitFor.h"

namespace ponmgr::test {

namespace {

// A thread that takes the lock for writing and says how far it has come.
class Writer {
public:
    explicit Writer(ReadWriteLock& lock)
        : thread([this, &lock] {
              number = currentThread();
              const std::unique_lock guard(lock);
              hasWritten = true;
          }) {}
    ~Writer() { thread.join(); }

    bool waits() const { return number != 0 && isAsleep(number) && !hasWritten; }

    std::atomic<bool> hasWritten = false;

private:
    std::atomic<pid_t> number = 0;
    std::thread thread;
};

// A thread that is stuck on a lock can't be joined, so there is no going on.
void endUnless(bool condition, const char* failure) {
    if (!condition) {
        std::cerr << failure << std::endl;
        std::_Exit(EXIT_FAILURE);
    }
}

TEST(ReadWriteLockTest, TwoThreadsReadAtTheSameTime) {
    ReadWriteLock lock;
    const std::shared_lock guard(lock);
    std::atomic<bool> hasRead = false;
    std::thread reader([&] {
        const std::shared_lock otherGuard(lock);
        hasRead = true;
    });
    endUnless(waitFor([&] { return hasRead.load(); }), "the second reader is stuck");
    reader.join();
}

TEST(ReadWriteLockTest, AWriterWaitsForTheReader) {
    ReadWriteLock lock;
    std::shared_lock guard(lock);
    Writer writer(lock);
    EXPECT_TRUE(waitFor([&] { return writer.waits(); }));
    EXPECT_FALSE(writer.hasWritten);
    guard.unlock();
    EXPECT_TRUE(waitFor([&] { return writer.hasWritten.load(); }));
}

TEST(ReadWriteLockTest, AReaderWaitsForTheWriter) {
    ReadWriteLock lock;
    std::unique_lock guard(lock);
    std::atomic<pid_t> number = 0;
    std::atomic<bool> hasRead = false;
    std::thread reader([&] {
        number = currentThread();
        const std::shared_lock otherGuard(lock);
        hasRead = true;
    });
    EXPECT_TRUE(waitFor([&] { return number != 0 && isAsleep(number); }));
    EXPECT_FALSE(hasRead);
    guard.unlock();
    reader.join();
    EXPECT_TRUE(hasRead);
}

TEST(ReadWriteLockTest, AReaderReadsAgainWhileAWriterWaits) {
    ReadWriteLock lock;
    std::atomic<bool> readsOnce = false;
    std::atomic<bool> writerWaits = false;
    std::atomic<bool> readsTwice = false;
    std::thread reader([&] {
        const std::shared_lock outer(lock);
        readsOnce = true;
        waitFor([&] { return writerWaits.load(); });
        const std::shared_lock inner(lock);
        readsTwice = true;
    });
    ASSERT_TRUE(waitFor([&] { return readsOnce.load(); }));
    const Writer writer(lock);
    writerWaits = waitFor([&] { return writer.waits(); });
    EXPECT_TRUE(writerWaits);
    endUnless(waitFor([&] { return readsTwice.load(); }), "the nested read lock is stuck");
    reader.join();
}

TEST(ReadWriteLockTest, WritersKeepEachOtherOut) {
    constexpr int kThreads = 4;
    constexpr int kRounds = 2000;
    ReadWriteLock lock;
    int counter = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; number++) {
        threads.emplace_back([&] {
            for (int round = 0; round < kRounds; round++) {
                const std::unique_lock guard(lock);
                counter++;
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(counter, kThreads * kRounds);
}

}  // namespace

}  // namespace ponmgr::test
