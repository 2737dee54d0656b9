#pragma once

#include <string>
#include <type_traits>
#include <utility>

#include "app/LogLine.h"
#include "model/Container.h"
#include "model/OnuLinkList.h"
#include "model/PONCard.h"
#include "poncard/PONCardTiming.h"
#include "tk/RequestMessage.h"
#include "tk/ResponseMessage.h"
#include "tk/UDPSocket.h"

namespace ponmgr {

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

    bool hasOltMacAddress() const { return !card.getHexMacAddress().empty(); }
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

    // --- PONCardLinks.cpp: ONU links ---

    /// Tells the database manager that all ONUs of this slot are off-line.
    void doReportAllOnuOffline();

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

    /// One exchange of one request: clear, add, send, parse. Returns the first record of the
    /// answer, or null; it lives until the next exchange.
    Container* exchange(PlainRequest request);
    Container* exchange(PayloadRequest request, TKMPayload& payload);

    RequestMessage requests;
    ResponseMessage responses;
    ResponseMessage alarmMessages;
    UDPSocket udpSocket;
    OnuLinkList onuLinks;
    PONCard card;

    // guarded by the slot's card mutex
    bool isOnCtcMode = false;
    bool isGetAllOnuKnown = false;
    bool isGetNVSEnabled = false;
    bool hasDomain = false;
};

}  // namespace ponmgr
