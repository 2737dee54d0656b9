// The queue of notifications, without the threads.

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "ipc/IPCWorker.h"
#include "unit/model/Failure.h"

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<IPCWorker>);

// A message that counts its destruction.
class CountedMessage : public APIData {
public:
    explicit CountedMessage(int& count) : destroyed(count) {}
    ~CountedMessage() override { destroyed++; }

private:
    int& destroyed;
};

TEST(IPCWorkerQueueTest, IsEmptyAtFirst) {
    IPCWorker worker;
    EXPECT_EQ(worker.takeNotification(), nullptr);
}

TEST(IPCWorkerQueueTest, GivesTheOldestMessageFirst) {
    IPCWorker worker;
    worker.notify("/first", "{}");
    worker.notify("/second", "{}");
    EXPECT_EQ(worker.takeNotification()->getUri(), "/first");
    worker.notify("/third", "{}");
    EXPECT_EQ(worker.takeNotification()->getUri(), "/second");
    EXPECT_EQ(worker.takeNotification()->getUri(), "/third");
    EXPECT_EQ(worker.takeNotification(), nullptr);
}

TEST(IPCWorkerQueueTest, HandsOutTheVeryMessage) {
    IPCWorker worker;
    auto message = std::make_unique<APIData>();
    const APIData* const address = message.get();
    worker.addNotification(std::move(message));
    EXPECT_EQ(worker.takeNotification().get(), address);
}

TEST(IPCWorkerQueueTest, ANotificationIsASetRequest) {
    IPCWorker worker;
    worker.notify("/olt/get/all/ip", "{ }");
    EXPECT_EQ(worker.takeNotification()->getJsonProtocol(),
              R"({"action":"set","uri":"/olt/get/all/ip","data":{}})");
}

TEST(IPCWorkerQueueTest, NothingIsQueuedForDataThatIsNoJson) {
    IPCWorker worker;
    EXPECT_EQ(messageOf([&] { worker.notify("/u", "{"); }), "Impossible to parse json");
    EXPECT_EQ(worker.takeNotification(), nullptr);
}

TEST(IPCWorkerQueueTest, RefusesWhatDoesNotFitUntilSomethingIsTaken) {
    IPCWorker worker;
    const std::string data = "\"" + std::string(IPCWorker::kMostBytes / 5, 'x') + "\"";
    worker.notify("/first", data);
    worker.notify("/second", data);
    EXPECT_EQ(messageOf([&] { worker.notify("/third", data); }), "Too many notifications wait");
    worker.notify("/small", "{}");
    EXPECT_EQ(worker.takeNotification()->getUri(), "/first");
    worker.notify("/fourth", data);
    for (const char* uri : {"/second", "/small", "/fourth"}) {
        EXPECT_EQ(worker.takeNotification()->getUri(), uri);
    }
    EXPECT_EQ(worker.takeNotification(), nullptr);
}

TEST(IPCWorkerQueueTest, OwnsWhatItHolds) {
    int destroyed = 0;
    {
        IPCWorker worker;
        worker.addNotification(std::make_unique<CountedMessage>(destroyed));
        worker.addNotification(std::make_unique<CountedMessage>(destroyed));
        worker.takeNotification();
        EXPECT_EQ(destroyed, 1);
    }
    EXPECT_EQ(destroyed, 2);
}

TEST(IPCWorkerQueueTest, TakesMessagesOfSeveralThreads) {
    constexpr int kThreads = 4;
    constexpr int kMessages = 200;
    IPCWorker worker;
    std::vector<std::thread> threads;
    for (int number = 0; number < kThreads; number++) {
        threads.emplace_back([&worker, number] {
            for (int message = 0; message < kMessages; message++) {
                worker.notify(std::to_string(number), std::to_string(message));
            }
        });
    }
    std::vector<int> next(kThreads, 0);
    for (int taken = 0; taken < kThreads * kMessages;) {
        const auto message = worker.takeNotification();
        if (message == nullptr) {
            std::this_thread::yield();
            continue;
        }
        int& expected = next[static_cast<std::size_t>(std::stoi(message->getUri()))];
        EXPECT_EQ(message->getJsonData(), std::to_string(expected));
        expected++;
        taken++;
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(next, std::vector<int>(kThreads, kMessages));
}

TEST(IPCWorkerQueueTest, ThereIsOneInstance) {
    IPCWorker* const instance = IPCWorker::getInstance();
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(IPCWorker::getInstance(), instance);
}

}  // namespace

}  // namespace ponmgr::test
