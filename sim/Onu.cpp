#include "sim/Onu.h"

namespace ponmgr::sim {

namespace {

constexpr Oui kMacOui{0x00, 0x0D, 0xB6};
constexpr unsigned kNearest = 200;
constexpr unsigned kFarthest = 20000;
/// Light takes 10 ns there and back for each metre of fibre; the unit is 16 ns.
constexpr unsigned kNanosecondsPerMetre = 10;
constexpr unsigned kNanosecondsPerUnit = 16;

constexpr std::uint16_t kFirstEndpoint = 0x4000;
constexpr std::uint16_t kEndpointsPerOnu = 4;

/// Bytes of link information after the MAC and this length itself.
constexpr std::uint16_t kInformationLength = 18;
constexpr std::uint16_t kVendorType = 1;
constexpr std::uint8_t kReportingFormats = 1;
constexpr std::uint8_t kPendingGrantsLimit = 8;
constexpr std::uint8_t kUpstreamSpeeds = 1;

Onu makeOnu(const OnuAddress& address, Random& random) {
    Onu onu;
    onu.address = address;
    onu.slot = address.slot;
    onu.port = address.port;
    onu.mac = {kMacOui[0],   kMacOui[1],   kMacOui[2], static_cast<std::uint8_t>(address.slot),
               address.port, address.index};
    assignNumber(onu, address.port * kMostOnusPerPort + address.index);
    const auto metres = static_cast<unsigned>(random.between(kNearest, kFarthest));
    onu.roundTripTime =
        static_cast<std::uint16_t>(metres * kNanosecondsPerMetre / kNanosecondsPerUnit);
    onu.typical = typicalOptics(metres, random);
    onu.optics = onu.typical;
    return onu;
}

}  // namespace

std::string toText(const OnuAddress& address) {
    return std::to_string(address.slot) + '/' + std::to_string(address.port) + '/' +
           std::to_string(address.index);
}

OnuOptics Onu::shownOptics() const {
    auto shown = optics;
    shown.powerIn = attenuated(shown.powerIn, fadeDecibels);
    return shown;
}

void assignNumber(Onu& onu, unsigned number) {
    onu.llid = static_cast<std::uint16_t>(number + 1);
    const auto endpoint = static_cast<std::uint16_t>(kFirstEndpoint + number * kEndpointsPerOnu);
    onu.queues = {endpoint, static_cast<std::uint16_t>(endpoint + 1),
                  static_cast<std::uint16_t>(endpoint + 2)};
}

unsigned numberOf(const Onu& onu) {
    return onu.llid - 1U;
}

OnuList makeOnus(int slot, unsigned perPort, Random& random) {
    OnuList onus;
    for (std::uint8_t port = 0; port < kPonPorts; ++port) {
        for (unsigned index = 0; index < perPort; ++index) {
            onus.push_back(makeOnu({slot, port, static_cast<std::uint8_t>(index)}, random));
        }
    }
    return onus;
}

void writeLinkInformation(const Onu& onu, Writer& data) {
    data.copy(onu.mac);
    data.u16(kInformationLength);
    data.copy(onu.vendorOui);
    data.copy(onu.productCode);
    data.copy(onu.productVersion);
    data.u16(onu.llid);
    data.u16(onu.roundTripTime);
    data.u8(onu.port);
    data.u16(kVendorType);
    data.u8(kReportingFormats);
    data.u8(kPendingGrantsLimit);
    data.u8(kUpstreamSpeeds);
    data.u8(onu.port);
}

std::uint64_t linkKey(const MacAddress& mac) {
    std::uint64_t key = 0;
    for (const auto byte : mac) {
        key = key << 8 | byte;
    }
    return key;
}

}  // namespace ponmgr::sim
