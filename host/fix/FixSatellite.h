// FixSatellite: one measured satellite on its way through a position fix.
#pragma once

#include <cstdint>
#include <limits>
#include <optional>

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/LLSq.h"

namespace Host {

// How a satellite took part in a fix, or why it did not.
enum class SatelliteUse : std::uint8_t {
    Used,
    Rejected,         // by the w-test
    SystemOff,        // its system is not asked for
    NoRange,          // no usable range on the signals asked for
    ReceiverWarning,  // the receiver warns of its range
    Disabled,         // by the operator
    Unhealthy,
    NoEphemeris,
    StaleEphemeris,
    NoPosition,  // its record gives no position where a satellite can be
    BelowMask,
    LowSignal,
    Lone,  // the only one of its system: it would determine that system's clock and nothing else
};
// "used", "rejected", "below the mask"
[[nodiscard]] const char* Name(SatelliteUse use);

struct FixSatellite {
    static constexpr double None = std::numeric_limits<double>::quiet_NaN();

    bool glonass = false;
    int number = 0;              // PRN or slot
    std::optional<int> channel;  // GLONASS frequency channel, where it is known
    SatelliteUse use = SatelliteUse::Used;
    std::optional<bool> healthy;  // by its messages; nothing without any

    // What was measured.
    double range = None;       // m: one signal's, or the ionosphere-free combination
    double noiseFactor = 1.0;  // of the range's noise against that of one signal
    double frequency = 0.0;    // Hz, of the signal whose ionospheric delay is in the range; 0 for none
    double snr = None;         // dB-Hz
    double rangeRate = None;   // m/s, growing range positive, from Doppler

    // Where it was when it sent: earth-fixed at that time, m and m/s; clock is satellite minus system time, s, with the
    // group delay of the signal used. Of a satellite that cannot be used, roughly where it stands, by the almanac.
    bool hasPlace = false;
    GNSS::ECEF posn;
    GNSS::ECEF::Delta vely;
    double clock = 0.0;
    double clockDrift = 0.0;
    int issue = -1;     // GPS: IODE; GLONASS: tb, s of the Moscow day
    double age = None;  // from the ephemeris's reference time, s; NaN where it is not known

    // A differential correction, added to the range, m, and how old it is, s; NaN without one.
    double correction = 0.0;
    double correctionAge = None;

    // Seen from the position found; radians and metres. NaN where the fix has no position.
    double elevation = None;
    double azimuth = None;
    double ionosphere = 0.0;
    double troposphere = 0.0;
    double sd = None;  // of the range, m

    // The row of the adjustment that this satellite's range is, and its statistics; -1 for a satellite that was not in
    // it.
    int row = -1;
    Corvane::LLSq::Resid resid;
    double rejectedW = 0.0;  // w when it was rejected
};

}  // namespace Host
