#pragma once

namespace ponmgr::test {

/// Lets the next timed wait of the calling thread end at once without a signal, as the system may
/// do with any wait. An exchange takes that for an answer, and has no record then.
void endNextWaitBySurprise();

}  // namespace ponmgr::test
