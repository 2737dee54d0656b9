#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "ChassisFixture.h"
#include "sim/ControlVerbs.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class Replies : public ReplyChannel {
public:
    void reply(const Json& message) override { all.push_back(message); }

    std::vector<Json> all;
};

class ControlVerbsTest : public ChassisFixture {
protected:
    ControlVerbsTest() {
        settings.slots = {1, 2};
        build();
        verbs = std::make_unique<ControlVerbs>(*chassis, timers);
    }

    Json request(const std::string& line) {
        verbs->handle(line, replies);
        return replies->all.empty() ? Json() : replies->all.back();
    }

    std::string errorOf(const std::string& line) {
        const auto reply = request(line);
        return reply.contains("error") ? reply.at("error").get<std::string>() : "";
    }

    void bringIntoService(int slot) {
        card(slot).nvsCurrent = false;
        card(slot).configuration = CardConfiguration::provisioned();
    }

    std::unique_ptr<ControlVerbs> verbs;
    std::shared_ptr<Replies> replies = std::make_shared<Replies>();
};

TEST_F(ControlVerbsTest, ListShowsOneRowACard) {
    ask(7);
    const auto reply = request(R"({"verb":"list"})");
    ASSERT_EQ(reply.at("cards").size(), 2U);
    EXPECT_EQ(reply.at("cards").at(0).dump(),
              R"({"slot":1,"address":"127.0.1.1","port":14113,"mac":"00:0d:b6:00:00:01",)"
              R"("state":"factory","nvs":true,"nvs_after_next_boot":true,"marker":false,)"
              R"("enabled":true,"domains":[],"requests":1,"muted":false,"onus_total":0,)"
              R"("onus_discovered":0,"onus_provisioned":0,"faults":0})");
}

TEST_F(ControlVerbsTest, ListShowsDomainsAsAnArray) {
    bringIntoService(2);
    const auto row = request(R"({"verb":"list"})").at("cards").at(1);
    EXPECT_EQ(row.at("domains").dump(), R"([{"id":1026,"count":2}])");
    EXPECT_EQ(row.at("state"), "in-service");
}

TEST_F(ControlVerbsTest, GetShowsWhatTheCardHasAccepted) {
    ask(544, kMac +
                 "0000"
                 "0010");
    ask(544, kMac +
                 "0001"
                 "0010");
    const auto details = request(R"({"verb":"get","card":1})");
    EXPECT_EQ(details.at("accepted").dump(),
              R"([{"id":544,"name":"Set EPON Sync Time","payloads":2}])");
    EXPECT_EQ(details.at("last_peer"), "127.0.0.1:14113");
    EXPECT_EQ(details.at("counters").at("answers"), 2);
    EXPECT_EQ(details.at("extension_sets").size(), 4U);
}

TEST_F(ControlVerbsTest, SetMutesACard) {
    EXPECT_EQ(request(R"({"verb":"set","card":2,"name":"muted","value":true})").at("muted"), true);
    EXPECT_TRUE(card(2).muted);
    request(R"({"verb":"set","card":2,"name":"muted","value":false})");
    EXPECT_FALSE(card(2).muted);
}

TEST_F(ControlVerbsTest, SetChangesTheProductCode) {
    request(R"({"verb":"set","card":1,"name":"product-code","value":"3724"})");
    EXPECT_EQ(ask(7).substr(38, 4), "3724");
}

TEST_F(ControlVerbsTest, ResetBeginsAtOnceAndNotTwice) {
    EXPECT_EQ(request(R"({"verb":"reset","card":1})").at("state"), "resetting");
    EXPECT_EQ(errorOf(R"({"verb":"reset","card":1})"), "slot 1 is resetting already");
    advance(3s);
    EXPECT_FALSE(card().resetting);
}

TEST_F(ControlVerbsTest, UnknownWordsAreAnsweredWithWhatThereIs) {
    EXPECT_EQ(errorOf(R"({"verb":"fly"})"),
              "unknown verb 'fly'; there are: list, get, set, reset, wait, onus, onu, fibre, "
              "alarm, event, fault, journal, pull, insert, swap, truth, scenario");
    EXPECT_EQ(errorOf(R"({"verb":"set","card":1,"name":"color","value":1})"),
              "unknown setting 'color'; there are: muted, product-code, leftover-path");
    EXPECT_EQ(errorOf(R"({"verb":"get","card":3})"), "no card in slot 3; there are: 1, 2");
    EXPECT_EQ(errorOf(R"({"verb":"wait","for":"rain","timeout_ms":1})"),
              "can't wait for 'rain'; there is: in-service");
}

