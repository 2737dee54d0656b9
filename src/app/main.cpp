// ponmgrd: the daemon that manages the PON cards of the chassis. It reads no arguments, no file and
// no environment; the database manager tells it where the cards are.

#include <csignal>

#include "app/LogLine.h"
#include "app/Manager.h"
#include "ipc/APIData.h"
#include "ipc/IPCWorker.h"

int main() {
    ponmgr::startLog();
    // A reader of the log or of a notification that went away must not end the daemon. A handler,
    // because "ignored" would be inherited by the probes' shells.
    std::signal(SIGPIPE, [](int) {});

    ponmgr::printFailures(__func__, [] {
        auto* const worker = ponmgr::IPCWorker::getInstance();
        auto* const manager = ponmgr::Manager::getInstance();
        worker->setRequestHandler(
            [manager](ponmgr::APIData* request) { manager->handlerApiRequest(request); });
        worker->startWorker();
        manager->start();
        worker->waitWorkerFinish();
        manager->waitForFinish();
    });
    // 0 after a failure too: its line in the log is the report, and supervisors of the daemon take
    // any other status for a crash.
    return 0;
}
