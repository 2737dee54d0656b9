#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace ponmgr::bench {

constexpr std::uint16_t kCardPort = 14113;

/// Get OLT Information as the daemon sends it, which every card answers with 99 bytes: the same
/// datagram for the floors and for the daemon's exchange.
class CardQuestion {
public:
    CardQuestion();

    /// The datagram with the next tag, until the next call.
    std::span<const unsigned char> next();

    /// Whether this is the answer to the datagram last returned.
    bool isAnswer(std::span<const unsigned char> datagram) const;

private:
    std::vector<unsigned char> datagram;
    std::uint16_t tag = 0;
};

}  // namespace ponmgr::bench
