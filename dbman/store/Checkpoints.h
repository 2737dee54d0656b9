#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

#include "dbman/store/Database.h"

namespace ponmgr::dbman {

/// Merges the database's log into its file now and then, over a connection and on a thread of its
/// own ("dbman-merge"): that waits for the disk, and commits must not.
class Checkpoints {
public:
    /// Begins at once. Throws StoreError.
    Checkpoints(const std::string& file, std::chrono::milliseconds pause);
    Checkpoints(const Checkpoints&) = delete;
    Checkpoints& operator=(const Checkpoints&) = delete;
    /// Waits for a merge that runs.
    ~Checkpoints();

private:
    void run();

    // Constant after construction.
    const std::chrono::milliseconds pause;
    // Used by the thread.
    Database database;
    std::mutex mutex;
    std::condition_variable stopped;
    // Guarded by mutex.
    bool stopping = false;
    std::thread thread;
};

}  // namespace ponmgr::dbman
