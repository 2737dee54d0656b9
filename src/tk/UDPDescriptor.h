#pragma once

namespace ponmgr {

/// Owns one socket descriptor; not inherited by the processes that the daemon starts.
class UDPDescriptor {
public:
    explicit UDPDescriptor(int socketDescriptor) : descriptor(socketDescriptor) {}
    UDPDescriptor(const UDPDescriptor&) = delete;
    UDPDescriptor& operator=(const UDPDescriptor&) = delete;
    ~UDPDescriptor();

    int get() const { return descriptor; }

private:
    int descriptor;
};

}  // namespace ponmgr
