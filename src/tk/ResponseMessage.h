#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "model/Container.h"
#include "tk/TKMessage.h"

namespace ponmgr {

/// The messages that came back from a card, and the records parsed from them. The exchange fills it
/// under its own lock; parsing and reading belong to the card's thread after the exchange has
/// ended.
///
/// Every data parser returns a new record or fails as a whole: it throws once, under its own name
/// and with the bare text of what went wrong, after it has emptied this ResponseMessage, siblings
/// included, so that nobody acts on half an answer.
class ResponseMessage {
public:
    /// How long a response is waited for that accepts a request "later" (results 2, 4, and any with
    /// bit 0x08).
    static constexpr std::chrono::milliseconds kAcceptedLaterPause{1000};

    explicit ResponseMessage(std::chrono::milliseconds acceptedLaterPause = kAcceptedLaterPause);
    ResponseMessage(const ResponseMessage&) = delete;
    ResponseMessage& operator=(const ResponseMessage&) = delete;
    virtual ~ResponseMessage();

    void addResponseMessage(std::unique_ptr<TKMessage> message);

    /// Parses all messages in order and keeps their records. The first failure ends it.
    void parseAllMessages();

    /// Hands the message to the parser of its id; null when that yields no record. Throws "Invalid
    /// TKMessage pointer", "Response Message ID (...) not handled" and what the parser throws.
    std::unique_ptr<Container> parseMessage(const TKMessage* message);

    /// Judges a response that carries no data by its result; always null. Blocks for the pause when
    /// the card accepts later. Throws for a result that refuses: unsupported (1), out of range (3),
    /// and any other.
    std::unique_ptr<Container> parseCheckResultOk(const TKMessage* message);

    std::size_t getMessagesSize() const { return messages.size(); }
    std::size_t getContainerSize() const { return containers.size(); }
    /// Null beyond the last; stays this object's.
    Container* getContainer(std::size_t index);

    /// Deletes every message and record.
    void clear();

    // The parsers, by message; see docs/tk-protocol.md for the layouts.
    std::unique_ptr<Container> parseOLT_Ready(const TKMessage* message);
    std::unique_ptr<Container> parseGet_OLT_Information(const TKMessage* message);
    std::unique_ptr<Container> parseGet_NVS_Enabled(const TKMessage* message);
    std::unique_ptr<Container> parseGet_OAM_Extension_Set_Support(const TKMessage* message);
    std::unique_ptr<Container> parseGet_All_Domains(const TKMessage* message);
    std::unique_ptr<Container> parseGet_All_Paths(const TKMessage* message);
    std::unique_ptr<Container> parseGet_OLT_Bridging_Mode(const TKMessage* message);
    std::unique_ptr<Container> parseGet_List_of_All_Known_Logical_Links(const TKMessage* message);
    std::unique_ptr<Container> parseGet_List_of_Discovered_Links(const TKMessage* message);
    std::unique_ptr<Container> parseGet_ONU_Information(const TKMessage* message);
    std::unique_ptr<Container> parseLink_Discovery(const TKMessage* message);
    std::unique_ptr<Container> parseOnuLinkMovedBetweenPonPorts(const TKMessage* message);
    std::unique_ptr<Container> parseReport_Alarm(const TKMessage* message);
    std::unique_ptr<Container> parseGet_CTC_21_Optical_Transceiver_Diagnosis(
        const TKMessage* message);
    std::unique_ptr<Container> parseGet_Statistics(const TKMessage* message);
    std::unique_ptr<Container> parseGet_OLT_PortLink_Rules(const TKMessage* message);

private:
    using Fill = std::function<void(std::uint16_t* offset, Container& record)>;

    /// What all data parsers share: a new record, filled; on failure this object is emptied and the
    /// failure thrown under `parser`.
    std::unique_ptr<Container> parseRecord(const char* parser, const Fill& fill);

    std::vector<std::unique_ptr<TKMessage>> messages;
    std::vector<std::unique_ptr<Container>> containers;
    std::chrono::milliseconds acceptedLaterPause;
};

}  // namespace ponmgr
