#include "MessageReader.h"

#include <sys/socket.h>
#include <sys/uio.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <new>
#include <stdexcept>
#include <thread>

#include "Descriptor.h"
#include "Failure.h"
#include "RetryInterrupted.h"
#include "TrustRule.h"

namespace corvane {

namespace {

// The kernel passes no more than this with one message (SCM_MAX_FD).
constexpr std::size_t kMostDescriptors = 253;

// The number of no user: what a sender has until the kernel has named it.
constexpr uid_t kNobodyAtAll = static_cast<uid_t>(-1);

constexpr std::chrono::milliseconds kFailurePause{10};

struct Control {
    alignas(cmsghdr) std::array<std::byte, CMSG_SPACE(sizeof(ucred)) +
                                               CMSG_SPACE(sizeof(int) * kMostDescriptors)> bytes;
};

// What has come beside the text of one message.
struct Delivery {
    std::size_t length = 0;
    bool cutShort = false;
    ucred sender{0, kNobodyAtAll, static_cast<gid_t>(-1)};
};

std::size_t waitForLength(std::string_view operation, int descriptor) {
    const auto length =
        retryInterrupted([&] { return ::recv(descriptor, nullptr, 0, MSG_PEEK | MSG_TRUNC); });
    if (length < 0) {
        const int error = errno;
        // The caller goes straight back to receiving, however often that fails.
        std::this_thread::sleep_for(kFailurePause);
        throw systemFailure(operation, error);
    }
    return static_cast<std::size_t>(length);
}

void closePassedDescriptors(const cmsghdr& header) {
    const auto count = (header.cmsg_len - CMSG_LEN(0)) / sizeof(int);
    for (std::size_t index = 0; index < count; ++index) {
        int passed = 0;
        std::memcpy(&passed, CMSG_DATA(&header) + index * sizeof passed, sizeof passed);
        const Descriptor closesIt(passed);
    }
}

void readControl(msghdr& message, Delivery& delivery) {
    for (auto* header = CMSG_FIRSTHDR(&message); header != nullptr;
         header = CMSG_NXTHDR(&message, header)) {
        if (header->cmsg_level != SOL_SOCKET) {
            continue;
        }
        if (header->cmsg_type == SCM_CREDENTIALS) {
            std::memcpy(&delivery.sender, CMSG_DATA(header), sizeof delivery.sender);
        } else if (header->cmsg_type == SCM_RIGHTS) {
            closePassedDescriptors(*header);
        }
    }
}

// Takes the message out of the queue, as much of it as `text` has room for.
Delivery take(std::string_view operation, int descriptor, std::string& text) {
    Control control;
    iovec part{text.data(), text.size()};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    const auto length = retryInterrupted([&] {
        message.msg_control = control.bytes.data();
        message.msg_controllen = control.bytes.size();
        return recvmsg(descriptor, &message, MSG_CMSG_CLOEXEC);
    });
    if (length < 0) {
        throw systemFailure(operation, errno);
    }
    Delivery delivery;
    delivery.length = static_cast<std::size_t>(length);
    delivery.cutShort = (message.msg_flags & MSG_TRUNC) != 0;
    readControl(message, delivery);
    return delivery;
}

void makeRoom(std::string_view operation, int descriptor, std::string& text, std::size_t length) {
    try {
        text.resize(length);
    } catch (const std::bad_alloc&) {
        // Left in the queue, it would stop every message behind it.
        take(operation, descriptor, text);
        throw failure(operation, "no memory for a message of " + std::to_string(length) +
                                     " bytes; the message is lost");
    }
}

void checkSender(std::string_view operation, const ucred& sender) {
    const uid_t own = geteuid();
    if (isTrusted(sender.uid, own)) {
        return;
    }
    const auto others = own == 0 ? "" : "user " + std::to_string(own) + " and ";
    throw failure(operation, "message from process " + std::to_string(sender.pid) + " of user " +
                                 std::to_string(sender.uid) + " refused: only " + others +
                                 "root may send here");
}

void readInto(std::string_view operation, int descriptor, std::string& text) {
    makeRoom(operation, descriptor, text, waitForLength(operation, descriptor));
    const auto delivery = take(operation, descriptor, text);
    checkSender(operation, delivery.sender);
    if (delivery.cutShort) {
        throw failure(operation, "another reader of this socket has taken a message");
    }
    text.resize(delivery.length);
}

}  // namespace

void readMessage(std::string_view operation, int descriptor, std::string& text) {
    text.clear();
    try {
        readInto(operation, descriptor, text);
    } catch (const std::exception&) {
        text.clear();
        throw;
    }
}

}  // namespace corvane
