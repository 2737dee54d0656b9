#include "tk/UDPDescriptor.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace ponmgr {

UDPDescriptor::UDPDescriptor()
    : descriptor(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, IPPROTO_UDP)) {}

UDPDescriptor::~UDPDescriptor() {
    if (descriptor >= 0) {
        ::close(descriptor);
    }
}

}  // namespace ponmgr
