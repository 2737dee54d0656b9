#include "sim/journal/PcapFile.h"

namespace ponmgr::sim {

namespace {

constexpr std::uint32_t kMagic = 0xA1B2C3D4;
constexpr std::uint16_t kMajorVersion = 2;
constexpr std::uint16_t kMinorVersion = 4;
constexpr std::uint32_t kLongestPacket = 65535;
/// Packets begin with their IP header.
constexpr std::uint32_t kRawIp = 101;

constexpr std::uint16_t kIpHeaderSize = 20;
constexpr std::uint16_t kUdpHeaderSize = 8;
constexpr std::size_t kIpChecksumOffset = 10;
constexpr std::size_t kIpAddressesOffset = 12;
constexpr std::size_t kUdpChecksumOffset = kIpHeaderSize + 6;
constexpr std::uint8_t kVersionAndHeaderWords = 0x45;
constexpr std::uint16_t kDontFragment = 0x4000;
constexpr std::uint8_t kTimeToLive = 64;
constexpr std::uint8_t kUdp = 17;

/// The sum of 16-bit words that the checksums of both headers are made of.
std::uint32_t sumOfWords(std::span<const std::uint8_t> bytes) {
    std::uint32_t sum = 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        sum += static_cast<std::uint32_t>(bytes[i]) << (i % 2 == 0 ? 8 : 0);
    }
    return sum;
}

std::uint16_t checksum(std::uint32_t sum) {
    while (sum > UINT16_MAX) {
        sum = (sum & UINT16_MAX) + (sum >> 16);
    }
    return static_cast<std::uint16_t>(~sum);
}

void writePacket(Writer& packet, Endpoint from, Endpoint to, std::span<const std::uint8_t> data) {
    const auto udpSize = static_cast<std::uint16_t>(kUdpHeaderSize + data.size());
    packet.clear();
    packet.u8(kVersionAndHeaderWords);
    packet.u8(0);
    packet.u16(static_cast<std::uint16_t>(kIpHeaderSize + udpSize));
    packet.u16(0);
    packet.u16(kDontFragment);
    packet.u8(kTimeToLive);
    packet.u8(kUdp);
    packet.u16(0);
    packet.u32(from.address);
    packet.u32(to.address);
    packet.patchU16(kIpChecksumOffset, checksum(sumOfWords(packet.view())));
    packet.u16(from.port);
    packet.u16(to.port);
    packet.u16(udpSize);
    packet.u16(0);
    packet.copy(data);
    // The addresses, the protocol and the length take part a second time.
    const auto sum =
        checksum(sumOfWords(packet.view().subspan(kIpAddressesOffset)) + kUdp + udpSize);
    // Zero would say that there is none.
    packet.patchU16(kUdpChecksumOffset, sum == 0 ? UINT16_MAX : sum);
}

std::string_view textOf(std::span<const std::uint8_t> bytes) {
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

PcapFile::PcapFile(const std::string& path) : file("capture", path, OutputFile::Mode::replace) {
    packet.u32(kMagic);
    packet.u16(kMajorVersion);
    packet.u16(kMinorVersion);
    packet.u32(0);
    packet.u32(0);
    packet.u32(kLongestPacket);
    packet.u32(kRawIp);
    file.write(textOf(packet.view()));
    file.flush();
}

void PcapFile::write(const JournalEntry& entry) {
    if (!entry.onTheWire) {
        return;
    }
    const bool toCard = entry.direction == Direction::toCard;
    writePacket(packet, toCard ? entry.peer : entry.local, toCard ? entry.local : entry.peer,
                entry.bytes);
    const auto micros =
        std::chrono::floor<std::chrono::microseconds>(entry.wall).time_since_epoch().count();
    Writer record;
    record.u32(static_cast<std::uint32_t>(micros / 1'000'000));
    record.u32(static_cast<std::uint32_t>(micros % 1'000'000));
    record.u32(static_cast<std::uint32_t>(packet.size()));
    record.u32(static_cast<std::uint32_t>(packet.size()));
    file.write(textOf(record.view()));
    file.write(textOf(packet.view()));
}

}  // namespace ponmgr::sim
