#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <ctime>
#include <filesystem>
#include <fstream>

#include "dbman/ControlClient.h"
#include "dbman/ControlServer.h"
#include "dbman/Errors.h"
#include "support/OtherUsers.h"
#include "support/WaitFor.h"

namespace ponmgr::dbman {

namespace {

using testing::HasSubstr;

constexpr auto kPath = "/tmp/test.ctl";

std::string echo(const std::string& line) {
    return "answer to " + line;
}

void ignore(const std::string&) {}

/// A server that answers each line with itself.
class ControlServerTest : public testing::Test {
protected:
    void start() {
        server.listen();
        server.start();
    }

    ControlServer server{kPath, echo, ignore};
};

/// Reads until the peer closes.
std::string readAll(const Descriptor& connection) {
    std::string text;
    while (const auto count = receiveSome(connection, text)) {
        if (*count == 0) {
            break;
        }
    }
    return text;
}

TEST_F(ControlServerTest, AnswersALineWithALine) {
    start();
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
}

TEST_F(ControlServerTest, AnswersSeveralLinesOfOneConnection) {
    start();
    const auto connection = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(connection, "a\nb\n"));
    std::string text;
    while (text != "answer to a\nanswer to b\n" && receiveSome(connection, text)) {
    }
    EXPECT_EQ(text, "answer to a\nanswer to b\n");
}

TEST_F(ControlServerTest, AnswersALineThatComesInPieces) {
    start();
    const auto connection = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(connection, "he"));
    EXPECT_EQ(askDbman(kPath, "between"), "answer to between");
    ASSERT_TRUE(sendSome(connection, "llo\n"));
    std::string text;
    ASSERT_TRUE(receiveSome(connection, text));
    EXPECT_EQ(text, "answer to hello\n");
}

TEST_F(ControlServerTest, AnswersOthersWhileAClientIsSilent) {
    start();
    const auto silent = connectLocal(kPath, 10);
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
}

TEST_F(ControlServerTest, AnswersOthersWhileAClientDoesNotRead) {
    const auto answer = [](const std::string& line) {
        return line == "small" ? line : std::string(5'000'000, 'x');
    };
    ControlServer large("/tmp/large.ctl", answer, ignore);
    large.listen();
    large.start();
    const auto deaf = connectLocal("/tmp/large.ctl", 10);
    ASSERT_TRUE(sendSome(deaf, "large\nlarge\n"));
    EXPECT_EQ(askDbman("/tmp/large.ctl", "small"), "small");
    EXPECT_EQ(askDbman("/tmp/large.ctl", "large").size(), 5'000'000U);
}

/// A server whose answers to lines that begin with "later" come when `release` is called.
class AwaitedAnswerTest : public testing::Test {
protected:
    using Clock = ControlAnswer::Clock;

    void SetUp() override {
        server.listen();
        server.start();
    }

    ControlAnswer answer(const std::string& line) {
        if (!line.starts_with("later")) {
            return echo(line);
        }
        const auto limit = Clock::now() + waitLimit;
        const auto whenThere = [this, line, limit]() -> std::optional<std::string> {
            if (released || Clock::now() >= limit) {
                ++given;
                return echo(line);
            }
            return std::nullopt;
        };
        return {whenThere, limit};
    }

    void release() {
        released = true;
        server.wake();
    }

    std::chrono::milliseconds waitLimit = std::chrono::hours(1);
    std::atomic<bool> released = false;
    std::atomic<int> given = 0;
    ControlServer server{kPath, [this](const std::string& line) { return answer(line); }, ignore};
};

TEST_F(AwaitedAnswerTest, KeepsNobodyElseWaiting) {
    const auto waiting = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(waiting, "later\n"));
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
    EXPECT_EQ(given, 0);
}

TEST_F(AwaitedAnswerTest, ComesBeforeThoseToTheLinesBehindIt) {
    const auto waiting = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(waiting, "later\nhello\n"));
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
    release();
    const std::string expected = "answer to later\nanswer to hello\n";
    std::string text;
    while (text.size() < expected.size() && receiveSome(waiting, text).value_or(0) > 0) {
    }
    EXPECT_EQ(text, expected);
}

TEST_F(AwaitedAnswerTest, IsLookedForWhenItsTimeIsOver) {
    waitLimit = std::chrono::milliseconds(20);
    EXPECT_EQ(askDbman(kPath, "later"), "answer to later");
}

