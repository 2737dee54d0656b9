#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "ipc/APIData.h"

namespace ponmgr {

/// The process's only link to the database manager: one thread receives requests and hands each to
/// the request handler, another sends the queued notifications in order. Each socket is one-way;
/// no request is ever answered.
class IPCWorker {
public:
    /// Called on the receive thread for every request that parsed; the request stays the worker's
    /// and is reused. What it throws is printed and the request dropped.
    using RequestHandler = std::function<void(APIData* request)>;

    /// The single instance, made at the first call and never deleted.
    static IPCWorker* getInstance();

    IPCWorker() = default;
    IPCWorker(const IPCWorker&) = delete;
    IPCWorker& operator=(const IPCWorker&) = delete;
    virtual ~IPCWorker();

    /// Before startWorker.
    void setRequestHandler(RequestHandler handler);

    /// Starts the receive thread, then the notification thread. Sockets that can't be set up end
    /// the process: the database manager must be listening before the daemon starts.
    void startWorker();

    /// Joins both threads, which never end.
    void waitWorkerFinish();

    /// Queues a message to be sent. Any thread. Throws "Too many notifications wait" when
    /// kMostBytes wait: the database manager reads nothing. Cards, on-line ONUs and alarms are
    /// reported again at the next pass; that ONUs have left is said only once, and lost.
    void addNotification(std::unique_ptr<APIData> message);

    /// A minute of a storm of a thousand alarms a second.
    static constexpr std::size_t kMostBytes = std::size_t{16} << 20;

    /// Builds a message with action "set" and queues it. Throws what APIData::createRequest and
    /// addNotification throw; nothing is queued then. Any thread.
    void notify(const std::string& uri, const std::string& data);

    /// The oldest message that waits to be sent, or null. Takes no memory. Any thread.
    std::unique_ptr<APIData> takeNotification();

private:
    void threadWorker();
    void threadNotifyWorker();
    void handle(const std::string& text, APIData& request);
    void waitForNotification();

    // constant after startWorker
    RequestHandler requestHandler;

    std::mutex notifyMutex;
    std::condition_variable notifyCondition;
    struct Waiting {
        std::unique_ptr<APIData> message;
        std::size_t bytes;
    };
    std::deque<Waiting> notifications;  // guarded by notifyMutex
    std::size_t waitingBytes = 0;       // guarded by notifyMutex

    std::thread receiveThread;
    std::thread notificationThread;
};

}  // namespace ponmgr
