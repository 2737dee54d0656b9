#include "dbman/Interruption.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <array>

#include "dbman/Errors.h"

namespace ponmgr::dbman {

Interruption::Interruption() {
    sigset_t signals{};
    sigemptyset(&signals);
    for (const int number : {SIGINT, SIGTERM, SIGWINCH}) {
        sigaddset(&signals, number);
    }
    signalDescriptor = Descriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
    if (!signalDescriptor.isOpen()) {
        throw Failure("can't make a descriptor for signals");
    }
    pthread_sigmask(SIG_BLOCK, &signals, &previous);
}

Interruption::~Interruption() {
    take();
    pthread_sigmask(SIG_SETMASK, &previous, nullptr);
}

Interruption::Arrived Interruption::take() {
    Arrived arrived;
    signalfd_siginfo information{};
    while (read(signalDescriptor.get(), &information, sizeof information) ==
           static_cast<ssize_t>(sizeof information)) {
        arrived.cancel = arrived.cancel || information.ssi_signo == SIGINT;
        arrived.resized = arrived.resized || information.ssi_signo == SIGWINCH;
        ended = ended || information.ssi_signo == SIGTERM;
    }
    arrived.end = ended;
    return arrived;
}

Interruption::Arrived Interruption::wait(std::chrono::milliseconds limit, int input) {
    // A negative descriptor is left out by the call itself.
    std::array<pollfd, 2> polled = {{{signalDescriptor.get(), POLLIN, 0}, {input, POLLIN, 0}}};
    poll(polled.data(), polled.size(), static_cast<int>(limit.count()));
    return take();
}

}  // namespace ponmgr::dbman
