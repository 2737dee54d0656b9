#include "sim/ChassisWire.h"

#include <system_error>
#include <utility>

#include "sim/ControlJson.h"
#include "sim/ControlMembers.h"

namespace ponmgr::sim {

ChassisWire::ChassisWire(std::size_t journalEntries, std::uint32_t seed, TimerQueue& timers,
                         Chassis& cards, Open opener, DatagramPath::Depart depart)
    : chassis(cards),
      open(std::move(opener)),
      diary(journalEntries, timers),
      table(seed, timers),
      way(
          timers, table, diary,
          [this](int slot, Endpoint from, std::span<const std::uint8_t> datagram, bool pretended) {
              return chassis.receive(
                  *chassis.findCard(slot), from, datagram,
                  pretended ? Chassis::Effect::pretended : Chassis::Effect::carriedOut);
          },
          std::move(depart)),
      sources(timers, table, cards, way) {}

const Fault& ChassisWire::addFault(FaultSettings settings) {
    if (settings.slot) {
        cardInSlot(*settings.slot, chassis);
    }
    requireThatItCanHit(settings);
    auto opened = openWhatIsNeeded(settings);
    const auto& fault = table.add(std::move(settings));
    if (!opened.empty()) {
        sockets[fault.id()] = std::move(opened);
    }
    if (fault.settings().kind->send != nullptr) {
        sources.start(fault);
    }
    return fault;
}

void ChassisWire::requireThatItCanHit(const FaultSettings& settings) const {
    const auto& port = settings.port;
    if (port && chassis.isPortOfTheCards(*port)) {
        throw ControlError("--port: " + std::to_string(*port) +
                           " is the cards' own; allowed: any other");
    }
    if (settings.target && settings.target->tag != EntityTag::oltPort) {
        placeOfOnu(chassis, settings.target->onu);
    }
}

void ChassisWire::removeFault(std::uint32_t id) {
    table.remove(id);
    sockets.erase(id);
}

std::vector<ChassisWire::Socket> ChassisWire::openWhatIsNeeded(
    const FaultSettings& settings) const {
    std::vector<Socket> opened;
    for (const auto& card : chassis.cards()) {
        auto local = garbageEndpoint(settings, card);
        if (settings.kind->treat == treatWrongPort) {
            local.port = wrongPort(settings, card.address.port);
        }
        if (local == card.address || (settings.slot && *settings.slot != card.slot)) {
            continue;
        }
        try {
            opened.push_back(open(local));
        } catch (const std::system_error& error) {
            throw ControlError("can't send from " + toText(local) + ": " + error.code().message());
        }
    }
    return opened;
}

}  // namespace ponmgr::sim
