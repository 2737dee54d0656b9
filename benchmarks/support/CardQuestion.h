#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace ponmgr::bench {

/// Get OLT Information as the daemon sends it, which every card answers with 99 bytes: the same
/// datagram for whoever asks a card.
class CardQuestion {
public:
    CardQuestion();

    /// The datagram with the next tag, until the next call. The first tag is 1.
    std::span<const unsigned char> next();

    /// The tag of the datagram last returned.
    std::uint16_t getTag() const { return tag; }

    /// Whether this is the answer to the datagram last returned, by its size, id and tag.
    bool isAnswer(std::span<const unsigned char> received) const;

    /// The tag of an answer to this question, whenever it was asked; none for anything else.
    static std::optional<std::uint16_t> tagOfAnswer(std::span<const unsigned char> received);

private:
    std::vector<unsigned char> datagram;
    std::uint16_t tag = 0;
};

}  // namespace ponmgr::bench
