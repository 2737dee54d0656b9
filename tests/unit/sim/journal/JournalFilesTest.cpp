#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "../ChassisFixture.h"
#include "sim/ControlJson.h"
#include "sim/FileDescriptor.h"
#include "sim/journal/JournalFile.h"
#include "sim/journal/PcapFile.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

JournalEntry entryOf(const std::string& digits) {
    JournalEntry entry;
    entry.number = 1;
    entry.wall = WallTime(1'772'262'900s + 123'456'789ns);
    entry.slot = 1;
    entry.local = {0x7F000101, 14113};
    entry.peer = {0x7F000001, 14113};
    entry.bytes = bytesOf(digits);
    entry.size = entry.bytes.size();
    return entry;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::string hexOf(const std::string& path) {
    const auto content = contentOf(path);
    return hexText({reinterpret_cast<const std::uint8_t*>(content.data()), content.size()});
}

/// Big-endian, raw IP packets.
const std::string kFileHeader = hex("a1b2c3d4 0002 0004 00000000 00000000 0000ffff 00000065");

TEST(PcapFile, BeginsWithItsHeaderEvenWithoutDatagrams) {
    const PcapFile file("/tmp/a.pcap");
    EXPECT_EQ(hexOf("/tmp/a.pcap"), kFileHeader);
}

TEST(PcapFile, HoldsARequestAsAPacketToTheCard) {
    PcapFile file("/tmp/a.pcap");
    file.write(entryOf("0007 0001 0000"));
    file.flush();
    EXPECT_EQ(hexOf("/tmp/a.pcap"),
              kFileHeader + hex("69a295f4 0001e240 00000022 00000022"
                                "4500 0022 0000 4000 40 11 3bc9 7f000001 7f000101"
                                "3721 3721 000e 9285"
                                "0007 0001 0000"));
}

TEST(PcapFile, HoldsAnAnswerOfOddSizeAsAPacketFromTheCard) {
    PcapFile file("/tmp/a.pcap");
    auto entry = entryOf("ff");
    entry.direction = Direction::fromCard;
    file.write(entry);
    file.flush();
    EXPECT_EQ(hexOf("/tmp/a.pcap"),
              kFileHeader + hex("69a295f4 0001e240 0000001d 0000001d"
                                "4500 001d 0000 4000 40 11 3bce 7f000101 7f000001"
                                "3721 3721 0009 9396"
                                "ff"));
}

TEST(PcapFile, NeverHasAChecksumThatMeansNone) {
    PcapFile file("/tmp/a.pcap");
    // chosen so that the sum is ffff
    file.write(entryOf("9295"));
    file.flush();
    EXPECT_EQ(hexOf("/tmp/a.pcap").substr(48 + 32 + 40 + 12, 4), "ffff");
}

TEST(PcapFile, LacksWhatNeverLeftTheCard) {
    PcapFile file("/tmp/a.pcap");
    auto entry = entryOf("0007");
    entry.onTheWire = false;
    file.write(entry);
    file.flush();
    EXPECT_EQ(hexOf("/tmp/a.pcap"), kFileHeader);
}

TEST(PcapFile, ReplacesTheFileThatIsThere) {
    std::ofstream("/tmp/a.pcap") << std::string(1000, 'x');
    const PcapFile file("/tmp/a.pcap");
    EXPECT_EQ(hexOf("/tmp/a.pcap"), kFileHeader);
}

TEST(JournalFile, AppendsOneObjectALine) {
    std::ofstream("/tmp/a.jsonl") << "{}\n";
    JournalFile file("/tmp/a.jsonl");
    file.write(entryOf("0007 0102 0000"));
    file.write(entryOf("00"));
    file.flush();
    std::istringstream lines(contentOf("/tmp/a.jsonl"));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "{}");
    std::getline(lines, line);
    const auto row = Json::parse(line);
    EXPECT_EQ(row.at("name"), "Get OLT Information");
    EXPECT_EQ(row.at("ctag"), 258);
    EXPECT_EQ(row.at("hex"), "000701020000");
    EXPECT_EQ(row.at("wall"), "2026-02-28T07:15:00.123456789Z");
    std::getline(lines, line);
    EXPECT_EQ(Json::parse(line).at("hex"), "00");
    EXPECT_FALSE(std::getline(lines, line));
}

TEST(JournalFile, ThatCantBeWrittenIsRefusedWithTheReason) {
    try {
        const JournalFile file("/tmp/nowhere/a.jsonl");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "can't write the journal to /tmp/nowhere/a.jsonl: No such file or directory");
    }
}

TEST(OutputFile, SaysOnceThatNothingMoreCanBeWritten) {
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit unlimited{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &unlimited), 0);
    // A stream of its own: the limit is for all files.
    std::ostringstream said;
    auto* const usual = std::cerr.rdbuf(said.rdbuf());
    OutputFile file("capture", "/tmp/full", OutputFile::Mode::replace);
    const rlimit small{10, unlimited.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    for (int i = 0; i < 3; ++i) {
        file.write("123456");
        file.flush();
    }
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &unlimited), 0);
    std::cerr.rdbuf(usual);
    EXPECT_EQ(said.str(),
              "chassis-sim: can't write the capture to /tmp/full: File too large; nothing more is "
              "written there\n");
    EXPECT_EQ(contentOf("/tmp/full"), "1234561234");
}

std::string refusalOf(const std::string& path) {
    try {
        const OutputFile file("capture", path, OutputFile::Mode::replace);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "";
}

TEST(OutputFile, RefusesAPipeWithAndWithoutAReader) {
    ASSERT_EQ(mkfifo("/tmp/pipe", 0600), 0);
    const auto refusal =
        "can't write the capture to /tmp/pipe: not a regular file; allowed: one, or a name that "
        "isn't taken";
    EXPECT_EQ(refusalOf("/tmp/pipe"), refusal);
    const FileDescriptor reader(open("/tmp/pipe", O_RDONLY | O_NONBLOCK | O_CLOEXEC), "open");
    EXPECT_EQ(refusalOf("/tmp/pipe"), refusal);
}

TEST(OutputFile, RefusesADevice) {
    EXPECT_THAT(refusalOf("/dev/null"), HasSubstr("/dev/null: not a regular file; allowed: one"));
    EXPECT_THAT(refusalOf("/tmp"), HasSubstr("Is a directory"));
}

}  // namespace
}  // namespace ponmgr::sim
