#include "Corvane.h"

#include <sys/socket.h>
#include <sys/stat.h>

#include <cerrno>
#include <new>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "Descriptor.h"
#include "Failure.h"
#include "ListenerProbe.h"
#include "LocalAddress.h"
#include "MessageReader.h"
#include "RetryInterrupted.h"
#include "SocketFile.h"

using corvane::Descriptor;
using corvane::failure;
using corvane::LocalAddress;
using corvane::retryInterrupted;
using corvane::SocketFile;
using corvane::systemFailure;

namespace {

constexpr std::size_t kLongestMessage = 1'048'576;

// What the kernel keeps of a send buffer for itself: a message must be this much shorter.
constexpr std::size_t kSendBufferOverhead = 32;

// From its first message on the socket learns who sent it. Only a receiver does: the kernel would
// give a mere sender a name that others could send to.
void askForSenders(std::string_view operation, int descriptor) {
    const int on = 1;
    if (setsockopt(descriptor, SOL_SOCKET, SO_PASSCRED, &on, sizeof on) != 0) {
        throw systemFailure(operation, "can't ask for the senders of messages", errno);
    }
}

// The kernel doubles the figure, so the longest message fits with room for the next one.
void raiseSendBuffer(int descriptor) {
    const int size = kLongestMessage;
    if (setsockopt(descriptor, SOL_SOCKET, SO_SNDBUFFORCE, &size, sizeof size) != 0) {
        // Without the privilege the kernel gives what net.core.wmem_max allows. Should that be too
        // little for a message, send says so.
        setsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, sizeof size);
    }
}

std::string tooLongForTheUser(int descriptor, std::size_t length) {
    int size = 0;
    socklen_t sizeLength = sizeof size;
    getsockopt(descriptor, SOL_SOCKET, SO_SNDBUF, &size, &sizeLength);
    return "a message of " + std::to_string(length) + " bytes is longer than the " +
           std::to_string(static_cast<std::size_t>(size) - kSendBufferOverhead) +
           " that this user's send buffer takes; run as root, or set sysctl net.core.wmem_max=" +
           std::to_string(kLongestMessage) + " and start again";
}

}  // namespace

// Throws std::exception for every failure; Corvane's own functions turn it into their results.
class Corvane::Implementation {
public:
    void createSocket();
    void bind(const char* path);
    void connect(const char* path);
    ssize_t send(const std::string& text);
    int recv(std::string& text);

    // Runs `operation`; a failure is kept for getErrorMessage and gives `failed`.
    template <typename Result, typename Operation>
    Result attempt(Result failed, Operation operation) {
        try {
            return operation();
        } catch (const std::runtime_error& error) {
            lastFailure = error;
        } catch (const std::exception&) {
            lastFailure = outOfMemory;
        }
        return failed;
    }

    const char* errorMessage() const noexcept { return lastFailure.what(); }

private:
    void requireSocket(const char* operation) const;

    Descriptor descriptor;
    // Behind the descriptor: the file goes while its socket is still open.
    std::optional<SocketFile> file;
    // What failures of recv are named by. Kept, so that waiting for a message takes no memory: one
    // that fails for lack of it would fail again at once.
    std::string receiving;
    std::optional<LocalAddress> peer;
    // Exceptions rather than strings: they are copied without taking memory.
    std::runtime_error outOfMemory{"no memory for the operation"};
    std::runtime_error lastFailure{""};
};

void Corvane::Implementation::requireSocket(const char* operation) const {
    if (!descriptor.isOpen()) {
        throw failure(operation, "there is no socket; call createSocket first");
    }
}

