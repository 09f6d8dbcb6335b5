// Host::VisibilityPlan: which satellites a place will see over a span of time, and how good their geometry will be.
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <functional>
#include <limits>
#include <vector>

#include "gnss/display/DopArt.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Time.h"
#include "gnss/position/DOP.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// A satellite by the letter of its system, G or R, and its number.
struct PlanSatellite {
    char system = 'G';
    int number = 0;
    friend auto operator<=>(const PlanSatellite&, const PlanSatellite&) = default;
};

// A satellite as the place sees it at a time.
struct PlanSight {
    enum class Orbit : std::uint8_t { None, Almanac, Ephemeris };
    Orbit orbit = Orbit::None;  // what the direction is from; without one there is no direction
    bool isHealthy = false;
    Corvane::Angle elevation;
    Corvane::Angle azimuth;
};
using PlanLook = std::function<PlanSight(const PlanSatellite&, const GNSS::GPSTime&)>;

struct PlanSettings {
    GNSS::GPSTime from;
    Corvane::Time span;  // from zero on
    Corvane::Time step = Corvane::Time::Minute;
    // Satellites count from this elevation on.
    Corvane::Angle mask = Corvane::Angle::FromDegrees(10.0);
    GNSS::DopArt::Mode mode = GNSS::DopArt::Both;
    bool isHeightAided = false;
    // What is bad: a DOP above its limit, or fewer satellites than these, in the systems of the mode.
    double hdopLimit = 2.0;
    double pdopLimit = 3.0;
    int leastSatellites = 6;

    // Rises and sets are looked for at least this often, however long the step.
    static constexpr Corvane::Time LongestScan{60.0};
    // More scans than these are refused: 69 days of minutes.
    static constexpr std::int64_t MostScans = 100'000;
    // How many there would be; MostScans + 1 for any number above, and for times that are no numbers.
    [[nodiscard]] std::int64_t NmrScans() const;
};

// One step.
struct PlanEpoch {
    // Why an epoch is bad.
    enum Fault : std::uint8_t { None = 0, FewSatellites = 1, HighHDOP = 2, HighPDOP = 4, NoDOP = 8 };

    GNSS::GPSTime time;
    int nmrGPS = 0;  // in view and healthy
    int nmrGlonass = 0;
    int nmrByAlmanac = 0;  // of these, with a direction from an almanac
    // By DopArt::Mode: of the GPS satellites, of the GLONASS satellites and of all. Invalid where the plan's mode does
    // not show a system of it.
    std::array<GNSS::DOP, 3> dops;
    std::uint8_t faults = None;  // of the plan's mode; the sum of the reasons

    [[nodiscard]] int NmrSatellites() const { return nmrGPS + nmrGlonass; }
};

// A satellite from the moment when it comes into use to that when it falls out.
struct PlanPass {
    enum class End : std::uint8_t {
        Mask,    // it rises or sets
        Plan,    // it is up at the plan's start or end
        Orbit,   // it is up, but before or after there is no orbit for it
        Health,  // it is up, but before or after it is unhealthy
    };
    struct Moment {
        End end = End::Mask;
        GNSS::GPSTime time;  // within a second, and on the side where it is up
        Corvane::Angle azimuth;
    };
    PlanSatellite satellite;
    Moment rise;
    Moment set;
    Corvane::Angle highest;  // elevation
    GNSS::GPSTime highestTime;
    bool isByAlmanac = false;  // at least a part of it

    [[nodiscard]] bool IsUp(const GNSS::GPSTime& t) const { return rise.time <= t && t <= set.time; }
};

// A span over which a satellite, up or not, is not as a plan wants it.
struct PlanGap {
    enum class Kind : std::uint8_t { NoOrbit, Unhealthy, ByAlmanac };
    PlanSatellite satellite;
    Kind kind = Kind::NoOrbit;
    GNSS::GPSTime from;  // within a second
    GNSS::GPSTime to;
    bool isFromStart = false;
    bool isToEnd = false;
};

// A span of bad geometry.
struct PlanWindow {
    GNSS::GPSTime from;  // within a second
    GNSS::GPSTime to;
    bool isFromStart = false;
    bool isToEnd = false;
    std::uint8_t faults = PlanEpoch::None;  // all that occur
    // Of its steps; 0 when the window is too short to hold one with a DOP.
    double worstHDOP = 0.0;
    double worstPDOP = 0.0;
    GNSS::GPSTime worstTime;  // a step without a DOP, otherwise that of the worst PDOP
    int leastSatellites = std::numeric_limits<int>::max();
};

struct VisibilityPlan {
    PlanSettings settings;
    std::vector<PlanEpoch> epochs;    // at every step
    std::vector<PlanPass> passes;     // in the order of rise, then of satellites
    std::vector<PlanGap> gaps;        // in the order of satellites, then of time
    std::vector<PlanWindow> windows;  // in the order of time

    [[nodiscard]] GNSS::GPSTime End() const { return settings.from + settings.span; }
    [[nodiscard]] const GNSS::DOP& DopOf(const PlanEpoch& epoch) const;
};

// Works out a plan for those of the satellites whose system the mode shows. Every rise and set above the mask is found,
// passes and dips between two scans too. A window is found when a step lies in it: a shorter one may fall between two
// steps. Without such satellites, and with settings of more than MostScans, nothing is planned: no epochs.
[[nodiscard]] VisibilityPlan MakePlan(const PlanSettings& settings, const std::vector<PlanSatellite>& satellites,
                                      const PlanLook& look);

}  // namespace Host
