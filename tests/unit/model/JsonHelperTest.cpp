#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Failure.h"
#include "Items.h"
#include "LimitedJsonMemory.h"
#include "model/JsonHelper.h"

namespace ponmgr::test {

namespace {

constexpr const char* kNoMemory = "Impossible to allocate memory";
constexpr const char* kNotParsed = "parseJObject[30]: Impossible to parse json";

// Parses the text from memory that ends with it, so that a read beyond the end is found.
JsonPointer parseExactly(const std::string& text) {
    const auto exact = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), exact.get());
    return JsonHelper::parse(exact.get(), text.size());
}

// What `body` throws when cJSON gets no memory at all.
template <typename Body>
std::string failureWithoutMemory(Body body) {
    const LimitedJsonMemory memory(0);
    return messageOf(body);
}

TEST(JsonHelperTest, MakesAnEmptyObject) {
    EXPECT_EQ(JsonHelper::toString(JsonHelper::createObject().get(), true), "{}");
}

TEST(JsonHelperTest, MakesAnEmptyArray) {
    EXPECT_EQ(JsonHelper::toString(JsonHelper::createArray().get(), true), "[]");
}

TEST(JsonHelperTest, PrintsCompactOrIndented) {
    const auto tree = JsonHelper::parseJObject(R"( { "a" : [ 1 , true , null , "x" ] } )");
    EXPECT_EQ(JsonHelper::toString(tree.get(), true), R"({"a":[1,true,null,"x"]})");
    EXPECT_EQ(JsonHelper::toString(tree.get(), false), "{\n\t\"a\":\t[1, true, null, \"x\"]\n}");
}

TEST(JsonHelperTest, PrintsNoTreeAsNothing) {
    EXPECT_EQ(JsonHelper::toString(static_cast<const cJSON*>(nullptr), true), "");
    EXPECT_EQ(JsonHelper::toString(static_cast<const cJSON*>(nullptr), false), "");
}

TEST(JsonHelperTest, ParsesAnyValueByEitherName) {
    for (const char* text : {"{}", R"({"a":{}})", "[]", "[1]", R"("x")", "1", "true", "null"}) {
        EXPECT_EQ(JsonHelper::toString(JsonHelper::parseJObject(text).get(), true), text);
        EXPECT_EQ(JsonHelper::toString(JsonHelper::parseJArray(text).get(), true), text);
    }
}

TEST(JsonHelperTest, IgnoresWhatFollowsTheValue) {
    EXPECT_EQ(JsonHelper::toString(JsonHelper::parseJObject("{} {").get(), true), "{}");
    EXPECT_EQ(JsonHelper::toString(JsonHelper::parseJArray("[]]").get(), true), "[]");
    EXPECT_EQ(JsonHelper::toString(parseExactly("{}x").get(), true), "{}");
}

TEST(JsonHelperTest, RefusesWhatIsNoJson) {
    for (const char* text : {"", " ", "x", "{", "[", "\"", R"({"a")", R"({"a":)", "{a:1}", "]"}) {
        EXPECT_EQ(whatOf([&] { JsonHelper::parseJObject(text); }), kNotParsed) << text;
        EXPECT_EQ(whatOf([&] { JsonHelper::parseJArray(text); }), kNotParsed) << text;
        EXPECT_EQ(parseExactly(text), nullptr) << text;
    }
}

TEST(JsonHelperTest, ParsesALengthWithoutATerminatingZero) {
    for (const char* text : {R"({"a":"1"})", "[1]", R"("x")", "12", "true", "null"}) {
        EXPECT_EQ(JsonHelper::toString(parseExactly(text).get(), true), text);
    }
}

TEST(JsonHelperTest, ParsesNoFurtherThanTheLength) {
    EXPECT_EQ(JsonHelper::toString(JsonHelper::parse("123", 2).get(), true), "12");
    EXPECT_EQ(JsonHelper::parse("{}", 1), nullptr);
    EXPECT_EQ(JsonHelper::parse("{}", 0), nullptr);
}

TEST(JsonHelperTest, EveryBeginningOfATextIsRefusedWithinItsBounds) {
    const std::string text = R"({"key":"va\u00e9\n","n":[-1.5e+3,true,false,null,{}]})";
    for (std::size_t length = 0; length < text.size(); length++) {
        EXPECT_EQ(parseExactly(text.substr(0, length)), nullptr) << length;
    }
    EXPECT_NE(parseExactly(text), nullptr);
}

TEST(JsonHelperTest, EveryBeginningOfALiteralOrNumberStaysWithinItsBounds) {
    for (const std::string text : {"true", "false", "null", "-1.5e+3", R"("\ud83d\ude00")"}) {
        for (std::size_t length = 0; length <= text.size(); length++) {
            const auto tree = parseExactly(text.substr(0, length));
            EXPECT_TRUE(length < text.size() || tree != nullptr) << text;
        }
    }
}

