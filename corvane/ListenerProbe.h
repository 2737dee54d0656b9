#pragma once

#include <stdexcept>
#include <string_view>

#include "LocalAddress.h"

namespace corvane {

/// Tries, on a socket of its own, whether a message could go to `address`; nothing is sent. Returns
/// 0 when somebody listens there and otherwise why not, as in errno: ECONNREFUSED means that the
/// file is no socket or that the process that listened has ended. Throws std::runtime_error, with
/// `operation` in its text, when the probe itself isn't possible.
int probeListener(std::string_view operation, const LocalAddress& address);

/// The failure of `operation` because the message or the probe for a listener met `error`; says so
/// when the error means that nobody listens there.
std::runtime_error listenerFailure(std::string_view operation, int error);

}  // namespace corvane
