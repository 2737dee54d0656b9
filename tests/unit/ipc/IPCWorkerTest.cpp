// The worker's threads on the real link, with the test as database manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ChildProcess.h"
#include "Corvane.h"
#include "app/Exception.h"
#include "app/LogLine.h"
#include "ipc/IPCWorker.h"
#include "support/WaitFor.h"

using testing::AnyOf;
using testing::HasSubstr;
using testing::Not;

namespace ponmgr::test {

namespace {

constexpr const char* kRequestPath = "/tmp/dbpman.ipc";
constexpr const char* kNotificationPath = "/tmp/pmdbman.ipc";
constexpr unsigned kLimitSeconds = 60;
constexpr const char* kNudge = "/nudge";

std::string notification(const std::string& uri) {
    return R"({"action":"set","uri":")" + uri + R"(","data":{}})";
}

// Where the database manager takes notifications.
class Notifications {
public:
    Notifications() : link(2001) {
        if (!link.createSocket() || !link.bind(kNotificationPath)) {
            throw std::runtime_error(link.getErrorMessage());
        }
    }
    // The next message that is no nudge.
    std::string next() {
        std::string text;
        do {
            EXPECT_GE(link.recv(text), 0) << link.getErrorMessage();
        } while (text == notification(kNudge));
        return text;
    }

private:
    Corvane link;
};

// A notification that is queued while the notification thread is about to fall asleep goes out with
// the next one. So that there always is a next one, this never stops.
[[noreturn]] void nudgeForever() {
    for (;;) {
        IPCWorker::getInstance()->notify(kNudge, "{}");
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

std::string nameOfThread() {
    std::array<char, 16> name{};
    pthread_getname_np(pthread_self(), name.data(), name.size());
    return name.data();
}

// What the child does with a request.
void handle(APIData* request) {
    static const APIData* const first = request;
    const std::string uri = request->getUri();
    if (uri == "/exception") {
        throw Exception("refused", "handler", 7);
    }
    if (uri == "/other") {
        throw std::runtime_error("refused");
    }
    if (uri == "/say") {
        IPCWorker::getInstance()->notify("/said", request->getJsonData());
    }
    if (uri == "/where") {
        printLine("on " + nameOfThread());
    }
    if (uri == "/which") {
        printLine(request == first ? "the same request" : "another request");
    }
    printLine("handled " + (uri.size() < 100 ? uri : std::to_string(uri.size())));
}

class IPCWorkerTest : public testing::Test {
protected:
    void SetUp() override {
        // Corvane blocks without a limit.
        alarm(kLimitSeconds);
        std::filesystem::remove(kRequestPath);
        std::filesystem::remove(kNotificationPath);
    }

    void TearDown() override {
        if (child) {
            child->stop();
            EXPECT_THAT(child->getErrors(),
                        Not(AnyOf(HasSubstr("Sanitizer"), HasSubstr("runtime error"))));
        }
        alarm(0);
    }

    // Runs the worker in a child that calls `before` before it starts its threads and `after` then.
    void prepare(
        const std::function<void()>& before = [] {}, const std::function<void()>& after = [] {}) {
        child.emplace([before, after] {
            startLog();
            IPCWorker* const worker = IPCWorker::getInstance();
            worker->setRequestHandler(&handle);
            before();
            worker->startWorker();
            after();
            worker->waitWorkerFinish();
        });
    }

    // The same, with a database manager at both ends of the link.
    void start(
        const std::function<void()>& before = [] {}, const std::function<void()>& after = [] {}) {
        prepare(before, after);
        notifications.emplace();
        child->begin();
        ASSERT_TRUE(requests.createSocket()) << requests.getErrorMessage();
        ASSERT_TRUE(waitFor([&] { return requests.connect(kRequestPath); }))
            << requests.getErrorMessage();
    }

    void send(const std::string& text) {
        EXPECT_EQ(requests.send(text), static_cast<ssize_t>(text.size()))
            << requests.getErrorMessage();
    }

    void request(const std::string& uri, const std::string& data = "{}") {
        send(R"({"action":"set","uri":")" + uri + R"(","data":)" + data + "}");
    }

    // Has the child send a notification.
    void say(const std::string& data) { request("/say", data); }

    void expectFatalError(const std::string& line) {
        child->begin();
        const int status = child->waitForEnd();
        EXPECT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(WEXITSTATUS(status), 1);
        EXPECT_EQ(child->getOutput(), line);
    }

    std::optional<ChildProcess> child;
    std::optional<Notifications> notifications;
    Corvane requests{2010};
};

TEST_F(IPCWorkerTest, RequestsAreHandledInOrder) {
    start();
    std::string expected;
    for (int number = 0; number < 100; number++) {
        request("/" + std::to_string(number));
        expected += "handled /" + std::to_string(number) + "\n";
    }
    EXPECT_TRUE(child->prints("handled /99\n"));
    EXPECT_EQ(child->getOutput(), expected);
}

TEST_F(IPCWorkerTest, ALongRequestArrivesWhole) {
    start();
    request("/" + std::string(999'999, 'x'));
    EXPECT_TRUE(child->prints("handled 1000000\n"));
}

TEST_F(IPCWorkerTest, RequestsAreHandledOnTheReceiveThread) {
    start();
    request("/where");
    EXPECT_TRUE(child->prints("on ipc-receive\n"));
}

TEST_F(IPCWorkerTest, OneRequestIsReusedForEveryMessage) {
    start();
    request("/which");
    request("/which");
    request("/end");
    EXPECT_TRUE(child->prints("handled /end\n"));
    EXPECT_EQ(child->linesFrom("the same request"), "the same request\nthe same request\n");
}

TEST_F(IPCWorkerTest, ARequestIsNeverAnswered) {
    start([] {}, &nudgeForever);
    request("/quiet");
    send("hello");
    request("/exception");
    say("{}");
    EXPECT_EQ(notifications->next(), notification("/said"));
}

TEST_F(IPCWorkerTest, FailuresOfARequestArePrintedAndTheNextOneHandled) {
    start();
    request("/exception");
    request("/other");
    send(R"({"action":"set","uri":"/slot/reset"})");
    request("/next");
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_THAT(child->getOutput(),
                testing::MatchesRegex("threadWorker\\[136\\]: Exception: handler\\[7\\]: refused\n"
                                      "threadWorker\\[138\\]: Unexpected exception\n"
                                      "threadWorker\\[136\\]: Exception: getObjectValue\\[[0-9]+"
                                      "\\]: Key 'data' not found\n"
                                      "handled /next\n"));
}

TEST_F(IPCWorkerTest, MessagesThatAreNoJsonArePrintedAndTheNextOneHandled) {
    start();
    send("hello");
    send("");
    request("/next");
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_THAT(child->getOutput(),
                testing::MatchesRegex("threadWorker\\[136\\]: Exception: parseRequest\\[[0-9]+\\]: "
                                      "JSON not parsed: hello\n"
                                      "threadWorker\\[136\\]: Exception: parseRequest\\[[0-9]+\\]: "
                                      "JSON not parsed: \n"
                                      "handled /next\n"));
}

TEST_F(IPCWorkerTest, NotificationsQueuedBeforeTheStartAreSentInOrder) {
    start([] {
        for (int number = 0; number < 100; number++) {
            IPCWorker::getInstance()->notify("/" + std::to_string(number), "{}");
        }
    });
    for (int number = 0; number < 100; number++) {
        EXPECT_EQ(notifications->next(), notification("/" + std::to_string(number)));
    }
}

TEST_F(IPCWorkerTest, ANotificationWakesTheSleepingThread) {
    start([] {}, &nudgeForever);
    for (int number = 0; number < 20; number++) {
        say(std::to_string(number));
        EXPECT_EQ(notifications->next(),
                  R"({"action":"set","uri":"/said","data":)" + std::to_string(number) + "}");
    }
}

TEST_F(IPCWorkerTest, NotificationsOfSeveralThreadsAreSentInTheOrderOfEach) {
    constexpr int kThreads = 4;
    constexpr int kMessages = 50;
    start([] {},
          [] {
              std::vector<std::thread> threads;
              for (int number = 0; number < kThreads; number++) {
                  threads.emplace_back([number] {
                      for (int message = 0; message < kMessages; message++) {
                          IPCWorker::getInstance()->notify(std::to_string(number),
                                                           std::to_string(message));
                      }
                  });
              }
              for (auto& thread : threads) {
                  thread.join();
              }
              nudgeForever();
          });
    std::map<std::string, int> next;
    for (int received = 0; received < kThreads * kMessages; received++) {
        const std::string text = notifications->next();
        APIData message;
        message.parseRequest(text.data(), static_cast<int>(text.size()));
        EXPECT_EQ(message.getJsonData(), std::to_string(next[message.getUri()]++));
    }
    EXPECT_EQ(next, (std::map<std::string, int>{
                        {"0", kMessages}, {"1", kMessages}, {"2", kMessages}, {"3", kMessages}}));
}

TEST_F(IPCWorkerTest, ANotificationThatIsTooLongIsPrintedAndTheNextOneSent) {
    start([] {
        IPCWorker::getInstance()->notify("/long", "\"" + std::string(1'048'576, 'x') + "\"");
        IPCWorker::getInstance()->notify("/next", "{}");
    });
    EXPECT_EQ(notifications->next(), notification("/next"));
    EXPECT_TRUE(child->prints("\n"));
    EXPECT_EQ(child->getOutput(),
              "threadNotifyWorker[98]: Exception: threadNotifyWorker[95]: send to "
              "/tmp/pmdbman.ipc: a message of 1048616 bytes is longer than the 1048576 that a "
              "message can have\n");
}

TEST_F(IPCWorkerTest, AMissedNotificationIsPrintedAndTheNextOneSentWhenThePeerIsBack) {
    start([] { IPCWorker::getInstance()->notify("/connected", "{}"); }, &nudgeForever);
    EXPECT_EQ(notifications->next(), notification("/connected"));
    notifications.reset();
    EXPECT_TRUE(
        child->prints("threadNotifyWorker[98]: Exception: threadNotifyWorker[95]: send to "
                      "/tmp/pmdbman.ipc: nobody listens there: No such file or "
                      "directory\n"));
    notifications.emplace();
    say("\"back\"");
    EXPECT_EQ(notifications->next(), R"({"action":"set","uri":"/said","data":"back"})");
}

TEST_F(IPCWorkerTest, TheReceiveThreadIsStartedBeforeTheNotificationThread) {
    start();
    std::map<int, std::string> names;
    EXPECT_TRUE(waitFor([&] {
        names.clear();
        for (const auto& task : std::filesystem::directory_iterator(
                 "/proc/" + std::to_string(child->getNumber()) + "/task")) {
            std::ifstream(task.path() / "comm") >> names[std::stoi(task.path().filename())];
        }
        std::erase_if(names, [](const auto& name) { return !name.second.starts_with("ipc-"); });
        return names.size() == 2;
    }));
    EXPECT_THAT(names, testing::ElementsAre(testing::Pair(testing::_, "ipc-receive"),
                                            testing::Pair(testing::_, "ipc-notify")));
}

TEST_F(IPCWorkerTest, WithoutADatabaseManagerTheProcessEnds) {
    prepare([] { IPCWorker::getInstance()->notify("/first", "{}"); });
    expectFatalError(
        "Fatal Error - threadNotifyWorker[76]: connect to /tmp/pmdbman.ipc: nobody listens there: "
        "No such file or directory\n");
}

TEST_F(IPCWorkerTest, WithTheSocketOfADatabaseManagerThatHasEndedTheProcessEnds) {
    prepare();
    ChildProcess databaseManager([] {
        const Notifications listening;
        _exit(EXIT_SUCCESS);  // leaves the file
    });
    databaseManager.begin();
    databaseManager.waitForEnd();
    expectFatalError(
        "Fatal Error - threadNotifyWorker[76]: connect to /tmp/pmdbman.ipc: nobody listens there: "
        "Connection refused\n");
}

TEST_F(IPCWorkerTest, AFileInPlaceOfTheRequestSocketEndsTheProcessAndStays) {
    std::ofstream(kRequestPath) << "text";
    prepare();
    notifications.emplace();
    child->begin();
    const int status = child->waitForEnd();
    EXPECT_TRUE(WIFSIGNALED(status)) << status;
    EXPECT_EQ(WTERMSIG(status), SIGABRT);
    EXPECT_THAT(child->getErrors(), HasSubstr("threadWorker[119]: bind /tmp/dbpman.ipc: the file "
                                              "there is no socket and is left alone"));
    std::ifstream file(kRequestPath);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "text");
}

}  // namespace

}  // namespace ponmgr::test
