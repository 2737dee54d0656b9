#include "dbman/Errors.h"
#include "dbman/Json.h"

namespace ponmgr::dbman {

namespace {

std::string nested(std::size_t levels) {
    return std::string(levels, '[') + std::string(levels, ']');
}

TEST(Json, NestedAsDeepAsAllowedIsRead) {
    EXPECT_EQ(printJson(parseJson(nested(kMaximumJsonDepth))), nested(kMaximumJsonDepth));
}

TEST(Json, NestedOneLevelDeeperIsRefused) {
    EXPECT_THROW(parseJson(nested(kMaximumJsonDepth + 1)), MalformedMessage);
}

TEST(Json, OfAMillionOpenBracketsIsRefused) {
    EXPECT_THROW(parseJson(std::string(1'000'000, '[')), MalformedMessage);
    EXPECT_THROW(parseJson(nested(500'000)), MalformedMessage);
}

TEST(Json, BracketsInAStringNestNothing) {
    const std::string text = R"({"a":")" + std::string(kMaximumJsonDepth, '[') + R"(\\\"[{\"[{"})";
    EXPECT_EQ(printJson(parseJson(text)), text);
}

TEST(Json, BracketsBehindAStringNest) {
    const std::string text = R"(["\\",)" + nested(kMaximumJsonDepth) + "]";
    EXPECT_THROW(parseJson(text), MalformedMessage);
}

TEST(Json, AsManyListsSideBySideAsOneLikesAreRead) {
    std::string text = "[[]";
    for (int list = 1; list < 100; ++list) {
        text += ",[]";
    }
    EXPECT_EQ(parseJson(text + "]").size(), 100U);
}

TEST(Json, OfAHundredThousandObjectsIsReadInTime) {
    std::string text = "[{}";
    for (int object = 1; object < 100'000; ++object) {
        text += ",{}";
    }
    EXPECT_EQ(parseJson(text + "]").size(), 100'000U);
}

TEST(Json, OfAHundredThousandMembersIsReadInTime) {
    std::string text = "{";
    for (int member = 0; member < 100'000; ++member) {
        text += (member == 0 ? "\"" : ",\"") + std::to_string(member) + "\":0";
    }
    EXPECT_EQ(parseJson(text + "}").size(), 100'000U);
}

TEST(Json, WithBytesThatAreNotUtf8IsRefused) {
    EXPECT_THROW(parseJson("{\"a\":\"\xff\xfe\"}"), MalformedMessage);
}

TEST(Json, WithANumberTooLargeIsRefused) {
    EXPECT_THROW(parseJson("{\"a\":1e999}"), MalformedMessage);
}

TEST(StringMember, IsEmptyForAnotherType) {
    EXPECT_EQ(stringMember(parseJson(R"({"a":1,"b":"x"})"), "a"), "");
    EXPECT_EQ(stringMember(parseJson(R"({"a":1,"b":"x"})"), "b"), "x");
    EXPECT_EQ(stringMember(parseJson(R"({"a":1,"b":"x"})"), "c"), "");
    EXPECT_EQ(stringMember(parseJson("[]"), "c"), "");
}

}  // namespace

}  // namespace ponmgr::dbman
