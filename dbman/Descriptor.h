#pragma once

namespace ponmgr::dbman {

/// Owns a file descriptor and closes it.
class Descriptor {
public:
    /// Owns nothing.
    Descriptor() = default;
    /// Takes over `number`; a negative one is nothing.
    explicit Descriptor(int number);
    Descriptor(Descriptor&& other) noexcept;
    Descriptor& operator=(Descriptor&& other) noexcept;
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor();

    bool isOpen() const { return descriptor >= 0; }
    int get() const { return descriptor; }

private:
    int descriptor = -1;
};

}  // namespace ponmgr::dbman
