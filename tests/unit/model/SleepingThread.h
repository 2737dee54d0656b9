#pragma once

#include <sys/types.h>

namespace ponmgr::test {

/// The calling thread's number for the kernel.
pid_t currentThread();

/// Whether a thread of this process sleeps in the kernel. One that takes a lock and has nothing
/// else to wait for waits for the lock then.
bool isAsleep(pid_t thread);

}  // namespace ponmgr::test
