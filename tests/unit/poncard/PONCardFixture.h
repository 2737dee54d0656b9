#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "poncard/PONCardHelper.h"
#include "support/Notifications.h"
#include "support/PrintedText.h"
#include "support/ScriptedTransport.h"

namespace ponmgr::test {

/// The answer to Get OLT Information of the card that all these tests speak of: MAC address
/// 00:0d:b6:01:02:03, firmware version 0102.
std::string oltInformation(std::string_view ctag = "00 01", std::string_view productCode = "37 23");

/// The report of the card in slot 3. All that isn't given is as on a card that nothing is known of.
struct ReportedCard {
    std::string appVersion = {};
    std::string macAddress = {};
    std::string nvsEnabled = "0";
    std::string onlineStatus = "0";
    std::string slotId = "3";
};
std::string oltReport(const ReportedCard& card);

/// The operations of the card in slot 3, address 127.0.1.3, before a card that plays a script. The
/// card has all the time it needs for an answer.
class PONCardFixture : public testing::Test {
protected:
    static constexpr ExchangeTiming kPatient{std::chrono::seconds(10), std::chrono::milliseconds(1),
                                             3};

    explicit PONCardFixture(ExchangeTiming exchange = kPatient);

    /// Lets the card identify itself, which uses up the first ctag.
    void identify();
    /// Lets the record be reported, and returns the reports. Other notifications fail the test.
    std::vector<std::string> report();

    ScriptedTransport transport;
    PONCardHelper helper;
};

/// The same with a card that never answers: each try takes some milliseconds.
class SilentCardFixture : public PONCardFixture {
protected:
    SilentCardFixture();

    /// The datagram that is sent three times and not answered.
    void expectUnanswered(std::string_view datagram);
};

}  // namespace ponmgr::test
