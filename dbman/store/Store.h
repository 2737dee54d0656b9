#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

#include "dbman/CurrentState.h"
#include "dbman/store/Checkpoints.h"
#include "dbman/store/DatabaseFile.h"
#include "dbman/store/HistoryReader.h"
#include "dbman/store/Pruner.h"
#include "dbman/store/Retention.h"
#include "dbman/store/RowBacklog.h"
#include "dbman/store/RowWriter.h"
#include "dbman/store/SteadyTime.h"
#include "dbman/store/StoredState.h"

namespace ponmgr::dbman {

/// How the database is doing.
struct StoreStatus {
    std::string file;
    /// With its log.
    std::uint64_t sizeBytes = 0;
    int schema = 0;
    /// Without a value before the first one of this run.
    std::optional<Time> lastCommit;
    std::size_t waitingWrites = 0;
    std::uint64_t lostWrites = 0;
    /// Why nothing can be written; empty while all is well.
    std::string error;
};

/// Keeps the current state and what has happened in a database, on a thread of its own
/// ("dbman-store"). What was posted is committed within 100 ms as long as the disk goes along. When
/// it doesn't, rows wait up to a bound, and the current state is written from memory as soon as it
/// can be: memory rules, the database follows.
class Store {
public:
    struct Options {
        std::string file;
        Retention retention;
        RowBacklog::Bounds bounds;
        /// From the first row that waits to the beginning of its commit; with the commit itself it
        /// stays below 100 ms.
        std::chrono::milliseconds commitDelay{20};
        /// Between two tries while nothing can be written.
        std::chrono::milliseconds retryPause{1000};
        /// Between two merges of the log into the file.
        std::chrono::milliseconds mergePause{1000};
        /// From the end of one round of pruning to the next.
        std::chrono::milliseconds pruneInterval{60'000};
        /// While a row is this old and not committed, a receiver waits, so that none becomes older
        /// than 100 ms.
        std::chrono::milliseconds crowdAge{40};
        /// How long it waits for a disk that doesn't keep up.
        std::chrono::milliseconds roomLimit{100};
        /// How long readers wait for what was posted before.
        std::chrono::milliseconds flushLimit{2000};
        /// What all of these go by.
        std::shared_ptr<SteadyTime> time = std::make_shared<SteadyTime>();
    };

    using Clock = std::function<Time()>;
    /// Gets what has gone wrong, or is right again, and may post it. Called on the thread; throws
    /// nothing.
    using Report = std::function<void(const std::string& line)>;

    Store(Options options, CurrentState& state, Clock clock, Report report);
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;
    /// Stops.
    ~Store();

    /// Opens the file, makes it when it isn't there, and returns what it holds. Throws Failure when
    /// it is no database of ours or another dbman has it.
    StoredState open();

    /// Starts to write. open() has succeeded. Throws Failure.
    void start();

    /// Writes what waits and closes the file.
    void stop();

    // From here on any thread.

    /// Queues a row; never waits. Changes of the current state that were made before are written
    /// with it.
    void post(HistoryRow row);

    /// Has changes of the current state written that no row comes with.
    void wake();

    /// Waits a short time when the disk doesn't keep up, once until it does again. Returns whether
    /// it had to.
    bool waitForRoom();

    /// Waits until all is committed that was posted before. False: that can't be done now, or takes
    /// too long.
    bool flush();

    StoreStatus status() const;

    /// The history as it is committed. To be used by one thread; open() has succeeded.
    HistoryReader& history() { return *reader; }

private:
    using Moment = SteadyTime::Moment;
    using Lock = std::unique_lock<std::mutex>;

    void run();
    void waitForWork(Lock& lock);
    /// One transaction at most. Without the mutex.
    bool writeSome(std::vector<HistoryRow> rows);
    /// A round of steps, or as many as can be taken before a row waits.
    void prune(Lock& lock);
    /// Whether more steps are due. Without the mutex.
    bool pruneStep();
    void succeed(Lock& lock);
    void fail(Lock& lock, const std::string& why);
    // These need the mutex.
    bool hasWork() const;
    bool isDue() const;
    bool isCrowded() const;
    void noteWork();

    // Constant after construction.
    const Options options;
    const Clock clock;
    const Report report;
    // Synchronises itself.
    CurrentState& state;
    // Made by open(), then used by the thread. In the order in which they need one another.
    std::unique_ptr<DatabaseFile> file;
    std::unique_ptr<Database> database;
    std::unique_ptr<RowWriter> writer;
    std::unique_ptr<Pruner> pruner;
    // Made by start(); synchronises itself.
    std::unique_ptr<Checkpoints> checkpoints;
    // Made by open(), then used by the readers' thread.
    std::unique_ptr<HistoryReader> reader;

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::condition_variable progressed;
    // Guarded by mutex.
    RowBacklog backlog;
    bool stateChanged = false;
    Moment firstWaiting;
    Moment nextPruning;
    Moment nextTry;
    Moment nextLossReport;
    std::uint64_t flushWanted = 0;
    std::uint64_t flushDone = 0;
    std::uint64_t reportedLost = 0;
    std::optional<Time> lastCommit;
    std::string error;
    std::size_t writing = 0;
    // The time of the oldest row that is being written; without a value between commits.
    std::optional<Moment> writingSince;
    bool receiverGaveUp = false;
    bool stopping = false;
    std::thread thread;
};

}  // namespace ponmgr::dbman
