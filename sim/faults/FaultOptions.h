#pragma once

#include <span>
#include <string>
#include <vector>

#include "sim/faults/FaultSettings.h"

namespace ponmgr::sim {

/// How one option of a fault is written and what it does.
struct FaultOption {
    const char* name;
    /// What stands behind it; null for a flag, whose text is "on" or "off".
    const char* value;
    const char* description;
    void (*set)(FaultSettings& settings, const std::string& option, const std::string& text);
};

std::span<const FaultOption> faultOptions();

/// Those that a fault of this kind takes, by name.
std::vector<std::string> optionsOf(const FaultKind& kind);

/// Understands a fault as it is written. Throws UsageError that says what is allowed: for a kind
/// that doesn't exist, an option that the kind doesn't take, one that it lacks, and a value.
FaultSettings parseFault(const std::string& kind, const FaultTexts& texts);

}  // namespace ponmgr::sim
