#include "dbman/Json.h"
#include "dbman/OpticsView.h"
#include "dbman/Plot.h"

namespace ponmgr::dbman {

namespace {

using testing::HasSubstr;

LevelSample sample(int minute, double level) {
    // 2031-02-03T04:00:00Z
    constexpr std::time_t kBegin = 1'927'857'600;
    return {std::chrono::system_clock::from_time_t(kBegin + minute * 60), level};
}

Screen screen(std::size_t columns, bool unicode) {
    Screen result;
    result.columns = columns;
    result.unicode = unicode;
    return result;
}

/// Falls once, in the middle.
const std::vector<LevelSample> kFall = {sample(0, -14), sample(30, -23), sample(60, -23)};

TEST(Plot, IsMadeOfStarsInAscii) {
    EXPECT_EQ(plotLevels(kFall, screen(40, false)),
              " -14.00+*****************\n"
              "       |                *\n"
              "       |                *\n"
              " -17.00+                *\n"
              "       |                *\n"
              "       |                *\n"
              " -20.00+                *\n"
              "       |                *\n"
              "       |                *\n"
              " -23.00+                ****************\n"
              "       +--------------------------------\n"
              "        02-03 04:00          02-03 05:00\n");
}

TEST(Plot, IsMadeOfBrailleWhereTheScreenHasIt) {
    EXPECT_EQ(plotLevels(kFall, screen(30, true)),
              " -14.00┤⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⠉⡇\n"
              "       │           ⡇\n"
              "       │           ⡇\n"
              " -17.00┤           ⡇\n"
              "       │           ⡇\n"
              "       │           ⡇\n"
              " -20.00┤           ⡇\n"
              "       │           ⡇\n"
              "       │           ⡇\n"
              " -23.00┤           ⣇⣀⣀⣀⣀⣀⣀⣀⣀⣀⣀\n"
              "       └──────────────────────\n"
              "        02-03 04:00\n");
}

TEST(Plot, OfALevelThatStaysIsALineInTheMiddle) {
    const auto text = plotLevels({sample(0, -20), sample(10, -20)}, screen(20, false));
    EXPECT_THAT(text, HasSubstr(" -19.50+\n"));
    EXPECT_THAT(text, HasSubstr(" -20.50+\n"));
    EXPECT_THAT(text, HasSubstr("************\n"));
}

TEST(Plot, OfOneSampleIsOneDot) {
    const auto text = plotLevels({sample(0, -20)}, screen(20, false));
    EXPECT_EQ(std::count(text.begin(), text.end(), '*'), 1);
}

TEST(Plot, Has80ColumnsWithoutATerminalAndFitsATinyOne) {
    const auto longest = [](const std::string& text) {
        std::size_t most = 0;
        for (std::size_t begin = 0; begin < text.size();) {
            const auto end = text.find('\n', begin);
            most = std::max(most, end - begin);
            begin = end + 1;
        }
        return most;
    };
    EXPECT_EQ(longest(plotLevels(kFall, screen(0, false))), 80U);
    EXPECT_LE(longest(plotLevels(kFall, screen(1, false))), 20U);
}

TEST(ViewOptics, ShowsTheExtremesAndTheLastReadings) {
    const auto text = viewOptics(
        parseJson(R"({"mac_address":"00:0d:b6:03:00:07","samples":[)"
                  R"({"time":"2031-02-03T04:00:00.000Z","tx_power_input":"-14.20"},)"
                  R"({"time":"2031-02-03T04:10:00.500Z","tx_power_input":"-27.31"},)"
                  R"({"time":"2031-02-03T04:15:00.000Z","tx_power_input":"-inf"},)"
                  R"({"time":"2031-02-03T04:20:00.000Z","tx_power_input":"-15.00",)"
                  R"("tx_power_output":"2.10","temperature":"41.50","supply_voltage":"-"}]})"));
    EXPECT_THAT(text, testing::StartsWith("receive level of 00:0d:b6:03:00:07 in dBm\n -14.20+"));
    EXPECT_THAT(text, HasSubstr("lowest  -27.31 dBm at 2031-02-03T04:10:00.500Z\n"
                                "highest -14.20 dBm at 2031-02-03T04:00:00.000Z\n"
                                "last    -15.00 dBm at 2031-02-03T04:20:00.000Z\n"
                                "last    power out 2.10 dBm, temperature 41.50 C\n"
                                "1 of 4 readings without a receive level\n"));
}

TEST(ViewOptics, SaysThatThereIsNothingToPlot) {
    EXPECT_EQ(viewOptics(parseJson(R"({"mac_address":"00:0d:b6:03:00:07","samples":[]})")),
              "no reading of 00:0d:b6:03:00:07 has a receive level (0 readings)\n");
}

TEST(ViewOptics, LeavesOutReadingsThatItCannotUnderstand) {
    const auto text = viewOptics(
        parseJson(R"({"mac_address":"m","samples":[7,{"time":"yesterday","tx_power_input":"-14"},)"
                  R"({"time":"2031-02-03T04:00:00.000Z","tx_power_input":"-"},{}]})"));
    EXPECT_EQ(text, "no reading of m has a receive level (4 readings)\n");
}

TEST(ViewOptics, ListsTheLastReadingsOfACardsModule) {
    std::string samples;
    for (int minute = 10; minute < 25; ++minute) {
        samples += (minute == 10 ? "" : ",") + std::string(R"({"time":"T)") +
                   std::to_string(minute) + R"(","port":"1","ucOpticModuleOltTxPower":"3.00"})";
    }
    const auto text = viewOptics(parseJson(R"({"mac_address":"m","samples":[)" + samples + "]}"));
    EXPECT_THAT(text,
                testing::StartsWith("no reading of m has a receive level (15 readings)\n"
                                    "time  port  power out  temperature  bias current  supply\n"
                                    "T15   1     3.00       -            -             -\n"));
    EXPECT_THAT(text, testing::EndsWith("T24   1     3.00       -            -             -\n"));
}

TEST(ParseUtc, ReadsTimesWithAndWithoutAFraction) {
    EXPECT_EQ(parseUtc("2031-02-03T04:10:00Z"), sample(10, 0).time);
    EXPECT_EQ(parseUtc("2031-02-03T04:10:00.250Z"),
              sample(10, 0).time + std::chrono::milliseconds(250));
    for (const auto* text : {"", "2031-02-03", "2031-02-03T04:10:00", "2031-02-03T04:10:00.2Z",
                             "2031-02-03T04:10:00.abcZ", "2031-02-03T04:10:00.250"}) {
        EXPECT_EQ(parseUtc(text), std::nullopt) << text;
    }
}

}  // namespace

}  // namespace ponmgr::dbman
