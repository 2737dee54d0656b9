#include "ChassisFixture.h"
#include "sim/DatagramLine.h"

namespace ponmgr::sim {
namespace {

std::string lineFor(Direction direction, const std::string& hex, std::string_view dropped = {},
                    const std::vector<std::uint32_t>& faults = {}) {
    JournalEntry entry;
    entry.slot = 3;
    entry.direction = direction;
    entry.peer = {0x7F000001, 14113};
    entry.bytes = bytesOf(hex);
    entry.size = entry.bytes.size();
    entry.faults = faults;
    entry.dropped = dropped;
    return describeDatagram(entry);
}

TEST(DatagramLine, OfARequestHasItsNameIdCtagAndLength) {
    EXPECT_EQ(lineFor(Direction::toCard, "0007 0102 0000"),
              "slot 3 <- 127.0.0.1:14113 Get OLT Information (7) ctag 258 length 0");
}

TEST(DatagramLine, OfAnAnswerHasItsResultToo) {
    EXPECT_EQ(lineFor(Direction::fromCard, "03e7 0001 0002 0001"),
              "slot 3 -> 127.0.0.1:14113 unknown (999) ctag 1 length 2 result 1");
}

TEST(DatagramLine, OfAnOltReadyEventHasNoResult) {
    EXPECT_EQ(lineFor(Direction::fromCard, "8000 0000 0002 abcd"),
              "slot 3 -> 127.0.0.1:14113 OLT Ready (32768) ctag 0 length 2");
}

TEST(DatagramLine, OfADroppedDatagramSaysWhy) {
    EXPECT_EQ(lineFor(Direction::toCard, "0007", "shorter than a header"),
              "slot 3 <- 127.0.0.1:14113 2 bytes, dropped: shorter than a header");
}

TEST(DatagramLine, NamesTheFaultsThatHaveHit) {
    EXPECT_EQ(
        lineFor(Direction::fromCard, "0007 0001 0002 0000", {}, {1, 12}),
        "slot 3 -> 127.0.0.1:14113 Get OLT Information (7) ctag 1 length 2 result 0, fault 1, "
        "fault 12");
}

}  // namespace
}  // namespace ponmgr::sim
