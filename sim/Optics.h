#pragma once

#include <cstdint>

#include "sim/Random.h"

namespace ponmgr::sim {

/// Raw readings of the optical module of a PON port, in the units of the wire.
struct PortOptics {
    std::uint16_t transmitPower = 20000;  ///< 0.1 uW
    std::uint16_t supplyVoltage = 33000;  ///< 100 uV
    std::uint16_t biasCurrent = 7500;     ///< 2 uA
    std::uint16_t temperature = 10240;    ///< 1/256 degree Celsius

    bool operator==(const PortOptics&) const = default;
};

/// Raw readings of an ONU's optical module, in the units of the wire.
struct OnuOptics {
    std::uint16_t temperature = 11520;    ///< 1/256 degree Celsius
    std::uint16_t supplyVoltage = 33000;  ///< 100 uV
    std::uint16_t biasCurrent = 6000;     ///< 2 uA
    std::uint16_t powerIn = 400;          ///< received, 0.1 uW
    std::uint16_t powerOut = 15000;       ///< transmitted, 0.1 uW

    bool operator==(const OnuOptics&) const = default;
};

/// What an ONU at the end of a fibre of `metres` typically reads; no two modules are quite alike.
OnuOptics typicalOptics(unsigned metres, Random& random);

/// The same for the module of a PON port.
PortOptics typicalPortOptics(Random& random);

/// One step of each reading, up or down, never far from what is typical.
void drift(OnuOptics& now, const OnuOptics& typical, Random& random);
void drift(PortOptics& now, const PortOptics& typical, Random& random);

/// A power with `decibels` less, at least 1.
std::uint16_t attenuated(std::uint16_t power, double decibels);

}  // namespace ponmgr::sim
