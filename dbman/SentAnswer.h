#pragma once

#include <vector>

#include "dbman/Json.h"
#include "dbman/Message.h"
#include "dbman/Sending.h"

namespace ponmgr::dbman {

/// {"sent":[...]}: what the daemon has taken.
OrderedJson describeSent(const std::vector<Message>& messages);

/// The same for a change that dbman has kept already: says what becomes of a message that the
/// daemon hasn't taken. `deliveries` are those of `messages`.
OrderedJson describeChange(const std::vector<Message>& messages,
                           const std::vector<Delivery>& deliveries);

}  // namespace ponmgr::dbman
