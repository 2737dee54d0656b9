#include "dbman/AlarmStates.h"

namespace ponmgr::dbman {

namespace {

using std::chrono::seconds;

class AlarmStatesTest : public testing::Test {
protected:
    void report(const std::string& alarm, bool isRaised, int second,
                const std::string& resource = "ONU Link: 00:11:22:33:44:55", int slot = 3) {
        EXPECT_FALSE(alarms.report({slot, resource, alarm}, isRaised, at(second)));
    }

    static Time at(int second) { return Time(seconds(second)); }

    /// Raises as many alarms of slot 3 as it has room for.
    void fill() {
        for (auto number = alarms.states(3, false).size();
             number < AlarmStates::kMaximumStatesOfASlot; ++number) {
            report(std::to_string(number), true, 10);
        }
    }

    bool isThere(const std::string& alarm) const {
        const auto all = alarms.states(std::nullopt, false);
        return std::any_of(all.begin(), all.end(),
                           [&](const AlarmState& state) { return state.key.alarm == alarm; });
    }

    AlarmState only() const {
        const auto all = alarms.states(std::nullopt, false);
        EXPECT_EQ(all.size(), 1U);
        return all.at(0);
    }

    AlarmStates alarms;
};

TEST_F(AlarmStatesTest, ARaisedAlarmKnowsSinceWhen) {
    report("LOS", true, 10);
    EXPECT_TRUE(only().isRaised);
    EXPECT_EQ(only().raised, at(10));
    EXPECT_EQ(only().cleared, std::nullopt);
    EXPECT_EQ(only().count, 1);
    EXPECT_EQ(only().lastChange, at(10));
}

TEST_F(AlarmStatesTest, AnAlarmThatIsRaisedTwiceCountsTwoAndIsRaisedSinceTheFirst) {
    report("LOS", true, 10);
    report("LOS", true, 20);
    EXPECT_EQ(only().raised, at(10));
    EXPECT_EQ(only().count, 2);
    EXPECT_EQ(only().lastChange, at(20));
}

TEST_F(AlarmStatesTest, AClearedAlarmKnowsWhenItWasRaisedAndCleared) {
    report("LOS", true, 10);
    report("LOS", false, 20);
    report("LOS", false, 30);
    EXPECT_FALSE(only().isRaised);
    EXPECT_EQ(only().raised, at(10));
    EXPECT_EQ(only().cleared, at(20));
    EXPECT_EQ(only().count, 1);
    EXPECT_EQ(only().lastChange, at(30));
}

TEST_F(AlarmStatesTest, AClearingWithoutARaisingCountsZero) {
    report("LOS", false, 10);
    EXPECT_FALSE(only().isRaised);
    EXPECT_EQ(only().raised, std::nullopt);
    EXPECT_EQ(only().cleared, at(10));
    EXPECT_EQ(only().count, 0);
}

TEST_F(AlarmStatesTest, AnAlarmThatIsRaisedAgainBeginsAnew) {
    report("LOS", true, 10);
    report("LOS", false, 20);
    report("LOS", true, 30);
    EXPECT_EQ(only().raised, at(30));
    EXPECT_EQ(only().cleared, std::nullopt);
    EXPECT_EQ(only().count, 2);
}

TEST_F(AlarmStatesTest, SlotResourceAndNameTellAlarmsApart) {
    report("LOS", true, 10);
    report("LOS", true, 10, "ONU Link: 00:11:22:33:44:66");
    report("LOS", true, 10, "ONU Link: 00:11:22:33:44:55", 4);
    report("Link Fault", true, 10);
    report("LOS", false, 20);
    EXPECT_EQ(alarms.states(std::nullopt, false).size(), 4U);
    EXPECT_EQ(alarms.states(std::nullopt, true).size(), 3U);
    EXPECT_EQ(alarms.states(4, true).size(), 1U);
}

TEST_F(AlarmStatesTest, ALinkThatReportsAgainIsNotDyingAnyMore) {
    report("Standard Dying Gasp", true, 10);
    report("Standard Dying Gasp", true, 10, "ONU Link: 00:11:22:33:44:66");
    report("LOS", true, 10);
    report("Report Timeout", false, 20);
    const auto raised = alarms.states(std::nullopt, true);
    ASSERT_EQ(raised.size(), 2U);
    EXPECT_EQ(raised[0].key.alarm, "LOS");
    EXPECT_EQ(raised[1].key.resource, "ONU Link: 00:11:22:33:44:66");
}

TEST_F(AlarmStatesTest, ALinkThatReportsBehindAnotherCardIsLostBehindNone) {
    const std::string link = "ONU Link: 00:0d:b6:03:00:07";
    AlarmStates states;
    for (const char* alarm : {"Report Timeout", "Standard Dying Gasp", "Laser Always On"}) {
        states.report({8, link, alarm}, true, Time{});
    }
    states.report({8, "ONU Link: 00:0d:b6:03:00:08", "Report Timeout"}, true, Time{});
    states.report({6, link, "Report Timeout"}, false, Time{});
    std::vector<std::string> raised;
    for (const auto& state : states.states(std::nullopt, true)) {
        raised.push_back(state.key.resource.substr(state.key.resource.size() - 2) + " " +
                         state.key.alarm);
    }
    EXPECT_THAT(raised, testing::ElementsAre("07 Laser Always On", "08 Report Timeout"));
}

TEST_F(AlarmStatesTest, ALinkThatIsOnLineHasLostNothing) {
    alarms.report({1, "ONU Link: 00:11:22:33:44:55", "Standard Dying Gasp"}, true, at(1));
    alarms.report({2, "ONU Link: 00:11:22:33:44:55", "Report Timeout"}, true, at(1));
    alarms.report({2, "ONU Link: 00:11:22:33:44:55", "Loss of Signal"}, true, at(1));
    alarms.report({2, "ONU Link: 00:11:22:33:44:66", "Report Timeout"}, true, at(1));
    alarms.linkIsOnline("00:11:22:33:44:55", at(2));
    const auto raised = alarms.states(std::nullopt, true);
    ASSERT_EQ(raised.size(), 2U);
    EXPECT_EQ(raised[0].key.alarm, "Loss of Signal");
    EXPECT_EQ(raised[1].key.resource, "ONU Link: 00:11:22:33:44:66");
}

TEST_F(AlarmStatesTest, ALinksMoveIsCountedAndOverAtOnce) {
    report("ONU Link Moved Between PON Ports", true, 10);
    report("ONU Link Moved Between PON Ports", true, 20);
    EXPECT_FALSE(only().isRaised);
    EXPECT_EQ(only().raised, at(20));
    EXPECT_EQ(only().cleared, at(20));
    EXPECT_EQ(only().count, 2);
}

TEST_F(AlarmStatesTest, ARemovedLinkHasNoRaisedAlarms) {
    report("LOS", true, 10);
    report("LOS", true, 10, "OLT Link: 00:11:22:33:44:55");
    report("LOS", true, 10, "OLT Port: EPON-0");
    EXPECT_EQ(alarms.raisedOfLink("00:11:22:33:44:55").size(), 2U);
    alarms.clearLink("00:11:22:33:44:55", at(20));
    EXPECT_TRUE(alarms.raisedOfLink("00:11:22:33:44:55").empty());
    EXPECT_EQ(alarms.states(std::nullopt, true).size(), 1U);
}

TEST_F(AlarmStatesTest, OnlyOldClearedOnesAreForgotten) {
    report("raised", true, 10);
    report("old", false, 10);
    report("new", false, 20);
    alarms.takeChanges();
    alarms.forgetClearedBefore(at(15));
    EXPECT_EQ(alarms.states(std::nullopt, false).size(), 2U);
    const auto changes = alarms.takeChanges();
    ASSERT_EQ(changes.removed.size(), 1U);
    EXPECT_EQ(changes.removed[0].alarm, "old");
}

TEST_F(AlarmStatesTest, PastTheNumberOfASlotItsOldestClearedOneMakesRoom) {
    report("older, of another slot", false, 1, "OLT Port: EPON-0", 4);
    report("oldest", false, 2);
    report("newer", false, 3);
    report("raised", true, 1);
    fill();
    report("one more", true, 20);
    EXPECT_FALSE(isThere("oldest"));
    EXPECT_TRUE(isThere("newer"));
    EXPECT_TRUE(isThere("raised"));
    EXPECT_EQ(alarms.states(3, false).size(), AlarmStates::kMaximumStatesOfASlot);
    EXPECT_EQ(alarms.states(4, false).size(), 1U);
}

TEST_F(AlarmStatesTest, WhereNoneIsClearedTheRaisedOneThatWasReportedLongestAgoMakesRoom) {
    report("oldest, but reported again", true, 1);
    report("older", true, 2);
    report("oldest, but reported again", true, 3);
    fill();
    alarms.takeChanges();
    EXPECT_TRUE(alarms.report({3, "", "one more"}, true, at(30)));
    EXPECT_FALSE(isThere("older"));
    EXPECT_TRUE(isThere("oldest, but reported again"));
    EXPECT_TRUE(isThere("one more"));
    EXPECT_EQ(alarms.states(3, true).size(), AlarmStates::kMaximumStatesOfASlot);
    const auto changes = alarms.takeChanges();
    ASSERT_EQ(changes.removed.size(), 1U);
    EXPECT_EQ(changes.removed[0].alarm, "older");
}

TEST_F(AlarmStatesTest, AlarmsThatASlotInventsTakeNothingFromTheOthers) {
    for (std::size_t number = 0; number < 2 * AlarmStates::kMaximumStatesOfASlot; ++number) {
        alarms.report({1, "ONU Link: " + std::to_string(number), "Loss of Signal"}, true, at(10));
    }
    report("Temperature", true, 20, "OLT Port: EPON-0", 2);
    EXPECT_EQ(alarms.states(1, true).size(), AlarmStates::kMaximumStatesOfASlot);
    ASSERT_EQ(alarms.states(2, true).size(), 1U);
    EXPECT_EQ(alarms.states(2, true)[0].key.alarm, "Temperature");
}

TEST_F(AlarmStatesTest, WhatAFormerRunHadTooMuchOfASlotMakesRoom) {
    std::vector<AlarmState> stored;
    for (int number = 0; number < 3000; ++number) {
        AlarmState state;
        state.key = {3, "ONU Link: " + std::to_string(number), "LOS"};
        state.isRaised = number < 2500;
        state.lastChange = at(number);
        stored.push_back(state);
    }
    stored.push_back({{4, "OLT Port: EPON-0", "LOS"}, true, at(1), std::nullopt, 1, at(1)});
    alarms.load(stored);
    const auto left = alarms.states(3, false);
    EXPECT_EQ(left.size(), AlarmStates::kMaximumStatesOfASlot);
    EXPECT_TRUE(std::all_of(left.begin(), left.end(), [](const AlarmState& state) {
        return state.isRaised && state.lastChange >= at(452);
    }));
    EXPECT_EQ(alarms.states(4, true).size(), 1U);
    const auto changes = alarms.takeChanges();
    EXPECT_EQ(changes.removed.size(), 952U);
    EXPECT_TRUE(changes.states.empty());
}

TEST_F(AlarmStatesTest, ChangesAreTakenOnceUnlessTheyAreMarkedAgain) {
    report("LOS", true, 10);
    const auto changes = alarms.takeChanges();
    EXPECT_EQ(changes.states.size(), 1U);
    EXPECT_TRUE(alarms.takeChanges().states.empty());
    alarms.markChanged(changes);
    report("LOS", false, 20);
    const auto again = alarms.takeChanges();
    ASSERT_EQ(again.states.size(), 1U);
    EXPECT_FALSE(again.states[0].isRaised);
}

TEST_F(AlarmStatesTest, ChangesThatNobodyTakesBecomeAllStatesThereAre) {
    for (int number = 0; number < 34'000; ++number) {
        report(std::to_string(number), false, number, "OLT Port: EPON-0", 1 + number % 8);
    }
    const auto changes = alarms.takeChanges();
    EXPECT_TRUE(changes.all);
    EXPECT_EQ(changes.states.size(), AlarmStates::kMaximumStates);
    EXPECT_LE(changes.removed.size(), AlarmStates::kMaximumStates);
}

}  // namespace

}  // namespace ponmgr::dbman
