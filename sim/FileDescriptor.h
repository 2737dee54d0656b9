#pragma once

namespace ponmgr::sim {

/// Owns one descriptor and closes it.
class FileDescriptor {
public:
    FileDescriptor() = default;
    /// Takes `descriptor` over; a negative one makes it throw std::system_error of errno, with
    /// `what` in its text.
    FileDescriptor(int descriptor, const char* what);
    FileDescriptor(FileDescriptor&& other) noexcept;
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor();

    int get() const { return descriptor; }

private:
    int descriptor = -1;
};

}  // namespace ponmgr::sim
