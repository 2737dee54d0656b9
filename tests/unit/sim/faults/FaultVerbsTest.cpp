#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <map>
#include <system_error>

#include "../ChassisFixture.h"
#include "sim/ControlVerbs.h"
#include "sim/faults/FaultVerbs.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class LastReply : public ReplyChannel {
public:
    void reply(const Json& message) override { last = message; }

    Json last;
};

/// Two cards, their wire, and the verbs of the control socket.
class FaultVerbsTest : public ChassisFixture {
protected:
    FaultVerbsTest() { buildWire(1); }

    void buildWire(std::uint32_t seed, std::size_t journalEntries = 10) {
        verbs.reset();
        wire.reset();
        timers = TimerQueue([this] { return now; });
        chassis = std::make_unique<Chassis>(
            settings, timers,
            [this](const Card& from, Endpoint to, std::span<const std::uint8_t> datagram) {
                return wire->path().send(from.slot, from.address, to, datagram);
            });
        wire = std::make_unique<ChassisWire>(
            journalEntries, seed, timers, *chassis, [this](Endpoint local) { return open(local); },
            [this](Endpoint local, Endpoint, std::span<const std::uint8_t> datagram) {
                departed.push_back({local, hexText(datagram)});
                return true;
            });
        verbs = std::make_unique<ControlVerbs>(*chassis, timers, wire.get());
    }

    ChassisWire::Socket open(Endpoint local) {
        if (busy == local) {
            throw std::system_error(EADDRINUSE, std::generic_category());
        }
        opened.push_back(toText(local));
        ++openNow;
        return {this, [this](const void*) { --openNow; }};
    }

    Json request(const std::string& line) {
        const auto channel = std::make_shared<LastReply>();
        verbs->handle(line, channel);
        return channel->last;
    }

    std::string errorOf(const std::string& line) {
        const auto reply = request(line);
        return reply.contains("error") ? reply.at("error").get<std::string>() : "";
    }

    Json addFault(const std::string& kind, const std::string& options = "{}") {
        return request(R"({"verb":"fault","action":"add","kind":")" + kind + R"(","options":)" +
                       options + "}");
    }

    /// The manager asks the card in the slot, with this ctag, for its OLT information.
    void askCard(int slot = 1, const std::string& ctag = "0001") {
        wire->path().receive(slot, card(slot).address, kManager, bytesOf("0007" + ctag + "0000"));
        advance(settings.latency);
    }

    std::vector<std::string> takeDeparted() {
        std::vector<std::string> frames;
        for (const auto& datagram : departed) {
            frames.push_back(datagram.hex);
        }
        departed.clear();
        return frames;
    }

    Json journal(const std::string& members = "") {
        return request(R"({"verb":"journal")" + members + "}").at("entries");
    }

    struct Departed {
        Endpoint local;
        std::string hex;
    };

    /// Sockets that somebody keeps.
    int openNow = 0;
    std::unique_ptr<ChassisWire> wire;
    std::unique_ptr<ControlVerbs> verbs;
    std::vector<Departed> departed;
    std::vector<std::string> opened;
    std::optional<Endpoint> busy;
};

TEST_F(FaultVerbsTest, AddRepliesWithTheFaultAsItStands) {
    const auto reply = addFault("drop", R"({"card":1,"request":"0x0007","probability":0.5})");
    EXPECT_EQ(reply.dump(),
              R"({"fault":1,"kind":"drop","card":1,"request":"Get OLT Information",)"
              R"("direction":"out","options":{"card":"1","probability":"0.5","request":"0x0007"},)"
              R"("state":"active","hits":0,"passed_by":0})");
}

TEST_F(FaultVerbsTest, AddTakesAProbabilityThatJsonWritesWithAnExponent) {
    EXPECT_TRUE(addFault("drop", R"({"probability":0.000001})").contains("fault"));
}

