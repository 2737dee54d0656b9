#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <type_traits>

#include "ipc/APIData.h"
#include "unit/model/Failure.h"
#include "unit/model/LimitedJsonMemory.h"

using testing::MatchesRegex;

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<APIData>);

// Reads a message from memory that ends with it, so that a read beyond the end is found.
void parseRequest(APIData& message, const std::string& text) {
    const auto exact = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), exact.get());
    message.parseRequest(exact.get(), static_cast<int>(text.size()));
}

void parseResponse(APIData& message, const std::string& text) {
    const auto exact = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), exact.get());
    message.parseResponse(exact.get(), static_cast<int>(text.size()));
}

std::string requestFailure(const std::string& text) {
    APIData message;
    return messageOf([&] { parseRequest(message, text); });
}

std::string responseFailure(const std::string& text) {
    APIData message;
    return messageOf([&] { parseResponse(message, text); });
}

constexpr const char* kEmptyDump =
    "action: \nuri: \njsonData: \njsonProtocol: \nerr: \n-----------------\n";

TEST(APIDataTest, ANewMessageIsEmpty) {
    EXPECT_EQ(APIData().dump(), kEmptyDump);
}

TEST(CreateRequestTest, WritesActionUriAndDataInThisOrder) {
    APIData message;
    message.createRequest("set", "/olt/get/all/ip", "{}");
    EXPECT_EQ(message.getJsonProtocol(), R"({"action":"set","uri":"/olt/get/all/ip","data":{}})");
    EXPECT_EQ(message.getAction(), "set");
    EXPECT_EQ(message.getUri(), "/olt/get/all/ip");
    EXPECT_EQ(message.getError(), "");
}

TEST(CreateRequestTest, LeavesEmptyDataOut) {
    APIData message;
    message.createRequest("get", "/olt", "");
    EXPECT_EQ(message.getJsonProtocol(), R"({"action":"get","uri":"/olt"})");
    EXPECT_EQ(message.getJsonData(), "");
}

TEST(CreateRequestTest, SendsDataCompactAndKeepsTheCallersText) {
    const std::string data = "{\n\t\"b\":\t\"1\",\n\t\"a\":\t[ 1, 2 ]\n}";
    APIData message;
    message.createRequest("set", "/onu/new", data);
    EXPECT_EQ(message.getJsonProtocol(),
              R"({"action":"set","uri":"/onu/new","data":{"b":"1","a":[1,2]}})");
    EXPECT_EQ(message.getJsonData(), data);
}

TEST(CreateRequestTest, TakesDataOfAnyJsonType) {
    for (const std::string data : {"[1]", "7", "\"x\"", "true", "null"}) {
        APIData message;
        message.createRequest("set", "/u", data);
        EXPECT_EQ(message.getJsonProtocol(), R"({"action":"set","uri":"/u","data":)" + data + "}");
    }
}

TEST(CreateRequestTest, EscapesActionAndUri) {
    APIData message;
    message.createRequest("a\"b", "c\\d/e\n", "");
    EXPECT_EQ(message.getJsonProtocol(), R"({"action":"a\"b","uri":"c\\d/e\n"})");
}

TEST(CreateRequestTest, RefusesDataThatIsNoJson) {
    APIData message;
    message.createRequest("set", "/earlier", "{}");
    EXPECT_EQ(whatOf([&] { message.createRequest("set", "/u", "{"); }),
              "parseJObject[30]: Impossible to parse json");
    EXPECT_EQ(message.dump(), kEmptyDump);
    EXPECT_EQ(messageOf([&] { message.createRequest("set", "/u", " "); }),
              "Impossible to parse json");
}

TEST(CreateRequestTest, ForgetsWhatTheMessageWas) {
    APIData message;
    message.createResponse("failed", "");
    message.createRequest("get", "/u", "");
    EXPECT_EQ(message.getError(), "");
    message.createRequest("set", "/v", "{}");
    message.createRequest("get", "/u", "");
    EXPECT_EQ(message.getJsonData(), "");
}

TEST(CreateRequestTest, TakesItsOwnFields) {
    APIData message;
    message.createRequest("set", "/u", "{}");
    message.createRequest(message.getAction(), message.getUri(), message.getJsonData());
    EXPECT_EQ(message.getJsonProtocol(), R"({"action":"set","uri":"/u","data":{}})");
}

