#include "sim/Optics.h"

#include <algorithm>
#include <cmath>

namespace ponmgr::sim {

namespace {

/// How a reading behaves, in its own unit.
template <typename Optics>
struct Course {
    std::uint16_t Optics::*reading;
    /// By how much modules differ from each other.
    std::uint16_t spread;
    /// How far a module goes from what is typical of it, and by how much in one step.
    std::uint16_t range;
    std::uint16_t step;
};

constexpr Course<OnuOptics> kOnuCourses[] = {
    {&OnuOptics::temperature, 1280, 512, 16}, {&OnuOptics::supplyVoltage, 300, 100, 5},
    {&OnuOptics::biasCurrent, 500, 100, 5},   {&OnuOptics::powerIn, 10, 6, 1},
    {&OnuOptics::powerOut, 2000, 300, 15},
};

constexpr Course<PortOptics> kPortCourses[] = {
    {&PortOptics::transmitPower, 1500, 400, 20},
    {&PortOptics::supplyVoltage, 300, 100, 5},
    {&PortOptics::biasCurrent, 500, 150, 8},
    {&PortOptics::temperature, 1280, 768, 16},
};

/// What leaves the card, less the splitter, in 0.1 uW; and what a kilometre of fibre takes.
constexpr std::uint16_t kBehindTheSplitter = 800;
constexpr double kDecibelsPerMetre = 0.00035;

std::uint16_t moved(std::int64_t value, std::int64_t step, std::int64_t low, std::int64_t high) {
    return static_cast<std::uint16_t>(std::clamp<std::int64_t>(
        value + step, std::max<std::int64_t>(low, 1), std::min<std::int64_t>(high, UINT16_MAX)));
}

template <typename Optics, std::size_t count>
void step(Optics& now, const Optics& typical, const Course<Optics> (&courses)[count],
          Random& random) {
    for (const auto& course : courses) {
        const std::int64_t centre = typical.*course.reading;
        now.*course.reading = moved(now.*course.reading, random.between(-course.step, course.step),
                                    centre - course.range, centre + course.range);
    }
}

/// Moves each reading by how much this module differs from others.
template <typename Optics, std::size_t count>
void spread(Optics& optics, const Course<Optics> (&courses)[count], Random& random) {
    for (const auto& course : courses) {
        const auto offset = random.between(-course.spread, course.spread);
        optics.*course.reading = moved(optics.*course.reading, offset, 1, UINT16_MAX);
    }
}

}  // namespace

std::uint16_t attenuated(std::uint16_t power, double decibels) {
    return static_cast<std::uint16_t>(
        std::max(1.0, std::round(power * std::pow(10.0, -decibels / 10.0))));
}

OnuOptics typicalOptics(unsigned metres, Random& random) {
    OnuOptics optics;
    optics.powerIn = attenuated(kBehindTheSplitter, metres * kDecibelsPerMetre);
    spread(optics, kOnuCourses, random);
    return optics;
}

PortOptics typicalPortOptics(Random& random) {
    PortOptics optics;
    spread(optics, kPortCourses, random);
    return optics;
}

void drift(OnuOptics& now, const OnuOptics& typical, Random& random) {
    step(now, typical, kOnuCourses, random);
}

void drift(PortOptics& now, const PortOptics& typical, Random& random) {
    step(now, typical, kPortCourses, random);
}

}  // namespace ponmgr::sim
