#include "tk/RequestMessage.h"

#include <utility>

#include "app/LogLine.h"

namespace ponmgr {

RequestMessage::~RequestMessage() = default;

std::unique_ptr<TKMessage> RequestMessage::getNewMessage(TKIDMessage id, const unsigned char* data,
                                                         std::uint16_t length) {
    const auto ctag = static_cast<std::uint16_t>(ctagCounter + 1);
    auto message = std::make_unique<TKMessage>(id, ctag, data, length);
    // The counter skips 0 at the wrap, the tag doesn't: ..., 0xFFFF, 0x0000, 0x0002, ... Who
    // follows a conversation by its tags counts on this order.
    ctagCounter = ctagCounter == UINT16_MAX ? std::uint16_t{1} : ctag;
    return message;
}

void RequestMessage::addMessage(std::unique_ptr<TKMessage> message) {
    messages.push_back(std::move(message));
}

void RequestMessage::clear() {
    messages.clear();
}

void RequestMessage::debug() const {
    printLine("Request Message - Init");
    for (const auto& message : messages) {
        message->debug();
    }
    printLine("Request Message - End");
}

void RequestMessage::add(TKIDMessage id) {
    addMessage(getNewMessage(id, nullptr, 0));
}

void RequestMessage::add(TKIDMessage id, TKMPayload* payload) {
    payload->buildPayload();
    addMessage(getNewMessage(id, payload->getPayload(), payload->getSize()));
}

}  // namespace ponmgr
