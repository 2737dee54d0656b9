#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "Property.h"
#include "SimulatedCard.h"
#include "poncard/PONCardHelper.h"
#include "support/Notifications.h"
#include "tk/DatagramTransport.h"
#include "unit/poncard/SurpriseWake.h"

namespace ponmgr::test {

/// A shared socket behind which a simulated card answers before send() returns; the wait that
/// follows is then ended.
class SimulatedTransport : public DatagramTransport {
public:
    explicit SimulatedTransport(SimulatedCard& answering) : card(answering) {}

    /// What the card has refused so far, by id. The exchange would take a failure of the case for
    /// one of the network, so nothing is required where a request is sent.
    const std::string& refusals() const { return refused; }

    void send(const TKMessage& message, const sockaddr_in& /*destination*/) override {
        const auto answer = card.answerTo({message.getMessage(), message.getSize()});
        auto response =
            std::make_unique<TKMessage>(answer.data(), static_cast<std::uint16_t>(answer.size()));
        if (response->getResult() != 0) {
            refused += std::to_string(message.getId()) + " ";
        }
        if (receiver->processRxQueue(response)) {
            endNextWaitBySurprise();
        }
    }
    bool hasDone() const override { return true; }
    void registerUDPSocket(DatagramReceiver* registered) override { receiver = registered; }
    void unregisterUDPSocket(DatagramReceiver* /*registered*/) override { receiver = nullptr; }

private:
    SimulatedCard& card;
    DatagramReceiver* receiver = nullptr;
    std::string refused;
};

/// A simulated card, and the daemon's operations on it once it has identified itself; all of it on
/// one thread.
class ManagedCard {
public:
    explicit ManagedCard(unsigned onusPerPort = 0) : simulated(onusPerPort), helper(timing()) {
        takeNotifications();
        helper.start(&transport, "1");
        helper.setOltIpAddress("127.0.1.1");
        requireDone("the identification", helper.doRequestOltEponMac());
        require(helper.hasOltMacAddress(), "the card has identified itself");
    }

    SimulatedCard& card() { return simulated; }
    sim::CardConfiguration& configuration() { return simulated.configuration(); }
    PONCardHelper& operations() { return helper; }

    /// Ends the case unless the operation says that it has succeeded and the card has refused
    /// nothing.
    void requireDone(std::string_view operation, bool succeeded) const {
        requireEqual(transport.refusals(), "", std::string(operation) + ": requests refused");
        require(succeeded, std::string(operation) + " has failed");
    }

private:
    static PONCardTiming timing() {
        using std::chrono::milliseconds;
        PONCardTiming chosen;
        chosen.exchange = {milliseconds(0), milliseconds(1), 1};
        chosen.acceptedLaterPause = milliseconds(0);
        return chosen;
    }

    SimulatedCard simulated;
    SimulatedTransport transport{simulated};
    PONCardHelper helper;
};

}  // namespace ponmgr::test
