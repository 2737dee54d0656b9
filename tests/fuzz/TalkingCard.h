#pragma once

#include <netinet/in.h>

#include <cstdint>
#include <vector>

#include "Script.h"
#include "tk/DatagramTransport.h"

namespace ponmgr::fuzz {

/// A shared socket behind which one card says what a script lets it say, while a request is sent:
/// events and whatever else, then an answer or nothing. Behind the script's end it is silent. An
/// answer ends the wait that follows.
///
/// The script has a byte for each thing said. Its remainder by 4 says what that is:
///   0  nothing more to this request
///   1  the answer, and nothing more: its data, led by their count; with bit 2 also the result
///      before it, with bit 3 the length field, which are those of an accepted request otherwise;
///      with all of bits 4 to 7 the count has two bytes, so that a list may be a long one
///   2  one of the four events, by bits 2 and 3: its data, led by their count
///   3  a datagram, led by its size
class TalkingCard : public DatagramTransport {
public:
    explicit TalkingCard(Script& says) : script(says) {}

    void send(const TKMessage& message, const sockaddr_in& destination) override;
    bool hasDone() const override { return true; }
    void registerUDPSocket(DatagramReceiver* given) override { receiver = given; }
    void unregisterUDPSocket(DatagramReceiver* /*given*/) override { receiver = nullptr; }

private:
    using Frame = std::vector<std::uint8_t>;

    void answer(const TKMessage& request, unsigned choice);
    void tellEvent(unsigned choice);
    void addData(Frame& frame, std::size_t most);
    void handOver(const Frame& datagram);

    Script& script;
    DatagramReceiver* receiver = nullptr;
};

}  // namespace ponmgr::fuzz