TEST(JsonHelperTest, NestingBeyondTheLimitIsRefused) {
    EXPECT_EQ(parseExactly(std::string(100'000, '[')), nullptr);
    EXPECT_EQ(parseExactly(std::string(100'000, '[') + std::string(100'000, ']')), nullptr);
}

TEST(JsonHelperTest, AddsToAnObjectInOrder) {
    const auto object = JsonHelper::createObject();
    JsonHelper::addString(object.get(), "b", "1");
    JsonHelper::addToObject(object.get(), "a", JsonHelper::createArray());
    JsonHelper::addString(object.get(), "b", "2");
    EXPECT_EQ(JsonHelper::toString(object.get(), true), R"({"b":"1","a":[],"b":"2"})");
}

TEST(JsonHelperTest, AddsToTheEndOfAnArray) {
    const auto array = JsonHelper::createArray();
    JsonHelper::addToArray(array.get(), JsonHelper::parseJObject("1"));
    JsonHelper::addToArray(array.get(), JsonHelper::createObject());
    EXPECT_EQ(JsonHelper::toString(array.get(), true), "[1,{}]");
}

TEST(JsonHelperTest, PrintsAListOfRecordsCompactEitherWay) {
    std::vector<std::unique_ptr<Container>> list;
    EXPECT_EQ(JsonHelper::toString(list, true), "[]");
    list.push_back(itemOf("a", "1"));
    EXPECT_EQ(JsonHelper::toString(list, true), R"([{"a":"1","id":"0"}])");
    list.push_back(std::make_unique<PrintedItem>([] { return "own"; }));
    EXPECT_EQ(JsonHelper::toString(list, true), R"([{"a":"1","id":"0"},own])");
    EXPECT_EQ(JsonHelper::toString(list, false), R"([{"a":"1","id":"0"},own])");
}

TEST(JsonHelperTest, NoMemoryForANewTreeIsAnError) {
    EXPECT_EQ(failureWithoutMemory([] { JsonHelper::createObject(); }), kNoMemory);
    EXPECT_EQ(failureWithoutMemory([] { JsonHelper::createArray(); }), kNoMemory);
}

TEST(JsonHelperTest, ErrorsCarryTheNameOfTheirFunction) {
    const LimitedJsonMemory memory(0);
    EXPECT_TRUE(whatOf([] { JsonHelper::createObject(); }).starts_with("createObject["));
    EXPECT_TRUE(whatOf([] { JsonHelper::createArray(); }).starts_with("createArray["));
}

TEST(JsonHelperTest, NoMemoryForTheTextIsAnError) {
    const auto tree = JsonHelper::parseJObject(R"({"a":"1"})");
    EXPECT_EQ(failureWithoutMemory([&] { JsonHelper::toString(tree.get(), true); }), kNoMemory);
    EXPECT_EQ(failureWithoutMemory([&] { JsonHelper::toString(tree.get(), false); }), kNoMemory);
    const LimitedJsonMemory memory(0);
    EXPECT_TRUE(whatOf([&] { JsonHelper::toString(tree.get(), true); }).starts_with("toString["));
}

TEST(JsonHelperTest, NoMemoryForALongTextIsAnErrorWhereverItRunsOut) {
    const auto tree = JsonHelper::createObject();
    JsonHelper::addString(tree.get(), "a", std::string(100'000, 'x'));
    std::size_t allowed = 0;
    for (bool refused = true; refused; allowed++) {
        std::string failure;
        {
            const LimitedJsonMemory memory(allowed);
            failure = messageOf([&] { JsonHelper::toString(tree.get(), true); });
            refused = memory.hasRefused();
        }
        ASSERT_EQ(failure, refused ? kNoMemory : kNothingThrown) << allowed;
    }
    EXPECT_GE(allowed, 2U);
}

TEST(JsonHelperTest, NoMemoryForAMemberIsAnErrorAndLeavesTheObject) {
    const auto object = JsonHelper::createObject();
    // a string member takes memory for the value's node, its text and its key
    for (std::size_t allowed = 0; allowed < 3; allowed++) {
        const LimitedJsonMemory memory(allowed);
        EXPECT_EQ(messageOf([&] { JsonHelper::addString(object.get(), "a", "1"); }), kNoMemory);
    }
    EXPECT_EQ(JsonHelper::toString(object.get(), true), "{}");
    auto item = JsonHelper::createArray();
    EXPECT_EQ(
        failureWithoutMemory([&] { JsonHelper::addToObject(object.get(), "a", std::move(item)); }),
        kNoMemory);
    EXPECT_EQ(JsonHelper::toString(object.get(), true), "{}");
}

TEST(JsonHelperTest, NoItemForAnArrayIsAnError) {
    const auto array = JsonHelper::createArray();
    EXPECT_EQ(messageOf([&] { JsonHelper::addToArray(array.get(), nullptr); }), kNoMemory);
    EXPECT_EQ(JsonHelper::toString(array.get(), true), "[]");
}

TEST(JsonHelperTest, NoMemoryForParsingIsAnErrorWhereverItRunsOut) {
    std::size_t allowed = 0;
    for (bool refused = true; refused; allowed++) {
        std::string failure;
        {
            const LimitedJsonMemory memory(allowed);
            failure = whatOf([] { JsonHelper::parseJObject(R"({"a":["1",{"b":"2"}]})"); });
            refused = memory.hasRefused();
        }
        ASSERT_EQ(failure, refused ? kNotParsed : kNothingThrown) << allowed;
    }
    EXPECT_GT(allowed, 5U);
}

TEST(JsonHelperTest, SeveralThreadsParseAndPrint) {
    std::vector<std::thread> threads;
    std::vector<std::string> results(4);
    for (auto& result : results) {
        threads.emplace_back([&result] {
            for (int round = 0; round < 500; round++) {
                parseExactly("{\"broken\":");
                result = JsonHelper::toString(parseExactly(R"({"a":["1"]})").get(), true);
            }
        });
    }
    for (auto& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(results, std::vector<std::string>(4, R"({"a":["1"]})"));
}

}  // namespace

}  // namespace ponmgr::test
