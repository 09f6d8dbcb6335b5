// FixSettings: everything about a position fix that its user can choose.
#pragma once

#include <array>
#include <cstdint>

#include "gnss/geodesy/HelmertShift.h"
#include "gnss/platform/LLSq.h"

namespace Host {

// How good a range is taken to be. The variance of a range is the sum of
//   the code noise, squared: `code` at the zenith and at `strongSignal` dB-Hz or more, divided by the sine of the
//     elevation, doubled for each `perDoubling` dB below;
//   the error of the satellite's position and clock, squared, by system;
//   the error of the ionosphere's delay, squared: a share of the broadcast model's delay, or of `unmodelled` metres at
//     the zenith where no model is used (divided by the sine of the elevation at the height of the ionosphere);
//   the error of the troposphere's delay, squared: a share of the delay.
// The defaults are those with the least errors and about one false rejection in a hundred ranges over the even hours of
// a day at a fixed station; the odd hours and other receivers' logs are what they were checked against.
struct RangeWeights {
    double codeGPS = 0.15;     // m
    double codeGlonass = 0.2;  // m
    double strongSignal = 40.0;
    double perDoubling = 4.0;
    double orbitGPS = 0.8;      // m
    double orbitGlonass = 1.7;  // m
    double ionosphereShare = 0.1;
    double unmodelled = 0.7;  // m
    double troposphereShare = 0.03;
};

struct FixSettings {
    enum class Systems : std::uint8_t { GPS, Glonass, Both };
    enum class Ranges : std::uint8_t { L1, IonosphereFree };
    enum class Ionosphere : std::uint8_t {
        WhenReceived,  // the broadcast model from when its coefficients are received, none before
        Off,
    };
    enum class Troposphere : std::uint8_t { Standard, Off };

    Systems systems = Systems::Both;
    Ranges ranges = Ranges::L1;
    Ionosphere ionosphere = Ionosphere::WhenReceived;
    Troposphere troposphere = Troposphere::Standard;
    double elevationMask = 10.0;  // degrees
    double signalMask = 0.0;      // dB-Hz; satellites below it are left out
    RangeWeights weights;
    // From the frame of the GLONASS message to WGS 84; null for none.
    const GNSS::HelmertShift* glonassShift = nullptr;

    // Height above the ellipsoid as an observation of its own.
    bool heightAid = false;
    double height = 0.0;    // m
    double heightSD = 1.0;  // m

    // The statistical tests, and whether what fails is rejected.
    Corvane::LLSq::Confidence confidence = Corvane::LLSq::Confidence99;
    Corvane::LLSq::Power power = Corvane::LLSq::Power80;
    Corvane::LLSq::FLimit fLimit = Corvane::LLSq::FEqualPower;
    bool rejects = true;

    // A geometry worse than this gives no fix; beyond the working limits there is a note.
    double maxGDOP = 30.0;
    double hdopLimit = 2.0;
    double pdopLimit = 3.0;
    int minSatellites = 6;
    // An ephemeris whose reference time is further away is not used, s; one that is used beyond half of it after that
    // time has a note. (The records have limits of their own.)
    double maxAgeGPS = 7500.0;
    double maxAgeGlonass = 1800.0;

    // Velocity from Doppler.
    bool velocity = true;
    double dopplerSD = 0.1;  // m/s at the zenith
};

}  // namespace Host
