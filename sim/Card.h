#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "sim/Addresses.h"
#include "sim/CardConfiguration.h"
#include "sim/Onu.h"
#include "sim/Optics.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

/// What a card says of itself; no reset changes it.
struct CardIdentity {
    MacAddress mac{};
    Oui vendorOui{0x00, 0x0D, 0xB6};
    std::array<std::uint8_t, 2> productCode{0x37, 0x23};
    std::array<std::uint8_t, 2> productVersion{0x00, 0x01};
    std::array<std::uint8_t, 2> firmwareVersion{0x01, 0x00};
    /// At most 64 bytes on the wire.
    std::string vendorInfo = "chassis-sim";
    std::uint16_t jedecId = 1;
    std::array<std::uint8_t, 2> chipId{0x10, 0x00};
    std::array<std::uint8_t, 4> chipVersion{0x00, 0x00, 0x00, 0x01};
    std::uint8_t eponPorts = 2;
    std::uint8_t nniPorts = 2;
};

struct CardCounters {
    std::uint64_t requests = 0;     ///< datagrams with a request's header, answered or not
    std::uint64_t answers = 0;      ///< answers sent
    std::uint64_t events = 0;       ///< events sent
    std::uint64_t unheard = 0;      ///< requests that came while the card was silent
    std::uint64_t abandoned = 0;    ///< answers lost because the card was reset before their time
    std::uint64_t tooShort = 0;     ///< datagrams without a whole header
    std::uint64_t notRequests = 0;  ///< datagrams with an event's id, or sent by a card
};

/// The state of one simulated card. A plain table: the event loop's thread alone uses it.
struct Card {
    Card(int slotNumber, Endpoint boundTo);

    int slot;
    Endpoint address;
    CardIdentity identity;
    std::array<PortOptics, kPonPorts> optics;
    /// Those installed at its two ports, by port and index; the set is fixed.
    std::vector<Onu> onus;
    std::array<bool, kPonPorts> fibreIntact{true, true};

    /// Non-volatile storage: in use now, and from the next reset on.
    bool nvsCurrent = true;
    bool nvsAfterNextBoot = true;
    CardConfiguration configuration = CardConfiguration::factory();
    /// What the non-volatile storage held when it was last in use.
    CardConfiguration stored = CardConfiguration::factory();

    /// Of its modules' drift.
    Random random{0};

    bool resetting = false;
    bool muted = false;
    /// Resets begun; tells an answer that its card has been reset since.
    std::uint32_t resets = 0;
    /// Where the last request came from; events go there.
    std::optional<Endpoint> lastPeer;
    CardCounters counters;
    /// The next ONU's registration is under way.
    bool registering = false;
    std::uint16_t lastSequence = 0;

    bool isSilent() const { return resetting || muted; }

    void beginReset();
    /// The card comes up with what its non-volatile storage holds, or with the factory's
    /// configuration when that is off.
    void finishReset();

    /// The number of the card's next event.
    std::uint16_t nextSequence() { return ++lastSequence; }

    /// The ONU is plugged in, has power and its fibre isn't cut.
    bool reaches(const Onu& onu) const;
    /// The link that the card has with this MAC: registered, or remembered. Null when there is
    /// none.
    Onu* findLink(const MacAddress& mac);
    /// Null when the card has no such ONU.
    Onu* findOnu(const OnuAddress& installed);
    /// No ONU stays registered.
    void takeLinksDown();

    /// Not resetting, NVS off, marked and enabled.
    bool isInService() const { return whyNotInService().empty(); }
    /// What keeps the card out of service, one English phrase each; empty when it is in service.
    std::vector<std::string_view> whyNotInService() const;
    /// resetting, in-service, configured (marked), factory (NVS on) or blank (NVS off).
    std::string_view stateWord() const;
};

/// The 91 bytes that answer Get OLT Information and go with OLT Ready.
void writeOltInformation(const CardIdentity& identity, Writer& data);

}  // namespace ponmgr::sim
