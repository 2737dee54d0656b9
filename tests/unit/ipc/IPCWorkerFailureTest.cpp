// The worker on a link that fails as told: each of its calls and log lines.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "ChildProcess.h"
#include "ScriptedLink.h"
#include "app/Exception.h"
#include "app/LogLine.h"
#include "ipc/IPCWorker.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using Send = ponmgr::test::LinkScript::Send;

namespace ponmgr::test {

namespace {

constexpr int kRequests = 2010;
constexpr int kNotifications = 2001;

// A message that says when it goes.
class ToldMessage : public APIData {
public:
    ~ToldMessage() override { printLine("destroyed " + getUri()); }
};

void queue(const std::string& uri, const std::string& data) {
    auto message = std::make_unique<ToldMessage>();
    message->createRequest("set", uri, data);
    IPCWorker::getInstance()->addNotification(std::move(message));
}

void handle(APIData* request) {
    if (request->getUri() == "/exception") {
        throw Exception("refused", "handler", 7);
    }
    if (request->getUri() == "/other") {
        throw std::runtime_error("refused");
    }
    printLine("handled " + request->getUri());
}

std::string request(const std::string& uri) {
    return R"({"action":"get","uri":")" + uri + "\"}";
}

class IPCWorkerFailureTest : public testing::Test {
protected:
    // Runs the worker in a child on links prepared by `prepare`.
    void run(const std::function<void()>& prepare) {
        child.emplace([prepare] {
            startLog();
            prepare();
            IPCWorker* const worker = IPCWorker::getInstance();
            worker->setRequestHandler(&handle);
            worker->startWorker();
            worker->waitWorkerFinish();
        });
        child->begin();
    }

    void expectFatalError(const std::string& line) {
        const int status = child->waitForEnd();
        EXPECT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(WEXITSTATUS(status), 1);
        EXPECT_EQ(child->linesFrom("Fatal"), line);
    }

    void expectUncaught(const std::string& what) {
        const int status = child->waitForEnd();
        EXPECT_TRUE(WIFSIGNALED(status)) << status;
        EXPECT_EQ(WTERMSIG(status), SIGABRT);
        EXPECT_THAT(child->getErrors(), HasSubstr(what));
    }

