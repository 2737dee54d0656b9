#include "ListenerProbe.h"

#include <cerrno>

#include "Descriptor.h"
#include "Failure.h"
#include "RetryInterrupted.h"

namespace corvane {

int probeListener(std::string_view operation, const LocalAddress& address) {
    const Descriptor probe(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!probe.isOpen()) {
        throw systemFailure(operation, "no socket to probe the path with", errno);
    }
    const int result =
        retryInterrupted([&] { return ::connect(probe.get(), address.get(), address.size()); });
    return result == 0 ? 0 : errno;
}

std::runtime_error listenerFailure(std::string_view operation, int error) {
    if (error == ENOENT || error == ECONNREFUSED) {
        return systemFailure(operation, "nobody listens there", error);
    }
    return systemFailure(operation, error);
}

}  // namespace corvane
