#pragma once

#include <string>
#include <utility>
#include <vector>

#include "PONCardFixture.h"

namespace ponmgr::test {

using Texts = std::vector<std::string>;

/// The record of an ONU link of slot 3. All that isn't given is as on a link of which nothing more
/// is known.
struct OnuRecord {
    std::string mac = "00:0f:e9:00:00:0a";
    std::string alarmMessage = {};
    std::string downstreamQueue = {};
    std::string upstreamQueue = {};
    std::string multicastQueue = {};
    std::string etherUp = "0";
    std::string isGigabit = "0";
    std::string online = "0";
    std::string ponPort = "-";
    std::string reported = "0";
    std::string slotId = "3";
};
std::string onuText(const OnuRecord& onu);
/// The notification that carries the record.
std::string onuReport(const OnuRecord& onu);

/// A Link Discovery of the ONU whose MAC address ends with `last`, at downstream port 1 and
/// upstream port 0.
std::string linkDiscovery(const std::string& last);
/// A Report Alarm of an ONU link; alarm id and state as two digits each.
std::string linkAlarm(const std::string& last, const std::string& id, const std::string& state);

/// The card of slot 3 with ONUs behind it. Their MAC addresses are 00:0f:e9:00:00:0a and so on.
/// Needs a /tmp of its own.
class PONCardLinkFixture : public PONCardFixture {
protected:
    /// Lets an event come; it is pulled by the next handleAlarms().
    void emit(const std::string& event);
    /// Lets an ONU be discovered: it is on-line, neither provisioned nor reported. Without
    /// exchange.
    void discover(const std::string& last);
    /// Discovers it, and lets everything about it be accepted and reported.
    void discoverAndProvision(const std::vector<std::string>& lasts);

    /// The list of links as it stands, compact.
    std::string links();
    static std::string listOf(const std::vector<OnuRecord>& onus);

    /// The alarms that wait, as they are reported; every time is "<time>".
    Texts alarms();

    /// What is sent while `call` runs.
    template <typename Call>
    Texts sentBy(Call&& call) {
        const std::size_t before = transport.getSent().size();
        std::forward<Call>(call)();
        const Texts all = transport.getSentDatagrams();
        return {all.begin() + static_cast<Texts::difference_type>(before), all.end()};
    }
};

/// One row of the alarms that wait.
struct AlarmRow {
    std::string alarm;
    std::string label;
    std::string state;
};
/// The one notification with these alarms.
Texts alarmReport(const std::vector<AlarmRow>& rows);

}  // namespace ponmgr::test
