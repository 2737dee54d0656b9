// The lines of `dbman serve`, and what they hold up when nobody reads them: nothing.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <iostream>

#include "CapturedOutput.h"
#include "FakeDaemon.h"
#include "RunningServer.h"
#include "dbman/Output.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::milliseconds;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

/// A stream that takes nothing until somebody opens it.
class ClosedStream : private std::streambuf {
public:
    std::ostream& stream() { return output; }

    void open() {
        const std::lock_guard lock(mutex);
        isOpen = true;
        changed.notify_all();
    }

    /// Until somebody is stuck in it.
    void waitForWriter() {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return writers > 0; });
    }

    std::string text() const {
        const std::lock_guard lock(mutex);
        return taken;
    }

private:
    std::streamsize xsputn(const char* bytes, std::streamsize count) override {
        std::unique_lock lock(mutex);
        ++writers;
        changed.notify_all();
        changed.wait(lock, [this] { return isOpen; });
        taken.append(bytes, static_cast<std::size_t>(count));
        return count;
    }

    mutable std::mutex mutex;
    std::condition_variable changed;
    std::string taken;
    int writers = 0;
    bool isOpen = false;
    std::ostream output{this};
};

class OutputTest : public testing::Test {
protected:
    ClosedStream closed;
    Output output{closed.stream(), false, [] { return Time() + std::chrono::hours(24); }};
};

TEST_F(OutputTest, ShowsAllLinesInOrderBeforeItStops) {
    output.start();
    output.announce("ready");
    output.note(EventKind::notification, "one");
    output.warn("two");
    closed.open();
    EXPECT_TRUE(output.stop());
    EXPECT_EQ(closed.text(), "ready\n1970-01-02T00:00:00.000Z one\n1970-01-02T00:00:00.000Z two\n");
}

TEST_F(OutputTest, CountsAndNamesTheLinesThatDoNotFit) {
    output.start();
    output.announce("first");
    closed.waitForWriter();
    for (std::size_t line = 0; line < LineQueue::kMaximumLines + 5; ++line) {
        output.announce("line " + std::to_string(line));
    }
    closed.open();
    EXPECT_TRUE(output.stop());
    EXPECT_THAT(closed.text(), StartsWith("first\nline 0\nline 1\n"));
    EXPECT_THAT(closed.text(),
                EndsWith("line 9998\nline 9999\n1970-01-02T00:00:00.000Z 5 lines not shown\n"));
}

TEST_F(OutputTest, TellsItsListenerAlsoWhatNobodyReads) {
    std::vector<std::string> heard;
    output.setListener(
        [&heard](Time, EventKind, const std::string& line) { heard.push_back(line); });
    output.start();
    output.note(EventKind::notification, "one");
    closed.waitForWriter();
    output.note(EventKind::notification, "two");
    EXPECT_THAT(heard, testing::ElementsAre("one", "two"));
    closed.open();
    EXPECT_TRUE(output.stop());
}

TEST(Output, TellsItsListenerBeforeItShowsALine) {
    test::CapturedOutput shown;
    Output output(shown.stream(), false);
    std::string before = "not told";
    output.setListener([&](Time, EventKind, const std::string&) { before = shown.text(); });
    output.note(EventKind::notification, "one");
    EXPECT_EQ(before, "");
    EXPECT_TRUE(shown.contains("one"));
}

TEST_F(OutputTest, DoesNotWaitForEverForAReaderWhenItStops) {
    output.start();
    output.announce("ready");
    closed.waitForWriter();
    EXPECT_FALSE(output.stop(milliseconds(5)));
    closed.open();
    EXPECT_TRUE(output.stop());
}

/// `dbman serve` as a process of its own with a pipe for its standard output.
class PipedProgram {
public:
    PipedProgram() {
        int ends[2] = {-1, -1};
        EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
        reading = Descriptor(ends[0]);
        const Descriptor writing(ends[1]);
        // As little as a pipe can hold.
        EXPECT_GT(fcntl(writing.get(), F_SETPIPE_SZ, 4096), 0);
        child = fork();
        if (child == 0) {
            dup2(writing.get(), STDOUT_FILENO);
            const auto code =
                runDbman({"serve", "--database", "/tmp/dbman.db"}, std::cout, std::cerr);
            // As main() ends: standard output is flushed once more.
            std::exit(static_cast<int>(code));
        }
    }
    PipedProgram(const PipedProgram&) = delete;
    PipedProgram& operator=(const PipedProgram&) = delete;
    ~PipedProgram() {
        if (child > 0) {
            kill(child, SIGKILL);
            waitpid(child, nullptr, 0);
        }
    }

    std::string readSome() const {
        std::string text(1000, '\0');
        const auto count = read(reading.get(), text.data(), text.size());
        return text.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
    }

    /// Its exit status once it has ended by itself after the signal, -1 when it hasn't.
    int endBy(int signal) {
        int status = -1;
        kill(child, signal);
        const bool ended =
            ponmgr::test::waitFor([&] { return waitpid(child, &status, WNOHANG) == child; });
        child = ended ? -1 : child;
        return ended && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

private:
    Descriptor reading;
    pid_t child = -1;
};

TEST(ServeWithoutAReader, StillReceivesAnswersAndEnds) {
    PipedProgram program;
    ASSERT_THAT(program.readSome(), StartsWith("dbman ready:"));
    // Each is shown with more than 160 bytes: together they are more than the pipe holds.
    constexpr int kMessages = 28;
    for (int number = 0; number < kMessages; ++number) {
        test::notify(std::string(300, 'x'));
    }
    EXPECT_TRUE(ponmgr::test::waitFor([] {
        const auto status = test::runProgram({"status", "--json"}).out;
        return status.find(R"("malformed":28)") != std::string::npos;
    }));
    EXPECT_THAT(test::runProgram({"events", "--limit", "1"}).out, HasSubstr("malformed message"));
    EXPECT_EQ(program.endBy(SIGTERM), 0);
    EXPECT_EQ(access(kDefaultControlPath, F_OK), -1);
}

}  // namespace

}  // namespace ponmgr::dbman