TEST(CreateRequestTest, MemoryThatRunsOutIsAnErrorAndNothingElse) {
    std::size_t allowed = 0;
    for (bool refused = true; refused; allowed++) {
        APIData message;
        std::string failure;
        {
            const LimitedJsonMemory memory(allowed);
            failure = messageOf([&] { message.createRequest("set", "/u", R"({"a":"1"})"); });
            refused = memory.hasRefused();
        }
        ASSERT_TRUE(refused ? failure == "Impossible to allocate memory" ||
                                  failure == "Impossible to parse json"
                            : failure == kNothingThrown)
            << allowed << ": " << failure;
        ASSERT_EQ(message.getJsonProtocol(),
                  refused ? "" : R"({"action":"set","uri":"/u","data":{"a":"1"}})");
    }
    EXPECT_GT(allowed, 5U);
}

TEST(CreateResponseTest, WritesDataBeforeAnEmptyError) {
    APIData message;
    message.createResponse("", R"({ "a" : "1" })");
    EXPECT_EQ(message.getJsonProtocol(), R"({"data":{"a":"1"},"err":""})");
    EXPECT_EQ(message.getJsonData(), R"({ "a" : "1" })");
    EXPECT_EQ(message.getError(), "");
}

TEST(CreateResponseTest, WritesNoDataBesideAnError) {
    APIData message;
    message.createResponse("failed", R"({"a":"1"})");
    EXPECT_EQ(message.getJsonProtocol(), R"({"err":"failed"})");
    EXPECT_EQ(message.getError(), "failed");
}

TEST(CreateResponseTest, WritesNoEmptyData) {
    APIData message;
    message.createResponse("", "");
    EXPECT_EQ(message.getJsonProtocol(), R"({"err":""})");
}

TEST(CreateResponseTest, ForgetsWhatTheMessageWas) {
    APIData message;
    message.createRequest("set", "/u", "{}");
    message.createResponse("failed", "");
    EXPECT_EQ(message.dump(),
              "action: \nuri: \njsonData: \njsonProtocol: {\"err\":\"failed\"}\nerr: failed\n"
              "-----------------\n");
}

TEST(CreateResponseTest, RefusesDataThatIsNoJson) {
    APIData message;
    EXPECT_EQ(messageOf([&] { message.createResponse("", "{"); }), "Impossible to parse json");
}

TEST(ParseRequestTest, ReadsActionUriAndData) {
    APIData message;
    parseRequest(message, R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"2"}})");
    EXPECT_EQ(message.getAction(), "set");
    EXPECT_EQ(message.getUri(), "/olt/ip");
    EXPECT_EQ(message.getJsonData(), R"({"slot_id":"2"})");
    EXPECT_EQ(message.getJsonProtocol(),
              R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"2"}})");
    EXPECT_EQ(message.getError(), "");
}

TEST(ParseRequestTest, PrintsDataAndMessageCompactInTheirOwnOrder) {
    APIData message;
    parseRequest(message,
                 " { \"data\" : { \"b\" : 1 , \"a\" : [ ] } ,\n \"more\" : null , "
                 "\"uri\" : \"/u\" , \"action\" : \"set\" } ");
    EXPECT_EQ(message.getJsonData(), R"({"b":1,"a":[]})");
    EXPECT_EQ(message.getJsonProtocol(),
              R"({"data":{"b":1,"a":[]},"more":null,"uri":"/u","action":"set"})");
}

TEST(ParseRequestTest, FindsTheKeysWhateverTheirCase) {
    APIData message;
    parseRequest(message, R"({"ACTION":"set","Uri":"/u","dAtA":{"a":"1"}})");
    EXPECT_EQ(message.getAction(), "set");
    EXPECT_EQ(message.getUri(), "/u");
    EXPECT_EQ(message.getJsonData(), R"({"a":"1"})");
    EXPECT_EQ(message.getJsonProtocol(), R"({"ACTION":"set","Uri":"/u","dAtA":{"a":"1"}})");
}

TEST(ParseRequestTest, TakesTheFirstOfSeveralMembersOfOneName) {
    APIData message;
    parseRequest(message, R"({"action":"get","Action":"set","uri":"/u","uri":"/v"})");
    EXPECT_EQ(message.getAction(), "get");
    EXPECT_EQ(message.getUri(), "/u");
}

TEST(ParseRequestTest, TakesDataOfAnyJsonType) {
    for (const std::string data : {"{}", "[1]", "7", "\"x\"", "true", "null"}) {
        APIData message;
        parseRequest(message, R"({"action":"set","uri":"/u","data":)" + data + "}");
        EXPECT_EQ(message.getJsonData(), data);
    }
}

