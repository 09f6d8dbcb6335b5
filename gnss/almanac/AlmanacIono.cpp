#include "gnss/almanac/AlmanacIono.h"

#include <cmath>
#include <numbers>

#include "gnss/time/Constants.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::Stream::Succeeds;

namespace {

// An angle in semicircles of at most the limit either way.
double Limited(double semicircles) {
    constexpr double Tolerance = 1e-11;  // rad
    constexpr double Limit = Almanac::Iono::PhiLimit.SemiCircles();
    const Angle angle = Angle::FromSemiCircles(semicircles);
    if (angle.Compare(Almanac::Iono::PhiLimit, Tolerance) > 0) return Limit;
    return angle.Compare(-Almanac::Iono::PhiLimit, Tolerance) < 0 ? -Limit : semicircles;
}

double Cubic(double c0, double c1, double c2, double c3, double x) {
    return c0 + x * (c1 + x * (c2 + x * c3));
}

}  // namespace

double Almanac::Iono::CalculateDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon,
                                     const Angle& elevation, const Angle& azimuth) const {
    constexpr double SecsInDay = GPSTime::SecsInDay;
    constexpr double Night = 5e-9;  // s
    const double E = elevation.SemiCircles();
    const double psi = 0.0137 / (E + 0.11) - 0.022;
    const double phiI = Limited(lat.GetAngle().SemiCircles() + psi * cos(azimuth));
    const double lambdaI = lon.GetAngle().SemiCircles() + psi * sin(azimuth) / cos(Angle::FromSemiCircles(phiI));
    const double phiM = phiI + 0.064 * cos(Angle::FromSemiCircles(lambdaI - 1.617));

    double local = 43200.0 * lambdaI + t.GetTimeOfDay().Seconds();
    if (local >= SecsInDay) {
        local -= SecsInDay;
    } else if (local < 0.0) {
        local += SecsInDay;
    }

    const double away = 0.53 - E;
    const double slant = 1.0 + 16.0 * away * away * away;
    double period = Cubic(beta0, beta1, beta2, beta3, phiM);
    if (period < 72000.0) period = 72000.0;
    double amplitude = Cubic(alpha0, alpha1, alpha2, alpha3, phiM);
    if (amplitude < 0.0) amplitude = 0.0;

    const double x = 2.0 * std::numbers::pi * (local - 50400.0) / period;
    const double xx = x * x;
    const double day = std::abs(x) < 1.57 ? amplitude * (1.0 - xx * 0.5 + xx * xx / 24.0) : 0.0;
    return slant * (Night + day) * LightSpeed;
}

bool Almanac::Iono::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        GPSTimeStream::Write(output, time);
        for (const double value : {alpha0, alpha1, alpha2, alpha3, beta0, beta1, beta2, beta3}) {
            output.WriteDouble(value);
        }
    });
}

bool Almanac::Iono::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Iono read;
        read.time = GPSTimeStream::Read(input);
        for (double* value : {&read.alpha0, &read.alpha1, &read.alpha2, &read.alpha3, &read.beta0, &read.beta1,
                              &read.beta2, &read.beta3}) {
            *value = input.ReadDouble();
        }
        *this = read;
    });
}

}  // namespace GNSS
