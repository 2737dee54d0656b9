#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "../ChassisFixture.h"
#include "sim/ControlVerbs.h"
#include "sim/faults/FaultVerbs.h"

namespace ponmgr::sim {

/// Keeps what was replied last.
class LastReply : public ReplyChannel {
public:
    void reply(const Json& message) override { last = message; }

    Json last;
};

/// Two cards, their wire, and the verbs of the control socket.
class FaultVerbsFixture : public ChassisFixture {
protected:
    FaultVerbsFixture() { buildWire(1); }

    void buildWire(std::uint32_t seed, std::size_t journalEntries = 10) {
        verbs.reset();
        wire.reset();
        timers = TimerQueue([this] { return now; });
        chassis = std::make_unique<Chassis>(
            settings, timers,
            [this](const Card& from, Endpoint to, std::span<const std::uint8_t> datagram) {
                return wire->path().send(from.slot, from.address, to, datagram);
            });
        wire = std::make_unique<ChassisWire>(
            journalEntries, seed, timers, *chassis, [this](Endpoint local) { return open(local); },
            [this](Endpoint local, Endpoint, std::span<const std::uint8_t> datagram) {
                departed.push_back({local, hexText(datagram)});
                return true;
            });
        verbs = std::make_unique<ControlVerbs>(*chassis, timers, wire.get());
    }

    ChassisWire::Socket open(Endpoint local) {
        if (busy == local) {
            throw std::system_error(EADDRINUSE, std::generic_category());
        }
        opened.push_back(toText(local));
        ++openNow;
        return {this, [this](const void*) { --openNow; }};
    }

    Json request(const std::string& line) {
        const auto channel = std::make_shared<LastReply>();
        verbs->handle(line, channel);
        return channel->last;
    }

    std::string errorOf(const std::string& line) {
        const auto reply = request(line);
        return reply.contains("error") ? reply.at("error").get<std::string>() : "";
    }

    Json addFault(const std::string& kind, const std::string& options = "{}") {
        return request(R"({"verb":"fault","action":"add","kind":")" + kind + R"(","options":)" +
                       options + "}");
    }

    /// The manager asks the card in the slot, with this ctag, for its OLT information.
    void askCard(int slot = 1, const std::string& ctag = "0001") {
        wire->path().receive(slot, card(slot).address, kManager, bytesOf("0007" + ctag + "0000"));
        advance(settings.latency);
    }

    std::vector<std::string> takeDeparted() {
        std::vector<std::string> frames;
        for (const auto& datagram : departed) {
            frames.push_back(datagram.hex);
        }
        departed.clear();
        return frames;
    }

    Json journal(const std::string& members = "") {
        return request(R"({"verb":"journal")" + members + "}").at("entries");
    }

    struct Departed {
        Endpoint local;
        std::string hex;
    };

    /// Sockets that somebody keeps.
    int openNow = 0;
    std::unique_ptr<ChassisWire> wire;
    std::unique_ptr<ControlVerbs> verbs;
    std::vector<Departed> departed;
    std::vector<std::string> opened;
    std::optional<Endpoint> busy;
};

}  // namespace ponmgr::sim
