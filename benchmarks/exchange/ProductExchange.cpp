#include "benchmarks/exchange/ProductExchange.h"

#include <chrono>
#include <stdexcept>
#include <thread>

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

void ProductExchange::exchangeOnce() {
    requests.clear();
    responses.clear();
    requests.addGetOLTInformation();
    socket.sendRequestMessage(&requests, &responses);
    responses.parseAllMessages();
}

void ProductExchange::exchange(unsigned times) {
    for (unsigned i = 0; i < times; i++) {
        exchangeOnce();
        if (responses.getContainer(0) == nullptr) {
            throw std::runtime_error("an answer without a record");
        }
    }
}

std::size_t ProductExchange::answersToOne() {
    exchangeOnce();
    return responses.getMessagesSize();
}

}  // namespace ponmgr::bench
