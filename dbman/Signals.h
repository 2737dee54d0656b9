#pragma once

#include <csignal>

namespace ponmgr::dbman {

/// Makes SIGINT and SIGTERM wait to be fetched instead of ending the process, for the calling
/// thread and those that it starts while the object lives. SIGPIPE is ignored meanwhile: that
/// nobody reads our output any more is no reason to leave the daemon alone. Nor is a file that has
/// reached the size that the process may give it: SIGXFSZ is ignored, too.
class StopSignals {
public:
    StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    /// Puts back what was.
    ~StopSignals();

    /// Returns when one of the two has arrived. To be called by the constructing thread.
    void wait() const;

private:
    sigset_t signals{};
    sigset_t previous{};
    struct sigaction previousPipe {};
    struct sigaction previousFileSize {};
};

}  // namespace ponmgr::dbman
