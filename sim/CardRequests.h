#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "sim/Card.h"
#include "sim/PayloadLayout.h"
#include "sim/Wire.h"

namespace ponmgr::sim {

/// What a request sets going once its answer is sent.
struct AfterAnswer {
    enum class Action : std::uint8_t { nothing, resetCard, registerOnus, resetOnu };
    Action action = Action::nothing;
    /// Of resetOnu.
    Onu* onu = nullptr;
};

/// One request being carried out on one card.
struct Exchange {
    Card& card;
    const RequestFrame& request;
    /// Value of the request's key fields.
    std::uint64_t key = 0;
    /// Takes the answer's data; its header is there already.
    Writer& answer;
    AfterAnswer after;
};

/// Carries out a request whose payload fits its layout. Changes nothing unless it returns ok.
using RequestHandler = Result (*)(Exchange&);

/// Whether a request only asks, or has the card do or keep something.
enum class Purpose : std::uint8_t { asks, sets };

/// Whether the accepted payload is kept in the card's store.
enum class Keep : std::uint8_t { no, yes };

struct CardRequest {
    std::uint16_t id = 0;
    Purpose purpose = Purpose::asks;
    Keep keep = Keep::no;
    std::string_view name;
    PayloadLayout layout;
    RequestHandler handler = nullptr;
};

/// Every request a card knows, by ascending id.
std::span<const CardRequest> cardRequests();

/// Null for an id that a card doesn't know.
const CardRequest* findCardRequest(std::uint16_t id);

/// Whether a request with this id asks the card to do or keep something, not just to say something.
bool isSetting(std::uint16_t id);

/// Writes the whole answer frame to `exchange.answer`: a length field that disagrees with the
/// datagram and a payload that doesn't fit the request's layout give "parameter out of range", an
/// id that no card knows gives "unsupported".
void answerRequest(Exchange& exchange);

/// Writes the answer of a card that has carried the request out, and carries nothing out.
void pretendRequest(Exchange& exchange);

}  // namespace ponmgr::sim
