#pragma once

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <stdexcept>

namespace ponmgr::sim {

/// Keeps the order in which members are added, so that people can read it.
using Json = nlohmann::ordered_json;

/// A control request that can't be carried out, or a simulator that can't be asked; the text is for
/// the person at the other end.
class ControlError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Takes the one reply to one control request, now or later.
class ReplyChannel {
public:
    ReplyChannel() = default;
    ReplyChannel(const ReplyChannel&) = delete;
    ReplyChannel& operator=(const ReplyChannel&) = delete;
    virtual ~ReplyChannel() = default;

    virtual void reply(const Json& message) = 0;
};

using ReplyChannelPointer = std::shared_ptr<ReplyChannel>;

}  // namespace ponmgr::sim
