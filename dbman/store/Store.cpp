#include "dbman/store/Store.h"

#include <pthread.h>

#include <filesystem>
#include <utility>

#include "dbman/EventLog.h"
#include "dbman/store/Schema.h"

namespace ponmgr::dbman {

namespace {

// Small enough for a commit of some 10 ms, large enough for a storm.
constexpr std::size_t kRowsPerCommit = 2000;
// A disk that is too slow for a storm isn't reported with each commit.
constexpr std::chrono::seconds kLossReportPause(10);

// A log is written first, so that readers and the writer don't wait for one another. Without a sync
// for each commit a killed dbman loses nothing; after a power failure the last commits may be
// missing, and the file is whole all the same.
constexpr auto kSettings =
    "PRAGMA journal_mode = WAL; PRAGMA synchronous = NORMAL; "
    "PRAGMA journal_size_limit = 8388608;"
    // Merging is the work of a thread of its own, unless a storm keeps it from coming to an end.
    "PRAGMA wal_autocheckpoint = 8192;";

std::uint64_t sizeOf(const std::string& path) {
    std::error_code error;
    const auto size = std::filesystem::file_size(path, error);
    return error ? 0 : size;
}

/// An absolute path has no meaning of its own to the database, unlike ":memory:".
Store::Options withAbsoluteFile(Store::Options options) {
    options.file = std::filesystem::absolute(options.file);
    return options;
}

}  // namespace

Store::Store(Options storeOptions, CurrentState& currentState, Clock timeSource, Report reporter)
    : options(withAbsoluteFile(std::move(storeOptions))),
      clock(std::move(timeSource)),
      report(std::move(reporter)),
      state(currentState),
      backlog(options.bounds) {}

Store::~Store() {
    stop();
}

StoredState Store::open() {
    file = std::make_unique<DatabaseFile>(options.file);
    try {
        database = std::make_unique<Database>(options.file, Database::Access::readWrite);
        migrate(*database, options.file);
        database->run(kSettings);
        writer = std::make_unique<RowWriter>(*database);
        pruner = std::make_unique<Pruner>(*database, options.retention);
        reader = std::make_unique<HistoryReader>(options.file);
        return readStoredState(*database, EventLog::kKept);
    } catch (const StoreError& failure) {
        throw Failure("can't use the database " + options.file + ": " + failure.what());
    }
}

void Store::start() {
    checkpoints = std::make_unique<Checkpoints>(options.file, options.mergePause);
    nextPruning = options.time->now();
    thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "dbman-store");
        run();
    });
}

void Store::stop() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    changed.notify_all();
    progressed.notify_all();
    if (thread.joinable()) {
        thread.join();
    }
    checkpoints.reset();
    reader.reset();
    pruner.reset();
    writer.reset();
    database.reset();
    file.reset();
}

void Store::post(HistoryRow row) {
    {
        const std::lock_guard lock(mutex);
        noteWork();
        backlog.push(std::move(row));
    }
    changed.notify_one();
}

void Store::wake() {
    {
        const std::lock_guard lock(mutex);
        noteWork();
    }
    changed.notify_one();
}

bool Store::waitForRoom() {
    Lock lock(mutex);
    if (!error.empty() || receiverGaveUp || !isCrowded()) {
        return false;
    }
    receiverGaveUp =
        !options.time->waitUntil(progressed, lock, options.time->now() + options.roomLimit,
                                 [this] { return stopping || !error.empty() || !isCrowded(); });
    return true;
}

bool Store::flush() {
    Lock lock(mutex);
    const auto wanted = ++flushWanted;
    changed.notify_one();
    options.time->waitUntil(
        progressed, lock, options.time->now() + options.flushLimit,
        [this, wanted] { return stopping || !error.empty() || flushDone >= wanted; });
    return flushDone >= wanted;
}

StoreStatus Store::status() const {
    StoreStatus status;
    status.file = options.file;
    status.sizeBytes = sizeOf(options.file) + sizeOf(options.file + "-wal");
    status.schema = newestSchema();
    const std::lock_guard lock(mutex);
    status.lastCommit = lastCommit;
    status.waitingWrites = backlog.size() + writing;
    status.lostWrites = backlog.dropped();
    status.error = error;
    return status;
}

bool Store::hasWork() const {
    return stateChanged || backlog.size() > 0;
}

bool Store::isDue() const {
    return flushWanted > flushDone || backlog.size() >= kRowsPerCommit;
}

