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
          [this](int slot, Endpoint from, std::span<const std::uint8_t> datagram) {
              return chassis.receive(*chassis.findCard(slot), from, datagram);
          },
          std::move(depart)),
      sources(timers, table, cards, way) {}

const Fault& ChassisWire::addFault(FaultSettings settings) {
    if (settings.slot) {
        cardInSlot(*settings.slot, chassis);
    }
    openWhatIsNeeded(settings);
    const auto& fault = table.add(std::move(settings));
    if (fault.settings().kind->send != nullptr) {
        sources.start(fault);
    }
    return fault;
}

void ChassisWire::openWhatIsNeeded(const FaultSettings& settings) {
    for (const auto& card : chassis.cards()) {
        auto local = garbageEndpoint(settings, card);
        if (settings.kind->treat == treatWrongPort) {
            local.port = wrongPort(settings, card.address.port);
        }
        if (local == card.address || (settings.slot && *settings.slot != card.slot)) {
            continue;
        }
        try {
            open(local);
        } catch (const std::system_error& error) {
            throw ControlError("can't send from " + toText(local) + ": " + error.code().message());
        }
    }
}

}  // namespace ponmgr::sim
