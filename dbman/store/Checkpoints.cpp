#include "dbman/store/Checkpoints.h"

#include <pthread.h>

namespace ponmgr::dbman {

Checkpoints::Checkpoints(const std::string& file, std::chrono::milliseconds pauseBetween)
    : pause(pauseBetween), database(file, Database::Access::readWrite) {
    thread = std::thread([this] {
        pthread_setname_np(pthread_self(), "dbman-merge");
        run();
    });
}

Checkpoints::~Checkpoints() {
    {
        const std::lock_guard lock(mutex);
        stopping = true;
    }
    stopped.notify_all();
    thread.join();
}

void Checkpoints::run() {
    std::unique_lock lock(mutex);
    while (!stopped.wait_for(lock, pause, [this] { return stopping; })) {
        lock.unlock();
        try {
            // Waits neither for the writer nor for readers, and holds up none of them.
            database.run("PRAGMA wal_checkpoint(PASSIVE)");
        } catch (const StoreError&) {  // NOLINT(bugprone-empty-catch)
            // The log is whole and stays; that nothing can be written, the writer reports.
        }
        lock.lock();
    }
}

}  // namespace ponmgr::dbman
