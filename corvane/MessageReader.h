#pragma once

#include <string>
#include <string_view>

namespace corvane {

/// Waits for the next message at the socket `descriptor`, takes it out of the queue and puts the
/// whole of it into `text`. The socket needs SO_PASSCRED since before it was bound. Descriptors
/// that come with the message are closed. Throws std::runtime_error, with `operation` in its text,
/// and leaves `text` empty: when the sender may not write here and when there is no memory for the
/// message, which both take it out of the queue, and when a system call fails.
void readMessage(std::string_view operation, int descriptor, std::string& text);

}  // namespace corvane
