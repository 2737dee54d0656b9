#include "ipc/IPCWorker.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

#include "Corvane.h"
#include "app/Exception.h"
#include "app/LogLine.h"
#include "app/NamedThread.h"

namespace ponmgr {

namespace {

constexpr const char* kRequestPath = "/tmp/dbpman.ipc";
constexpr const char* kNotificationPath = "/tmp/pmdbman.ipc";
constexpr int kRequestLink = 2010;
constexpr int kNotificationLink = 2001;

// Operators search their logs for these.
constexpr int kLineNotifySocket = 72;
constexpr int kLineNotifyConnect = 76;
constexpr int kLineSendFailed = 95;
constexpr int kLineNotifyException = 98;
constexpr int kLineNotifyUnexpected = 100;
constexpr int kLineReceiveSocket = 116;
constexpr int kLineReceiveBind = 119;
constexpr int kLineReceiveFailed = 129;
constexpr int kLineReceiveException = 136;
constexpr int kLineReceiveUnexpected = 138;

/// What a waiting message takes: its text, once more its data, and the object.
std::size_t sizeOf(const APIData& message) {
    return sizeof message + message.getJsonProtocol().size() + message.getJsonData().size();
}

[[noreturn]] void endProcess(const char* function, int line, const char* text) {
    printFatalError(function, line, text);
    // Not exit(): it would destroy what the other threads are using.
    _exit(EXIT_FAILURE);
}

}  // namespace

IPCWorker* IPCWorker::getInstance() {
    // Never deleted: its threads use it until the process ends.
    static IPCWorker* const instance = std::make_unique<IPCWorker>().release();
    return instance;
}

IPCWorker::~IPCWorker() = default;

void IPCWorker::setRequestHandler(RequestHandler handler) {
    requestHandler = std::move(handler);
}

void IPCWorker::startWorker() {
    receiveThread = startNamedThread("ipc-receive", [this] { threadWorker(); });
    notificationThread = startNamedThread("ipc-notify", [this] { threadNotifyWorker(); });
}

void IPCWorker::waitWorkerFinish() {
    receiveThread.join();
    notificationThread.join();
}

void IPCWorker::addNotification(std::unique_ptr<APIData> message) {
    const std::size_t size = sizeOf(*message);
    const std::lock_guard lock(notifyMutex);
    if (waitingBytes + size > kMostBytes) {
        PONMGR_THROW("Too many notifications wait");
    }
    notifications.push_back({std::move(message), size});
    waitingBytes += size;
    notifyCondition.notify_one();
}

void IPCWorker::notify(const std::string& uri, const std::string& data) {
    auto message = std::make_unique<APIData>();
    message->createRequest("set", uri, data);
    addNotification(std::move(message));
}

std::unique_ptr<APIData> IPCWorker::takeNotification() {
    const std::lock_guard lock(notifyMutex);
    if (notifications.empty()) {
        return nullptr;
    }
    auto message = std::move(notifications.front().message);
    waitingBytes -= notifications.front().bytes;
    notifications.pop_front();
    if (notifications.empty()) {
        notifications.shrink_to_fit();
    }
    return message;
}

void IPCWorker::threadWorker() {
    Corvane corvane(kRequestLink);
    if (!corvane.createSocket()) {
        PONMGR_THROW_LINE(corvane.getErrorMessage(), kLineReceiveSocket);
    }
    if (!corvane.bind(kRequestPath)) {
        PONMGR_THROW_LINE(corvane.getErrorMessage(), kLineReceiveBind);
    }
    APIData request;
    for (;;) {
        std::string text;
        if (corvane.recv(text) < 0) {
            printReceiveError(__func__, kLineReceiveFailed, corvane.getErrorMessage());
            continue;
        }
        handle(text, request);
    }
}

void IPCWorker::handle(const std::string& text, APIData& request) {
    // Printed under the thread's function, which is what the log's readers know.
    constexpr const char* kThread = "threadWorker";
    try {
        request.parseRequest(text.data(), static_cast<int>(text.size()));
        if (requestHandler) {
            requestHandler(&request);
        }
    } catch (const Exception& exception) {
        printException(kThread, kLineReceiveException, exception);
    } catch (...) {
        printUnexpectedException(kThread, kLineReceiveUnexpected);
    }
}

void IPCWorker::threadNotifyWorker() {
    Corvane corvane(kNotificationLink);
    if (!corvane.createSocket()) {
        endProcess(__func__, kLineNotifySocket, corvane.getErrorMessage());
    }
    if (!corvane.connect(kNotificationPath)) {
        endProcess(__func__, kLineNotifyConnect, corvane.getErrorMessage());
    }
    for (;;) {
        const std::unique_ptr<APIData> message = takeNotification();
        if (!message) {
            waitForNotification();
            continue;
        }
        try {
            if (corvane.send(message->getJsonProtocol()) < 0) {
                PONMGR_THROW_LINE(corvane.getErrorMessage(), kLineSendFailed);
            }
        } catch (const Exception& exception) {
            printException(__func__, kLineNotifyException, exception);
        } catch (...) {
            printUnexpectedException(__func__, kLineNotifyUnexpected);
        }
    }
}

void IPCWorker::waitForNotification() {
    std::unique_lock lock(notifyMutex);
    // Once, without another look at the queue: a message queued since the last look is sent with
    // the next one. At start the slots' first reports follow within a second each, later every
    // probe and pass that changes something brings one; nothing is lost.
    notifyCondition.wait(lock);  // NOLINT(bugprone-spuriously-wake-up-functions)
}

}  // namespace ponmgr
