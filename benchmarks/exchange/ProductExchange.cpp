#include "benchmarks/exchange/ProductExchange.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include "app/Exception.h"
#include "tk/SocketHelper.h"

namespace ponmgr::bench {

namespace {

void waitUntilBound(const UDPSocket& socket) {
    constexpr std::chrono::milliseconds kStep{10};
    constexpr int kSteps = 1000;
    for (int i = 0; i < kSteps && !socket.hasDone(); i++) {
        std::this_thread::sleep_for(kStep);
    }
    if (!socket.hasDone()) {
        throw std::runtime_error("the daemon's socket isn't bound within 10 s");
    }
}

}  // namespace

ProductExchange::ProductExchange(const std::string& source, const std::string& card,
                                 const ExchangeTiming& timing)
    : socket(timing) {
    socket.start(SocketHelper::kAnyInterface, "1");
    SocketHelper::getInstance(SocketHelper::kAnyInterface)->setSourceIP(source);
    socket.setClientIpAddress(card);
    waitUntilBound(socket);
}

std::uint16_t ProductExchange::prepare() {
    requests.clear();
    requests.addGetOLTInformation();
    return requests.getAll().front()->getCtag();
}

Sent ProductExchange::send() {
    responses.clear();
    Sent sent;
    try {
        socket.sendRequestMessage(&requests, &responses);
    } catch (const Exception&) {
        if (responses.getMessagesSize() == 0) {
            throw;
        }
        sent.givenUp = true;
    }
    responses.parseAllMessages();
    sent.answers = responses.getMessagesSize();
    return sent;
}

Unnoticed ProductExchange::exchange(unsigned times) {
    Unnoticed unnoticed;
    for (unsigned i = 0; i < times; i++) {
        prepare();
        const Sent sent = send();
        unnoticed.askedAgain += sent.answers > 1 ? 1 : 0;
        unnoticed.givenUp += sent.givenUp ? 1 : 0;
        if (responses.getContainer(0) == nullptr) {
            throw std::runtime_error("an answer without a record");
        }
    }
    return unnoticed;
}

}  // namespace ponmgr::bench
