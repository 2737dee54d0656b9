#include "Failure.h"

#include <string>
#include <system_error>

namespace corvane {

std::runtime_error failure(std::string_view operation, std::string_view reason) {
    return std::runtime_error(std::string(operation).append(": ").append(reason));
}

std::runtime_error systemFailure(std::string_view operation, int error) {
    // Not strerror: another thread may be calling it.
    return failure(operation, std::generic_category().message(error));
}

std::runtime_error systemFailure(std::string_view operation, std::string_view reason, int error) {
    return failure(operation,
                   std::string(reason).append(": ").append(std::generic_category().message(error)));
}

}  // namespace corvane
