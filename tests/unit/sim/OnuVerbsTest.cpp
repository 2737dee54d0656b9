#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "ChassisFixture.h"
#include "sim/ControlVerbs.h"
#include "sim/LinkProvisioning.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::HasSubstr;

class Replies : public ReplyChannel {
public:
    void reply(const Json& message) override { all.push_back(message); }

    std::vector<Json> all;
};

/// Slots 1 and 2 with two registered ONUs at each port; a manager has spoken to slot 1.
class OnuVerbs : public ChassisFixture {
protected:
    OnuVerbs() {
        buildWithOnus(2);
        verbs = std::make_unique<ControlVerbs>(*chassis, timers);
        EXPECT_EQ(resultOf(7), 0);
        sent.clear();
        card().lastSequence = 0;
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
        auto& brought = card(slot);
        brought.nvsCurrent = false;
        brought.configuration = CardConfiguration::provisioned();
        for (const auto& onu : brought.onus) {
            provision(brought.configuration, onu);
        }
    }

    std::unique_ptr<ControlVerbs> verbs;
    std::shared_ptr<Replies> replies = std::make_shared<Replies>();
};

TEST_F(OnuVerbs, OnusListsAllOrThoseOfASlotOrAPort) {
    EXPECT_EQ(request(R"({"verb":"onus"})").at("onus").size(), 8U);
    EXPECT_EQ(request(R"({"verb":"onus","of":"2"})").at("onus").size(), 4U);
    const auto rows = request(R"({"verb":"onus","of":"1/1"})").at("onus");
    ASSERT_EQ(rows.size(), 2U);
    EXPECT_EQ(rows[0].dump(),
              R"({"onu":"1/1/0","mac":"00:0d:b6:01:01:00","slot":1,"port":1,"state":"on-line",)"
              R"("known":false,"provisioned":false,"ethernet_up":false,"vlan":0})");
}

TEST_F(OnuVerbs, OnuShowsItsDetails) {
    const auto details = request(R"({"verb":"onu","onu":"1/0/1","action":"get"})");
    EXPECT_EQ(details.at("llid"), 2);
    EXPECT_EQ(details.at("queues").at("upstream").dump(), R"({"endpoint":16389,"sla":false})");
    EXPECT_EQ(details.at("missing").size(), 5U);
    EXPECT_EQ(details.at("optics").size(), 5U);
}

TEST_F(OnuVerbs, OnuIsUnpluggedPluggedAndSwitched) {
    const auto act = [this](const std::string& action) {
        return request(R"({"verb":"onu","onu":"1/0/1","action":")" + action + "\"}").at("state");
    };
    EXPECT_EQ(act("unplug"), "unplugged");
    EXPECT_EQ(sent.back().hex, hex("801a 0000 000f 0000 0001 03 000db6010001 17 01 01 00"));
    EXPECT_EQ(act("plug"), "off-line");
    advance(5ms);
    EXPECT_EQ(act("get"), "on-line");
    EXPECT_EQ(act("power-off"), "powered-off");
    EXPECT_EQ(sent.back().hex, hex("801a 0000 000f 0000 0003 03 000db6010001 40 01 01 00"));
    EXPECT_EQ(act("power-on"), "off-line");
    advance(5ms);
    EXPECT_EQ(act("get"), "on-line");
}

TEST_F(OnuVerbs, OnuFadesAndMoves) {
    EXPECT_EQ(request(R"({"verb":"onu","onu":"1/0/1","action":"fade","value":3.5})").at("fade_db"),
              3.5);
    EXPECT_EQ(request(R"({"verb":"onu","onu":"1/0/1","action":"move","value":1})").at("port"), 1);
    EXPECT_EQ(sent.back().hex, hex("802b 0000 000c 0000 0001 000db6010001 00 01"));
    EXPECT_EQ(errorOf(R"({"verb":"onu","onu":"1/0/1","action":"move","value":1})"),
              "ONU 1/0/1 hangs at port 1 already");
}

