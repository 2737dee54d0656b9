#pragma once

#include <optional>

#include "dbman/Records.h"

namespace ponmgr::dbman {

// Optical levels in the records that the daemon reports. "-" is one that hasn't been read yet.

/// The levels of an ONU: "temperature" in degrees Celsius, "supply_voltage" in volts,
/// "tx_bias_current" in milliamperes, "tx_power_output" and "tx_power_input" in dBm.
Record onuLevels(const Record& onu);

/// The levels of a card's module at one port: "ucOpticModuleOltTemperature", "...Vcc", "...TxBias",
/// "...TxPower", in the same units.
Record moduleLevels(const Record& module);

/// Whether one of the levels has been read.
bool hasReading(const Record& levels);

/// What an ONU receives, in dBm: its "tx_power_input", minus infinity included. Without a value
/// when it hasn't been read.
std::optional<double> receivedLevel(const Record& onu);

}  // namespace ponmgr::dbman