TEST_F(ControlVerbsTest, MalformedRequestsAreAnsweredWithAnError) {
    for (const std::string line :
         {"", "x", "[]", "null", "{", R"({"verb":7})", R"({"verb":"get"})",
          R"({"verb":"get","card":"1"})", R"({"verb":"get","card":-1})",
          R"({"verb":"get","card":1.5})", R"({"verb":"get","card":18446744073709551615})",
          R"({"verb":"set","card":1})", R"({"verb":"set","card":1,"name":"muted"})",
          R"({"verb":"set","card":1,"name":"muted","value":1})",
          R"({"verb":"set","card":1,"name":"product-code","value":3724})",
          R"({"verb":"set","card":1,"name":"product-code","value":"37"})",
          R"({"verb":"wait","for":"in-service","timeout_ms":-1})", "\xff\xfe"}) {
        EXPECT_NE(errorOf(line), "") << line;
    }
    EXPECT_EQ(replies->all.size(), 18U);
    EXPECT_NE(errorOf(std::string(60000, '[')), "");
}

TEST_F(ControlVerbsTest, WaitRepliesAtOnceWhenAllCardsAreInService) {
    bringIntoService(1);
    bringIntoService(2);
    const auto reply = request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    EXPECT_EQ(reply.dump(), R"({"in_service":[1,2]})");
    EXPECT_EQ(verbs->inServiceWaiters().size(), 0U);
}

TEST_F(ControlVerbsTest, WaitRepliesWhenTheLastCardComesIntoService) {
    bringIntoService(1);
    request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    verbs->check();
    EXPECT_TRUE(replies->all.empty());
    bringIntoService(2);
    verbs->check();
    EXPECT_EQ(replies->all.size(), 1U);
    advance(2s);
    EXPECT_EQ(replies->all.size(), 1U);
}

TEST_F(ControlVerbsTest, WaitThatTimesOutNamesTheCardsAndTheirReasons) {
    bringIntoService(1);
    card(2).configuration.enabled = false;
    request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    advance(999ms);
    EXPECT_TRUE(replies->all.empty());
    advance(1ms);
    ASSERT_EQ(replies->all.size(), 1U);
    EXPECT_EQ(replies->all[0].at("error"),
              "time is up; not in service: slot 2: NVS is on, not marked as configured, OLT is "
              "disabled");
    EXPECT_EQ(replies->all[0].at("not_in_service").at(0).at("slot"), 2);
    EXPECT_EQ(replies->all[0].at("not_in_service").at(0).at("why").size(), 3U);
}

TEST_F(ControlVerbsTest, WaitDoesNotMindASlotWhoseCardWasPulled) {
    bringIntoService(2);
    EXPECT_EQ(request(R"({"verb":"pull","card":1})").at("state"), "absent");
    EXPECT_EQ(request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})").dump(),
              R"({"in_service":[2]})");
}

TEST_F(ControlVerbsTest, WhatNeedsACardIsRefusedWhileItsSlotIsEmpty) {
    request(R"({"verb":"pull","card":1})");
    for (const std::string line :
         {R"({"verb":"reset","card":1})", R"({"verb":"set","card":1,"name":"muted","value":true})",
          R"({"verb":"event","card":1,"frame":"8019"})",
          R"({"verb":"alarm","target":"1/0","alarm":"17","state":"raise"})"}) {
        EXPECT_EQ(errorOf(line), "slot 1 is empty; insert the card first") << line;
    }
    EXPECT_EQ(request(R"({"verb":"get","card":1})").at("why_not_in_service").dump(),
              R"(["the slot is empty"])");
}

TEST_F(ControlVerbsTest, WaitIsForgottenWhenNobodyIsThereToReplyTo) {
    verbs->handle(R"({"verb":"wait","for":"in-service","timeout_ms":1000})",
                  std::make_shared<Replies>());
    verbs->check();
    EXPECT_EQ(verbs->inServiceWaiters().size(), 0U);
    EXPECT_EQ(timers.size(), 0U);
}

}  // namespace
}  // namespace ponmgr::sim
