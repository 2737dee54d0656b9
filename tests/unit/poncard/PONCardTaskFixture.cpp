#include "PONCardTaskFixture.h"

#include "ipc/APIData.h"
#include "support/WaitFor.h"
#include "tk/SocketHelper.h"

namespace ponmgr::test {

namespace {

constexpr std::chrono::milliseconds kClockStep{1};

PONCardTiming scriptedTiming(std::chrono::milliseconds passPause) {
    PONCardTiming timing;
    timing.exchange = {std::chrono::seconds(10), kClockStep, 3};
    timing.acceptedLaterPause = std::chrono::milliseconds(1);
    timing.passPause = passPause;
    return timing;
}

// Many short tries: a card that is slow because the machine is busy is answered in time, and one
// that is silent costs half a second.
PONCardTiming readyTiming() {
    PONCardTiming timing;
    timing.exchange = {std::chrono::milliseconds(20), kClockStep, 25};
    timing.acceptedLaterPause = std::chrono::milliseconds(1);
    timing.passPause = std::chrono::milliseconds(1);
    return timing;
}

}  // namespace

std::unique_ptr<PMTask> commandOf(const std::string& uri, const std::string& data) {
    const std::string text = R"({"action":"set","uri":")" + uri + R"(","data":)" + data + "}";
    APIData request;
    request.parseRequest(text.data(), static_cast<int>(text.size()));
    auto task = std::make_unique<PMTask>();
    task->parseTask(&request);
    return task;
}

SlotFixture::SlotFixture(const PONCardTiming& timing) : slot(timing) {
    takeNotifications();
}

void SlotFixture::carryOut(const std::string& uri, const std::string& data) {
    slot.addTask(commandOf(uri, data));
    slot.runTaskPass();
}

ScriptedSlotFixture::ScriptedSlotFixture() : SlotFixture(scriptedTiming(kPassPause)) {
    slot.getHelper().start(&transport, "3");
    slot.getHelper().setOltIpAddress("127.0.1.3");
}

ReadySlotFixture::ReadySlotFixture() : SlotFixture(readyTiming()) {
    slot.prepare(SocketHelper::kAnyInterface, "3");
    carryOut("/olt/src_ip", R"({"ip_address":"127.0.0.1"})");
    const auto* socket = SocketHelper::getInstance(SocketHelper::kAnyInterface);
    EXPECT_TRUE(waitFor([socket] { return socket->hasDone(); }));
    carryOut("/olt/ip", R"({"ip_address":"127.0.1.3"})");
    takeNotifications();
}

void ReadySlotFixture::insertMarkedCard() {
    card.answer("00 07", oltInformation().substr(std::string("00 07 00 01 ").size()));
    card.answer("01 2d", "00 04 00 00 00 00");
    card.answer("01 b3", "00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 01");
    card.answer("01 7d", "00 06 00 00 04 02 00 01");
    card.answer("01 38", "00 02 00 05");
}

void ReadySlotFixture::unmarkCard() {
    card.answer("01 b3", "00 10 00 00 08 00 0d b6 01 02 03 02 05 00 11 11 11 00");
}

void ReadySlotFixture::runPasses(int count) {
    for (int pass = 0; pass < count; pass++) {
        slot.runMainPass();
    }
}

}  // namespace ponmgr::test
