#include <gmock/gmock.h>

#include <sstream>

#include "ChassisFixture.h"
#include "sim/ScenarioPlayer.h"

namespace ponmgr::sim {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::HasSubstr;

/// Plays on a chassis whose clock the test moves.
class ScenarioPlayerTest : public ChassisFixture {
protected:
    void play(const std::string& text, double speed = 1) {
        settings.onusPerPort = 1;
        settings.configured = true;
        build();
        std::istringstream input(text);
        verbs = std::make_unique<ControlVerbs>(*chassis, timers);
        player = std::make_unique<ScenarioPlayer>(
            parseScenario(input, "day.jsonl", settings), speed, timers, *verbs,
            [this](const std::string& line) { lines.push_back(line); });
        verbs->setScenarioReport([this] { return player->status(); });
        player->start([this] { ++ends; });
    }

    /// As the event loop does it: timers, then those who wait.
    void pass(Duration time) {
        const auto end = now + time;
        timers.runDue();
        verbs->check();
        while (timers.nextDue() && *timers.nextDue() <= end) {
            advance(*timers.nextDue() - now);
            verbs->check();
        }
        now = end;
    }

    std::unique_ptr<ControlVerbs> verbs;
    std::unique_ptr<ScenarioPlayer> player;
    std::vector<std::string> lines;
    int ends = 0;
};

TEST_F(ScenarioPlayerTest, DoesEachStepAtItsTimeAndShowsItsResult) {
    play(
        "{\"at\":\"2s\",\"ctl\":\"card 1 cut 0\"}\n"
        "{\"at\":\"3s\",\"ctl\":\"card 1 restore 0\"}\n");
    pass(2s - 1ns);
    EXPECT_TRUE(card().fibreIntact[0]);
    EXPECT_TRUE(lines.empty());
    pass(1ns);
    EXPECT_FALSE(card().fibreIntact[0]);
    EXPECT_FALSE(player->hasEnded());
    pass(1s);
    EXPECT_TRUE(card().fibreIntact[0]);
    EXPECT_THAT(
        lines,
        ElementsAre("scenario    2.0 s line 1: card 1 cut 0: slot 1 port 0: fibre cut",
                    "scenario    3.0 s line 2: card 1 restore 0: slot 1 port 0: fibre restored",
                    "scenario    3.0 s day.jsonl ended: 2 steps, 0 failed"));
    EXPECT_EQ(ends, 1);
}

TEST_F(ScenarioPlayerTest, DoesStepsOfOneTimeInTheirOrder) {
    play(
        "{\"at\":1,\"ctl\":\"card 1 mute\"}\n"
        "{\"at\":1,\"note\":\"louder\"}\n"
        "{\"at\":1,\"ctl\":\"card 1 unmute\"}\n");
    pass(1s);
    EXPECT_FALSE(card().muted);
    ASSERT_EQ(lines.size(), 4U);
    EXPECT_EQ(lines[1], "scenario    1.0 s line 2: louder");
}

TEST_F(ScenarioPlayerTest, GoesFasterOnRequest) {
    play(R"({"at":10,"ctl":"card 1 mute"})", 10);
    pass(1s - 1ns);
    EXPECT_FALSE(card().muted);
    pass(1ns);
    EXPECT_TRUE(card().muted);
}

TEST_F(ScenarioPlayerTest, WaitsForServiceAndCountsFromThen) {
    play(
        "{\"at\":0,\"ctl\":\"card 1 reset\"}\n"
        "{\"after\":\"in-service\"}\n"
        "{\"at\":1,\"ctl\":\"card 1 mute\"}\n");
    pass(10s);
    EXPECT_EQ(lines.size(), 1U);
    card().configuration = CardConfiguration::provisioned();
    for (auto& missing : card().onus) {
        missing.plugged = false;
    }
    pass(0s);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_EQ(lines[1], "scenario   10.0 s line 2: after in-service: 2 cards in service");
    pass(1s - 1ns);
    EXPECT_FALSE(card().muted);
    pass(1ns);
    EXPECT_TRUE(card().muted);
}

TEST_F(ScenarioPlayerTest, GoesOnAfterAFailureAndCountsIt) {
    play(
        "{\"at\":0,\"ctl\":\"card 1 insert\"}\n"
        "{\"at\":0,\"ctl\":\"card 1 mute\"}\n");
    pass(0s);
    EXPECT_EQ(lines.at(0),
              "scenario    0.0 s line 1: card 1 insert: FAILED: slot 1 holds a card; pull it "
              "first, or swap it");
    pass(0s);
    EXPECT_TRUE(card().muted);
    EXPECT_EQ(player->failures(), 1U);
}

TEST_F(ScenarioPlayerTest, GivesUpWaitingWhenTimeIsUp) {
    play(
        "{\"at\":0,\"ctl\":\"card 1 reset\"}\n"
        "{\"after\":\"in-service\",\"timeout\":\"20s\"}\n");
    pass(21s);
    EXPECT_TRUE(player->hasEnded());
    EXPECT_EQ(player->failures(), 1U);
    EXPECT_THAT(lines.at(1), HasSubstr("FAILED: time is up; not in service: slot 1"));
}

TEST_F(ScenarioPlayerTest, TellsHowItGoes) {
    play(
        "{\"at\":0,\"ctl\":\"card 1 mute\"}\n"
        "{\"at\":5,\"verb\":\"reset\",\"card\":1}\n");
    pass(0s);
    pass(2s);
    EXPECT_EQ(verbs->scenarioStatus().dump(),
              R"({"state":"running","scenario":"day.jsonl","speed":1.0,"seconds":2.0,"steps":2,)"
              R"("done":1,"failed":0,"next":{"line":2,"at":5.0,)"
              R"("what":"{\"verb\":\"reset\",\"card\":1}"},)"
              R"("results":[{"line":1,"what":"card 1 mute","ok":true,"result":"slot 1: done"}]})");
    pass(3s);
    EXPECT_EQ(verbs->scenarioStatus().at("state"), "ended");
    EXPECT_TRUE(verbs->scenarioStatus().at("next").is_null());
}

TEST_F(ScenarioPlayerTest, ThatGoesLeavesNothingBehind) {
    play(
        "{\"at\":0,\"ctl\":\"card 1 reset\"}\n"
        "{\"after\":\"in-service\"}\n");
    pass(0s);
    pass(0s);
    verbs->setScenarioReport({});
    player.reset();
    verbs->check();
    EXPECT_EQ(verbs->inServiceWaiters().size(), 0U);
}

}  // namespace
}  // namespace ponmgr::sim
