#include "sim/FileDescriptor.h"

#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace ponmgr::sim {

FileDescriptor::FileDescriptor(int opened, const char* what) : descriptor(opened) {
    if (opened < 0) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

FileDescriptor::FileDescriptor(FileDescriptor&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    FileDescriptor former(std::move(*this));
    descriptor = std::exchange(other.descriptor, -1);
    return *this;
}

FileDescriptor::~FileDescriptor() {
    if (descriptor >= 0) {
        close(descriptor);
    }
}

}  // namespace ponmgr::sim
