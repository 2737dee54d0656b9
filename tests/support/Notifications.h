#pragma once

#include <string>
#include <vector>

#include "app/Exception.h"
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

/// Has messages wait until there is no room for a report, however short. They are gone when the
/// notifications have been taken.
inline void fillNotifications() {
    IPCWorker& worker = *IPCWorker::getInstance();
    std::string data = "\"" + std::string(IPCWorker::kMostBytes / 3, 'x') + "\"";
    while (data.size() > 2) {
        try {
            worker.notify("/waits", data);
        } catch (const Exception&) {
            data = "\"" + std::string((data.size() - 2) / 2, 'x') + "\"";
        }
    }
}

}  // namespace ponmgr::test
