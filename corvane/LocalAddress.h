#pragma once

#include <sys/socket.h>
#include <sys/un.h>

#include <cstddef>

namespace corvane {

/// The path of a local socket in the form that the system calls take. Copying never throws.
class LocalAddress {
public:
    /// One byte of the system's address is the NUL at the end.
    static constexpr std::size_t kLongestPath = sizeof(sockaddr_un::sun_path) - 1;

    /// Copies `path`. Throws std::runtime_error, with `operation` in its text, when `path` is null,
    /// empty or longer than kLongestPath bytes.
    LocalAddress(const char* operation, const char* path);

    const char* path() const noexcept { return address.sun_path; }
    const sockaddr* get() const noexcept { return reinterpret_cast<const sockaddr*>(&address); }
    socklen_t size() const noexcept { return sizeof address; }

private:
    sockaddr_un address{};
};

}  // namespace corvane
