#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <array>

#include "sim/OutputLines.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// A pipe as the standard output, with a clock that only the test moves.
class OutputLinesTest : public testing::Test {
protected:
    OutputLinesTest() {
        std::array<int, 2> ends{};
        EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
        reader = FileDescriptor(ends[0], "pipe");
        writer = FileDescriptor(ends[1], "pipe");
        EXPECT_EQ(fcntl(reader.get(), F_SETFL, O_NONBLOCK), 0);
        lines = std::make_unique<OutputLines>(writer.get(), timers);
    }

    /// What is in the pipe now.
    std::string taken() const {
        std::string text;
        std::array<char, 65536> buffer{};
        for (auto size = read(reader.get(), buffer.data(), buffer.size()); size > 0;
             size = read(reader.get(), buffer.data(), buffer.size())) {
            text.append(buffer.data(), static_cast<std::size_t>(size));
        }
        return text;
    }

    /// Everything that comes while the clock goes on.
    std::string takenInTime() {
        std::string text;
        for (int i = 0; i < 100; ++i) {
            now += 10ms;
            timers.runDue();
            text += taken();
        }
        return text;
    }

    TimePoint now{};
    TimerQueue timers{[this] { return now; }};
    FileDescriptor reader;
    FileDescriptor writer;
    std::unique_ptr<OutputLines> lines;
};

TEST_F(OutputLinesTest, GoOutWithAFlush) {
    lines->add("one");
    lines->add("two");
    EXPECT_EQ(taken(), "");
    lines->flush();
    EXPECT_EQ(taken(), "one\ntwo\n");
}

TEST_F(OutputLinesTest, WaitForAReaderThatIsSlowAndLoseNothing) {
    const std::string line(999, 'x');
    for (int i = 0; i < 500; ++i) {
        lines->add(line);
        lines->flush();
    }
    EXPECT_EQ(lines->dropped(), 0U);
    EXPECT_EQ(takenInTime().size(), 500'000U);
    EXPECT_EQ(timers.size(), 0U);
}

TEST_F(OutputLinesTest, AreDroppedAndCountedWhenNobodyReads) {
    const std::string line(999, 'x');
    for (int i = 0; i < 3000; ++i) {
        lines->add(line);
        lines->flush();
    }
    const auto dropped = lines->dropped();
    EXPECT_GT(dropped, 1500U);
    EXPECT_LT(dropped, 2500U);
    const auto text = takenInTime();
    EXPECT_EQ(text.size() / 1000, 3000U - dropped);
    EXPECT_THAT(text, StartsWith(line));
    EXPECT_THAT(text, EndsWith("\nchassis-sim: " + std::to_string(dropped) + " lines not shown\n"));
    EXPECT_EQ(lines->dropped(), 0U);
}

TEST_F(OutputLinesTest, GoOnBehindThoseThatWereDropped) {
    const std::string line(999, 'x');
    for (int i = 0; i < 3000; ++i) {
        lines->add(line);
    }
    takenInTime();
    lines->flush();
    takenInTime();
    lines->add("again");
    lines->flush();
    EXPECT_EQ(takenInTime(), "again\n");
}

TEST_F(OutputLinesTest, LeaveTheDescriptorOfOthersBlocking) {
    EXPECT_EQ(fcntl(writer.get(), F_GETFL) & O_NONBLOCK, 0);
}

TEST_F(OutputLinesTest, EndSoonThoughNobodyReads) {
    for (int i = 0; i < 300; ++i) {
        lines->add(std::string(999, 'x'));
    }
    const auto begin = Clock::now();
    lines.reset();
    EXPECT_LT(Clock::now() - begin, 5s);
    EXPECT_EQ(timers.size(), 0U);
    EXPECT_THAT(taken(), HasSubstr("xxx\n"));
}

}  // namespace
}  // namespace ponmgr::sim
