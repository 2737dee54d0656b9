#include "sim/ManagedSettings.h"

#include <string>
#include <string_view>

#include "sim/CardRequests.h"
#include "sim/LinkProvisioning.h"
#include "sim/OptionValues.h"

namespace ponmgr::sim {

namespace {

/// Stands for the card's MAC.
constexpr char kMacLetter = 'M';

/// A request that the manager sends to every card. The payload is in hex; blanks are for the
/// reader.
struct ManagedSetting {
    std::uint16_t id;
    const char* payload;
};

/// In the manager's order.
constexpr ManagedSetting kManagedSettings[] = {
    {436, "08 M 010500 000db6 01 020500 111111 01 030500 aaaaaa 00 040500 00a1f5 00"},
    {412, "M 0000 00000000 0000 00"},
    {371, "M 0000 00000000 0000 00"},
    {412, "M 0001 00000000 0000 00"},
    {371, "M 0001 00000000 0000 00"},
    {393, "M 0000 00 0000"},
    {393, "M 0001 00 0000"},
    {294, "M 0000"},
    {294, "M 0001"},
    {355, "M 0000 0005"},
    {355, "M 0001 0005"},
    {1, "01 14 01"},
    {80, "00050000 00 18 01 01 00 01"},
    {359, "M 0000 0000 1a5e 0c35 0000"},
    {359, "M 0001 0000 1a5e 0c35 0000"},
    {544, "M 0000 0010"},
    {544, "M 0001 0010"},
    {376, "2000 0001 0001 0020 0002 0001 0020"},
    {376, "2002 0001 0001 0020 0003 0001 0020"},
    {376, "2004 0000 0001 0020 0003 0001 0020"},
    {376, "2006 0000 0001 0020 0002 0001 0020"},
    {376, "2008 0000 0001 0020 0000 0001 0020"},
    {376, "200a 0000 0001 0020 0002 0001 0020"},
    {376, "200c 0001 0001 0020 0001 0001 0020"},
    {376, "200e 0001 0001 0020 0003 0001 0020"},
    {335, "1000 000f4240 0000"},
    {549, "0402 0000 101010 02 0000 02 0002 0006 02 2004 2006 0000 02 0004 0008 02 2000 2002"},
    {403,
     "0402 0001 000001 0000 01 0000 01 0a030302 0000 09040000 0000 0b040000 0000 01010000 "
     "0000000000000000 07 00"},
    {403,
     "0402 0001 000001 0001 01 0000 01 0a030302 0000 09040000 0000 0b040000 0000 01010000 "
     "0000000000000000 07 00"},
    {403,
     "0402 0001 000001 0000 01 0001 01 0a030302 0000 09040000 0000 0b040000 0000 01010000 "
     "0000000000000000 07 00"},
    {403,
     "0402 0001 000001 0001 01 0001 01 0a030302 0000 09040000 0000 0b040000 0000 01010000 "
     "0000000000000000 07 00"},
    {337,
     "0402 00000003 00000003 00000000 000f4240 00002710 03e8 0000 0002 0258 0244 0037 0002 "
     "0320 0002 006e 000a 0000 03e8 0000 c0a86502 fe800000000000000000000000000001"},
    {349, "0402 000600060006060706060606060600"},
};

std::vector<std::uint8_t> payloadFor(const Card& card, const char* pattern) {
    std::string text;
    for (const char letter : std::string_view(pattern)) {
        if (letter == kMacLetter) {
            text += hexText(card.identity.mac);
        } else if (letter != ' ') {
            text += letter;
        }
    }
    return parseBytes("payload", text);
}

}  // namespace

void bringUnderManagement(Card& card) {
    card.nvsCurrent = false;
    card.nvsAfterNextBoot = false;
    Writer answer;
    for (const auto& setting : kManagedSettings) {
        const auto payload = payloadFor(card, setting.payload);
        const RequestFrame request{setting.id, 0, static_cast<std::uint16_t>(payload.size()),
                                   payload};
        Exchange exchange{card, request, 0, answer, {}};
        answerRequest(exchange);
    }
    for (auto& onu : card.onus) {
        provision(card.configuration, onu);
        onu.discovered = true;
    }
}

}  // namespace ponmgr::sim