TEST_F(FaultVerbsTest, ListShowsStatesAndCounters) {
    addFault("drop", R"({"count":1,"direction":"all"})");
    addFault("delay", R"({"time":"1ms","start":"5s","direction":"in"})");
    addFault("wrong-ctag", R"({"card":2})");
    askCard(1, "0001");
    askCard(1, "0002");
    const auto rows = request(R"({"verb":"fault","action":"list"})").at("faults");
    ASSERT_EQ(rows.size(), 3U);
    EXPECT_EQ(rows[0].at("state"), "ended");
    EXPECT_EQ(rows[0].at("hits"), 1);
    EXPECT_EQ(rows[0].at("direction"), "all");
    EXPECT_EQ(rows[1].at("state"), "waiting");
    EXPECT_EQ(rows[1].at("direction"), "in");
    EXPECT_EQ(rows[2].at("state"), "active");
    EXPECT_EQ(rows[2].at("hits"), 0);
}

TEST_F(FaultVerbsTest, RemoveEndsOneFaultOrAll) {
    addFault("drop");
    addFault("wrong-ctag");
    EXPECT_EQ(request(R"({"verb":"fault","action":"remove","fault":1})").dump(),
              R"({"removed":[1]})");
    askCard();
    EXPECT_EQ(takeDeparted().at(0).substr(0, 8), "00070002");
    EXPECT_EQ(request(R"({"verb":"fault","action":"remove","fault":"all"})").dump(),
              R"({"removed":[2]})");
    askCard();
    EXPECT_EQ(takeDeparted().at(0).substr(0, 8), "00070001");
}

TEST_F(FaultVerbsTest, KindsSaysWhatThereIsWithItsOptions) {
    const auto rows = request(R"({"verb":"fault","action":"kinds"})").at("kinds");
    EXPECT_EQ(rows.size(), 16U);
    EXPECT_EQ(rows[1].dump(),
              R"({"kind":"delay","effect":"goes on after --time","options":["card",)"
              R"("request","direction","start","for","count","probability",)"
              R"("time"]})");
}

TEST_F(FaultVerbsTest, MistakesAreAnsweredWithWhatIsAllowed) {
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"fly"})"),
              "unknown action 'fly'; there are: add, list, remove, kinds");
    EXPECT_THAT(errorOf(R"({"verb":"fault","action":"add","kind":"fly"})"), HasSubstr("garbage"));
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":[1]})"),
              "\"options\" must be an object");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":{"card":[]}})"),
              "\"card\" must be a string, a number, true or false");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"add","kind":"drop","options":{"card":7}})"),
              "no card in slot 7; there are: 1, 2");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove","fault":3})"),
              "no fault 3; there are: none");
    addFault("drop");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove","fault":3})"),
              "no fault 3; there are: 1");
    EXPECT_EQ(errorOf(R"({"verb":"fault","action":"remove"})"), "the request has no \"fault\"");
}

TEST_F(FaultVerbsTest, AThousandFaultsAreTheMost) {
    for (std::size_t i = 0; i < FaultTable::kMostFaults; ++i) {
        ASSERT_TRUE(addFault("drop").contains("fault"));
    }
    EXPECT_EQ(addFault("drop").at("error"),
              "there are 1000 faults already, those that have ended included; remove some");
}

TEST_F(FaultVerbsTest, WithoutAWireThereAreNoFaults) {
    ControlVerbs bare(*chassis, timers);
    const auto channel = std::make_shared<LastReply>();
    bare.handle(R"({"verb":"journal"})", channel);
    EXPECT_EQ(channel->last.at("error"), "this simulator has no faults and no journal");
}

TEST_F(FaultVerbsTest, WrongPortOpensThatPortOfEachCardFirst) {
    addFault("wrong-port");
    EXPECT_THAT(opened, ElementsAre("127.0.1.1:14114", "127.0.1.2:14114"));
    askCard();
    EXPECT_EQ(departed.at(0).local, (Endpoint{0x7F000101, 14114}));
}

