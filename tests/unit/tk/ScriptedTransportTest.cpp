// The tests of the exchange are worth what their card is worth: that it notices what it should.

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <optional>
#include <stdexcept>

#include "support/ScriptedTransport.h"

namespace ponmgr {
namespace {

using test::bytes;
using test::hexText;
using test::ScriptedTransport;

TKMessage enableOlt() {
    return {TKIDMessage::EnableOLT, 1, nullptr, 0};
}

TEST(ScriptedTransport, DatagramThatIsNotTheScriptsNextFailsTheTest) {
    std::optional<ScriptedTransport> card(std::in_place);
    card->expect("00 09 00 01 00 00");
    EXPECT_NONFATAL_FAILURE(card->send(enableOlt(), {}), "sent 00 08 00 01 00 00");
    EXPECT_NONFATAL_FAILURE(card.reset(), "never sent: 00 09 00 01 00 00");
}

TEST(ScriptedTransport, DatagramAfterTheEndOfTheScriptFailsTheTest) {
    ScriptedTransport card;
    card.expect("00 08 00 01 00 00").silent();
    card.send(enableOlt(), {});
    EXPECT_NONFATAL_FAILURE(card.send(enableOlt(), {}), "after the end of the script");
}

TEST(ScriptedTransport, ScriptThatIsNotPlayedToItsEndFailsTheTest) {
    std::optional<ScriptedTransport> card(std::in_place);
    card->expect("00 08 00 01 00 00").silent();
    EXPECT_NONFATAL_FAILURE(card.reset(), "never sent: 00 08 00 01 00 00");
}

TEST(ScriptedTransport, AcceptanceHasIdAndCtagOfTheRequestAndResultZero) {
    EXPECT_EQ(hexText(ScriptedTransport::acceptanceOf(bytes("01 78 12 34 00 01 aa"))),
              "01 78 12 34 00 02 00 00");
}

TEST(Bytes, BlanksMayStandAnywhere) {
    EXPECT_EQ(bytes(" 00 0 a\nff "), (test::Bytes{0x00, 0x0A, 0xFF}));
}

TEST(Bytes, SlipInALiteralIsNoticed) {
    EXPECT_THROW(bytes("00 0"), std::invalid_argument);
    EXPECT_THROW(bytes("0x"), std::invalid_argument);
    EXPECT_THROW(bytes("0G"), std::invalid_argument);
}

TEST(Bytes, TextIsLowerCasePairs) {
    EXPECT_EQ(hexText(bytes("000aff")), "00 0a ff");
}

}  // namespace
}  // namespace ponmgr
