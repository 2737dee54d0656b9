#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#pragma GCC visibility push(default)

/// Message socket between two processes of one machine: every send is one message, every recv takes
/// one whole message. One object is one socket; an object is used by one thread at a time.
///
/// This is our own implementation of the interface, over AF_UNIX datagram sockets: one datagram is
/// one message, without framing. A program that is linked against it runs against any other
/// libCorvane.so with the same operations without being compiled again, as long as that library's
/// object is no larger than this one.
///
/// Limits
/// - A message holds 0 to 1,048,576 bytes; a longer one is refused by send. An ordinary user can
///   send no more than twice net.core.wmem_max less the kernel's bookkeeping (about 400 KB with the
///   kernel's default); root always reaches the full length.
/// - A path holds at most 107 bytes. One that isn't absolute is looked up anew by every send.
/// - One object binds one path, once; it may connect again and again, and the last connect that
///   succeeded counts.
/// - A receiver that doesn't read blocks its senders once net.unix.max_dgram_qlen messages or the
///   sender's buffer are waiting; nothing is dropped. When the receiver ends, the messages that
///   wait are lost with it, and a send that is blocked goes to its successor or fails.
/// - A message that the receiver has no memory for is taken out of the queue and lost, and recv
///   says so.
/// - Of two processes that replace the file of a third at the same moment, one may remove the file
///   that the other has just made.
/// - The socket file is made with mode 0660. A message from a process of another user than the
///   receiver's own or root is refused: recv takes it out of the queue, fails, and says whose it
///   was. What counts is the sender's real user and the receiver's effective one.
/// - Descriptors that a peer passes with a message are closed; the message itself arrives.
/// - No descriptor survives an exec. No operation throws.
class Corvane {
public:
    /// `link` names the link to the library; this implementation makes no difference between links.
    explicit Corvane(int link);
    Corvane(const Corvane&) = delete;
    Corvane& operator=(const Corvane&) = delete;
    /// Closes the socket and removes the path that this object has bound.
    ~Corvane();

    /// Makes the socket. False: see getErrorMessage().
    bool createSocket();

    /// Listens for messages at `path`. The socket file of a process that has ended is replaced; one
    /// that a process listens at, and any file that is no socket, is left alone and bind fails.
    bool bind(const char* path);

    /// Attaches to the peer that listens at `path`; false when nobody listens there. A peer that
    /// goes away and listens at the same path again is found by the next send.
    bool connect(const char* path);

    /// Sends `text` as one message to the connected path; blocks while the peer's queue is full.
    /// Returns the number of bytes sent, or a negative number: nothing was sent. Never a signal.
    ssize_t send(const std::string& text);

    /// Blocks until a message arrives, replaces `text` by it and returns its length. A negative
    /// number is a failure, with `text` left empty; the socket goes on working. A receiver that
    /// asks again at once keeps no core busy: a failing system call takes 10 ms.
    int recv(std::string& text);

    /// What the last operation that failed has to say; empty before any failed. Valid until the
    /// next operation on this object.
    const char* getErrorMessage();

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation;
    // Programs make the object by this declaration: room for the members of another libCorvane.so.
    [[maybe_unused]] void* room[63] = {};
};

#pragma GCC visibility pop
