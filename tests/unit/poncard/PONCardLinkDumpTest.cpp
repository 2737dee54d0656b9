// The file that the list of links is dumped into, and what may stand in its place.

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iomanip>
#include <iterator>
#include <sstream>

#include "PONCardLinkFixture.h"
#include "unit/model/LimitedJsonMemory.h"

namespace ponmgr::test {

namespace {

class PONCardLinkDumpTest : public PONCardLinkFixture {
protected:
    PONCardLinkDumpTest() { takeDump(); }

    static bool takeDump() { return std::filesystem::remove("/tmp/onu-3.log"); }
};

/// A file system of two pages in the place of the dump file, which holds "old" on it.
class SmallDisk {
public:
    explicit SmallDisk(unsigned long flags) {
        std::filesystem::create_directory(kFolder);
        EXPECT_EQ(mount("tmpfs", kFolder, "tmpfs", 0, "size=8k"), 0);
        std::ofstream(kFile) << "old";
        std::ofstream("/tmp/onu-3.log").flush();
        EXPECT_EQ(mount(kFile, "/tmp/onu-3.log", nullptr, MS_BIND, nullptr), 0);
        if (flags != 0) {
            EXPECT_EQ(
                mount(nullptr, "/tmp/onu-3.log", nullptr, MS_REMOUNT | MS_BIND | flags, nullptr),
                0);
        }
    }
    SmallDisk(const SmallDisk&) = delete;
    SmallDisk& operator=(const SmallDisk&) = delete;
    ~SmallDisk() {
        umount("/tmp/onu-3.log");
        umount(kFolder);
        std::filesystem::remove("/tmp/onu-3.log");
        std::filesystem::remove(kFolder);
    }

    static constexpr const char* kFolder = "/tmp/small-disk";
    static constexpr const char* kFile = "/tmp/small-disk/onu-3.log";
};

}  // namespace

TEST_F(PONCardLinkDumpTest, TheFirstCallAndEverySixthAfterItWriteTheFile) {
    std::vector<bool> written;
    for (int call = 0; call < 14; call++) {
        helper.doOnuListDump();
        written.push_back(takeDump());
    }
    EXPECT_EQ(written, (std::vector<bool>{true, false, false, false, false, false, true, false,
                                          false, false, false, false, true, false}));
}

TEST_F(PONCardLinkDumpTest, TheFileHoldsTheListIndentedAndALineEnd) {
    std::ofstream("/tmp/onu-3.log") << std::string(1000, 'x');
    helper.doOnuListDump();
    std::ifstream file("/tmp/onu-3.log");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "{\n\t\"onulist\":\t[]\n}\n");
}

TEST_F(PONCardLinkDumpTest, AFileThatCannotBeOpenedIsPassedOverAndTheCallCounts) {
    std::filesystem::create_directory("/tmp/onu-3.log");
    EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    ASSERT_TRUE(takeDump());
    for (int call = 0; call < 5; call++) {
        helper.doOnuListDump();
    }
    EXPECT_FALSE(takeDump());
    helper.doOnuListDump();
    EXPECT_TRUE(takeDump());
}

TEST_F(PONCardLinkDumpTest, ALinkInThePlaceOfTheFileIsNotFollowed) {
    std::ofstream("/tmp/precious") << "kept";
    std::filesystem::create_symlink("/tmp/precious", "/tmp/onu-3.log");
    EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    EXPECT_EQ(std::filesystem::file_size("/tmp/precious"), 4U);
    EXPECT_TRUE(takeDump());
    std::filesystem::remove("/tmp/precious");
}

TEST_F(PONCardLinkDumpTest, APipeInThePlaceOfTheFileIsLeftAlone) {
    ASSERT_EQ(mkfifo("/tmp/onu-3.log", 0600), 0);
    const int reader = open("/tmp/onu-3.log", O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    char taken = 0;
    EXPECT_EQ(read(reader, &taken, 1), 0) << "nobody has written";
    close(reader);
    EXPECT_TRUE(takeDump());
}

TEST_F(PONCardLinkDumpTest, OnAFullDiskItEndsWhereTheDiskDoes) {
    const SmallDisk disk(0);
    for (int onu = 0; onu < 64; onu++) {
        discover(
            (std::stringstream() << std::hex << std::setw(2) << std::setfill('0') << onu).str());
    }
    EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    EXPECT_EQ(std::filesystem::file_size(SmallDisk::kFile), 8192U);
}

TEST_F(PONCardLinkDumpTest, OnAReadOnlyDiskTheOldOneStays) {
    const SmallDisk disk(MS_RDONLY);
    EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    EXPECT_EQ(std::filesystem::file_size(SmallDisk::kFile), 3U);
}

TEST_F(PONCardLinkDumpTest, AListThatCannotBeBuiltIsAnEmptyObject) {
    discover("0a");
    {
        const LimitedJsonMemory noMemory(0);
        EXPECT_EQ(textPrintedBy([this] { helper.doOnuListDump(); }), "");
    }
    std::ifstream file("/tmp/onu-3.log");
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), "{}\n");
}

}  // namespace ponmgr::test
