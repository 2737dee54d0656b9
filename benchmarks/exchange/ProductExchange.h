#pragma once

#include <cstddef>
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

    /// Throws Exception when the card is silent, std::runtime_error for an answer without its
    /// record.
    void exchange(unsigned times);

    /// One exchange; how many answers to its request came. Two say that the first one's signal
    /// found nobody who waited.
    std::size_t answersToOne();

    UDPSocket& getSocket() { return socket; }

private:
    void exchangeOnce();

    UDPSocket socket;
    RequestMessage requests;
    ResponseMessage responses;
};

}  // namespace ponmgr::bench
