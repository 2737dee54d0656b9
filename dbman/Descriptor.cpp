#include "dbman/Descriptor.h"

#include <unistd.h>

#include <utility>

namespace ponmgr::dbman {

Descriptor::Descriptor(int number) : descriptor(number) {}

Descriptor::Descriptor(Descriptor&& other) noexcept
    : descriptor(std::exchange(other.descriptor, -1)) {}

Descriptor& Descriptor::operator=(Descriptor&& other) noexcept {
    Descriptor taken(std::move(other));
    std::swap(descriptor, taken.descriptor);
    return *this;
}

Descriptor::~Descriptor() {
    if (isOpen()) {
        close(descriptor);
    }
}

}  // namespace ponmgr::dbman
