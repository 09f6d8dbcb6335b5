#include "host/simulate/SunMoon.h"

#include <cmath>
#include <numbers>

namespace Host {

using GNSS::ECEF;
using GNSS::GPSTime;

namespace {

constexpr double Degree = std::numbers::pi / 180.0;

double Sin(double degrees) {
    return std::sin(degrees * Degree);
}
double Cos(double degrees) {
    return std::cos(degrees * Degree);
}

// Days from noon of 1 January 2000.
double DaysOf(const GPSTime& t) {
    return (t - GPSTime(1042, 561600.0)).Seconds() / GPSTime::SecsInDay;
}

ECEF::Delta FromEcliptic(double longitude, double latitude, double distance, double obliquity) {
    const double x = Cos(latitude) * Cos(longitude);
    const double y = Cos(latitude) * Sin(longitude);
    const double z = Sin(latitude);
    return ECEF::Delta(x, Cos(obliquity) * y - Sin(obliquity) * z, Sin(obliquity) * y + Cos(obliquity) * z) * distance;
}

}  // namespace

SunMoon::SunMoon(const GPSTime& t) {
    constexpr double AstronomicalUnit = 1.495978707e11;
    constexpr double EarthRadius = 6378137.0;
    const double n = DaysOf(t);
    const double obliquity = 23.439 - 4e-7 * n;

    const double g = 357.528 + 0.9856003 * n;
    const double sunLongitude = 280.460 + 0.9856474 * n + 1.915 * Sin(g) + 0.020 * Sin(2.0 * g);
    sun = FromEcliptic(sunLongitude, 0.0, (1.00014 - 0.01671 * Cos(g) - 0.00014 * Cos(2.0 * g)) * AstronomicalUnit,
                       obliquity);

    const double T = n / 36525.0;
    const double longitude = 218.32 + 481267.881 * T + 6.29 * Sin(135.0 + 477198.87 * T) -
                             1.27 * Sin(259.3 - 413335.36 * T) + 0.66 * Sin(235.7 + 890534.22 * T) +
                             0.21 * Sin(269.9 + 954397.74 * T) - 0.19 * Sin(357.5 + 35999.05 * T) -
                             0.11 * Sin(186.5 + 966404.03 * T);
    const double latitude = 5.13 * Sin(93.3 + 483202.02 * T) + 0.28 * Sin(228.2 + 960400.89 * T) -
                            0.28 * Sin(318.3 + 6003.15 * T) - 0.17 * Sin(217.6 - 407332.21 * T);
    const double parallax = 0.9508 + 0.0518 * Cos(135.0 + 477198.87 * T) + 0.0095 * Cos(259.3 - 413335.36 * T) +
                            0.0078 * Cos(235.7 + 890534.22 * T) + 0.0028 * Cos(269.9 + 954397.74 * T);
    moon = FromEcliptic(longitude, latitude, EarthRadius / Sin(parallax), obliquity);
}

double SiderealAngle(const GPSTime& t) {
    return (280.46061837 + 360.98564736629 * DaysOf(t)) * Degree;
}

}  // namespace Host