void Corvane::Implementation::createSocket() {
    if (descriptor.isOpen()) {
        throw failure("createSocket", "this object has its socket already");
    }
    Descriptor created(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    if (!created.isOpen()) {
        throw systemFailure("createSocket", errno);
    }
    raiseSendBuffer(created.get());
    descriptor = std::move(created);
}

void Corvane::Implementation::bind(const char* path) {
    requireSocket("bind");
    const LocalAddress address("bind", path);
    const auto operation = std::string("bind ") + path;
    if (file) {
        throw failure(operation,
                      std::string("this socket is bound to ") + file->path() + " already");
    }
    receiving = std::string("recv at ") + path;
    makeWay(operation, address);
    askForSenders(operation, descriptor.get());
    // The file gets the socket's own mode less the umask: at no moment may anybody else write to
    // it.
    if (fchmod(descriptor.get(), corvane::kSocketFileMode) != 0) {
        throw systemFailure(operation, "can't set the mode of the socket", errno);
    }
    if (::bind(descriptor.get(), address.get(), address.size()) != 0) {
        throw systemFailure(operation, errno);
    }
    try {
        file.emplace(operation, address);
    } catch (const std::exception&) {
        // A socket can't be unbound; a new one can be made.
        descriptor = Descriptor();
        throw;
    }
}

void Corvane::Implementation::connect(const char* path) {
    requireSocket("connect");
    const LocalAddress address("connect", path);
    const auto operation = std::string("connect to ") + path;
    corvane::requireTrustedOwner(operation, address);
    const int error = corvane::probeListener(operation, address);
    if (error != 0) {
        throw corvane::listenerFailure(operation, error);
    }
    // Only the path is kept: a socket that was tied to the peer itself would lose it when the peer
    // is started again, and would take no messages from others.
    peer = address;
}

ssize_t Corvane::Implementation::send(const std::string& text) {
    requireSocket("send");
    if (!peer) {
        throw failure("send", "there is no peer; call connect first");
    }
    const auto operation = std::string("send to ") + peer->path();
    if (text.size() > kLongestMessage) {
        throw failure(operation, "a message of " + std::to_string(text.size()) +
                                     " bytes is longer than the " +
                                     std::to_string(kLongestMessage) + " that a message can have");
    }
    // Each time: another's socket may have taken the place of a peer that has ended.
    corvane::requireTrustedOwner(operation, *peer);
    const auto sent = retryInterrupted([&] {
        return ::sendto(descriptor.get(), text.data(), text.size(), MSG_NOSIGNAL, peer->get(),
                        peer->size());
    });
    if (sent < 0 && errno == EMSGSIZE) {
        throw systemFailure(operation, tooLongForTheUser(descriptor.get(), text.size()), EMSGSIZE);
    }
    if (sent < 0) {
        throw corvane::listenerFailure(operation, errno);
    }
    return sent;
}

int Corvane::Implementation::recv(std::string& text) {
    requireSocket("recv");
    if (!file) {
        throw failure("recv", "this socket has no path; call bind first");
    }
    corvane::readMessage(receiving, descriptor.get(), text);
    return static_cast<int>(text.size());
}

Corvane::Corvane(int /*link*/) {
    try {
        implementation = std::make_unique<Implementation>();
    } catch (const std::bad_alloc&) {
        // Told by every operation: its callers ask for results, not for exceptions.
        implementation = nullptr;
    }
}

Corvane::~Corvane() = default;

bool Corvane::createSocket() {
    return implementation && implementation->attempt(false, [&] {
        implementation->createSocket();
        return true;
    });
}

bool Corvane::bind(const char* path) {
    return implementation && implementation->attempt(false, [&] {
        implementation->bind(path);
        return true;
    });
}

bool Corvane::connect(const char* path) {
    return implementation && implementation->attempt(false, [&] {
        implementation->connect(path);
        return true;
    });
}

ssize_t Corvane::send(const std::string& text) {
    constexpr ssize_t kFailed = -1;
    return implementation
               ? implementation->attempt(kFailed, [&] { return implementation->send(text); })
               : kFailed;
}

int Corvane::recv(std::string& text) {
    text.clear();
    constexpr int kFailed = -1;
    return implementation
               ? implementation->attempt(kFailed, [&] { return implementation->recv(text); })
               : kFailed;
}

const char* Corvane::getErrorMessage() {
    return implementation ? implementation->errorMessage() : "no memory for the socket object";
}