TEST_F(OnuVerbs, FibreIsCutAndRestored) {
    const auto reply = request(R"({"verb":"fibre","card":1,"port":0,"state":"cut"})");
    EXPECT_EQ(reply.dump(), R"({"slot":1,"port":0,"fibre":"cut","onus_discovered":2})");
    EXPECT_EQ(sent.size(), 2U);
    EXPECT_EQ(request(R"({"verb":"onu","onu":"1/0/1","action":"get"})").at("state"), "fibre-cut");
    request(R"({"verb":"fibre","card":1,"port":0,"state":"restored"})");
    advance(5ms);
    advance(5ms);
    EXPECT_EQ(request(R"({"verb":"list"})").at("cards")[0].at("onus_discovered"), 4);
}

TEST_F(OnuVerbs, AlarmIsSentForAnOnuTheOltEndOfItsLinkAndAPort) {
    const auto raise = [this](const std::string& target) {
        request(R"({"verb":"alarm","alarm":"Loss of Signal","state":"raise","target":")" + target +
                "\"}");
        return sent.back().hex.substr(20);
    };
    EXPECT_EQ(raise("1/0/1"), hex("03 000db6010001 11 01 01 00"));
    EXPECT_EQ(raise("1/0/1/olt"), hex("07 000db6010001 11 01 01 00"));
    EXPECT_EQ(raise("1/1"), hex("05 000db6000001 0001 11 01 01 00"));
    EXPECT_EQ(raise("1/nni-0"), hex("05 000db6000001 0002 11 01 01 00"));
    EXPECT_EQ(card().lastSequence, 4);
}

TEST_F(OnuVerbs, AlarmIsCleared) {
    const auto reply =
        request(R"({"verb":"alarm","target":"1/0/1","alarm":"129","state":"clear"})");
    EXPECT_EQ(reply.dump(),
              R"({"slot":1,"code":129,"alarm":"Temperature","state":"clear","sequence":1})");
    EXPECT_EQ(sent.back().hex.substr(20), hex("03 000db6010001 81 00 01 00"));
    EXPECT_TRUE(onu(0, 1).discovered);
}

TEST_F(OnuVerbs, EventIsSentAsItIsGiven) {
    EXPECT_EQ(request(R"({"verb":"event","card":1,"frame":"80190000"})").dump(),
              R"({"slot":1,"bytes":4})");
    EXPECT_EQ(sent.back().hex, "80190000");
    EXPECT_EQ(sent.back().to, kManager);
}

TEST_F(OnuVerbs, EventsNeedAManagerAndACardThatIsUp) {
    EXPECT_EQ(errorOf(R"({"verb":"event","card":2,"frame":"8019"})"),
              "no manager has spoken to slot 2 yet");
    chassis->reset(card());
    EXPECT_EQ(errorOf(R"({"verb":"alarm","target":"1/0","alarm":"16","state":"raise"})"),
              "slot 1 is resetting");
    advance(3s);
    transmitSucceeds = false;
    EXPECT_EQ(errorOf(R"({"verb":"event","card":1,"frame":"8019"})"),
              "the system refused to send the event of slot 1");
}

TEST_F(OnuVerbs, MistakesAreAnsweredWithWhatThereIs) {
    EXPECT_EQ(errorOf(R"({"verb":"onu","onu":"1/0/2","action":"get"})"),
              "no ONU 1/0/2; slot 1 has 2 at a port");
    EXPECT_EQ(errorOf(R"({"verb":"onu","onu":"3/0/0","action":"get"})"),
              "no card in slot 3; there are: 1, 2");
    EXPECT_THAT(errorOf(R"({"verb":"onu","onu":"1/0/0","action":"fly"})"),
                HasSubstr("get, unplug, plug, power-off, power-on, fade, move"));
    EXPECT_THAT(errorOf(R"({"verb":"fibre","card":1,"port":0,"state":"wet"})"),
                HasSubstr("cut, restored"));
    for (const std::string line :
         {R"({"verb":"onu"})", R"({"verb":"onu","onu":7,"action":"get"})",
          R"({"verb":"onus","of":"9"})", R"({"verb":"onus","of":1})",
          R"({"verb":"onu","onu":"1/0/0","action":"fade"})",
          R"({"verb":"onu","onu":"1/0/0","action":"fade","value":-1})",
          R"({"verb":"onu","onu":"1/0/0","action":"fade","value":"1"})",
          R"({"verb":"onu","onu":"1/0/0","action":"move","value":2})",
          R"({"verb":"fibre","card":1,"port":2,"state":"cut"})",
          R"({"verb":"alarm","target":"1/0","alarm":"20","state":"raise"})",
          R"({"verb":"alarm","target":"1/0","alarm":"16","state":"on"})",
          R"({"verb":"event","card":1,"frame":"8"})", R"({"verb":"event","card":1,"frame":"xx"})",
          R"({"verb":"event","card":1,"frame":""})",
          R"({"verb":"set","card":1,"name":"leftover-path","id":65536,"usage_count":0})"}) {
        EXPECT_NE(errorOf(line), "") << line;
    }
}

