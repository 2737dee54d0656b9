#include "dbman/console/ShellWords.h"
#include "dbman/console/Suggestions.h"

namespace ponmgr::dbman {

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

using Words = std::vector<std::string>;

Words suggested(const Words& before, const std::string& partial) {
    return suggestWords(before, partial, {"help", "quit"}, [] {
        return Words{"00:0d:b6:03:00:07", "00:0d:b6:03:00:1a"};
    });
}

TEST(ShellWords, AreSplitAtBlanks) {
    EXPECT_THAT(splitShellWords("  slot  reset\t3 ").words, ElementsAre("slot", "reset", "3"));
    EXPECT_THAT(splitShellWords(" \t ").words, IsEmpty());
}

TEST(ShellWords, KeepBlanksInQuotes) {
    EXPECT_THAT(splitShellWords(R"('a b'"c d"e f\ g)").words, ElementsAre("a bc de", "f g"));
    EXPECT_THAT(splitShellWords(R"('' "")").words, ElementsAre("", ""));
}

TEST(ShellWords, TakeABackslashAsAShellDoes) {
    EXPECT_THAT(splitShellWords(R"(a\'b "c\"d\\e\f" 'g\h')").words,
                ElementsAre("a'b", R"(c"d\e\f)", R"(g\h)"));
}

TEST(ShellWords, SayThatALineIsUnfinished) {
    EXPECT_TRUE(splitShellWords("a 'b").unfinished);
    EXPECT_TRUE(splitShellWords("a \"b").unfinished);
    EXPECT_TRUE(splitShellWords("a b\\").unfinished);
    EXPECT_FALSE(splitShellWords("a 'b'").unfinished);
}

TEST(ShellWords, SayWhetherTheLineEndsInAWord) {
    EXPECT_TRUE(splitShellWords("slot re").endsInWord);
    EXPECT_FALSE(splitShellWords("slot ").endsInWord);
}

TEST(Suggestions, BeginWithGroupsCommandsAndTheConsolesOwnWords) {
    EXPECT_THAT(suggested({}, "s"), ElementsAre("send", "serve", "slot", "status"));
    EXPECT_THAT(suggested({}, "qu"), ElementsAre("quit"));
}

TEST(Suggestions, AreTheNamesOfAGroup) {
    EXPECT_THAT(suggested({"alarm"}, ""), ElementsAre("history", "list"));
    EXPECT_THAT(suggested({"nonsense"}, ""), IsEmpty());
}

TEST(Suggestions, AreSlotsWhereASlotStands) {
    EXPECT_THAT(suggested({"slot", "reset"}, ""),
                ElementsAre("1", "2", "3", "4", "5", "6", "7", "8"));
    EXPECT_THAT(suggested({"slot", "announce"}, "a"), ElementsAre("all"));
    EXPECT_THAT(suggested({"onu", "list", "--slot"}, "7"), ElementsAre("7"));
}

TEST(Suggestions, AreKnownMacAddressesWhereOneStands) {
    EXPECT_THAT(suggested({"onu", "show"}, "00:0d:b6:03:00:0"), ElementsAre("00:0d:b6:03:00:07"));
    EXPECT_THAT(suggested({"onu", "vlan", "--slot", "3"}, "00:0d:b6:03:00:1"),
                ElementsAre("00:0d:b6:03:00:1a"));
}

TEST(Suggestions, AreTheUrisOfTheDaemon) {
    EXPECT_THAT(suggested({"send"}, "/slot/e"), ElementsAre("/slot/enable"));
    EXPECT_THAT(suggested({"send", "/slot/reset", "slot_id=3"}, "mac"),
                ElementsAre("mac_address="));
}

TEST(Suggestions, AreOptionsThatAreNotThereYet) {
    EXPECT_THAT(suggested({"onu", "list", "--offline"}, "--"),
                ElementsAre("--below", "--control", "--help", "--json", "--port", "--slot"));
    EXPECT_THAT(suggested({"slot", "reset", "3"}, ""), Contains("--json"));
    EXPECT_THAT(suggested({"watch"}, "--"), Not(Contains("--json")));
}

TEST(CommonBeginning, IsWhatAllWordsShare) {
    EXPECT_EQ(commonBeginning({"/slot/enable", "/slot/reset"}), "/slot/");
    EXPECT_EQ(commonBeginning({"one"}), "one");
    EXPECT_EQ(commonBeginning({"a", "b"}), "");
    EXPECT_EQ(commonBeginning({}), "");
}

}  // namespace

}  // namespace ponmgr::dbman
