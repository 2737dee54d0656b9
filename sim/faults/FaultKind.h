#pragma once

#include <array>
#include <span>
#include <string>
#include <string_view>

#include "sim/Chassis.h"

namespace ponmgr::sim {

class Fault;
struct Treatment;
struct SourceTurn;

/// What a fault does to a datagram that it hits. False, and nothing is changed, when it can't: the
/// datagram is too short for it, or changed already.
using TreatDatagram = bool (*)(Fault& fault, Treatment& treatment);

/// Sends one datagram of the fault's own. False when it couldn't be sent.
using SendDatagram = bool (*)(Fault& fault, const SourceTurn& turn);

/// One kind of fault. Of the two functions one is there: a kind either treats the datagrams that
/// pass, or sends some of its own.
struct FaultKind {
    const char* name;
    /// What a datagram goes through, for people.
    const char* effect;
    TreatDatagram treat = nullptr;
    SendDatagram send = nullptr;
    /// What it can hit; settings are requests to change something, on their way in.
    enum class Scope { both, outgoing, answers, settings } scope = Scope::both;
    /// Its own options; those of all kinds come on top.
    std::array<std::string_view, 3> options{};
    /// Of these it needs exactly one; none when the first is empty.
    std::array<std::string_view, 2> needed{};
};

/// Throws UsageError that lists all kinds.
const FaultKind& faultKindNamed(const std::string& name);

std::span<const FaultKind> faultKinds();

/// "drop, delay, ...".
std::string faultKindNames();

}  // namespace ponmgr::sim
