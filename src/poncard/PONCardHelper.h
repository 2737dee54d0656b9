#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include "app/LogLine.h"
#include "model/Container.h"
#include "model/OnuLinkList.h"
#include "model/PONCard.h"
#include "poncard/PONCardTiming.h"
#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"
#include "tk/TKHelper.h"
#include "tk/UDPSocket.h"

namespace ponmgr {

struct PayloadField;

/// Every operation on one PON card. The card itself is the memory of its configuration: the daemon
/// reads two markers from it (an OAM extension set, and the presence of domains) and keeps nothing
/// across restarts.
///
/// An operation that talks to the card blocks for its exchanges (up to 15 s for each request that
/// isn't answered). It lets no exception out: a failure is printed as one line and makes it return
/// false; what was changed before stays.
///
/// Threads: the caller holds the slot's card mutex, except for setOLTOnlineStatus, which the ping
/// loop calls without it.
class PONCardHelper {
public:
    explicit PONCardHelper(const PONCardTiming& timing = {});
    PONCardHelper(const PONCardHelper&) = delete;
    PONCardHelper& operator=(const PONCardHelper&) = delete;
    virtual ~PONCardHelper();

    // --- PONCardHelper.cpp: the skeleton ---

    /// Joins the shared socket of the interface and takes the slot's number. Once, initial thread.
    void start(const std::string& interface, const std::string& slotId);
    /// The same with a socket of the caller's, which must outlive this object.
    void start(DatagramTransport* sharedSocket, const std::string& slotId);

    /// The card's address; an empty text clears it.
    void setOltIpAddress(const std::string& ip);

    /// Empties the requests and the responses of the exchange.
    void clear();
    /// Empties the events pulled from the card.
    void clearAllOLTAlarm();
    /// Sends the requests that were added and parses their responses. Throws what those two throw.
    void sendRequestMessage();

    bool hasOltMacAddress() const { return card.hasMacAddress(); }
    bool getIsOnCtcMode() const { return isOnCtcMode; }
    bool getIsGetNVSEnabled() const { return isGetNVSEnabled; }
    bool getIsGetAllOnuKnown() const { return isGetAllOnuKnown; }
    bool getNVSEnabled() const { return card.getNVSEnabled(); }
    bool getHasDomain() const { return hasDomain; }
    void setHasDomain(bool newHasDomain) { hasDomain = newHasDomain; }

    /// Forgets the card: the next pass begins with its identification. Its ONUs are reported
    /// off-line.
    void setInitialState();

    /// Has the markers and the ONU inventory asked again without forgetting the card. Whether its
    /// non-volatile storage is on is not asked again, which is deliberate: it was switched off.
    void doRecheckConfiguration();

    // --- PONCardBringUp.cpp: identification, markers, reset, report ---

    /// Asks who the card is. Only product code "3723" is accepted; any other card stays without a
    /// MAC address, and is reported as on-line all the same.
    bool doRequestOltEponMac();

    /// Asks whether the card keeps its configuration in non-volatile storage.
    bool doRequestNVSEnabled();
    /// Switches the storage off; takes effect with the card's next reset.
    bool doSetNVSDisabled();

    /// Reads the marker that this system has configured the card. True when the question was
    /// answered; the answer is getIsOnCtcMode().
    bool doRequestCtcMode();
    /// Sets the OAM extension sets, the marker among them.
    bool doSetEnCtcMode();

    /// Notes when the card answers the question for its domains; never notes that it has none.
    bool requestHasDomain();

    bool doDisableOLT();
    bool doEnableOLT();
    /// Resets the card. A card that answers this has the "not handled" text printed and false
    /// returned; the reset has been sent all the same.
    bool doResetOLT();

    /// Records whether the card is reachable; a change is reported by the next pass. Called by the
    /// ping loop without the card mutex.
    void setOLTOnlineStatus(bool online);

    /// Reports the card to the database manager unless it is reported as it stands.
    void doReportOLTModule();

    // --- PONCardConfiguration.cpp: the one configuration of every card ---

