#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "sim/ControlJson.h"
#include "sim/EventLoop.h"
#include "sim/FileDescriptor.h"

namespace ponmgr::sim {

/// One client of the control socket: takes lines, one request at a time, and writes one reply line
/// for each, in order. Never blocks: a client that doesn't read its replies isn't read from either.
class ControlSession final : public ReplyChannel,
                             public std::enable_shared_from_this<ControlSession> {
public:
    static constexpr std::size_t kLongestLine = 65536;

    /// Must lead to one reply() on the channel, at once or later.
    using LineHandler = std::function<void(const std::string& line, const ReplyChannelPointer&)>;
    /// The session has ended; the last thing it does.
    using Closed = std::function<void(const ControlSession&)>;

    ControlSession(EventLoop& loop, FileDescriptor connection, LineHandler handler, Closed closed);
    ~ControlSession() override;

    /// Begins to read; the session must be owned by a shared pointer by now.
    void start();
    /// Writes an error and ends the session.
    void refuse(const std::string& reason);

    void reply(const Json& message) override;

private:
    void onEvents(std::uint32_t events);
    void readSome();
    void pump();
    bool takeLine(std::string& line);
    void handleLines();
    void write();
    bool isFinished() const;
    void watch();
    void close();

    EventLoop& loop;
    FileDescriptor connection;
    LineHandler handler;
    Closed closed;
    std::string input;
    /// How much of `input` is dealt with.
    std::size_t consumed = 0;
    std::string output;
    /// A request waits for its reply.
    bool busy = false;
    /// In pump(): a reply that comes now is written by it.
    bool pumping = false;
    /// The client sends no more.
    bool ended = false;
    /// Nothing more is read; the session ends once its output is written.
    bool closing = false;
    bool broken = false;
    bool watching = false;
};

}  // namespace ponmgr::sim