    std::optional<ChildProcess> child;
};

TEST_F(IPCWorkerFailureTest, TheReceiveThreadBindsItsLinkAndReceives) {
    run([] { linkScript(kRequests).received = {request("/first"), request("/second")}; });
    EXPECT_TRUE(child->prints("handled /second\n2010 recv\n"));
    EXPECT_EQ(child->linesFrom("2010"),
              "2010 made\n2010 createSocket\n2010 bind /tmp/dbpman.ipc\n"
              "2010 recv\n2010 recv\n2010 recv\n");
    EXPECT_EQ(child->linesFrom("handled"), "handled /first\nhandled /second\n");
}

TEST_F(IPCWorkerFailureTest, TheNotificationThreadConnectsItsLinkAndSends) {
    run([] {
        queue("/first", "{ }");
        queue("/second", "{}");
    });
    EXPECT_TRUE(child->prints("destroyed /second\n"));
    EXPECT_EQ(child->linesFrom("2001"),
              "2001 made\n2001 createSocket\n2001 connect /tmp/pmdbman.ipc\n"
              "2001 send {\"action\":\"set\",\"uri\":\"/first\",\"data\":{}}\n"
              "2001 send {\"action\":\"set\",\"uri\":\"/second\",\"data\":{}}\n");
}

TEST_F(IPCWorkerFailureTest, ANotificationSocketThatCannotBeMadeEndsTheProcess) {
    run([] { linkScript(kNotifications).createFails = true; });
    expectFatalError("Fatal Error - threadNotifyWorker[72]: createSocket failed\n");
    EXPECT_EQ(child->linesFrom("2001"), "2001 made\n2001 createSocket\n");
}

TEST_F(IPCWorkerFailureTest, ANotificationSocketThatCannotBeConnectedEndsTheProcess) {
    run([] {
        linkScript(kNotifications).attachFails = true;
        queue("/first", "{}");
    });
    expectFatalError("Fatal Error - threadNotifyWorker[76]: connect failed\n");
    EXPECT_EQ(child->linesFrom("2001"),
              "2001 made\n2001 createSocket\n2001 connect /tmp/pmdbman.ipc\n");
}

TEST_F(IPCWorkerFailureTest, ARequestSocketThatCannotBeMadeEndsTheProcess) {
    run([] { linkScript(kRequests).createFails = true; });
    expectUncaught("threadWorker[116]: createSocket failed");
    EXPECT_EQ(child->linesFrom("2010"), "2010 made\n2010 createSocket\n");
}

TEST_F(IPCWorkerFailureTest, ARequestSocketThatCannotBeBoundEndsTheProcess) {
    run([] { linkScript(kRequests).attachFails = true; });
    expectUncaught("threadWorker[119]: bind failed");
    EXPECT_EQ(child->linesFrom("2010"),
              "2010 made\n2010 createSocket\n2010 bind /tmp/dbpman.ipc\n");
}

TEST_F(IPCWorkerFailureTest, AFailedReceiveIsPrintedAndTheNextOneTriedOnTheSameSocket) {
    run([] { linkScript(kRequests).received = {std::nullopt, std::nullopt, request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n2010 recv\n"));
    EXPECT_EQ(child->linesFrom("threadWorker"),
              "threadWorker[129]-Error: recv failed\nthreadWorker[129]-Error: recv failed\n");
    EXPECT_EQ(child->linesFrom("2010"),
              "2010 made\n2010 createSocket\n2010 bind /tmp/dbpman.ipc\n"
              "2010 recv\n2010 recv\n2010 recv\n2010 recv\n");
}

TEST_F(IPCWorkerFailureTest, AnExceptionOfTheHandlerIsPrintedAndTheNextRequestHandled) {
    run([] { linkScript(kRequests).received = {request("/exception"), request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_EQ(child->linesFrom("threadWorker"),
              "threadWorker[136]: Exception: handler[7]: refused\n");
}

TEST_F(IPCWorkerFailureTest, AnotherFailureOfTheHandlerIsPrintedAndTheNextRequestHandled) {
    run([] { linkScript(kRequests).received = {request("/other"), request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_EQ(child->linesFrom("threadWorker"), "threadWorker[138]: Unexpected exception\n");
}

TEST_F(IPCWorkerFailureTest, ARequestThatIsNoJsonIsPrintedAndTheNextOneHandled) {
    run([] { linkScript(kRequests).received = {"hello", request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_THAT(child->linesFrom("threadWorker"),
                MatchesRegex("threadWorker\\[136\\]: Exception: parseRequest\\[[0-9]+\\]: "
                             "JSON not parsed: hello\n"));
}

TEST_F(IPCWorkerFailureTest, AnEmptyRequestIsNoJson) {
    run([] { linkScript(kRequests).received = {"", request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_THAT(child->linesFrom("threadWorker"),
                MatchesRegex("threadWorker\\[136\\]: Exception: parseRequest\\[[0-9]+\\]: "
                             "JSON not parsed: \n"));
}

TEST_F(IPCWorkerFailureTest, ARequestWithoutAKeyIsPrintedAndNotHandled) {
    run([] { linkScript(kRequests).received = {R"({"action":"get"})", request("/next")}; });
    EXPECT_TRUE(child->prints("handled /next\n"));
    EXPECT_THAT(child->linesFrom("threadWorker"),
                MatchesRegex("threadWorker\\[136\\]: Exception: getStringValue\\[[0-9]+\\]: "
                             "Key 'uri' not found\n"));
    EXPECT_EQ(child->linesFrom("handled"), "handled /next\n");
}

TEST_F(IPCWorkerFailureTest, AFailedSendIsPrintedOnceAndTheNextMessageTriedOnTheSameConnection) {
    run([] {
        linkScript(kNotifications).sent = {Send::fails, Send::succeeds};
        queue("/first", "{}");
        queue("/second", "{}");
    });
    EXPECT_TRUE(child->prints("destroyed /second\n"));
    EXPECT_EQ(child->linesFrom("threadNotifyWorker"),
              "threadNotifyWorker[98]: Exception: threadNotifyWorker[95]: send failed\n");
    EXPECT_EQ(child->linesFrom("2001"),
              "2001 made\n2001 createSocket\n2001 connect /tmp/pmdbman.ipc\n"
              "2001 send {\"action\":\"set\",\"uri\":\"/first\",\"data\":{}}\n"
              "2001 send {\"action\":\"set\",\"uri\":\"/second\",\"data\":{}}\n");
}

TEST_F(IPCWorkerFailureTest, AMessageIsDestroyedWhetherItWasSentOrNot) {
    run([] {
        linkScript(kNotifications).sent = {Send::fails, Send::succeeds};
        queue("/first", "{}");
        queue("/second", "{}");
    });
    EXPECT_TRUE(child->prints("destroyed /second\n"));
    EXPECT_EQ(child->linesFrom("destroyed"), "destroyed /first\ndestroyed /second\n");
}

TEST_F(IPCWorkerFailureTest, AnotherFailureOfASendIsPrintedAndTheNextMessageSent) {
    run([] {
        linkScript(kNotifications).sent = {Send::leavesNoMemory};
        queue("/first", "{}");
        queue("/second", "\"" + std::string(kFailingLength, 'x') + "\"");
        queue("/third", "{}");
    });
    EXPECT_TRUE(child->prints("destroyed /third\n"));
    EXPECT_EQ(child->linesFrom("threadNotifyWorker"),
              "threadNotifyWorker[100]: Unexpected exception\n");
    EXPECT_EQ(child->linesFrom("destroyed"),
              "destroyed /first\ndestroyed /second\ndestroyed /third\n");
    EXPECT_THAT(child->linesFrom("2001 send"), Not(HasSubstr("/second")));
}

}  // namespace

}  // namespace ponmgr::test