    bool doSetDBAAggregateBandwidth(std::uint16_t port);
    bool doSetAggregateBandwidth(std::uint16_t port);
    bool doSetEncryptionModeDefault(std::uint16_t port);
    bool doClearAllAllowedLinks(std::uint16_t port);
    bool doSetDBAPollingIntervalHighResolution(std::uint16_t port);
    bool doSetEPONLoopTiming(std::uint16_t port);
    bool doSetEPONSyncTime(std::uint16_t port);
    bool doSetDefaultOAMRate();
    bool doSetOLTBridgingConfiguration();
    /// An alternative bridging set-up; nothing in the daemon calls it.
    bool doSetEnBridgeAdvanced();
    bool doSetPath(std::uint16_t pathId, std::uint16_t a, std::uint16_t b, std::uint16_t c);
    /// Eight paths, each in an exchange of its own; always true.
    bool doSetAllPaths();
    bool doSetOLTIPMulticastGlobalProvisioning();
    bool doSetDomainVersion2();
    bool doSetDomainRules(std::uint16_t x, std::uint16_t y);
    bool doSetOLTIPMulticastDomainProxyProvisioning();
    bool doSetOLTIPMulticastHostCopy();
    /// Deletes a path and its successor.
    bool doAllDeletePath(std::uint16_t pathId);
    /// Deletes the paths 9 to 8191 that at most two users hold.
    bool clearAllUnusedPaths();

    // --- PONCardLinks.cpp: ONU links ---

    /// Reads the known and the discovered links into the list; `clearList` empties it first, once
    /// the card has answered.
    bool doGetAllOnuKnown(bool clearList);
    /// Asks for the PON port of every on-line link that doesn't have one.
    bool doGetAllOnuInformation();
    bool doGetOnuInformation(OnuLink* link);
    /// Asks for the queues of every link that isn't provisioned, in one exchange.
    bool doGetAllOnuQueue();
    /// Provisions what isn't provisioned, reports what isn't reported, and removes the off-line
    /// links that it has reported.
    void doSetAllOnuGigabit();
    bool doSetEnableLink(OnuLink* link);
    bool doSetOnuGigabit(OnuLink* link);
    bool doSetMulticastOnuGigabit(OnuLink* link);
    bool doSetEthernetToUpStatus(OnuLink* link);
    /// Reports the link to the database manager.
    void doReportOnu(OnuLink* link);
    /// Tells the database manager that all ONUs of this slot are off-line.
    void doReportAllOnuOffline();
    /// Clears every off-line link on the card and removes it, without a report.
    bool removeAllOfflineOnu();
    /// Clears every link on the card and empties the list.
    bool clearAllLogicalLink();
    /// Removes one link from the list; nothing is cleared on the card, nothing reported.
    void removeMacFromOnuList(const std::string& mac);
    /// Writes the list to "/tmp/onu-<slot>.log" on the first call and on every sixth. A file that
    /// can't be opened is passed over. Nothing in the daemon calls it.
    void doOnuListDump();
    /// Empties the list. Nothing in the daemon calls it.
    void clearAllOnuLink();

    // --- PONCardAlarms.cpp: events and alarms ---

    /// Takes the events that have come and acts on them. False: the card has restarted, and the
    /// pass ends.
    bool handleAlarms();
    void addReportAlarm(Container* alarm);
    /// A discovered link clears its report timeout.
    void addLinkReportAlarm(const std::string& mac);
    void addGeneralOnuReportAlarm(TKIDMessage id, const std::string& mac);
    /// Appends an alarm to those that wait to be reported. A code without a name yields none.
    void addCustomReportAlarm(TKEntityTagId tag, const std::string& port, const std::string& mac,
                              const std::string& alarm, const std::string& state);
    /// Reports the waiting alarms in one message and forgets them.
    bool doReportAlarmToDBMan();
    /// So many rows, of 154 bytes at the most, fit the largest message that the daemon can send to
    /// the database manager as an ordinary user: 416 KiB with the system's usual net.core.wmem_max.
    /// When they wait they are reported without waiting for the end of the pass; when that fails,
    /// the pass's further alarms are lost, and counted in a line as soon as a report succeeds
    /// again.
    static constexpr std::size_t kMostAlarms = 2048;
    void clearAllAlarm();

    // --- PONCardOptics.cpp: optical levels ---

