#pragma once

#include <netinet/in.h>

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "tk/DatagramTransport.h"

namespace ponmgr::bench {

/// When the first answer to each request reached the daemon's receive thread. Made behind the
/// exchange that it watches, it is handed an answer after that one was, so it takes no time from
/// it.
class AnswerArrivals : public DatagramReceiver {
public:
    /// `transport` must outlive this.
    AnswerArrivals(DatagramTransport& transport, const std::string& card);
    AnswerArrivals(const AnswerArrivals&) = delete;
    AnswerArrivals& operator=(const AnswerArrivals&) = delete;
    ~AnswerArrivals() override;

    /// Before a request with this tag is sent.
    void forget(std::uint16_t tag);

    /// Nanoseconds on the steady clock; 0 when none has come.
    std::int64_t firstOf(std::uint16_t tag) const;

    bool hasClientIpAddress(const sockaddr_in& sender) const override;
    bool processRxQueue(std::unique_ptr<TKMessage>& message) override;

private:
    DatagramTransport& transport;
    const sockaddr_in card;
    std::vector<std::atomic<std::int64_t>> arrivals;  // by tag
};

}  // namespace ponmgr::bench
