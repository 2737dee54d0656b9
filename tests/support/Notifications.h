#pragma once

#include <string>
#include <vector>

#include "ipc/IPCWorker.h"

namespace ponmgr::test {

/// The texts that wait to be sent to the database manager, oldest first; none waits afterwards. For
/// tests in which no worker thread runs.
inline std::vector<std::string> takeNotifications() {
    std::vector<std::string> texts;
    while (const auto message = IPCWorker::getInstance()->takeNotification()) {
        texts.push_back(message->getJsonProtocol());
    }
    return texts;
}

}  // namespace ponmgr::test
