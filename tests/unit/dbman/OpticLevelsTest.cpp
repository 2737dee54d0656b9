#include <cmath>

#include "dbman/OpticLevels.h"

namespace ponmgr::dbman {

namespace {

TEST(ReceivedLevel, IsTheOnusPowerInput) {
    EXPECT_EQ(receivedLevel({{"tx_power_input", "-14.20"}, {"tx_power_output", "2.10"}}), -14.2);
}

TEST(ReceivedLevel, MayBeNoLightAtAll) {
    EXPECT_EQ(receivedLevel({{"tx_power_input", "-inf"}}), -INFINITY);
}

TEST(ReceivedLevel, IsNotThereUnlessItWasRead) {
    for (const auto* text : {"", "-", "nan", "3 dBm", "x"}) {
        EXPECT_EQ(receivedLevel({{"tx_power_input", text}}), std::nullopt) << text;
    }
    EXPECT_EQ(receivedLevel({}), std::nullopt);
}

TEST(OnuLevels, AreTheFiveReadings) {
    const Record levels = {{"temperature", "41"},
                           {"supply_voltage", "3.30"},
                           {"tx_bias_current", "12"},
                           {"tx_power_output", "2.1"},
                           {"tx_power_input", "-14"}};
    auto record = levels;
    record["mac_address"] = "00:11:22:33:44:55";
    EXPECT_EQ(onuLevels(record), levels);
}

TEST(HasReading, IsFalseForDashesAndNothing) {
    EXPECT_FALSE(hasReading({}));
    EXPECT_FALSE(hasReading({{"temperature", "-"}, {"tx_power_input", ""}}));
    EXPECT_TRUE(hasReading({{"temperature", "-"}, {"tx_power_input", "-14"}}));
}

}  // namespace

}  // namespace ponmgr::dbman
