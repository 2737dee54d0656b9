// The door of the database manager: one message through envelope, task and the routing to a slot,
// and carried out there before a silent card.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>

#include "Require.h"
#include "SilentTransport.h"
#include "app/Exception.h"
#include "app/Manager.h"
#include "ipc/APIData.h"
#include "ipc/IPCWorker.h"

using ponmgr::fuzz::require;

namespace {

/// One try that doesn't wait.
constexpr ponmgr::PONCardTiming kTiming{
    .exchange = {.responseTime = std::chrono::milliseconds(0),
                 .clockStep = std::chrono::milliseconds(1),
                 .tries = 1},
    .acceptedLaterPause = std::chrono::milliseconds(0),
    .passPause = std::chrono::milliseconds(0),
};

/// What was read prints to what reads the same again.
void requireSameAgain(ponmgr::APIData& message) {
    const std::string printed = message.getJsonProtocol();
    ponmgr::APIData again;
    again.parseRequest(printed.data(), static_cast<int>(printed.size()));
    require(again.getUri() == message.getUri(), "the uri survives printing");
    require(again.getAction() == message.getAction(), "the action survives printing");
    require(again.getJsonData() == message.getJsonData(), "the data survives printing");
    require(again.getJsonProtocol() == printed, "a printed message prints the same again");
}

/// Routes the message as the receive thread does. Whether it was queued on exactly one slot.
bool route(ponmgr::Manager& manager, ponmgr::APIData& message) {
    try {
        manager.handlerApiRequest(&message);
    } catch (const std::logic_error&) {
        // A slot that is no number; the receive thread prints it.
    }
    std::size_t queued = 0;
    for (int slot = 1; slot <= static_cast<int>(ponmgr::Manager::kSlots); slot++) {
        queued += manager.getSlot(slot).getTaskCount();
    }
    require(queued <= 1, "a message is queued on one slot at most");
    return queued == 1;
}

void carryOut(ponmgr::APIData& message) {
    ponmgr::fuzz::SilentTransport transport;
    ponmgr::PONCardTask slot(kTiming);
    slot.getHelper().start(&transport, "3");
    slot.getHelper().setOltIpAddress("127.0.1.3");
    auto task = std::make_unique<ponmgr::PMTask>();
    task->parseTask(&message);
    if (task->getTask() == "/olt/src_ip") {
        return;  // it opens the shared socket, which here isn't there
    }
    slot.addTask(std::move(task));
    slot.runTaskPass();
    require(slot.getTaskCount() == 0, "a command is carried out once");
    while (ponmgr::IPCWorker::getInstance()->takeNotification()) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ponmgr::fuzz::silenceOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    ponmgr::APIData message;
    try {
        message.parseRequest(text.data(), static_cast<int>(text.size()));
    } catch (const ponmgr::Exception&) {
        return 0;
    }
    requireSameAgain(message);
    ponmgr::Manager manager;
    if (route(manager, message)) {
        carryOut(message);
    }
    return 0;
}
