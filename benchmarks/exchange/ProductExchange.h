#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"
#include "tk/UDPSocket.h"

namespace ponmgr::bench {

/// Exchanges with answers that came before the wait for them.
struct Unnoticed {
    unsigned askedAgain = 0;  ///< The card had to be asked more than once.
    unsigned givenUp = 0;     ///< Of these: none of its answers was noticed.
};

/// What came of one request.
struct Sent {
    std::size_t answers = 0;  ///< One for each time that the card was asked.
    bool givenUp = false;     ///< The exchange failed, though there are answers.
};

/// The daemon's exchange with one card, with all that belongs to it: request, shared socket and its
/// receive thread, wait, and the record parsed from the answer.
class ProductExchange {
public:
    /// Blocks for the second or two until the daemon's socket is bound to `source`. Throws
    /// std::runtime_error when it isn't within 10 s.
    ProductExchange(const std::string& source, const std::string& card,
                    const ExchangeTiming& timing = {});

    /// What came of so many. Throws Exception when the card is silent, std::runtime_error for an
    /// answer without its record.
    Unnoticed exchange(unsigned times);

    /// Makes the next request; its tag.
    std::uint16_t prepare();
    /// Exchanges what was prepared and parses what came. Throws Exception when the card is silent.
    Sent send();

    UDPSocket& getSocket() { return socket; }

private:
    UDPSocket socket;
    RequestMessage requests;
    ResponseMessage responses;
};

}  // namespace ponmgr::bench
