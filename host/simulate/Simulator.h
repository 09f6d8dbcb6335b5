// Simulator: a receiver under a simulated sky, as the bytes that it would send.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/time/GPSTime.h"
#include "host/simulate/AntennaMotion.h"
#include "host/simulate/SimulatedFault.h"

namespace Host {

struct SimulatorSettings {
    // Wednesday 4 June 2025, noon.
    GNSS::GPSTime start{2369, 3.5 * GNSS::GPSTime::SecsInDay};
    double interval = 1.0;  // s between epochs, 0.05 to 3600
    // Before the start, s of navigation messages without measurements, as a receiver hears that has been on for some
    // time: with 30 the first epoch has every ephemeris.
    double warmUp = 0.0;
    AntennaMotion motion;
    std::uint64_t seed = 1;
    bool gps = true;
    bool glonass = true;
    double mask = 5.0;  // degrees
    // Of measurements, as a factor: 1 is what the position fix expects, 0 none. By it each range has an error of its
    // own, normally distributed and independent of all others, of the variance that Host::RangeVariance gives for it;
    // the Doppler likewise with the standard deviation of FixSettings. The phase has 2 mm.
    double noise = 1.0;
    // By which the true delay in the ionosphere exceeds the broadcast model's, which is its mean.
    double ionosphere = 1.0;
    double clockOffset = 1e-4;  // of the receiver from GPS time, s; kept within half a millisecond by resets
    double clockDrift = 2e-8;   // s/s
    std::vector<SimulatedFault> faults;
};

// The true state of the receiver at an epoch.
struct SimulatedTruth {
    std::int64_t epoch = 0;     // from 0
    GNSS::GPSTime time;         // by the receiver's clock, as in its messages
    GNSS::ECEF posn;            // WGS 84, m
    GNSS::ECEF::Delta vely;     // m/s
    double clock = 0.0;         // receiver minus GPS time, s
    double clockDrift = 0.0;    // s/s
    double clockGlonass = 0.0;  // receiver minus GLONASS time, without leap seconds and the three hours, s
    int leapSeconds = 0;        // GPS time minus UTC
    int nmrGPS = 0;             // satellites measured
    int nmrGlonass = 0;
};

// The satellites of both systems move by the simulation's own integration of their equations of motion; what they
// broadcast is fitted to that as their control segments do, rounded to the bits of the messages. The receiver's
// messages are UBX: NAV-TIMEGPS and RXM-RAWX for each epoch, RXM-SFRBX as subframes and strings end. The same settings
// give the same bytes.
class Simulator {
public:
    explicit Simulator(const SimulatorSettings& settings);
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;
    ~Simulator();

    // Appends what the receiver sends after the last epoch up to the next one's end, and tells the truth of that epoch:
    // first the epoch of the start, with what the warm-up has heard. Never ends.
    SimulatedTruth Next(std::string& bytes);

    [[nodiscard]] const SimulatorSettings& GetSettings() const;

    // A satellite's true state at a system time, earth-fixed at that time, for comparisons: G or R. The clock is
    // satellite minus GPS time, s, without group delay. False for a satellite that is not there and for a time that
    // lies more than some hours before the last epoch.
    struct Satellite {
        GNSS::ECEF posn;
        GNSS::ECEF::Delta vely;
        double clock = 0.0;
    };
    [[nodiscard]] bool GetTruth(char system, int number, const GNSS::GPSTime& t, Satellite& satellite);

private:
    class Body;
    std::unique_ptr<Body> body_;
};

}  // namespace Host
