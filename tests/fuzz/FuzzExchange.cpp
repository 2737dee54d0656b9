// The exchange: requests go out through UDPSocket while datagrams come in and time passes, all of
// it read from the input as one sequence of steps and played by one thread.

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <memory>
#include <vector>

#include "PlayedCard.h"
#include "Require.h"
#include "Script.h"
#include "app/Exception.h"
#include "tk/UDPSocket.h"

using namespace ponmgr::fuzz;

namespace {

constexpr std::size_t kMostExchanges = 4;
constexpr std::size_t kMostRequests = 3;
constexpr std::size_t kMostRequestData = 15;

/// The exchanges of one input. Their requests are made anew now and then, so that the tags of
/// earlier ones come again.
class Exchanges {
public:
    explicit Exchanges(Script& steps) : script(steps), card(steps), socket({}, card.makeClock()) {
        socket.start(&card, "3");
        card.setSocket(&socket);
    }

    void run() {
        for (std::size_t i = 0; i < kMostExchanges && !script.ended(); i++) {
            exchange();
            card.playBetween();
        }
        card.pullEvents();
    }

private:
    void exchange() {
        std::vector<Frame> frames = makeRequests();
        ponmgr::ResponseMessage responses(std::chrono::milliseconds(0));
        card.begin(std::move(frames));
        bool answered = true;
        try {
            socket.sendRequestMessage(requests.get(), &responses);
        } catch (const ponmgr::Exception&) {
            answered = false;
        }
        card.end(answered, responses);
    }

    std::vector<Frame> makeRequests() {
        const unsigned choice = script.byte();
        requests->clear();
        if (choice >= 0x80) {
            requests = std::make_unique<ponmgr::RequestMessage>();
            lastTag = 0;
        }
        std::vector<Frame> frames;
        for (std::size_t count = choice % (kMostRequests + 1); count > 0; count--) {
            frames.push_back(addRequest());
        }
        return frames;
    }

    Frame addRequest() {
        const auto id = static_cast<ponmgr::TKIDMessage>(script.number() % ponmgr::kFirstEventId);
        const auto data = script.bytes(script.byte() % (kMostRequestData + 1));
        requests->addMessage(
            requests->getNewMessage(id, data.data(), static_cast<std::uint16_t>(data.size())));
        const ponmgr::TKMessage& made = *requests->getAll().back();
        require(made.getCtag() == static_cast<std::uint16_t>(lastTag + 1), "the tags count up");
        lastTag = made.getCtag();
        return {made.getMessage(), made.getMessage() + made.getSize()};
    }

    Script& script;
    PlayedCard card;
    ponmgr::UDPSocket socket;
    std::unique_ptr<ponmgr::RequestMessage> requests = std::make_unique<ponmgr::RequestMessage>();
    std::uint16_t lastTag = 0;
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* /*argc*/, char*** /*argv*/) {
    silenceOutput();
    std::cerr.rdbuf(nullptr);  // the exchange says there that a send failed
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Script script(std::span(data, size));
    Exchanges(script).run();
    return 0;
}