TEST_F(AwaitedAnswerTest, KeepsNoPlaceForAClientThatHasGone) {
    {
        std::vector<Descriptor> gone;
        for (std::size_t count = 0; count < ControlServer::kMaximumConnections; ++count) {
            gone.push_back(connectLocal(kPath, 10));
            ASSERT_TRUE(sendSome(gone.back(), "later\n"));
        }
        EXPECT_EQ(readAll(connectLocal(kPath, 10)), "{\"error\":\"too many clients at a time\"}\n");
    }
    EXPECT_TRUE(
        ponmgr::test::waitFor([] { return askDbman(kPath, "hello") == "answer to hello"; }));
    EXPECT_EQ(given, 0);
}

TEST_F(AwaitedAnswerTest, ComesToAClientThatHasSaidAllItWants) {
    const auto waiting = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(waiting, "later\n"));
    ASSERT_EQ(shutdown(waiting.get(), SHUT_WR), 0);
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
    release();
    EXPECT_EQ(readAll(waiting), "answer to later\n");
}

TEST_F(AwaitedAnswerTest, IsGivenOutWhenTheServerStops) {
    const auto waiting = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(waiting, "later\n"));
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
    released = true;
    server.stop();
    EXPECT_EQ(readAll(waiting), "answer to later\n");
}

TEST_F(ControlServerTest, RefusesALineThatNeverEnds) {
    start();
    const auto connection = connectLocal(kPath, 10);
    ASSERT_TRUE(sendSome(connection, std::string(ControlServer::kMaximumLineBytes + 1, 'x')));
    EXPECT_EQ(readAll(connection), "{\"error\":\"a line of more than 65536 bytes\"}\n");
}

TEST_F(ControlServerTest, RefusesOneClientTooMany) {
    start();
    std::vector<Descriptor> clients;
    for (std::size_t count = 0; count < ControlServer::kMaximumConnections; ++count) {
        clients.push_back(connectLocal(kPath, 10));
    }
    EXPECT_EQ(readAll(connectLocal(kPath, 10)), "{\"error\":\"too many clients at a time\"}\n");
    clients.clear();
    EXPECT_TRUE(
        ponmgr::test::waitFor([] { return askDbman(kPath, "hello") == "answer to hello"; }));
}

