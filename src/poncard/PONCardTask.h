#pragma once

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "ipc/PMTask.h"
#include "model/GuardedText.h"
#include "poncard/PONCardHelper.h"
#include "poncard/PONCardTiming.h"

namespace ponmgr {

class SocketHelper;

/// The life of one slot of the chassis: a main loop that brings its card up and then polls it once
/// a second, a task loop that carries out the commands for the slot, and a ping loop that watches
/// whether the card can be reached.
///
/// Each loop is an endless series of passes; a pass is public so that it can be run by itself.
class PONCardTask {
public:
    explicit PONCardTask(const PONCardTiming& slotTiming = {});
    PONCardTask(const PONCardTask&) = delete;
    PONCardTask& operator=(const PONCardTask&) = delete;
    virtual ~PONCardTask();

    /// Joins the shared socket of the interface and starts the three threads. Once, initial thread.
    /// "ethX" stands for no interface in particular.
    void start(const std::string& interface, const std::string& slot);
    /// The first half of it: no thread is started.
    void prepare(const std::string& interface, const std::string& slot);

    /// Queues a command for the task loop. Any thread. Throws "Too many commands wait for slot ..."
    /// when kMostTasks wait.
    void addTask(std::unique_ptr<PMTask> task);
    static constexpr std::size_t kMostTasks = 1024;
    /// The commands that wait. Any thread.
    std::size_t getTaskCount();

    /// Gives the card an address, empty for none, and starts its bring-up from the beginning. The
    /// caller holds the card mutex. Failures are printed.
    void setOltIpAddress(const std::string& ip);

    /// One probe of the card by ping, blocking for about a second; false without both addresses.
    bool checkPONCardOnline();

    /// Joins the three threads, which never end.
    void waitFinish();

    /// One pass of the main loop, without the pause after it.
    void runMainPass();
    /// Carries out the oldest command, or waits until one is queued and returns.
    void runTaskPass();
    /// One probe with what follows from it, without the pause after it.
    void runPingPass();

    PONCardHelper& getHelper() { return helper; }

private:
    struct Command;
    static const Command kCommands[];

    void mainLoop();
    void taskLoop();
    void pingLoop();

    bool isReady();
    void pollCard();
    bool identifyCard();
    bool configureCardWhenUnmarked();
    void configureCard();
    bool checkDomain();
    void trackLinks();
    void readOpticsWhenDue();
    void recheckWhenDue();

    std::unique_ptr<PMTask> takeTask();
    void waitForTask();
    void carryOut(const PMTask& task);
    void setSourceIpAddress(const std::string& ip);

    bool probeCard();
    void resetUnreachableCard();

    /// Full passes between two readings of the optical levels, less one; the first full pass reads.
    static constexpr unsigned kOpticsDue = 31;

    // constant after start
    const PONCardTiming timing;
    std::string slotId;
    std::string interfaceName;
    SocketHelper* socketHelper = nullptr;  // not owned

    // The card mutex serialises every use of the helper but setOLTOnlineStatus: a whole pass of the
    // main loop, one command, the ping loop's reset. The queue's mutex is never held together with
    // it.
    std::mutex cardMutex;
    PONCardHelper helper;  // guarded by cardMutex

    std::mutex taskMutex;
    std::condition_variable taskCondition;
    std::deque<std::unique_ptr<PMTask>> tasks;  // guarded by taskMutex

    // synchronise themselves: the task loop writes them, the others read them
    GuardedText oltIpAddress;
    GuardedText sourceIpAddress;

    // used by the main loop alone
    unsigned opticsCounter = kOpticsDue;
    unsigned recheckCounter = 0;
    // used by the ping loop alone
    bool pingResetDone = false;

    std::thread mainThread;
    std::thread taskThread;
    std::thread pingThread;
};

}  // namespace ponmgr
