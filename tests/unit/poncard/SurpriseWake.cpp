#include "SurpriseWake.h"

#include <pthread.h>

#include <utility>

namespace {

thread_local bool surprise = false;

}  // namespace

// The linker sends every call of pthread_cond_clockwait in the test binary to the first of these
// and lets the second stand for the library's own.
extern "C" {

int __real_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  clockid_t clock, const timespec* until);

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  clockid_t clock, const timespec* until);

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex,
                                  clockid_t clock, const timespec* until) {
    if (std::exchange(surprise, false)) {
        return 0;
    }
    return __real_pthread_cond_clockwait(condition, mutex, clock, until);
}

}  // extern "C"

namespace ponmgr::test {

void endNextWaitBySurprise() {
    surprise = true;
}

}  // namespace ponmgr::test