TEST_F(FaultVerbsTest, WrongPortIsRefusedWhenSomebodyHasThePort) {
    busy = Endpoint{0x7F000102, 15};
    EXPECT_EQ(addFault("wrong-port", R"({"port":15,"card":2})").at("error"),
              "can't send from 127.0.1.2:15: Address already in use");
    EXPECT_TRUE(wire->faults().all().empty());
    EXPECT_TRUE(addFault("wrong-port", R"({"port":15,"card":1})").contains("fault"));
}

TEST_F(FaultVerbsTest, WrongPortIsRefusedWithoutAnySocketLeftOpen) {
    busy = Endpoint{0x7F000102, 14114};
    EXPECT_TRUE(addFault("wrong-port").contains("error"));
    EXPECT_THAT(opened, ElementsAre("127.0.1.1:14114"));
    EXPECT_EQ(openNow, 0);
    for (std::size_t i = 0; i < FaultTable::kMostFaults; ++i) {
        addFault("drop");
    }
    EXPECT_TRUE(addFault("wrong-port", R"({"card":1})").contains("error"));
    EXPECT_EQ(openNow, 0);
}

TEST_F(FaultVerbsTest, SocketsOfAFaultAreClosedWhenItIsRemoved) {
    addFault("wrong-port");
    addFault("garbage", R"({"card":1,"stranger":true})");
    EXPECT_EQ(openNow, 3);
    request(R"({"verb":"fault","action":"remove","fault":1})");
    EXPECT_EQ(openNow, 1);
    request(R"({"verb":"fault","action":"remove","fault":"all"})");
    EXPECT_EQ(openNow, 0);
}

TEST_F(FaultVerbsTest, EventBurstRaisesAndClearsAnAlarmByTurns) {
    askCard();
    takeDeparted();
    addFault("event-burst", R"({"card":1,"rate":100,"count":3,"alarm":"Power Fail"})");
    advance(0ms);
    // OLT port, the card's MAC, PON port 0, alarm 41h
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000001"
                                            "05000db6000001000041010100"));
    advance(10ms);
    advance(10ms);
    advance(10ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000002"
                                            "05000db6000001000041000100",
                                            "801a0000001100000003"
                                            "05000db6000001000041010100"));
    EXPECT_EQ(journal(R"(,"fault":1)").size(), 3U);
}

TEST_F(FaultVerbsTest, EventBurstWaitsForAManagerAndTakesNoNumbersMeanwhile) {
    addFault("event-burst", R"({"card":1,"rate":100})");
    advance(0ms);
    advance(10ms);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(wire->faults().find(1)->passedBy(), 2U);
    askCard();
    takeDeparted();
    advance(10ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100000001"
                                            "05000db6000001000011010100"));
}

TEST_F(FaultVerbsTest, EventBurstIsAboutTheOnuThatIsNamed) {
    settings.onusPerPort = 1;
    settings.configured = true;
    buildWire(1);
    askCard();
    takeDeparted();
    addFault("event-burst", R"({"target":"1/1/0","count":1})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000000f00000001"
                                            "03000db601010011010100"));
    addFault("event-burst", R"({"target":"1/1/9","count":1})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(wire->faults().find(2)->passedBy(), 1U);
}

TEST_F(FaultVerbsTest, EventBurstIsHitByOtherFaults) {
    askCard();
    takeDeparted();
    addFault("truncate", R"({"to":7,"request":"Report Alarm"})");
    addFault("event-burst", R"({"card":1,"count":1})");
    advance(0ms);
    EXPECT_THAT(takeDeparted(), ElementsAre("801a0000001100"));
    EXPECT_EQ(journal().back().at("faults").dump(), "[1,2]");
}