TEST_F(OnuVerbs, LeftoverPathIsAddedToTheCard) {
    request(R"({"verb":"set","card":1,"name":"leftover-path","id":9,"usage_count":2})");
    EXPECT_EQ(ask(377), hex("0179 0001 0006 0000 0009 0002"));
}

TEST_F(OnuVerbs, ListCountsTheOnus) {
    provision(card().configuration, onu(0, 0));
    onu(1, 1).discovered = false;
    const auto row = request(R"({"verb":"list"})").at("cards")[0];
    EXPECT_EQ(row.at("onus_total"), 4);
    EXPECT_EQ(row.at("onus_discovered"), 3);
    EXPECT_EQ(row.at("onus_provisioned"), 1);
}

TEST_F(OnuVerbs, WaitEndsWhenTheLastOnuIsProvisioned) {
    bringIntoService(1);
    bringIntoService(2);
    clearProvisioning(card().configuration, onu(1, 0));
    request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    verbs->check();
    EXPECT_TRUE(replies->all.empty());
    provision(card().configuration, onu(1, 0));
    clearProvisioning(card().configuration, onu(0, 0));
    verbs->check();
    EXPECT_TRUE(replies->all.empty());
    provision(card().configuration, onu(0, 0));
    verbs->check();
    ASSERT_EQ(replies->all.size(), 1U);
    EXPECT_EQ(replies->all[0].dump(), R"({"in_service":[1,2]})");
}

TEST_F(OnuVerbs, WaitEndsWhenAnOnuThatWasAwayIsOnLineAgain) {
    bringIntoService(1);
    bringIntoService(2);
    request(R"({"verb":"onu","onu":"1/0/0","action":"unplug"})");
    request(R"({"verb":"onu","onu":"1/0/0","action":"plug"})");
    replies->all.clear();
    request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    EXPECT_TRUE(replies->all.empty());
    advance(5ms);
    verbs->check();
    EXPECT_EQ(replies->all.size(), 1U);
}

TEST_F(OnuVerbs, WaitDoesNotMindOnusThatAreOutOfReach) {
    bringIntoService(1);
    bringIntoService(2);
    clearProvisioning(card().configuration, onu(0, 0));
    clearProvisioning(card().configuration, onu(0, 1));
    onu(0, 0).plugged = false;
    onu(0, 1).powered = false;
    request(R"({"verb":"wait","for":"in-service","timeout_ms":1000})");
    EXPECT_EQ(replies->all.size(), 1U);
}

TEST_F(OnuVerbs, WaitThatTimesOutNamesTheOnusAndWhatTheyLack) {
    bringIntoService(1);
    bringIntoService(2);
    auto& accepted = card(2).configuration.accepted;
    accepted.erase(385, 0x000DB6020001);
    accepted.erase(397, 0x000DB6020001);
    for (const auto* mac : {"00", "01"}) {
        accepted.erase(385, 0x000DB6020100 + static_cast<std::uint64_t>(mac[1] - '0'));
    }
    request(R"({"verb":"wait","for":"in-service","timeout_ms":10})");
    advance(10ms);
    ASSERT_EQ(replies->all.size(), 1U);
    EXPECT_EQ(replies->all[0].at("error"),
              "time is up; not in service: slot 2: 3 ONUs are not ready: 2/0/1 (not enabled, "
              "no link SLA), 2/1/0 (not enabled), 2/1/1 (not enabled)");
    EXPECT_EQ(replies->all[0].at("not_in_service")[0].at("onus")[0].dump(),
              R"({"onu":"2/0/1","missing":["not enabled","no link SLA"]})");
}

}  // namespace
}  // namespace ponmgr::sim