bool Store::isCrowded() const {
    const auto limit = options.time->now() - options.crowdAge;
    return (writingSince && *writingSince <= limit) || (hasWork() && firstWaiting <= limit);
}

void Store::noteWork() {
    if (!hasWork()) {
        firstWaiting = options.time->now();
    }
    stateChanged = true;
}

void Store::waitForWork(Lock& lock) {
    if (!error.empty()) {
        options.time->waitUntil(changed, lock, nextTry, [this] { return stopping; });
        return;
    }
    options.time->waitUntil(changed, lock, nextPruning,
                            [this] { return stopping || hasWork() || isDue(); });
    if (hasWork()) {
        options.time->waitUntil(changed, lock, firstWaiting + options.commitDelay,
                                [this] { return stopping || isDue(); });
    }
}

void Store::run() {
    Lock lock(mutex);
    bool goOn = true;
    while (goOn) {
        waitForWork(lock);
        // What is posted from here on is of the next commit, and so is a wish for one.
        const auto wanted = flushWanted;
        const bool last = stopping;
        writingSince = hasWork() ? std::optional(firstWaiting) : std::nullopt;
        stateChanged = false;
        auto rows = backlog.take(kRowsPerCommit);
        writing = rows.size();
        const bool drained = backlog.size() == 0;
        lock.unlock();
        const bool written = writeSome(std::move(rows));
        lock.lock();
        if (written && drained) {
            flushDone = wanted;
            progressed.notify_all();
        }
        if (written && !last && options.time->now() >= nextPruning) {
            prune(lock);
        }
        // Not "drained": what is reported becomes a row itself.
        goOn = !last || (written && backlog.size() > 0);
    }
    const auto lost = backlog.size();
    const std::string why = error;
    lock.unlock();
    if (lost > 0) {
        report("database " + options.file + " can't be written: " + why + "; " +
               std::to_string(lost) + " rows are lost");
    }
}

bool Store::writeSome(std::vector<HistoryRow> rows) {
    const auto changes = state.takeChanges();
    const bool hasAny = !changes.isEmpty() || !rows.empty();
    std::string why;
    try {
        if (hasAny) {
            writer->write(changes, rows);
        }
    } catch (const StoreError& failure) {
        why = failure.what();
        state.markChanged(changes);
    }
    Lock lock(mutex);
    writing = 0;
    writingSince.reset();
    if (why.empty()) {
        lastCommit = hasAny ? clock() : lastCommit;
        succeed(lock);
        return true;
    }
    noteWork();
    backlog.putBack(std::move(rows));
    fail(lock, why);
    return false;
}

void Store::prune(Lock& lock) {
    bool goesOn = true;
    // What comes meanwhile is written after the step that is being taken. One is taken in any case,
    // as in a storm something always waits.
    do {
        lock.unlock();
        goesOn = pruneStep();
        lock.lock();
    } while (goesOn && !hasWork() && !stopping);
    nextPruning =
        options.time->now() + (goesOn ? std::chrono::milliseconds(0) : options.pruneInterval);
    // Alarm states may have been forgotten.
    noteWork();
}

bool Store::pruneStep() {
    try {
        const auto now = clock();
        state.alarms.forgetClearedBefore(now - options.retention.ageOf(AgingTable::alarms));
        return pruner->step(now);
    } catch (const StoreError&) {
        // What is too old, or too much, can wait. That nothing can be written, the next row says.
        return false;
    }
}

void Store::succeed(Lock& lock) {
    receiverGaveUp = false;
    progressed.notify_all();
    const bool wasFailing = !error.empty();
    const auto lost = backlog.dropped() - reportedLost;
    error.clear();
    if (!wasFailing && (lost == 0 || options.time->now() < nextLossReport)) {
        return;
    }
    reportedLost = backlog.dropped();
    nextLossReport = options.time->now() + kLossReportPause;
    lock.unlock();
    report("database " + options.file + (wasFailing ? " is written again, " : " is too slow, ") +
           std::to_string(lost) + " rows were lost");
    lock.lock();
}

void Store::fail(Lock& lock, const std::string& why) {
    const bool isNew = error.empty();
    error = why;
    nextTry = options.time->now() + options.retryPause;
    progressed.notify_all();
    if (isNew) {
        lock.unlock();
        report("database " + options.file + " can't be written: " + why +
               "; going on from memory, trying again");
        lock.lock();
    }
}

}  // namespace ponmgr::dbman
