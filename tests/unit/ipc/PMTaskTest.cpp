#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "ipc/APIData.h"
#include "ipc/PMTask.h"
#include "unit/corvane/FailingAllocation.h"
#include "unit/model/Failure.h"
#include "unit/model/LimitedJsonMemory.h"

namespace ponmgr::test {

namespace {

static_assert(std::has_virtual_destructor_v<PMTask>);

constexpr const char* kParameters[] = {"slot_id", "mac_address",      "ip_address",
                                       "vlan_id", "discard_untagged", "pon_number"};

void parse(PMTask& task, const std::string& text) {
    APIData request;
    request.parseRequest(text.data(), static_cast<int>(text.size()));
    task.parseTask(&request);
}

void parseData(PMTask& task, const std::string& data) {
    parse(task, R"({"action":"set","uri":"/slot/reset","data":)" + data + "}");
}

TEST(PMTaskTest, ANewTaskIsEmpty) {
    const PMTask task;
    EXPECT_EQ(task.getTask(), "");
    EXPECT_EQ(task.getJsonProtocol(), "");
    for (const char* key : kParameters) {
        EXPECT_EQ(task.getDataValue(key), "") << key;
    }
}

TEST(PMTaskTest, TakesUriTextAndParametersOfARequest) {
    PMTask task;
    parse(task, R"({"action":"set","uri":"/olt/ip", "data":{"slot_id":"2","ip_address":"10.0.0.2",)"
                R"("comment":"x"}})");
    EXPECT_EQ(task.getTask(), "/olt/ip");
    EXPECT_EQ(task.getDataValue("slot_id"), "2");
    EXPECT_EQ(task.getDataValue("ip_address"), "10.0.0.2");
    EXPECT_EQ(task.getDataValue("comment"), "");
    EXPECT_EQ(task.getJsonProtocol(),
              R"({"action":"set","uri":"/olt/ip","data":{"slot_id":"2","ip_address":"10.0.0.2",)"
              R"("comment":"x"}})");
}

TEST(PMTaskTest, TakesEachOfTheSixParameters) {
    PMTask task;
    parseData(task, R"({"slot_id":"1","mac_address":"2","ip_address":"3","vlan_id":"4",)"
                    R"("discard_untagged":"5","pon_number":"6"})");
    std::string values;
    for (const char* key : kParameters) {
        values += task.getDataValue(key);
    }
    EXPECT_EQ(values, "123456");
}

TEST(PMTaskTest, LeavesAParameterEmptyThatIsNoString) {
    for (const std::string value : {"2", "true", "null", "{}", "[\"2\"]"}) {
        PMTask task;
        parseData(task, R"({"slot_id":)" + value + R"(,"vlan_id":"100"})");
        EXPECT_EQ(task.getDataValue("slot_id"), "") << value;
        EXPECT_EQ(task.getDataValue("vlan_id"), "100") << value;
    }
}

TEST(PMTaskTest, LeavesAParameterEmptyThatIsSpeltOtherwise) {
    PMTask task;
    parseData(task, R"({"Slot_id":"2"})");
    EXPECT_EQ(task.getDataValue("slot_id"), "");
    EXPECT_EQ(task.getDataValue("Slot_id"), "");
}

TEST(PMTaskTest, TakesNoId) {
    PMTask task;
    parseData(task, R"({"id":"7"})");
    EXPECT_EQ(task.getDataValue("id"), "0");
}

TEST(PMTaskTest, TakesTheUriWhole) {
    PMTask task;
    parse(task, R"({"action":"set","uri":" /Slot/onu/12?a=b ","data":{}})");
    EXPECT_EQ(task.getTask(), " /Slot/onu/12?a=b ");
}

TEST(PMTaskTest, ARequestWithEmptyDataIsATaskWithoutParameters) {
    PMTask task;
    parseData(task, "{}");
    EXPECT_EQ(task.getTask(), "/slot/reset");
    EXPECT_EQ(task.getDataValue("slot_id"), "");
}

TEST(PMTaskTest, DataThatIsNoObjectIsATaskWithoutParameters) {
    for (const char* data : {"null", "7", "\"x\"", "[]"}) {
        PMTask task;
        parseData(task, data);
        EXPECT_EQ(task.getTask(), "/slot/reset") << data;
        EXPECT_EQ(task.getDataValue("slot_id"), "") << data;
    }
}

TEST(PMTaskTest, TakesARequestThatWasBuiltHere) {
    APIData request;
    request.createRequest("set", "/olt/ip", "{\n\"slot_id\": \"2\" }");
    PMTask task;
    task.parseTask(&request);
    EXPECT_EQ(task.getTask(), "/olt/ip");
    EXPECT_EQ(task.getDataValue("slot_id"), "2");
}

TEST(PMTaskTest, LeavesTheRequestAsItIs) {
    APIData request;
    request.createRequest("set", "/olt/ip", R"({"slot_id":"2"})");
    const std::string dump = request.dump();
    PMTask task;
    task.parseTask(&request);
    EXPECT_EQ(request.dump(), dump);
}

TEST(PMTaskTest, RefusesARequestWithoutData) {
    PMTask task;
    EXPECT_EQ(whatOf([&] { parse(task, R"({"action":"get","uri":"/olt/ip","data":{}})"); }),
              "parseTask[43]: Data on task can't be null");
    EXPECT_EQ(task.getTask(), "");
    EXPECT_EQ(task.getJsonProtocol(), "");
}

TEST(PMTaskTest, RefusesAnEmptyRequest) {
    const APIData request;
    PMTask task;
    EXPECT_EQ(messageOf([&] { task.parseTask(&request); }), "Data on task can't be null");
}

TEST(PMTaskTest, PassesOnTheBareMessageOfAnException) {
    APIData request;
    request.createRequest("set", "/olt/ip", R"({"slot_id":"2"})");
    PMTask task;
    const LimitedJsonMemory memory(0);
    EXPECT_EQ(whatOf([&] { task.parseTask(&request); }), "parseTask[43]: Impossible to parse json");
}

TEST(PMTaskTest, AnyOtherFailureIsUnknown) {
    constexpr std::size_t kLength = 100'000;
    APIData request;
    request.createRequest("set", "/olt/ip",
                          R"({"slot_id":")" + std::string(kLength, '2') + R"("})");
    PMTask task;
    std::string failure;
    {
        const FailingAllocation noMemoryForTheText(0, kLength);
        failure = whatOf([&] { task.parseTask(&request); });
    }
    EXPECT_EQ(failure, "parseTask[43]: Unknown exception on parseTask");
}

TEST(PMTaskTest, AValueThatThereIsNotIsEmpty) {
    const PMTask task;
    EXPECT_EQ(task.getDataValue("uri"), "");
    EXPECT_EQ(task.getDataValue(""), "");
}

}  // namespace

}  // namespace ponmgr::test