TEST(ParseRequestTest, ReadsNoDataForAnotherAction) {
    for (const std::string action : {"get", "SET", "Set", "set ", ""}) {
        APIData message;
        parseRequest(message, R"({"action":")" + action + R"(","uri":"/u","data":{"a":"1"}})");
        EXPECT_EQ(message.getAction(), action);
        EXPECT_EQ(message.getJsonData(), "");
        EXPECT_EQ(message.getJsonProtocol(),
                  R"({"action":")" + action + R"(","uri":"/u","data":{"a":"1"}})");
    }
}

TEST(ParseRequestTest, NeedsNoDataForAnotherAction) {
    APIData message;
    parseRequest(message, R"({"action":"get","uri":"/u"})");
    EXPECT_EQ(message.getUri(), "/u");
}

TEST(ParseRequestTest, NamesTheKeyThatIsMissing) {
    EXPECT_EQ(requestFailure(R"({"uri":"/u","data":{}})"), "Key 'action' not found");
    EXPECT_EQ(requestFailure(R"({"action":"set","data":{}})"), "Key 'uri' not found");
    EXPECT_EQ(requestFailure(R"({"action":"set","uri":"/slot/reset"})"), "Key 'data' not found");
    EXPECT_EQ(requestFailure("{}"), "Key 'action' not found");
}

TEST(ParseRequestTest, NamesTheKeyThatIsNoString) {
    for (const std::string value : {"7", "true", "null", "{}", "[\"set\"]"}) {
        EXPECT_EQ(requestFailure(R"({"action":)" + value + R"(,"uri":"/u","data":{}})"),
                  "Key 'action' not found");
        EXPECT_EQ(requestFailure(R"({"action":"set","uri":)" + value + R"(,"data":{}})"),
                  "Key 'uri' not found");
    }
}

TEST(ParseRequestTest, FindsNoKeysInWhatIsNoObject) {
    for (const char* text : {"[]", R"(["action","uri"])", R"([{"action":"set"}])", "\"action\"",
                             "7", "true", "null"}) {
        EXPECT_EQ(requestFailure(text), "Key 'action' not found") << text;
    }
}

TEST(ParseRequestTest, ErrorsCarryTheNameOfTheirFunction) {
    APIData message;
    EXPECT_THAT(whatOf([&] { parseRequest(message, "hello"); }),
                MatchesRegex(R"(parseRequest\[[0-9]+\]: JSON not parsed: hello)"));
    EXPECT_THAT(whatOf([&] { parseRequest(message, "{}"); }),
                MatchesRegex(R"(getStringValue\[[0-9]+\]: Key 'action' not found)"));
    EXPECT_THAT(whatOf([&] { parseRequest(message, R"({"action":"set","uri":""})"); }),
                MatchesRegex(R"(getObjectValue\[[0-9]+\]: Key 'data' not found)"));
}

TEST(ParseRequestTest, RepeatsTheTextThatIsNoJson) {
    EXPECT_EQ(requestFailure(R"({"action":"set")"), R"(JSON not parsed: {"action":"set")");
    EXPECT_EQ(requestFailure("hello"), "JSON not parsed: hello");
    EXPECT_EQ(requestFailure(""), "JSON not parsed: ");
    EXPECT_EQ(requestFailure(std::string("a\0b", 3)), std::string("JSON not parsed: a\0b", 20));
}

TEST(ParseRequestTest, EveryBeginningOfAMessageIsRefusedWithinItsBounds) {
    const std::string text = R"({"action":"set","uri":"/\u00e9","data":{"a":[-1.5e3,true,null]}})";
    for (std::size_t length = 0; length < text.size(); length++) {
        const std::string part = text.substr(0, length);
        ASSERT_EQ(requestFailure(part), "JSON not parsed: " + part);
    }
    EXPECT_EQ(requestFailure(text), kNothingThrown);
}

TEST(ParseRequestTest, IgnoresWhatFollowsTheObject) {
    for (const std::string rest : {" ", "}", "{", " and more", "\n"}) {
        APIData message;
        parseRequest(message, R"({"action":"get","uri":"/u"})" + rest);
        EXPECT_EQ(message.getJsonProtocol(), R"({"action":"get","uri":"/u"})");
    }
}

TEST(ParseRequestTest, IgnoresZerosBehindTheObject) {
    APIData message;
    parseRequest(message, R"({"action":"get","uri":"/u"})" + std::string(3, '\0'));
    EXPECT_EQ(message.getUri(), "/u");
}

