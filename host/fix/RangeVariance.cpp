#include "host/fix/RangeVariance.h"

#include <algorithm>
#include <cmath>

namespace Host {
namespace {

double Square(double x) {
    return x * x;
}

// How much longer than at the zenith the way through the ionosphere is, taken for a layer at 350 km height.
double IonosphereFactor(double cosElevation) {
    constexpr double EarthRadius = 6371.0;
    constexpr double Height = 350.0;
    return 1.0 / std::sqrt(1.0 - Square(EarthRadius / (EarthRadius + Height) * cosElevation));
}

}  // namespace

double RangeVariance(const FixSatellite& satellite, const RangeWeights& weights, bool ionosphereModelled) {
    constexpr double LeastSine = 0.05;
    const double sine = std::max(std::sin(satellite.elevation), LeastSine);
    const double cosine = std::sqrt(1.0 - sine * sine);

    double code = (satellite.glonass ? weights.codeGlonass : weights.codeGPS) / sine * satellite.noiseFactor;
    if (satellite.snr < weights.strongSignal) {
        code *= std::exp2((weights.strongSignal - std::max(satellite.snr, 0.0)) / weights.perDoubling);
    }
    double ionosphere = 0.0;
    if (ionosphereModelled) {
        ionosphere = weights.ionosphereShare * satellite.ionosphere;
    } else if (satellite.frequency > 0.0) {
        ionosphere = weights.unmodelled * IonosphereFactor(cosine);
    }
    return Square(code) + Square(satellite.glonass ? weights.orbitGlonass : weights.orbitGPS) + Square(ionosphere) +
           Square(weights.troposphereShare * satellite.troposphere);
}

}  // namespace Host
