#include "LocalAddress.h"

#include <cstring>
#include <string>

#include "Failure.h"

namespace corvane {

LocalAddress::LocalAddress(const char* operation, const char* path) {
    if (path == nullptr || *path == '\0') {
        throw failure(operation, "the path is empty");
    }
    const auto length = std::strlen(path);
    if (length > kLongestPath) {
        throw failure(std::string(operation) + " " + path,
                      "the path has " + std::to_string(length) + " bytes, more than the " +
                          std::to_string(kLongestPath) + " that a socket's path can have");
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path, length);
}

}  // namespace corvane
