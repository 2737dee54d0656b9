// The door of the network: one datagram through frame, dispatch and the parser of its id.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "RecordRoundTrip.h"
#include "Require.h"
#include "app/Exception.h"
#include "tk/ResponseMessage.h"
#include "tk/TKMessage.h"

using ponmgr::fuzz::require;

namespace {

constexpr std::size_t kLargestDatagram = 65535;

/// All that is said of a frame holds together, whatever its fields claim.
void checkFrame(const ponmgr::TKMessage& message, std::size_t size) {
    require(message.isReceived(), "a datagram becomes a received message");
    require(message.getSize() == size, "a frame has the size of its datagram");
    require(message.getAvailableLength() <= size, "no more data than the datagram holds");
    // A copy of them all, for the sanitizer to see that they are there.
    const unsigned char* data = message.getData();
    const std::vector<unsigned char> copy(data, data + message.getAvailableLength());
    require(copy.size() == message.getAvailableLength(), "the data can be read");
    if (!message.getHasSequence()) {
        require(message.getSequence() == 0, "a frame without sequence has sequence 0");
    }
    (void)message.getResult();
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    ponmgr::fuzz::silenceOutput();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > kLargestDatagram) {
        return -1;
    }
    // A block of exactly this size, so that one byte too far is seen.
    const std::vector<unsigned char> datagram(data, data + size);
    ponmgr::ResponseMessage responses(std::chrono::milliseconds(0));
    try {
        auto message =
            std::make_unique<ponmgr::TKMessage>(datagram.data(), static_cast<std::uint16_t>(size));
        require(size >= 8, "a datagram of less than 8 bytes is refused");
        checkFrame(*message, size);
        responses.addResponseMessage(std::move(message));
        responses.parseAllMessages();
        for (std::size_t i = 0; i < responses.getContainerSize(); i++) {
            ponmgr::fuzz::requireRoundTrip(*responses.getContainer(i));
        }
    } catch (const ponmgr::Exception&) {
        require(responses.getContainerSize() == 0, "a refused datagram leaves no record");
    }
    return 0;
}