TEST(ParseRequestTest, ReadsNoFurtherThanTheLength) {
    const std::string text = R"({"action":"get","uri":"/u"})";
    APIData message;
    message.parseRequest((text + "x").c_str(), static_cast<int>(text.size()));
    EXPECT_EQ(message.getUri(), "/u");
    EXPECT_EQ(messageOf([&] { message.parseRequest(text.c_str(), 1); }), "JSON not parsed: {");
}

TEST(ParseRequestTest, ForgetsWhatTheMessageWasEvenIfItFails) {
    APIData message;
    message.createRequest("set", "/u", "{}");
    messageOf([&] { parseRequest(message, "hello"); });
    EXPECT_EQ(message.dump(), kEmptyDump);
    parseRequest(message, R"({"action":"set","uri":"/u","data":{}})");
    parseRequest(message, R"({"action":"get","uri":"/v"})");
    EXPECT_EQ(message.getJsonData(), "");
}

TEST(ParseResponseTest, ReadsErrorAndData) {
    APIData message;
    parseResponse(message, R"({ "data" : { "a" : "1" } , "ERR" : "" })");
    EXPECT_EQ(message.getError(), "");
    EXPECT_EQ(message.getJsonData(), R"({"a":"1"})");
    EXPECT_EQ(message.getJsonProtocol(), R"({"data":{"a":"1"},"ERR":""})");
}

TEST(ParseResponseTest, NeedsNoData) {
    APIData message;
    parseResponse(message, R"({"err":"failed"})");
    EXPECT_EQ(message.getError(), "failed");
    EXPECT_EQ(message.getJsonData(), "");
    EXPECT_EQ(message.getAction(), "");
    EXPECT_EQ(message.getUri(), "");
}

TEST(ParseResponseTest, NamesAnErrorThatIsMissingOrNoString) {
    EXPECT_EQ(responseFailure("{}"), "Key 'err' not found");
    EXPECT_EQ(responseFailure(R"({"err":0})"), "Key 'err' not found");
    EXPECT_EQ(responseFailure(R"({"err":null})"), "Key 'err' not found");
}

TEST(ParseResponseTest, RepeatsTheTextThatIsNoJson) {
    APIData message;
    EXPECT_THAT(whatOf([&] { parseResponse(message, "hello"); }),
                MatchesRegex(R"(parseResponse\[[0-9]+\]: JSON not parsed: hello)"));
}

TEST(ParseResponseTest, ForgetsWhatTheMessageWas) {
    APIData message;
    message.createRequest("set", "/u", "{}");
    parseResponse(message, R"({"err":""})");
    EXPECT_EQ(message.dump(),
              "action: \nuri: \njsonData: \njsonProtocol: {\"err\":\"\"}\nerr: \n"
              "-----------------\n");
}

TEST(APIDataTest, AMessageThatWasBuiltIsReadAgain) {
    APIData sent;
    sent.createRequest("set", "/u\"\n\xc3\xa9", R"({ "a" : "1" })");
    APIData received;
    parseRequest(received, sent.getJsonProtocol());
    EXPECT_EQ(received.getUri(), sent.getUri());
    EXPECT_EQ(received.getJsonData(), R"({"a":"1"})");
    EXPECT_EQ(received.getJsonProtocol(), sent.getJsonProtocol());
}

TEST(APIDataTest, ClearAllEmptiesEveryField) {
    APIData message;
    message.createRequest("set", "/u", "{}");
    message.clearAll();
    EXPECT_EQ(message.dump(), kEmptyDump);
    message.createResponse("failed", "");
    message.clearAll();
    EXPECT_EQ(message.dump(), kEmptyDump);
}

TEST(APIDataTest, TheDumpIsALineAFieldAndARule) {
    APIData message;
    message.createRequest("set", "/u", "{ }");
    EXPECT_EQ(message.dump(),
              "action: set\nuri: /u\njsonData: { }\n"
              "jsonProtocol: {\"action\":\"set\",\"uri\":\"/u\",\"data\":{}}\nerr: \n"
              "-----------------\n");
}

TEST(APIDataTest, ACloneHasTheSameFieldsAndIsApart) {
    APIData request;
    request.createRequest("set", "/u", "{ }");
    const std::string dump = request.dump();
    const auto copy = request.clone();
    request.clearAll();
    EXPECT_EQ(copy->dump(), dump);

    APIData response;
    response.createResponse("failed", "");
    EXPECT_EQ(response.clone()->dump(), response.dump());
}

}  // namespace

}  // namespace ponmgr::test
