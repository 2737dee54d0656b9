#include <gtest/gtest.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>

#include "FakePing.h"
#include "poncard/PingProbe.h"

namespace ponmgr::test {

namespace {

/// A text with a character that a shell would act on.
struct Trap {
    const char* name;
    const char* text;
    /// The text as the command must hold it.
    const char* quoted;
};

void PrintTo(const Trap& trap, std::ostream* stream) {
    *stream << trap.name;
}

constexpr Trap kTraps[] = {
    {"Blank", "127.0.1.3 -f", "'127.0.1.3 -f'"},
    {"Semicolon", "127.0.1.3;touch /tmp/caught", "'127.0.1.3;touch /tmp/caught'"},
    {"Ampersand", "127.0.1.3&touch /tmp/caught", "'127.0.1.3&touch /tmp/caught'"},
    {"Pipe", "127.0.1.3|touch /tmp/caught", "'127.0.1.3|touch /tmp/caught'"},
    {"Variable", "$HOME", "'$HOME'"},
    {"Substitution", "$(touch /tmp/caught)", "'$(touch /tmp/caught)'"},
    {"Backquotes", "`touch /tmp/caught`", "'`touch /tmp/caught`'"},
    {"SingleQuote", "a'; touch /tmp/caught; 'b", "'a'\\''; touch /tmp/caught; '\\''b'"},
    {"TwoSingleQuotes", "''", "''\\'''\\'''"},
    {"DoubleQuote", "\"a b\"", "'\"a b\"'"},
    {"Backslash", "a\\ b\\", "'a\\ b\\'"},
    {"Newline", "127.0.1.3\ntouch /tmp/caught", "'127.0.1.3\ntouch /tmp/caught'"},
    {"Tab", "a\tb", "'a\tb'"},
    {"Star", "/*", "'/*'"},
    {"QuestionMark", "/tm?", "'/tm?'"},
    {"Tilde", "~", "'~'"},
    {"Hash", "#127.0.1.3", "'#127.0.1.3'"},
    {"Redirection", "a>/tmp/caught", "'a>/tmp/caught'"},
    {"Input", "a</etc/passwd", "'a</etc/passwd'"},
    {"Parenthesis", "(a)", "'(a)'"},
    {"Braces", "{a,b}", "'{a,b}'"},
    {"Assignment", "a=b", "'a=b'"},
    {"Exclamation", "!a", "'!a'"},
    {"BeyondAscii", "k\xc3\xa4rtchen", "'k\xc3\xa4rtchen'"},
};

class ShellTrapTest : public testing::TestWithParam<Trap> {};

std::string nameOf(const testing::TestParamInfo<Trap>& trap) {
    return trap.param.name;
}

}  // namespace

TEST(PingCommand, OrdinaryAddressesAreTakenAsTheyAre) {
    EXPECT_EQ(pingCommand("192.168.10.1", "192.168.10.13"),
              "ping -w 1 -I 192.168.10.1 192.168.10.13 | grep ' 100% packet loss' | wc -l");
}

TEST(PingCommand, AnAddressIsNeverAnOption) {
    EXPECT_EQ(pingCommand("127.0.0.1", "-f"),
              "ping -w 1 -I 127.0.0.1 -- -f | grep ' 100% packet loss' | wc -l");
}

TEST(PingCommand, AnInterfaceIsTakenAsItIs) {
    EXPECT_EQ(pingCommand("eth0.100", "10.0.0.1"),
              "ping -w 1 -I eth0.100 10.0.0.1 | grep ' 100% packet loss' | wc -l");
}

TEST(PingCommand, AllPlainCharactersStayUnquoted) {
    EXPECT_EQ(pingCommand("br-lan_1:2", "FE80::azAZ09"),
              "ping -w 1 -I br-lan_1:2 FE80::azAZ09 | grep ' 100% packet loss' | wc -l");
}

TEST(PingCommand, EveryOtherCharacterIsQuotedOnItsOwnAccount) {
    const std::string plain = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz.:-_";
    for (int code = 1; code < 256; code++) {
        const auto character = static_cast<char>(code);
        if (character == '\'' || plain.find(character) != std::string::npos) {
            continue;  // the single quote has its own form
        }
        const std::string text = std::string("a") + character + "b";
        EXPECT_EQ(pingCommand("lo", text),
                  "ping -w 1 -I lo '" + text + "' | grep ' 100% packet loss' | wc -l")
            << "character " << code;
    }
}

TEST_P(ShellTrapTest, AnAddressIsQuoted) {
    EXPECT_EQ(pingCommand("127.0.0.1", GetParam().text), std::string("ping -w 1 -I 127.0.0.1 ") +
                                                             GetParam().quoted +
                                                             " | grep ' 100% packet loss' | wc -l");
}

TEST_P(ShellTrapTest, AnInterfaceIsQuoted) {
    EXPECT_EQ(pingCommand(GetParam().text, "127.0.1.3"),
              std::string("ping -w 1 -I ") + GetParam().quoted +
                  " 127.0.1.3 | grep ' 100% packet loss' | wc -l");
}

TEST_P(ShellTrapTest, ThePingGetsItAsOneArgumentAndTheShellDoesNothing) {
    const FakePing ping;
    const std::string text = GetParam().text;
    EXPECT_TRUE(isAnswering(pingCommand(text, text)));
    EXPECT_EQ(ping.getArguments(), "<-w><1><-I><" + text + "><" + text + ">\n");
    EXPECT_FALSE(std::filesystem::exists("/tmp/caught"));
}

INSTANTIATE_TEST_SUITE_P(PingCommand, ShellTrapTest, testing::ValuesIn(kTraps), nameOf);

TEST(IsAnswering, AZeroIsAnAnswer) {
    EXPECT_TRUE(isAnswering("printf '0\\n'"));
}

TEST(IsAnswering, AOneIsNone) {
    EXPECT_FALSE(isAnswering("printf '1\\n'"));
}

TEST(IsAnswering, NoOutputIsAnAnswer) {
    EXPECT_TRUE(isAnswering("true"));
}

TEST(IsAnswering, AnyOtherOutputIsNone) {
    EXPECT_FALSE(isAnswering("printf x"));
}

TEST(IsAnswering, AnEmptyLineIsNone) {
    EXPECT_FALSE(isAnswering("echo"));
}

TEST(IsAnswering, OnlyTheFirstCharacterCounts) {
    EXPECT_TRUE(isAnswering("printf 00"));
    EXPECT_TRUE(isAnswering("printf 01"));
    EXPECT_FALSE(isAnswering("printf 10"));
}

TEST(IsAnswering, ABlankBeforeTheNumberIsNone) {
    EXPECT_FALSE(isAnswering("printf ' 0'"));
}

TEST(IsAnswering, OutputThatComesInPiecesIsReadWhole) {
    EXPECT_TRUE(isAnswering("printf 0; printf '\\n'"));
}

TEST(IsAnswering, ACommandThatDoesNotExistIsAnAnswer) {
    EXPECT_TRUE(isAnswering("/nowhere/no-such-program 2>/dev/null"));
}

TEST(IsAnswering, ACommandThatIsNoneIsAnAnswer) {
    EXPECT_TRUE(isAnswering("exec 2>/dev/null; eval '('"));
}

TEST(IsAnswering, ItsStatusDoesNotCount) {
    EXPECT_FALSE(isAnswering("printf '1\\n'; exit 0"));
    EXPECT_TRUE(isAnswering("printf '0\\n'; exit 1"));
}

TEST(IsAnswering, APingThatIsNotInstalledIsAnAnswer) {
    const FakePing ping;
    ASSERT_TRUE(std::filesystem::remove("/tmp/fake-ping/ping"));
    for (const char* tool : {"grep", "wc"}) {
        std::filesystem::create_symlink(std::filesystem::path("/usr/bin") / tool,
                                        std::filesystem::path("/tmp/fake-ping") / tool);
    }
    ASSERT_EQ(setenv("PATH", "/tmp/fake-ping", 1), 0);
    EXPECT_TRUE(isAnswering(pingCommand("127.0.0.1", "127.0.1.3")));
}

TEST(IsAnswering, AProcessWithoutADescriptorToSpareSeesAnAnswer) {
    rlimit previous{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &previous), 0);
    const rlimit none{0, previous.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &none), 0);
    const bool answering = isAnswering("printf '1\\n'");
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &previous), 0);
    EXPECT_TRUE(answering);
}

TEST(IsAnswering, MuchOutputDoesNotHangTheProbe) {
    EXPECT_FALSE(isAnswering("yes 2>/dev/null | head -c 1000000"));
}

TEST(IsAnswering, ALostPingIsNone) {
    FakePing ping;
    ping.plan({FakePing::Lost});
    EXPECT_FALSE(isAnswering(pingCommand("127.0.0.1", "127.0.1.3")));
}

TEST(IsAnswering, AnAnsweredPingIsAnAnswer) {
    const FakePing ping;
    EXPECT_TRUE(isAnswering(pingCommand("127.0.0.1", "127.0.1.3")));
}

}  // namespace ponmgr::test
