#include "dbman/Signals.h"

namespace ponmgr::dbman {

StopSignals::StopSignals() {
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, &previous);
    struct sigaction ignore {};
    ignore.sa_handler = SIG_IGN;
    sigaction(SIGPIPE, &ignore, &previousPipe);
    sigaction(SIGXFSZ, &ignore, &previousFileSize);
}

StopSignals::~StopSignals() {
    sigaction(SIGXFSZ, &previousFileSize, nullptr);
    sigaction(SIGPIPE, &previousPipe, nullptr);
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

void StopSignals::wait() const {
    int arrived = 0;
    sigwait(&signals, &arrived);
}

}  // namespace ponmgr::dbman
