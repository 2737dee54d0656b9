#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"
#include "tk/UDPSocket.h"

namespace ponmgr::bench {

/// The daemon's exchange with one card, with all that belongs to it: request, shared socket and its
/// receive thread, wait, and the record parsed from the answer.
class ProductExchange {
public:
    /// Blocks for the second or two until the daemon's socket is bound to `source`. Throws
    /// std::runtime_error when it isn't within 10 s.
    ProductExchange(const std::string& source, const std::string& card,
                    const ExchangeTiming& timing = {});

    /// In how many of them the card was asked again, because the first answer came before the wait
    /// for it. Throws Exception when the card is silent, std::runtime_error for an answer without
    /// its record.
    unsigned exchange(unsigned times);

    /// Makes the next request; its tag.
    std::uint16_t prepare();
    /// Exchanges what was prepared and parses what came; how many answers these are. Throws
    /// Exception when the card is silent.
    std::size_t send();

    UDPSocket& getSocket() { return socket; }

private:
    UDPSocket socket;
    RequestMessage requests;
    ResponseMessage responses;
};

}  // namespace ponmgr::bench
