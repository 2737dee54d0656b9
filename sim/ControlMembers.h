#pragma once

#include <cstdint>
#include <string>

#include "sim/Chassis.h"
#include "sim/ControlJson.h"

namespace ponmgr::sim {

/// The members of a control request. All of these throw ControlError that says what is missing or
/// wrong.
const Json& member(const Json& request, const char* name);
std::string textMember(const Json& request, const char* name);
/// A whole number from 0 to `most`.
std::int64_t numberMember(const Json& request, const char* name, std::int64_t most);

/// The card in the slot that the member "card" names.
Card& cardMember(const Json& request, Chassis& chassis);
Card& cardInSlot(int slot, Chassis& chassis);

/// The ONU and the card that it hangs at now.
Chassis::OnuPlace placeOfOnu(Chassis& chassis, const OnuAddress& address);

/// Throws ControlError when the card was pulled.
void requirePresent(const Card& card);

}  // namespace ponmgr::sim
