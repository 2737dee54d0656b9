// Requests, as the daemon builds them and as the simulator's reader finds them.

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "Property.h"
#include "sim/Addresses.h"
#include "sim/CardRequests.h"
#include "sim/Wire.h"
#include "support/ThrownBy.h"
#include "tk/RequestMessage.h"

namespace ponmgr {
namespace {

using test::any;
using test::anyBytes;
using test::anyNumber;
using test::Bytes;
using test::inRandomCases;
using test::require;
using test::requireEqual;

constexpr int kCases = 200;
constexpr std::uint64_t kLongConversation = 200'000;

using RM = RequestMessage;

/// An entry of the catalogue: one of the two pointers is null.
struct Entry {
    std::uint16_t id;
    void (RM::*plain)();
    void (RM::*withPayload)(TKMPayload*);
};

constexpr Entry kEntries[] = {
    {1, nullptr, &RM::addSetDefaultOAMRate},
    {6, &RM::addResetOLT, nullptr},
    {7, &RM::addGetOLTInformation, nullptr},
    {8, &RM::addEnableOLT, nullptr},
    {9, &RM::addDisableOLT, nullptr},
    {68, &RM::addGetListOfDiscoveredLinks, nullptr},
    {80, nullptr, &RM::addSetOLTBridgingConfiguration},
    {83, nullptr, &RM::addResetONU},
    {118, &RM::addGetListOfAllKnownLogicalLinks, nullptr},
    {119, nullptr, &RM::addClearAllProvisioningForLogicalLink},
    {273, nullptr, &RM::addOnuPortVlan},
    {294, nullptr, &RM::addClearAllAllowedLinks},
    {299, nullptr, &RM::addCTCSetEthernetPort},
    {301, &RM::addGetOLTNVSEnabled, nullptr},
    {302, nullptr, &RM::addSetOLTNVSEnabled},
    {312, nullptr, &RM::addGetStatistics},
    {335, nullptr, &RM::addSetOLTIPMulticastGlobalProvisioning},
    {337, nullptr, &RM::addSetOLTIPMulticastDomainProxyProvisioning},
    {349, nullptr, &RM::addSetOLTIPMulticastHostCopy},
    {355, nullptr, &RM::addSetDBAPollingIntervalHighResolution},
    {359, nullptr, &RM::addSetEPONLoopTiming},
    {363, nullptr, &RM::addGetONUInformation},
    {371, nullptr, &RM::addSetAggregateBandwidth},
    {376, nullptr, &RM::addSetPath},
    {377, &RM::addGetAllPath, nullptr},
    {381, &RM::doAddGetAllDomains, nullptr},
    {384, nullptr, &RM::addSetQueueSLA},
    {385, nullptr, &RM::addEnableLink},
    {387, nullptr, &RM::addDeleteQueueSLA},
    {388, nullptr, &RM::addGetOLTBridgingMode},
    {393, nullptr, &RM::addSetEncryptionModeDefault},
    {397, nullptr, &RM::addSetLinkSLA},
    {399, nullptr, &RM::addGetOltRule},
    {400, nullptr, &RM::addOltRule},
    {401, nullptr, &RM::addDeleteOltPortLinkRule},
    {403, nullptr, &RM::addSetDomainRules},
    {412, nullptr, &RM::addSetDBAAggregateBandwidth},
    {435, nullptr, &RM::addGetOAMExtensionSetSupport},
    {436, nullptr, &RM::addSetOamExtensionSetSupport},
    {544, nullptr, &RM::addSetEPONSyncTime},
    {549, nullptr, &RM::addSetDomainVersion2},
    {585, nullptr, &RM::addGetCTC21OpticalTransceiverDiagnosis},
};

void addTo(RequestMessage& requests, const Entry& entry, TKMPayload& payload) {
    if (entry.plain != nullptr) {
        (requests.*entry.plain)();
    } else {
        (requests.*entry.withPayload)(&payload);
    }
}

sim::RequestFrame frameOf(const TKMessage& message) {
    const auto frame = sim::readRequest({message.getMessage(), message.getSize()});
    require(frame.has_value(), "a request has a whole header");
    return *frame;
}

/// One field of a payload: a number of `width` bytes, or bytes given as hex digits.
struct Field {
    enum class Kind : std::uint8_t { boolean, u8, u16, u32, hex };
    Kind kind;
    std::uint64_t number = 0;
    Bytes bytes;
    std::string digits;
};

Field anyField() {
    using enum Field::Kind;
    const auto kind = static_cast<Field::Kind>(anyNumber("kind of field", 0, 4));
    switch (kind) {
        case boolean:
            return {kind, any<bool>("boolean"), {}, {}};
        case u8:
            return {kind, any<std::uint8_t>("u8"), {}, {}};
        case u16:
            return {kind, any<std::uint16_t>("u16"), {}, {}};
        case u32:
            return {kind, any<std::uint32_t>("u32"), {}, {}};
        case hex:
            break;
    }
    Field field{kind, 0, anyBytes("hex", anyNumber("bytes of hex", 0, 200)), {}};
    field.digits = sim::hexText(field.bytes);
    if (any<bool>("upper case")) {
        std::transform(field.digits.begin(), field.digits.end(), field.digits.begin(),
                       [](unsigned char digit) { return std::toupper(digit); });
    }
    return field;
}

std::vector<Field> anyFields() {
    std::vector<Field> fields;
    for (auto left = anyNumber("fields", 0, 10); left > 0; --left) {
        fields.push_back(anyField());
    }
    return fields;
}

void add(TKMPayload& payload, const Field& field) {
    switch (field.kind) {
        case Field::Kind::boolean:
            payload.addBool(field.number == 1);
            return;
        case Field::Kind::u8:
            payload.addU8Number(static_cast<std::uint8_t>(field.number));
            return;
        case Field::Kind::u16:
            payload.addU16Number(static_cast<std::uint16_t>(field.number));
            return;
        case Field::Kind::u32:
            payload.addU32Number(static_cast<std::uint32_t>(field.number));
            return;
        case Field::Kind::hex:
            payload.addHex(field.digits);
            return;
    }
}

void requireNext(sim::Reader& reader, const Field& field) {
    switch (field.kind) {
        case Field::Kind::boolean:
        case Field::Kind::u8:
            requireEqual(reader.u8(), field.number, "a field of one byte");
            return;
        case Field::Kind::u16:
            requireEqual(reader.u16(), field.number, "a field of two bytes");
            return;
        case Field::Kind::u32:
            requireEqual(reader.number(4), field.number, "a field of four bytes");
            return;
        case Field::Kind::hex:
            requireEqual(sim::hexText(reader.take(field.bytes.size())), sim::hexText(field.bytes),
                         "bytes given as hex digits");
            return;
    }
}

void requireReadBack(const TKMessage& message, const Entry& entry, std::uint64_t ctag,
                     const std::vector<Field>& fields) {
    const auto frame = frameOf(message);
    const auto which = " of request " + std::to_string(entry.id);
    requireEqual(frame.id, entry.id, "the id" + which);
    requireEqual(frame.ctag, ctag, "the ctag" + which);
    requireEqual(frame.length, frame.payload.size(), "the length" + which);
    sim::Reader reader(frame.payload);
    if (entry.withPayload != nullptr) {
        for (const auto& field : fields) {
            requireNext(reader, field);
        }
    }
    require(reader.complete(), "all the data" + which + " is its fields");
}

TEST(RequestProperties, CoverEveryRequestThatACardKnows) {
    std::set<std::uint16_t> known;
    for (const auto& request : sim::cardRequests()) {
        known.insert(request.id);
    }
    std::set<std::uint16_t> covered;
    for (const auto& entry : kEntries) {
        covered.insert(entry.id);
    }
    EXPECT_EQ(covered, known);
}

TEST(RequestProperties, EveryRequestIsReadBackFieldByField) {
    inRandomCases(kCases, [] {
        const auto fields = anyFields();
        TKMPayload payload;
        for (const auto& field : fields) {
            add(payload, field);
        }
        RequestMessage requests;
        for (const auto& entry : kEntries) {
            addTo(requests, entry, payload);
        }
        requireEqual(requests.getAll().size(), std::size(kEntries), "the requests");
        for (std::size_t i = 0; i < std::size(kEntries); i++) {
            requireReadBack(*requests.getAll()[i], kEntries[i], i + 1, fields);
        }
    });
}

/// The ctag of the `count`-th message of a conversation: 1 to 0xFFFF at first; then rounds of
/// 65535 tags, 0 followed by 2 to 0xFFFF.
std::uint64_t ctagOf(std::uint64_t count) {
    constexpr std::uint64_t kTags = UINT16_MAX;
    if (count <= kTags) {
        return count;
    }
    const auto place = (count - kTags - 1) % kTags;
    return place == 0 ? 0 : place + 1;
}

/// All requests to one card, and how many there were.
class Conversation {
public:
    /// Does one of the things that are done with requests; sends `times` of them if it sends any.
    void step(std::uint64_t times) {
        const auto what = anyNumber("step", 0, 7);
        if (what == 0) {
            requests.clear();
            requireEqual(requests.getAll().size(), 0, "the requests after clear()");
            return;
        }
        if (what == 1) {
            refuse();
            return;
        }
        const auto& entry = kEntries[anyNumber("entry", 0, std::size(kEntries) - 1)];
        for (auto left = times; left > 0; --left) {
            if (what == 2) {
                requireNext(*requests.getNewMessage(TKIDMessage::SetPath, nullptr, 0));
            } else {
                addTo(requests, entry, payload);
                requireNext(*requests.getAll().back());
            }
        }
    }

