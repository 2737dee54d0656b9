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

    bool operator==(const CardIdentity&) const = default;
};

struct CardCounters {
    std::uint64_t requests = 0;     ///< datagrams with a request's header, answered or not
    std::uint64_t answers = 0;      ///< answers sent
    std::uint64_t events = 0;       ///< events sent
    std::uint64_t unheard = 0;      ///< requests that came while the card was silent
    std::uint64_t abandoned = 0;    ///< answers lost because the card was reset before their time
    std::uint64_t tooShort = 0;     ///< datagrams without a whole header
    std::uint64_t notRequests = 0;  ///< datagrams with an event's id, or sent by a card

    bool operator==(const CardCounters&) const = default;
};

/// The state of one simulated card. A plain table: the event loop's thread alone uses it.
struct Card {
    Card(int slotNumber, Endpoint boundTo);

    int slot;
    Endpoint address;
    CardIdentity identity;
    std::array<PortOptics, kPonPorts> optics;
    std::array<PortOptics, kPonPorts> typicalOptics;
    /// Those that hang at its two ports, by where they were installed.
    OnuList onus;
    /// Copies of those that have moved to other cards, as they left. The card remembers their links
    /// while something is provisioned for them.
    OnuList departed;
    std::array<bool, kPonPorts> fibreIntact{true, true};

    /// Non-volatile storage: in use now, and from the next reset on.
    bool nvsCurrent = true;
    bool nvsAfterNextBoot = true;
    CardConfiguration configuration = CardConfiguration::factory();
    /// What the non-volatile storage held when it was last in use.
    CardConfiguration stored = CardConfiguration::factory();

    /// Of its modules: what is typical of them, and their drift.
    Random random{0};

    /// Plugged into its slot.
    bool present = true;
    /// Starts up, after a reset or after it was plugged in.
    bool resetting = false;
    bool muted = false;
    std::uint32_t resets = 0;
    /// Starts and pulls so far; tells an answer or the end of a start that it is out of date.
    std::uint32_t incarnation = 0;
    /// How many other cards were in the slot before.
    std::uint32_t swaps = 0;
    /// Where the last request to the slot came from; events go there.
    std::optional<Endpoint> lastPeer;
    CardCounters counters;
    /// The next ONU's registration is under way.
    bool registering = false;
    std::uint16_t lastSequence = 0;

    bool isSilent() const { return !present || resetting || muted; }

    /// It gets other modules.
    void drawOptics();
    void beginReset();
    /// As it is without power: silent, and without what its storage doesn't hold.
    void loseSlot();
    /// Starts up in its slot.
    void enterSlot();
    /// Another card takes its place: another MAC, as the factory made it, the ONUs the same.
    void replace(const std::array<std::uint8_t, 2>& productCode);
    /// As the factory made it, its non-volatile storage too.
    void restoreFactory();
    /// The card comes up with what its non-volatile storage holds, or with the factory's
    /// configuration when that is off.
    void finishReset();

    /// The number of the card's next event.
    std::uint16_t nextSequence() { return ++lastSequence; }

    /// The ONU is plugged in and has power, its fibre isn't cut and ends at a card.
    bool reaches(const Onu& onu) const;
    /// The link that the card has with this MAC: registered, or remembered. Null when there is
    /// none.
    const Onu* findLink(const MacAddress& mac) const;
    /// The link that the queue with this endpoint belongs to; null when there is none.
    const Onu* findLinkOfQueue(std::uint16_t endpoint) const;
    /// All links that are registered or remembered.
    std::vector<const Onu*> links() const;
    /// The ONU with this name; null when it doesn't hang at this card.
    Onu* findOnu(const OnuAddress& installed);
    /// No ONU stays registered.
    void takeLinksDown();

    /// Present, not resetting, NVS off, marked and enabled.
    bool isInService() const { return whyNotInService().empty(); }
    /// What keeps the card out of service, one English phrase each; empty when it is in service.
    std::vector<std::string_view> whyNotInService() const;
    /// absent, resetting, in-service, configured (marked), factory (NVS on) or blank (NVS off).
    std::string_view stateWord() const;
    bool operator==(const Card&) const = default;

private:
    bool isLink(const Onu& onu) const;
    void loseVolatile();
};

/// The 91 bytes that answer Get OLT Information and go with OLT Ready.
void writeOltInformation(const CardIdentity& identity, Writer& data);

}  // namespace ponmgr::sim
