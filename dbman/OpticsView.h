#pragma once

#include <optional>
#include <string>

#include "dbman/JsonForward.h"
#include "dbman/Records.h"
#include "dbman/Screen.h"

namespace ponmgr::dbman {

/// {"mac_address":"...","samples":[...]}: the receive level over time as a plot, its lowest,
/// highest and last value, and the last reading of everything else. Of a card's module: its
/// last samples.
std::string viewOptics(const Json& answer, const Screen& screen = {});

/// The level in dBm that a record says is received; no value when it says none or no number.
std::optional<double> receiveLevelOf(const Json& record);

/// "2031-02-03T04:05:06.789Z", with or without the fraction; no value for anything else.
std::optional<Time> parseUtc(const std::string& text);

}  // namespace ponmgr::dbman
