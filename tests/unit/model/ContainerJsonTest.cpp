#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>

#include "Failure.h"
#include "Items.h"
#include "LimitedJsonMemory.h"
#include "model/Container.h"

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace ponmgr::test {

namespace {

class ContainerJsonTest : public testing::Test {
protected:
    // id = 0, a = 1, b = 2
    ContainerJsonTest() {
        record.setNewValue("b", "2");
        record.setNewValue("a", "1");
    }

    // Updates the record; it is to be as `expected` and modified or not afterwards.
    void expectUpdate(const std::string& json, bool matched, const std::string& expected,
                      bool modified) {
        EXPECT_EQ(record.setJsonData(json, false), matched) << json;
        EXPECT_EQ(record.getJsonFile(), expected) << json;
        EXPECT_EQ(record.getHasModified(), modified) << json;
    }
    void expectIgnored(const std::string& json) {
        expectUpdate(json, false, R"({"a":"1","b":"2","id":"0"})", false);
    }

    Container record;
};

TEST_F(ContainerJsonTest, PrintsTheValuesInKeyOrder) {
    record.setNewValue("Z", "3");
    record.setNewValue("\xc3\xa9", "4");
    EXPECT_EQ(record.getJsonData(true, nullptr, 0),
              "{\"Z\":\"3\",\"a\":\"1\",\"b\":\"2\",\"id\":\"0\",\"\xc3\xa9\":\"4\"}");
}

TEST_F(ContainerJsonTest, PrintsIndentedWithTabs) {
    EXPECT_EQ(record.getJsonData(false, nullptr, 0),
              "{\n\t\"a\":\t\"1\",\n\t\"b\":\t\"2\",\n\t\"id\":\t\"0\"\n}");
}

TEST_F(ContainerJsonTest, PrintsOnlyTheGivenKeysInTheirOrder) {
    const std::string keys[] = {"id", "a", "b"};
    EXPECT_EQ(record.getJsonData(true, keys, 2), R"({"id":"0","a":"1"})");
    EXPECT_EQ(record.getJsonData(false, keys, 2), "{\n\t\"id\":\t\"0\",\n\t\"a\":\t\"1\"\n}");
}

TEST_F(ContainerJsonTest, PrintsNoValuesForNoKeys) {
    const std::string keys[] = {"a"};
    record.clearList("list");
    EXPECT_EQ(record.getJsonData(true, keys, 0), R"({"list":[]})");
}

TEST_F(ContainerJsonTest, NamesAGivenKeyThatThereIsNot) {
    const std::string keys[] = {"a", "c"};
    EXPECT_EQ(whatOf([&] { record.getJsonData(true, keys, 2); }),
              "getValue[97]: Key 'c' not found");
}

TEST_F(ContainerJsonTest, IsUnlockedAfterAGivenKeyThatThereIsNot) {
    const std::string keys[] = {"c"};
    messageOf([&] { record.getJsonData(true, keys, 1); });
    record.setValue("a", "3", true);
    EXPECT_EQ(record.getValue("a"), "3");
}

TEST_F(ContainerJsonTest, EscapesWhatJsonEscapes) {
    record.setNewValue("a", "\"\\/\n\t\x01");
    record.setNewValue("b", "\xc3\xa9");
    EXPECT_EQ(record.getJsonFile(),
              "{\"a\":\"\\\"\\\\/\\n\\t\\u0001\",\"b\":\"\xc3\xa9\",\"id\":\"0\"}");
}

TEST_F(ContainerJsonTest, PrintsListsBehindTheValuesInNameOrder) {
    record.addItemToList("list", itemOf("x", "1"));
    record.addItemToList("list", itemOf("x", "2"));
    record.clearList("aaa");
    EXPECT_EQ(record.getJsonFile(), R"({"a":"1","b":"2","id":"0","aaa":[],)"
                                    R"("list":[{"id":"0","x":"1"},{"id":"0","x":"2"}]})");
}

TEST_F(ContainerJsonTest, PrintsListsIndented) {
    record.addItemToList("list", itemOf("x", "1"));
    record.addItemToList("list", std::make_unique<Container>());
    record.clearList("empty");
    const std::string keys[] = {"a"};
    EXPECT_EQ(record.getJsonData(false, keys, 1),
              "{\n"
              "\t\"a\":\t\"1\",\n"
              "\t\"empty\":\t[],\n"
              "\t\"list\":\t[{\n"
              "\t\t\t\"id\":\t\"0\",\n"
              "\t\t\t\"x\":\t\"1\"\n"
              "\t\t}, {\n"
              "\t\t\t\"id\":\t\"0\"\n"
              "\t\t}]\n"
              "}");
}

TEST_F(ContainerJsonTest, PrintsListsInsideLists) {
    auto item = itemOf("x", "1");
    item->addItemToList("inner", itemOf("y", "2"));
    record.addItemToList("list", std::move(item));
    EXPECT_EQ(record.getJsonFile(), R"({"a":"1","b":"2","id":"0",)"
                                    R"("list":[{"id":"0","x":"1","inner":[{"id":"0","y":"2"}]}]})");
}

TEST_F(ContainerJsonTest, PrintsAnItemAsItPrintsItself) {
    record.addItemToList("list",
                         std::make_unique<PrintedItem>([] { return R"( { "own" : 1 } )"; }));
    EXPECT_EQ(record.getJsonFile(), R"({"a":"1","b":"2","id":"0","list":[{"own":1}]})");
}

TEST_F(ContainerJsonTest, AnItemThatPrintsNoJsonIsAnError) {
    record.addItemToList("list", std::make_unique<PrintedItem>([] { return "{"; }));
    EXPECT_EQ(whatOf([&] { record.getJsonFile(); }), "parseJObject[30]: Impossible to parse json");
}

TEST_F(ContainerJsonTest, TheFileFormIsTheRecordsOwnCompactForm) {
    EXPECT_EQ(PrintedItem([] { return "own"; }).getJsonFile(), "own");
    EXPECT_EQ(record.getJsonFile(), record.getJsonData(true, nullptr, 0));
}

TEST_F(ContainerJsonTest, MemoryThatRunsOutIsAnErrorAndNothingElse) {
    record.addItemToList("list", itemOf("x", "1"));
    std::size_t allowed = 0;
    for (bool refused = true; refused; allowed++) {
        std::string failure = kNothingThrown;
        {
            const LimitedJsonMemory memory(allowed);
            failure = messageOf([&] { record.getJsonFile(); });
            refused = memory.hasRefused();
        }
        // An item's text that can't be parsed for want of memory is what cJSON can't tell.
        ASSERT_TRUE(refused ? failure == "Impossible to allocate memory" ||
                                  failure == "Impossible to parse json"
                            : failure == kNothingThrown)
            << allowed << ": " << failure;
    }
    EXPECT_GT(allowed, 20U);
}

TEST_F(ContainerJsonTest, TakesAValueThatDiffers) {
    expectUpdate(R"({"a":"3"})", true, R"({"a":"3","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, TakesAnEmptyValue) {
    expectUpdate(R"({"a":""})", true, R"({"a":"","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, MatchesAValueThatIsTheSameWithoutAModification) {
    expectUpdate(R"({"a":"1"})", true, R"({"a":"1","b":"2","id":"0"})", false);
}

TEST_F(ContainerJsonTest, TakesTheKnownKeysAmongOthers) {
    expectUpdate(R"({"c":"x","b":"3","d":"y"})", true, R"({"a":"1","b":"3","id":"0"})", true);
}

TEST_F(ContainerJsonTest, MatchesWhenTheLastMemberIsUnknown) {
    expectUpdate(R"({"a":"1","zzz":"x"})", true, R"({"a":"1","b":"2","id":"0"})", false);
}

TEST_F(ContainerJsonTest, TakesTheLastOfSeveralMembersOfOneName) {
    expectUpdate(R"({"a":"3","a":"4"})", true, R"({"a":"4","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, IsModifiedByAValueThatChangesBack) {
    expectUpdate(R"({"a":"3","a":"1"})", true, R"({"a":"1","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, IgnoresUnknownKeys) {
    expectIgnored(R"({"c":"3"})");
    expectIgnored("{}");
}

TEST_F(ContainerJsonTest, IgnoresAKeyOfOtherCase) {
    expectIgnored(R"({"A":"3"})");
    expectIgnored(R"({"a ":"3"})");
}

TEST_F(ContainerJsonTest, IgnoresWhatIsNoString) {
    for (const char* value : {"1", "3", "1.5", "true", "false", "null", "{}", R"({"a":"3"})", "[]",
                              R"(["3"])", R"([{"a":"3"}])"}) {
        expectIgnored("{\"a\":" + std::string(value) + "}");
    }
}

TEST_F(ContainerJsonTest, IgnoresWhatIsNoObject) {
    for (const char* json : {"[]", R"(["a"])", R"([{"a":"3"}])", R"("a")", "1", "true", "null"}) {
        expectIgnored(json);
    }
}

TEST_F(ContainerJsonTest, IgnoresNoTreeAtAll) {
    EXPECT_FALSE(record.setcJsonData(nullptr, true));
}

TEST_F(ContainerJsonTest, IgnoresWhatFollowsTheObject) {
    expectUpdate(R"({"a":"3"} and more)", true, R"({"a":"3","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, NeverTakesTheIdUnlessToldTo) {
    expectIgnored(R"({"id":"7"})");
    EXPECT_TRUE(record.setJsonData(R"({"id":"7"})", true));
    EXPECT_EQ(record.getValue("id"), "7");
    EXPECT_TRUE(record.getHasModified());
}

TEST_F(ContainerJsonTest, TakesOtherKeysBesideTheIdThatItLeaves) {
    expectUpdate(R"({"id":"7","a":"3"})", true, R"({"a":"3","b":"2","id":"0"})", true);
}

TEST_F(ContainerJsonTest, RefusesTextThatIsNoJson) {
    for (const char* text : {"", " ", "{", R"({"a":"3")", R"({"a)", R"({"a":"3\)", "a", "}"}) {
        EXPECT_EQ(whatOf([&] { record.setJsonData(text, true); }),
                  "parseJObject[30]: Impossible to parse json")
            << text;
    }
    EXPECT_EQ(record.getJsonFile(), R"({"a":"1","b":"2","id":"0"})");
}

TEST_F(ContainerJsonTest, UpdatesByItsOwnVirtualOperation) {
    bool idTaken = false;
    std::string member;
    UpdatedItem item([&](const cJSON* object, bool takeId) {
        idTaken = takeId;
        member = object->child->string;
        return true;
    });
    EXPECT_TRUE(item.setJsonData(R"({"key":1})", true));
    EXPECT_TRUE(idTaken);
    EXPECT_EQ(member, "key");
}

class ContainerListJsonTest : public testing::Test {
protected:
    // list = [{x = 1}, {x = 2}]
    ContainerListJsonTest() {
        record.addItemToList("list", itemOf("x", "1"));
        record.addItemToList("list", itemOf("x", "2"));
    }

    void expectUpdate(const std::string& json, const std::string& list) {
        EXPECT_FALSE(record.setJsonData(json, true)) << json;
        EXPECT_EQ(record.getJsonFile(), R"({"id":"0","list":)" + list + "}") << json;
    }

    // One more item, which fails in the given way when it is updated.
    template <typename Failure>
    void addItemThatThrows(const Failure& failure) {
        record.addItemToList("list", std::make_unique<UpdatedItem>(
                                         [failure](const cJSON*, bool) -> bool { throw failure; }));
    }

    Container record;
};

TEST_F(ContainerListJsonTest, ItemsAreUpdatedByTheirPlace) {
    expectUpdate(R"({"list":[{"x":"3"},{"x":"4"}]})", R"([{"id":"0","x":"3"},{"id":"0","x":"4"}])");
}

TEST_F(ContainerListJsonTest, AnItemThatChangesIsModifiedAndItsRecordIsNot) {
    record.setJsonData(R"({"list":[{"x":"1"},{"x":"4"}]})", false);
    EXPECT_FALSE(record.getList("list")[0]->getHasModified());
    EXPECT_TRUE(record.getList("list")[1]->getHasModified());
    EXPECT_FALSE(record.getHasModified());
}

TEST_F(ContainerListJsonTest, ElementsBeyondTheItemsAreIgnored) {
    expectUpdate(R"({"list":[{"x":"3"},{"x":"4"},{"x":"5"}]})",
                 R"([{"id":"0","x":"3"},{"id":"0","x":"4"}])");
}

TEST_F(ContainerListJsonTest, ItemsBeyondTheElementsStay) {
    expectUpdate(R"({"list":[{"x":"3"}]})", R"([{"id":"0","x":"3"},{"id":"0","x":"2"}])");
    expectUpdate(R"({"list":[]})", R"([{"id":"0","x":"3"},{"id":"0","x":"2"}])");
}

TEST_F(ContainerListJsonTest, AnElementThatIsNoObjectKeepsItsPlace) {
    expectUpdate(R"({"list":["x",{"x":"4"}]})", R"([{"id":"0","x":"1"},{"id":"0","x":"4"}])");
}

TEST_F(ContainerListJsonTest, ItemsNeverTakeAnId) {
    expectUpdate(R"({"list":[{"id":"7","x":"3"}]})", R"([{"id":"0","x":"3"},{"id":"0","x":"2"}])");
}

TEST_F(ContainerListJsonTest, AListThatThereIsNotIsNotMade) {
    expectUpdate(R"({"other":[{"x":"3"}],"List":[{"x":"3"}]})",
                 R"([{"id":"0","x":"1"},{"id":"0","x":"2"}])");
    EXPECT_FALSE(record.hasList("other"));
}

TEST_F(ContainerListJsonTest, AStringDoesNotReplaceAList) {
    expectUpdate(R"({"list":"x"})", R"([{"id":"0","x":"1"},{"id":"0","x":"2"}])");
    EXPECT_FALSE(record.hasKey("list"));
}

TEST_F(ContainerListJsonTest, ItemsGetTheirElementsWithoutTheId) {
    std::string elements;
    record.clearList("list");
    for (int item = 0; item < 2; item++) {
        record.addItemToList("list",
                             std::make_unique<UpdatedItem>([&](const cJSON* element, bool takeId) {
                                 elements += JsonHelper::toString(element, true);
                                 elements += takeId ? " with id;" : ";";
                                 return true;
                             }));
    }
    EXPECT_FALSE(record.setJsonData(R"({"list":[{"x":"3"},4,5]})", true));
    EXPECT_EQ(elements, R"({"x":"3"};4;)");
}

TEST_F(ContainerListJsonTest, ListsInsideListsAreUpdated) {
    record.getList("list")[1]->addItemToList("inner", itemOf("y", "1"));
    expectUpdate(R"({"list":[{},{"inner":[{"y":"2"}]}]})",
                 R"([{"id":"0","x":"1"},{"id":"0","x":"2","inner":[{"id":"0","y":"2"}]}])");
}

TEST_F(ContainerListJsonTest, AnExceptionOfAnItemIsPassedOnByItsWhat) {
    addItemThatThrows(Exception("X", "f", 7));
    EXPECT_EQ(whatOf([&] { record.setJsonData(R"({"list":[{},{},{}]})", false); }),
              "setcJsonData[82]: f[7]: X");
}

TEST_F(ContainerListJsonTest, AnExceptionOfAnItemPrintsNothing) {
    addItemThatThrows(Exception("X", "f", 7));
    CaptureStdout();
    messageOf([&] { record.setJsonData(R"({"list":[{},{},{}]})", false); });
    EXPECT_EQ(GetCapturedStdout(), "");
}

TEST_F(ContainerListJsonTest, AnotherFailureOfAnItemIsUnknownAndPrinted) {
    addItemThatThrows(std::runtime_error("X"));
    CaptureStdout();
    const std::string failure =
        whatOf([&] { record.setJsonData(R"({"list":[{},{},{}]})", false); });
    EXPECT_EQ(GetCapturedStdout(), "Unknown Error at setcJsonData\n");
    EXPECT_EQ(failure, "setcJsonData[82]: Unknown Error at Container::setcJsonData");
}

TEST_F(ContainerListJsonTest, AFailureInAListInsideAListIsNestedAndPrintedOnce) {
    record.getList("list")[0]->addItemToList(
        "inner", std::make_unique<UpdatedItem>([](const cJSON*, bool) -> bool { throw 7; }));
    CaptureStdout();
    const std::string failure =
        whatOf([&] { record.setJsonData(R"({"list":[{"inner":[{}]}]})", false); });
    EXPECT_EQ(GetCapturedStdout(), "Unknown Error at setcJsonData\n");
    EXPECT_EQ(failure,
              "setcJsonData[82]: setcJsonData[82]: Unknown Error at Container::setcJsonData");
}

TEST_F(ContainerListJsonTest, MembersBeforeAFailureAreTakenAndTheOthersAreNot) {
    addItemThatThrows(Exception("X", "f", 7));
    record.setNewValue("a", "1");
    record.setNewValue("b", "1");
    messageOf([&] { record.setJsonData(R"({"a":"2","list":[{},{},{}],"b":"2"})", false); });
    EXPECT_EQ(record.getValue("a"), "2");
    EXPECT_EQ(record.getValue("b"), "1");
    EXPECT_TRUE(record.getHasModified());
}

TEST_F(ContainerListJsonTest, IsUnlockedAfterAFailure) {
    addItemThatThrows(Exception("X", "f", 7));
    messageOf([&] { record.setJsonData(R"({"list":[{},{},{}]})", false); });
    record.setValue("id", "8", true);
    EXPECT_EQ(record.getValue("id"), "8");
}

}  // namespace

}  // namespace ponmgr::test
