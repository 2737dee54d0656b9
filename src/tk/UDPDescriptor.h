#pragma once

namespace ponmgr {

/// Owns one UDP socket over IPv4, which the processes that the daemon starts don't inherit.
class UDPDescriptor {
public:
    /// Opens the socket. It may fail: get() is negative then, and errno says why.
    UDPDescriptor();
    UDPDescriptor(const UDPDescriptor&) = delete;
    UDPDescriptor& operator=(const UDPDescriptor&) = delete;
    ~UDPDescriptor();

    int get() const { return descriptor; }

private:
    int descriptor;
};

}  // namespace ponmgr
