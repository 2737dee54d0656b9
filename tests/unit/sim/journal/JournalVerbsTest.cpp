#include "../faults/FaultVerbsFixture.h"

namespace ponmgr::sim {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class JournalVerbsTest : public FaultVerbsFixture {};

TEST_F(JournalVerbsTest, ShowsADatagramWithAllThatIsKnownOfIt) {
    addFault("wrong-ctag", R"({"direction":"in"})");
    askCard();
    auto entry = journal().at(0);
    entry.erase("wall");
    EXPECT_EQ(entry.dump(),
              R"({"number":1,"time_ns":0,"card":1,"direction":"in","local":"127.0.1.1:14113",)"
              R"("peer":"127.0.0.1:14113","id":7,"name":"Get OLT Information","purpose":"asks",)"
              R"("ctag":1,"size":6,"hex":"000700010000","card_hex":"000700020000","faults":[1],)"
              R"("dropped":null})");
}

TEST_F(JournalVerbsTest, ShowsWhatIsTooShortForAHeader) {
    wire->path().receive(1, card(1).address, kManager, bytesOf("0007"));
    const auto entry = journal().at(0);
    EXPECT_TRUE(entry.at("id").is_null());
    EXPECT_TRUE(entry.at("purpose").is_null());
    EXPECT_TRUE(entry.at("ctag").is_null());
    EXPECT_EQ(entry.at("dropped"), "shorter than a header");
}

TEST_F(JournalVerbsTest, TellsRequestsThatSetFromThoseThatAsk) {
    struct Case {
        const char* frame;
        Json purpose;
    };
    // Disable OLT, Get OLT NVS Enabled, an id that no card knows, and an event
    const Case cases[] = {{"000900010000", "sets"},
                          {"012d00020000", "asks"},
                          {"000200030000", nullptr},
                          {"801a00040000", nullptr}};
    for (const auto& one : cases) {
        wire->path().receive(1, card(1).address, kManager, bytesOf(one.frame));
        EXPECT_EQ(journal(R"(,"last":1)").at(0).at("purpose"), one.purpose) << one.frame;
    }
}

std::vector<int> numbersOf(const Json& entries) {
    std::vector<int> numbers;
    for (const auto& entry : entries) {
        numbers.push_back(entry.at("number").get<int>());
    }
    return numbers;
}

TEST_F(JournalVerbsTest, ShowsTheLastOfACardOrAFault) {
    addFault("wrong-length", R"({"card":2})");
    askCard(1);
    askCard(2);
    askCard(1);
    EXPECT_THAT(numbersOf(journal()), ElementsAre(1, 2, 3, 4, 5, 6));
    EXPECT_THAT(numbersOf(journal(R"(,"last":2)")), ElementsAre(5, 6));
    EXPECT_THAT(numbersOf(journal(R"(,"last":0)")), IsEmpty());
    EXPECT_THAT(numbersOf(journal(R"(,"card":2)")), ElementsAre(3, 4));
    EXPECT_THAT(numbersOf(journal(R"(,"card":1,"last":3)")), ElementsAre(2, 5, 6));
    EXPECT_THAT(numbersOf(journal(R"(,"fault":1)")), ElementsAre(4));
    EXPECT_THAT(numbersOf(journal(R"(,"fault":9)")), IsEmpty());
}

TEST_F(JournalVerbsTest, RepliesAPageAtATimeFromTheOldestThatIsWanted) {
    buildWire(1, 1000);
    for (int i = 0; i < 400; ++i) {
        askCard();
    }
    auto reply = request(R"({"verb":"journal","last":700})");
    EXPECT_EQ(reply.at("entries").size(), 500U);
    EXPECT_EQ(reply.at("entries").at(0).at("number"), 101);
    EXPECT_EQ(reply.at("seen"), 600);
    reply = request(R"({"verb":"journal","last":200,"after":600})");
    EXPECT_EQ(reply.at("entries").size(), 200U);
    EXPECT_EQ(reply.at("seen"), 800);
    EXPECT_EQ(request(R"({"verb":"journal","last":700,"after":0})").at("entries").size(), 500U);
}

TEST_F(JournalVerbsTest, RepliesNoMoreBytesThanAPageHas) {
    buildWire(1, 1000);
    // A card answers no event.
    const auto longOne = bytesOf("8000" + std::string(2 * std::size_t{2998}, '0'));
    for (int i = 0; i < 100; ++i) {
        wire->path().receive(1, card(1).address, kManager, longOne);
    }
    const auto reply = request(R"({"verb":"journal","last":100})");
    // 2048 bytes of each are kept, which are 4096 digits: 64 of them fill the page.
    EXPECT_EQ(reply.at("entries").size(), 64U);
    EXPECT_EQ(reply.at("seen"), 64);
    EXPECT_EQ(reply.at("newest"), 100);
    EXPECT_EQ(request(R"({"verb":"journal","after":64})").at("entries").size(), 36U);
}

TEST_F(JournalVerbsTest, GoesOnBehindWhatWasSeen) {
    askCard(1);
    askCard(2);
    auto reply = request(R"({"verb":"journal","after":1,"last":2})");
    EXPECT_THAT(numbersOf(reply.at("entries")), ElementsAre(2, 3));
    EXPECT_EQ(reply.at("seen"), 3);
    reply = request(R"({"verb":"journal","after":3,"card":1})");
    EXPECT_THAT(numbersOf(reply.at("entries")), IsEmpty());
    EXPECT_EQ(reply.at("seen"), 4);
    // one that began anew
    reply = request(R"({"verb":"journal","after":99})");
    EXPECT_EQ(reply.at("seen"), 4);
}

TEST_F(JournalVerbsTest, GoesOnWithTheOldestThatIsLeft) {
    for (int i = 0; i < 8; ++i) {
        askCard();
    }
    EXPECT_THAT(numbersOf(journal(R"(,"after":1,"last":2)")), ElementsAre(7, 8));
    EXPECT_EQ(journal().size(), 10U);
}

}  // namespace
}  // namespace ponmgr::sim