/// The process can open no further descriptor as long as one lives.
class NoDescriptorsLeft {
public:
    NoDescriptorsLeft() {
        getrlimit(RLIMIT_NOFILE, &before);
        // The lowest free number, which is the next that would be given out.
        const int next = open("/", O_RDONLY | O_CLOEXEC);
        close(next);
        const rlimit none{static_cast<rlim_t>(next), before.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    NoDescriptorsLeft(const NoDescriptorsLeft&) = delete;
    NoDescriptorsLeft& operator=(const NoDescriptorsLeft&) = delete;
    ~NoDescriptorsLeft() { setrlimit(RLIMIT_NOFILE, &before); }

private:
    rlimit before{};
};

void expectAFailure() {
    try {
        ControlServer("/tmp/missing/test.ctl", echo, ignore).listen();
        ADD_FAILURE() << "it listens in a folder that isn't there";
    } catch (const Failure& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("No such file or directory"));
    }
}

TEST_F(ControlServerTest, RestsWhileNoDescriptorIsLeftAndSaysSoOnce) {
    std::mutex mutex;
    std::vector<std::string> errors;
    ControlServer poor("/tmp/poor.ctl", echo, [&](const std::string& error) {
        const std::lock_guard lock(mutex);
        errors.push_back(error);
    });
    const auto errorCount = [&] {
        const std::lock_guard lock(mutex);
        return errors.size();
    };
    // The sanitizers look at a type for the first time with descriptors of their own.
    start();
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
    expectAFailure();
    // So that it gives no descriptor back later.
    server.stop();
    poor.listen();
    const auto waiting = connectLocal("/tmp/poor.ctl", 10);
    {
        const NoDescriptorsLeft none;
        poor.start();
        ASSERT_TRUE(ponmgr::test::waitFor([&] { return errorCount() > 0; }));
        const auto before = std::clock();
        // Long enough for a second try; a thread that doesn't rest uses all of it.
        ponmgr::test::waitFor([] { return false; }, 2 * ControlServer::kAcceptPause);
        EXPECT_LT(std::clock() - before, CLOCKS_PER_SEC / 10);
    }
    EXPECT_EQ(askDbman("/tmp/poor.ctl", "hello"), "answer to hello");
    poor.stop();
    EXPECT_THAT(errors,
                testing::ElementsAre("can't take a client at /tmp/poor.ctl: Too many open files"));
}

TEST_F(ControlServerTest, MakesItsSocketForItsUserAndGroupOnly) {
    const mode_t previous = umask(0077);
    start();
    umask(previous);
    struct stat file {};
    ASSERT_EQ(stat(kPath, &file), 0);
    EXPECT_EQ(file.st_mode & 07777U, 0660U);
}

TEST_F(ControlServerTest, RemovesItsSocketWhenItStops) {
    start();
    server.stop();
    EXPECT_FALSE(std::filesystem::exists(kPath));
}

TEST_F(ControlServerTest, LeavesALiveSocketToItsOwner) {
    start();
    {
        ControlServer second(kPath, echo, ignore);
        try {
            second.listen();
            FAIL() << "two servers listen at one path";
        } catch (const Failure& error) {
            EXPECT_STREQ(error.what(),
                         "can't listen at /tmp/test.ctl: a dbman listens there already");
        }
    }
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
}

TEST_F(ControlServerTest, ReplacesTheSocketOfOneThatHasEnded) {
    {
        const LocalListener ended("/tmp/ended.ctl");
        std::filesystem::create_hard_link("/tmp/ended.ctl", kPath);
    }
    start();
    EXPECT_EQ(askDbman(kPath, "hello"), "answer to hello");
}

TEST_F(ControlServerTest, LeavesAFileThatIsNoSocketAlone) {
    std::ofstream(kPath) << "precious";
    EXPECT_THROW(server.listen(), Failure);
    std::string text;
    std::ifstream(kPath) >> text;
    EXPECT_EQ(text, "precious");
}

TEST_F(ControlServerTest, RefusesAPathThatIsTooLong) {
    ControlServer longPath("/tmp/" + std::string(200, 'x'), echo, ignore);
    EXPECT_THROW(longPath.listen(), Failure);
}

/// What a process of another user is answered; "no other user" when it couldn't become one.
std::string askAsSomebodyElse() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(pipe2(ends, O_CLOEXEC), 0);
    const Descriptor reading(ends[0]);
    Descriptor writing(ends[1]);
    const pid_t child = fork();
    if (child == 0) {
        std::string result = "no other user";
        if (setuid(test::kOtherUser) == 0) {
            result = readAll(connectLocal(kPath, 10));
        }
        const auto written = write(writing.get(), result.data(), result.size());
        _exit(written < 0 ? 1 : 0);
    }
    writing = Descriptor();
    std::string text(1000, '\0');
    const auto count = read(reading.get(), text.data(), text.size());
    waitpid(child, nullptr, 0);
    return text.substr(0, count > 0 ? static_cast<std::size_t>(count) : 0);
}

TEST_F(ControlServerTest, RefusesAnotherUserEvenWhenTheFileLetsHimIn) {
    PONMGR_NEEDS_OTHER_USERS();
    server.listen();
    ASSERT_EQ(chmod(kPath, 0666), 0);
    server.start();
    const auto answer = askAsSomebodyElse();
    EXPECT_EQ(answer, "{\"error\":\"only the user of this dbman and root may command it\"}\n");
}

TEST(AskDbman, SaysThatNoneRuns) {
    try {
        askDbman("/tmp/nobody.ctl", "hello");
        FAIL() << "somebody answered";
    } catch (const NotRunning& error) {
        EXPECT_THAT(error.what(), HasSubstr("no dbman listens at /tmp/nobody.ctl"));
    }
}

TEST(AskDbman, SaysThatTheOneThereHasEnded) {
    {
        const LocalListener ended("/tmp/ended.ctl");
        std::filesystem::create_hard_link("/tmp/ended.ctl", "/tmp/left.ctl");
    }
    EXPECT_THROW(askDbman("/tmp/left.ctl", "hello"), NotRunning);
}

TEST(AskDbman, SaysThatTheConnectionEndedWithoutAnAnswer) {
    LocalListener listener(kPath);
    std::thread closing(
        [&listener] { ponmgr::test::waitFor([&listener] { return listener.accept().isOpen(); }); });
    EXPECT_THROW(askDbman(kPath, "hello"), Failure);
    closing.join();
}

}  // namespace

}  // namespace ponmgr::dbman
