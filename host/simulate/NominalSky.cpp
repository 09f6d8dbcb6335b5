#include "host/simulate/NominalSky.h"

#include <array>
#include <cmath>
#include <numbers>

#include "gnss/platform/Number.h"
#include "host/simulate/SunMoon.h"

namespace Host {

using GNSS::GPSTime;
using Vector = SimulatedOrbits::Vector;

namespace {

constexpr double Degree = std::numbers::pi / 180.0;

// What a number is drawn for.
enum Draw : std::uint64_t { Eccentricity = 1, Perigee, Inclination, ClockOffset, ClockDrift, Delay };

struct Slot {
    double node;      // right ascension of the ascending node at the epoch, degrees
    double latitude;  // argument of latitude, degrees
};

// At the epoch of the standard: planes A to F, of each the slots and then what is in between.
constexpr std::array<Slot, 32> GPSSlots{{
    {272.847, 268.126}, {272.847, 161.786}, {272.847, 11.676},  {272.847, 41.806},  {272.847, 95.0},
    {332.847, 94.916},  {332.847, 66.356},  {332.847, 173.336}, {332.847, 309.976}, {332.847, 204.376},
    {332.847, 255.0},   {32.847, 111.876},  {32.847, 11.796},   {32.847, 339.666},  {32.847, 241.556},
    {32.847, 60.0},     {92.847, 135.226},  {92.847, 282.676},  {92.847, 257.976},  {92.847, 35.156},
    {92.847, 167.356},  {92.847, 85.0},     {152.847, 197.046}, {152.847, 302.596}, {152.847, 66.066},
    {152.847, 333.686}, {152.847, 130.0},   {212.847, 238.886}, {212.847, 345.226}, {212.847, 105.206},
    {212.847, 135.346}, {212.847, 25.0},
}};

constexpr std::array<int, 24> Channels{1,  -4, 5, 6,  1, -4, 5, 6, -2, -7, 0, -1,
                                       -2, -7, 0, -1, 4, -3, 3, 2, 4,  -3, 3, 2};

struct Elements {
    double axis;  // m
    double eccentricity;
    double inclination;  // rad
    double node;         // rad from the equinox
    double perigee;      // rad
    double latitude;     // mean argument of latitude, rad
};

// Moves mean elements by the secular effects of the flattening.
Elements Move(Elements e, double seconds) {
    const double n = std::sqrt(SimulatedOrbits::Gravity / (e.axis * e.axis * e.axis));
    const double p = e.axis * (1.0 - e.eccentricity * e.eccentricity) / SimulatedOrbits::EarthRadius;
    const double factor = 1.5 * n * SimulatedOrbits::J2 / (p * p);
    const double c = std::cos(e.inclination);
    e.node -= factor * c * seconds;
    e.latitude += (n + factor * (4.0 * c * c - 1.0)) * seconds;
    return e;
}

// In the axes of `sidereal`, the angle of Greenwich.
SimulatedOrbits::State StateOf(const Elements& e, double sidereal) {
    const double M = e.latitude - e.perigee;
    double E = M;
    for (int i = 0; i < 10; ++i) E = M + e.eccentricity * std::sin(E);
    const double root = std::sqrt(1.0 - e.eccentricity * e.eccentricity);
    const double x = e.axis * (std::cos(E) - e.eccentricity);
    const double y = e.axis * root * std::sin(E);
    const double rate = std::sqrt(SimulatedOrbits::Gravity / e.axis) / (1.0 - e.eccentricity * std::cos(E));
    const double vx = -rate * std::sin(E);
    const double vy = rate * root * std::cos(E);
    const double cw = std::cos(e.perigee);
    const double sw = std::sin(e.perigee);
    const double ci = std::cos(e.inclination);
    const double si = std::sin(e.inclination);
    const Vector P(cw, sw * ci, sw * si);
    const Vector Q(-sw, cw * ci, cw * si);
    const double angle = sidereal - e.node;
    return {SimulatedOrbits::Turn(P * x + Q * y, angle), SimulatedOrbits::Turn(P * vx + Q * vy, angle)};
}

// A whole multiple of a unit near a value.
double Whole(double value, double unit) {
    return std::round(value / unit) * unit;
}

}  // namespace

std::vector<SimulatedSatellite> MakeNominalSky(const GPSTime& origin, const SimulatedNoise& noise) {
    std::vector<SimulatedSatellite> sky;
    const double sidereal = SiderealAngle(origin);
    const GPSTime epochGPS(703, 345600.0);      // 1 July 1993, 0 h
    const GPSTime epochGlonass(834, 172800.0);  // 2 January 1996, 0 h
    const double toTwoHours = std::fmod(7200.0 - std::fmod(origin.GetSeconds(), 7200.0), 7200.0);
    const auto add = [&](SimulatedSatellite& satellite, const Elements& mean, const GPSTime& epoch) {
        satellite.state = StateOf(Move(mean, (origin - epoch).Seconds()), sidereal);
        sky.push_back(satellite);
    };
    for (int number = 1; number <= 32; ++number) {
        SimulatedSatellite satellite;
        satellite.system = 'G';
        satellite.number = number;
        const auto draw = [&](Draw what) { return noise.Uniform({'G', static_cast<std::uint64_t>(number), what}); };
        // Neighbours in the list of numbers are not so in the sky.
        const Slot& slot = GPSSlots[static_cast<std::size_t>(number * 11 % 32)];
        // The drift over two hours, and so the offset at every toc, is a whole number of the message's units.
        satellite.drift = Whole((draw(ClockDrift) - 0.5) * 4e-11, 0x1p-36);
        satellite.clock = Whole((draw(ClockOffset) - 0.5) * 8e-4, 0x1p-31) - satellite.drift * toTwoHours;
        satellite.groupDelay = Whole((draw(Delay) - 0.5) * 2.4e-8, 0x1p-31);
        add(satellite,
            {26559710.0, 0.002 + 0.01 * draw(Eccentricity), (54.5 + draw(Inclination)) * Degree, slot.node * Degree,
             2.0 * std::numbers::pi * draw(Perigee), slot.latitude * Degree},
            epochGPS);
    }
    for (int number = 1; number <= 24; ++number) {
        SimulatedSatellite satellite;
        satellite.system = 'R';
        satellite.number = number;
        satellite.channel = Channels[static_cast<std::size_t>(number - 1)];
        const auto draw = [&](Draw what) { return noise.Uniform({'R', static_cast<std::uint64_t>(number), what}); };
        const int plane = (number - 1) / 8;
        satellite.clock = (draw(ClockOffset) - 0.5) * 4e-4;
        satellite.drift = Whole((draw(ClockDrift) - 0.5) * 2e-11, 0x1p-40);
        add(satellite,
            {25508200.0, 0.0003 + 0.0015 * draw(Eccentricity), (64.3 + draw(Inclination)) * Degree,
             (251.25 + 120.0 * plane) * Degree, 2.0 * std::numbers::pi * draw(Perigee),
             (145.44 + 15.0 * plane - 45.0 * ((number - 1) % 8)) * Degree},
            epochGlonass);
    }
    return sky;
}

}  // namespace Host
