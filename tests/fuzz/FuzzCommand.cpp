// The door of the database manager: one message through envelope, task and the routing to a slot,
// and carried out there. Behind two bytes FF stands what the slot's card says meanwhile, and in a
// pass before and after it; without them the card is silent.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "FuzzedSlot.h"
#include "Require.h"
#include "Script.h"
#include "app/Exception.h"
#include "app/Manager.h"
#include "ipc/APIData.h"
#include "model/OnuLinkList.h"

using ponmgr::fuzz::require;

namespace {

constexpr std::uint8_t kSeparator[] = {0xFF, 0xFF};

struct Input {
    std::string message;
    std::span<const std::uint8_t> said;
};

Input split(std::span<const std::uint8_t> input) {
    const auto separator =
        std::search(input.begin(), input.end(), std::begin(kSeparator), std::end(kSeparator));
    const auto length = static_cast<std::size_t>(separator - input.begin());
    const auto end = std::min(length + std::size(kSeparator), input.size());
    return {std::string(input.begin(), separator), input.subspan(end)};
}

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
bool route(ponmgr::APIData& message) {
    ponmgr::Manager manager;
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

/// Whether the text is a message that a slot carries out.
bool readCommand(const std::string& text, ponmgr::APIData& message) {
    try {
        message.parseRequest(text.data(), static_cast<int>(text.size()));
    } catch (const ponmgr::Exception&) {
        return false;
    }
    requireSameAgain(message);
    return route(message);
}

/// Were what the card says lost, this program would find nothing in it.
void requireThatTheCardIsHeard() {
    constexpr std::uint8_t kInformationSize = 91;
    constexpr std::size_t kProductCode = 2 + 11;
    std::array<std::uint8_t, 2 + kInformationSize> said{0x01, kInformationSize};
    said[kProductCode] = 0x37;
    said[kProductCode + 1] = 0x23;
    ponmgr::fuzz::Script script(said);
    ponmgr::fuzz::FuzzedSlot slot(script);
    slot.bringUp();
    require(slot.isIdentified(), "the card's answers arrive");
}

/// Were its long lists cut off, this program would never come to the end of the slot's.
void requireThatLongListsAreHeard() {
    constexpr std::size_t kMacSize = 6;
    constexpr std::size_t kLinks = ponmgr::OnuLinkList::kMostLinks + 1;
    constexpr std::size_t kBytes = kLinks * kMacSize;
    // No known links; then the discovered ones, each by its number.
    std::vector<std::uint8_t> said{0x01, 0x00, 0xF1, kBytes >> 8, kBytes & 0xFF};
    for (std::size_t link = 0; link < kLinks; link++) {
        said.insert(said.end(), {0x00, 0x0D, 0xB6, 0x00, static_cast<std::uint8_t>(link >> 8),
                                 static_cast<std::uint8_t>(link)});
    }
    ponmgr::fuzz::Script script(said);
    ponmgr::fuzz::FuzzedSlot slot(script);
    require(slot.pass() == ponmgr::OnuLinkList::kMostLinks, "a list may be longer than the slot's");
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ponmgr::fuzz::silenceOutput();
    requireThatTheCardIsHeard();
    requireThatLongListsAreHeard();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Input input = split(std::span(data, size));
    ponmgr::APIData message;
    const bool isCommand = readCommand(input.message, message);
    if (!isCommand && input.said.empty()) {
        return 0;
    }
    ponmgr::fuzz::Script script(input.said);
    ponmgr::fuzz::FuzzedSlot slot(script);
    slot.bringUp();
    if (isCommand) {
        slot.carryOut(message);
    }
    slot.pass();
    slot.requireReports();
    return 0;
}