    std::uint64_t size() const { return count; }

private:
    void requireNext(const TKMessage& message) {
        count++;
        requireEqual(frameOf(message).ctag, ctagOf(count),
                     "the ctag of message " + std::to_string(count));
    }

    /// A request that can't be built takes no tag.
    void refuse() {
        static const Bytes kTooLong(UINT16_MAX - 5);
        const auto thrown = test::messageThrownBy([this] {
            requests.getNewMessage(TKIDMessage::SetPath, kTooLong.data(),
                                   static_cast<std::uint16_t>(kTooLong.size()));
        });
        requireEqual(thrown, "Impossible to set data greater than size created", "what is thrown");
    }

    RequestMessage requests;
    TKMPayload payload;
    std::uint64_t count = 0;
};

TEST(RequestProperties, CtagsCountEveryMessageWhateverBecomesOfIt) {
    inRandomCases(kCases, [] {
        Conversation conversation;
        for (auto left = anyNumber("steps", 1, 30); left > 0; --left) {
            conversation.step(anyNumber("times", 1, 5));
        }
    });
}

TEST(RequestProperties, CtagsOfALongConversationGoRoundWithoutOne) {
    inRandomCases(
        1,
        [] {
            Conversation conversation;
            while (conversation.size() < kLongConversation) {
                conversation.step(anyNumber("times", 1, 500));
            }
        },
        test::Shrinking::off);
}

}  // namespace
}  // namespace ponmgr
