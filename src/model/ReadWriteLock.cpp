#include "model/ReadWriteLock.h"

#include <system_error>

namespace ponmgr {

namespace {

void check(int result, const char* what) {
    if (result != 0) {
        throw std::system_error(result, std::generic_category(), what);
    }
}

}  // namespace

ReadWriteLock::ReadWriteLock() {
    pthread_rwlockattr_t attributes;
    check(pthread_rwlockattr_init(&attributes), "pthread_rwlockattr_init");
    // What makes the nested read lock safe, said rather than left to the default.
    pthread_rwlockattr_setkind_np(&attributes, PTHREAD_RWLOCK_PREFER_READER_NP);
    const int result = pthread_rwlock_init(&handle, &attributes);
    pthread_rwlockattr_destroy(&attributes);
    check(result, "pthread_rwlock_init");
}

ReadWriteLock::~ReadWriteLock() {
    pthread_rwlock_destroy(&handle);
}

void ReadWriteLock::lock() {
    check(pthread_rwlock_wrlock(&handle), "pthread_rwlock_wrlock");
}

void ReadWriteLock::unlock() {
    pthread_rwlock_unlock(&handle);
}

void ReadWriteLock::lock_shared() {
    check(pthread_rwlock_rdlock(&handle), "pthread_rwlock_rdlock");
}

void ReadWriteLock::unlock_shared() {
    pthread_rwlock_unlock(&handle);
}

}  // namespace ponmgr
