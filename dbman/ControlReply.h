#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "dbman/Json.h"
#include "dbman/Sending.h"

namespace ponmgr::dbman {

/// What a command leads to: an answer, or messages to the daemon and what is answered once it is
/// known what has become of them.
struct ControlReply {
    /// Called when the messages are settled. Throws Failure.
    using Finish = std::function<OrderedJson()>;

    // Implicit: most commands have their answer at once.
    ControlReply(OrderedJson answer) : json(std::move(answer)) {}
    ControlReply(std::shared_ptr<Sending> messages, Finish finishAnswer)
        : sending(std::move(messages)), finish(std::move(finishAnswer)) {}

    OrderedJson json;
    /// Null when `json` is the answer.
    std::shared_ptr<Sending> sending;
    Finish finish;
};

}  // namespace ponmgr::dbman
