#pragma once

#include <pthread.h>

namespace ponmgr {

/// Reader-writer lock that a thread may take for reading while it already holds it for reading:
/// readers never queue behind a waiting writer. (std::shared_mutex promises neither.) Used through
/// std::shared_lock and std::unique_lock.
class ReadWriteLock {
public:
    ReadWriteLock();
    ReadWriteLock(const ReadWriteLock&) = delete;
    ReadWriteLock& operator=(const ReadWriteLock&) = delete;
    ~ReadWriteLock();

    // The names that the standard lock holders call.
    void lock();
    void unlock();
    void lock_shared();
    void unlock_shared();

private:
    pthread_rwlock_t handle{};
};

}  // namespace ponmgr
