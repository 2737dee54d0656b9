#include "dbman/Text.h"

namespace ponmgr::dbman {

namespace {

TEST(Printable, KeepsTextOfAnyLanguage) {
    EXPECT_EQ(printable("Grüße 世界 \xf0\x9f\x98\x80", 80), "Grüße 世界 \xf0\x9f\x98\x80");
}

TEST(Printable, ReplacesControlCharacters) {
    EXPECT_EQ(printable("a\x1b[31m\nb\x7f\xc2\x9b", 80), "a?[31m?b??");
}

TEST(Printable, ReplacesBytesThatAreNotUtf8) {
    EXPECT_EQ(printable("a\xff\xc3", 80), "a??");
    EXPECT_EQ(printable("\xc0\xaf", 80), "??");
    EXPECT_EQ(printable("\xed\xa0\x80", 80), "???");
    EXPECT_EQ(printable("\xf4\x90\x80\x80", 80), "????");
}

TEST(Printable, CutsBetweenCharactersAndSaysSo) {
    EXPECT_EQ(printable("abcdef", 6), "abcdef");
    EXPECT_EQ(printable("abcdefg", 6), "abcdef...");
    EXPECT_EQ(printable("abcdeü", 6), "abcde...");
}

TEST(CutText, TakesBytesThatAreNoTextAsTheyCome) {
    EXPECT_EQ(cutText("\x80\x80\x80\x80\x80\x80", 4), "\x80\x80\x80\x80");
    EXPECT_EQ(cutText("ü", 0), "");
}

TEST(IsUtf8, RefusesACharacterThatIsCutOff) {
    EXPECT_TRUE(isUtf8("ü"));
    EXPECT_TRUE(isUtf8(""));
    EXPECT_FALSE(isUtf8("\xc3"));
    EXPECT_FALSE(isUtf8("\xe4\xb8"));
}

TEST(CountCharacters, CountsCharactersNotBytes) {
    EXPECT_EQ(countCharacters("aü世"), 3U);
}

TEST(FormatUtc, IsIso8601WithMilliseconds) {
    using std::chrono::milliseconds;
    const std::chrono::system_clock::time_point epoch{};
    EXPECT_EQ(formatUtc(epoch), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(formatUtc(epoch + milliseconds(1'000'000'000'007)), "2001-09-09T01:46:40.007Z");
    EXPECT_EQ(formatUtc(epoch - milliseconds(1)), "1969-12-31T23:59:59.999Z");
}

}  // namespace

}  // namespace ponmgr::dbman
