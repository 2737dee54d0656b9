#pragma once

#include <stdexcept>
#include <string_view>

namespace corvane {

/// The failure of `operation` for a reason of our own: "<operation>: <reason>".
std::runtime_error failure(std::string_view operation, std::string_view reason);

/// The failure of `operation` by a system call that left `error` in errno:
/// "<operation>: <what the system says>".
std::runtime_error systemFailure(std::string_view operation, int error);

/// The same with what the failing step was for: "<operation>: <reason>: <what the system says>".
std::runtime_error systemFailure(std::string_view operation, std::string_view reason, int error);

}  // namespace corvane
