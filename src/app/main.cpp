// ponmgrd: the daemon that manages the PON cards of the chassis. It reads no arguments, no file and
// no environment; the database manager tells it where the cards are.

#include <malloc.h>

#include <csignal>

#include "app/LogLine.h"
#include "app/Manager.h"
#include "ipc/APIData.h"
#include "ipc/IPCWorker.h"

int main() {
    // One heap for all threads, which seldom meet in it. With one a thread, the usual way, each of
    // them takes 64 MiB of address space, and where that is limited every allocation takes a page.
    mallopt(M_ARENA_MAX, 1);  // NOLINT(concurrency-mt-unsafe): no other thread is there yet
    ponmgr::startLog();
    // Neither a reader of the log or of a notification that went away nor a log as long as a file
    // may be must end the daemon. Handlers, because "ignored" would be inherited by the probes'
    // shells.
    for (const int signal : {SIGPIPE, SIGXFSZ}) {
        std::signal(signal, [](int) {});
    }

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
