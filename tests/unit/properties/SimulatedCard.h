#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "Property.h"
#include "model/Container.h"
#include "sim/Addresses.h"
#include "sim/Chassis.h"
#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"

namespace ponmgr::test {

/// One simulated card that answers at once, asked with the daemon's requests and heard by the
/// daemon's parsers. Nothing happens on it by itself before its clock is moved.
class SimulatedCard {
public:
    /// Of discovery and reset alike.
    static constexpr sim::Duration kDelay = std::chrono::hours(1);

    explicit SimulatedCard(unsigned onusPerPort = 0)
        : chassis(settings(onusPerPort), timers, transmit()) {
        card().lastPeer = kManager;
        anyBytes("MAC of the card", mac());
        card().lastSequence = any<std::uint16_t>("last sequence");
    }
    SimulatedCard(const SimulatedCard&) = delete;
    SimulatedCard& operator=(const SimulatedCard&) = delete;

    sim::Card& card() { return chassis.cards().front(); }
    sim::MacAddress& mac() { return card().identity.mac; }
    sim::CardConfiguration& configuration() { return card().configuration; }
    sim::OnuNetwork& network() { return chassis.onuNetwork(); }
    /// How statistics and rules name one of its ports.
    Bytes portTarget(std::uint64_t port) {
        Bytes target{5};
        target.insert(target.end(), mac().begin(), mac().end());
        target.insert(target.end(), {0, static_cast<std::uint8_t>(port)});
        return target;
    }
    bool reset() { return chassis.reset(card()); }

    void advance(sim::Duration step) {
        now += step;
        timers.runDue();
    }

    /// What the daemon makes of the answer to its request.
    std::unique_ptr<Container> ask(void (RequestMessage::*add)()) {
        requests.clear();
        (requests.*add)();
        return answer();
    }
    std::unique_ptr<Container> ask(void (RequestMessage::*add)(TKMPayload*), TKMPayload& payload) {
        requests.clear();
        (requests.*add)(&payload);
        return answer();
    }
    std::unique_ptr<Container> askWithMac(void (RequestMessage::*add)(TKMPayload*),
                                          const sim::MacAddress& mac) {
        TKMPayload payload;
        payload.addHex(sim::hexText(mac));
        return ask(add, payload);
    }

    /// The datagram that answers the request at once.
    Bytes answerTo(std::span<const std::uint8_t> request) {
        const auto dropped = chassis.receive(card(), kManager, request);
        require(dropped.empty(), "the card takes the request");
        return takeSent();
    }

    /// The ids of all answers and events that the daemon's parsers have heard in this process.
    static std::set<std::uint16_t>& heardIds() {
        static std::set<std::uint16_t> ids;
        return ids;
    }

    /// What the daemon makes of the only event that was sent since the last call.
    std::unique_ptr<Container> event() {
        const auto message = received(takeSent());
        if (message->getHasSequence()) {
            requireEqual(message->getSequence(), card().lastSequence, "the sequence");
        }
        return parsed(*message);
    }

private:
    static constexpr sim::Endpoint kManager{0x7F000001, 14113};

    static sim::ChassisSettings settings(unsigned onusPerPort) {
        sim::ChassisSettings chosen;
        chosen.slots = {1};
        chosen.latency = sim::Duration::zero();
        chosen.resetTime = kDelay;
        chosen.discoveryInterval = kDelay;
        chosen.opticsInterval = sim::Duration::zero();
        chosen.onusPerPort = onusPerPort;
        return chosen;
    }

    sim::Chassis::Transmit transmit() {
        return [this](const sim::Card&, sim::Endpoint, std::span<const std::uint8_t> datagram) {
            sent.emplace_back(datagram.begin(), datagram.end());
            return true;
        };
    }

    Bytes takeSent() {
        const auto datagrams = std::exchange(sent, {});
        requireEqual(datagrams.size(), 1, "datagrams sent");
        require(datagrams.front().size() <= 1500, "a datagram has at most 1500 bytes");
        return datagrams.front();
    }

    static std::unique_ptr<TKMessage> received(const Bytes& datagram) {
        return std::make_unique<TKMessage>(datagram.data(),
                                           static_cast<std::uint16_t>(datagram.size()));
    }

    std::unique_ptr<Container> answer() {
        const auto& request = *requests.getAll().front();
        const auto message = received(answerTo({request.getMessage(), request.getSize()}));
        requireEqual(message->getId(), request.getId(), "the answer's id");
        requireEqual(message->getCtag(), request.getCtag(), "the answer's ctag");
        return parsed(*message);
    }

    static std::unique_ptr<Container> parsed(const TKMessage& message) {
        requireEqual(message.getLength(), message.getSize() - 6U, "the length field");
        heardIds().insert(message.getId());
        return ResponseMessage(std::chrono::milliseconds(0)).parseMessage(&message);
    }

    sim::TimePoint now{};
    sim::TimerQueue timers{[this] { return now; }};
    std::vector<Bytes> sent;
    RequestMessage requests;
    sim::Chassis chassis;
};

}  // namespace ponmgr::test
