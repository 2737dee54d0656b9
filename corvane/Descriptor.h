#pragma once

#include <unistd.h>

#include <utility>

namespace corvane {

/// Owns one file descriptor and closes it. Not for use by several threads at a time.
class Descriptor {
public:
    /// Owns nothing.
    Descriptor() noexcept = default;
    /// Takes over `owned`; a negative number is nothing.
    explicit Descriptor(int owned) noexcept : descriptor(owned) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    Descriptor(Descriptor&& other) noexcept : descriptor(std::exchange(other.descriptor, kNone)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        Descriptor taken(std::move(other));
        std::swap(descriptor, taken.descriptor);
        return *this;
    }
    ~Descriptor() {
        if (isOpen()) {
            // Never repeated: the descriptor is gone even after an interrupted close, and its
            // number may already be another thread's.
            close(descriptor);
        }
    }

    bool isOpen() const noexcept { return descriptor >= 0; }
    /// The descriptor, still owned here; negative when there is none.
    int get() const noexcept { return descriptor; }

private:
    static constexpr int kNone = -1;
    int descriptor = kNone;
};

}  // namespace corvane