TEST_F(FaultVerbsTest, SourcesKeepTheirRateAndEndInTime) {
    askCard();
    takeDeparted();
    addFault("garbage", R"({"card":1,"rate":50,"for":"1s","start":"100ms"})");
    for (int i = 0; i < 300; ++i) {
        advance(10ms);
    }
    EXPECT_EQ(takeDeparted().size(), 50U);
    EXPECT_EQ(wire->faults().find(1)->hits(), 50U);
}

TEST_F(FaultVerbsTest, SourcesEndWhenTheyAreRemoved) {
    askCard();
    addFault("garbage", R"({"card":1})");
    request(R"({"verb":"fault","action":"remove","fault":1})");
    takeDeparted();
    advance(10s);
    EXPECT_THAT(takeDeparted(), IsEmpty());
    EXPECT_EQ(timers.size(), 0U);
}

TEST_F(FaultVerbsTest, GarbageIsTheSameWithTheSameSeed) {
    const auto garbage = [this](std::uint32_t seed) {
        buildWire(seed);
        askCard();
        takeDeparted();
        addFault("garbage", R"({"card":1,"count":1,"size":32})");
        advance(0ms);
        return takeDeparted().at(0);
    };
    const auto first = garbage(1);
    EXPECT_GE(first.size(), 2U);
    EXPECT_LE(first.size(), 64U);
    EXPECT_EQ(garbage(1), first);
    EXPECT_NE(garbage(2), first);
}

TEST_F(FaultVerbsTest, GarbageOfAStrangerComesFromAnAddressThatNoCardHas) {
    askCard();
    departed.clear();
    addFault("garbage", R"({"card":1,"count":1,"stranger":true})");
    EXPECT_THAT(opened, ElementsAre("127.0.1.0:14113"));
    advance(0ms);
    ASSERT_EQ(departed.size(), 1U);
    EXPECT_EQ(departed.at(0).local, (Endpoint{0x7F000100, 14113}));
}

TEST_F(FaultVerbsTest, JournalShowsADatagramWithAllThatIsKnownOfIt) {
    addFault("wrong-ctag", R"({"direction":"in"})");
    askCard();
    auto entry = journal().at(0);
    entry.erase("wall");
    EXPECT_EQ(
        entry.dump(),
        R"({"number":1,"time_ns":0,"card":1,"direction":"in","local":"127.0.1.1:14113",)"
        R"("peer":"127.0.0.1:14113","id":7,"name":"Get OLT Information","ctag":1,)"
        R"("size":6,"hex":"000700010000","card_hex":"000700020000","faults":[1],"dropped":null})");
}

TEST_F(FaultVerbsTest, JournalShowsWhatIsTooShortForAHeader) {
    wire->path().receive(1, card(1).address, kManager, bytesOf("0007"));
    const auto entry = journal().at(0);
    EXPECT_TRUE(entry.at("id").is_null());
    EXPECT_TRUE(entry.at("ctag").is_null());
    EXPECT_EQ(entry.at("dropped"), "shorter than a header");
}

std::vector<int> numbersOf(const Json& entries) {
    std::vector<int> numbers;
    for (const auto& entry : entries) {
        numbers.push_back(entry.at("number").get<int>());
    }
    return numbers;
}

TEST_F(FaultVerbsTest, JournalShowsTheLastOfACardOrAFault) {
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

TEST_F(FaultVerbsTest, JournalRepliesAPageAtATimeFromTheOldestThatIsWanted) {
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

TEST_F(FaultVerbsTest, JournalGoesOnBehindWhatWasSeen) {
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

TEST_F(FaultVerbsTest, JournalGoesOnWithTheOldestThatIsLeft) {
    for (int i = 0; i < 8; ++i) {
        askCard();
    }
    EXPECT_THAT(numbersOf(journal(R"(,"after":1,"last":2)")), ElementsAre(7, 8));
    EXPECT_EQ(journal().size(), 10U);
}

}  // namespace
}  // namespace ponmgr::sim