    /// Reads the levels of every on-line ONU.
    bool doGetAllOnuOpticsPower();
    /// True when a level has changed.
    bool doGetOnuOpticsPower(OnuLink* link);
    /// Reads the levels of the card's two PON ports; always true.
    bool doGetAllOltOpticsPower();
    bool doGetOltOpticsPower(std::uint16_t port);

    // --- PONCardVlan.cpp: VLANs, rules, and commands for one ONU ---

    using Payloads = std::vector<std::unique_ptr<TKMPayload>>;

    /// Replaces the rules of a PON port (0 or 1) by those of a VLAN (1 to 4095), or by none for an
    /// empty `vlanId`. `discardUntagged` is "1" for yes.
    bool doSetOltVlan(const std::string& ponNumber, const std::string& vlanId,
                      const std::string& discardUntagged);
    /// Deletes all rules of a PON port that the card lists; always true.
    bool doClearAllRules(std::uint16_t port);
    /// Appends the delete request of each rule of a PON port to `rules`.
    bool doGetAllTkmRules(Payloads& rules, std::uint16_t port);
    bool doDeleteTkmpRule(TKMPayload* rule);
    /// Sets the VLAN of an ONU's port; a text that is no number above 0 takes it off. Always 0.
    int doSetOnuVlan(const std::string& vlanId, const std::string& onuMac);
    /// Resets an ONU. A card that answers this has the "not handled" text printed; the reset has
    /// been sent all the same. Always 0.
    int doResetOnu(const std::string& onuMac);
    bool clearAllProvisioningForLogicalLink(const std::string& onuMac);

private:
    using PlainRequest = void (RequestMessage::*)();
    using PayloadRequest = void (RequestMessage::*)(TKMPayload*);

    /// The edge of every operation: a failure of `body` is printed and makes it false. A body that
    /// returns a bool is the operation's answer; one that returns nothing means true.
    template <typename Body>
    static bool guarded(const char* operation, Body&& body) {
        bool answer = true;
        const bool completed = printFailures(operation, [&] {
            if constexpr (std::is_void_v<decltype(body())>) {
                body();
            } else {
                answer = body();
            }
        });
        return completed && answer;
    }

    void addAlarmRow(std::unique_ptr<Container> row);

    /// One exchange of one request: clear, add, send, parse. Returns the first record of the
    /// answer, or null; it lives until the next exchange.
    Container* exchange(PlainRequest request);
    Container* exchange(PayloadRequest request, TKMPayload& payload);

    /// A whole operation: one request of constant fields, behind the card's MAC address and a PON
    /// port in the second form.
    bool sendFields(const char* operation, PayloadRequest request,
                    std::span<const PayloadField> fields);
    bool sendPortFields(const char* operation, PayloadRequest request, std::uint16_t port,
                        std::span<const PayloadField> fields);

    /// Puts the links into the list, those of `onlineLinks` on-line, the others off-line.
    void noteLinks(const char* operation, const std::vector<std::string>& macs,
                   const std::set<std::string>& onlineLinks);
    void noteQueues(const char* operation, const Container& answer);
    void provision(OnuLink* link);

    bool handleEvent(Container& event);
    void handleLinkDiscovery(const Container& event);
    void handleReportAlarm(Container& event);
    void handleLinkMoved(const Container& event);

    void addRuleTarget(TKMPayload& payload, std::uint16_t port);
    void startRule(TKMPayload& payload, std::uint16_t port);
    void addVlanRules(std::uint16_t port, std::uint16_t vlan, bool discardUntagged);
    static void collectRules(Container& answer, Payloads& rules);

    RequestMessage requests;
    ResponseMessage responses;
    ResponseMessage alarmMessages;
    Container alarms;  // those that wait to be reported
    std::size_t lostAlarms = 0;
    bool fullReportFailed = false;  // in this pass
    UDPSocket udpSocket;
    OnuLinkList onuLinks;
    PONCard card;

    // guarded by the slot's card mutex
    bool isOnCtcMode = false;
    bool isGetAllOnuKnown = false;
    bool isGetNVSEnabled = false;
    bool hasDomain = false;
    unsigned dumpCountdown = 0;
};

}  // namespace ponmgr
