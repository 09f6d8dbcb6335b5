// SimulatedReceiver: what a receiver measures under a simulated sky.
#pragma once

#include <cstdint>
#include <vector>

#include "gnss/geodesy/LocalGrid.h"
#include "host/fix/Troposphere.h"
#include "host/simulate/ControlSegment.h"
#include "host/simulate/NominalSky.h"
#include "host/simulate/SimulatedNoise.h"
#include "host/simulate/Simulator.h"
#include "host/simulate/UbxWriter.h"

namespace Host {

// Seconds from the origin of the simulation's clock.
class SimulatedReceiver {
public:
    // What is given must outlive this.
    SimulatedReceiver(const SimulatorSettings& settings, const SimulatedFaults& faults, const SimulatedNoise& noise,
                      const SimulationClock& clock, const std::vector<SimulatedSatellite>& sky, SimulatedOrbits& orbits,
                      const GNSS::Almanac::Iono& iono, double start);

    // All satellites above the mask at an epoch, by the receiver's clock; into `measurements`.
    SimulatedTruth Measure(std::int64_t epoch, std::vector<UbxMeasurement>& measurements);
    // Whether the receiver hears a satellite: above the mask, and no outage.
    [[nodiscard]] bool Hears(std::size_t satellite, double t);
    // Whether the receiver's clock has jumped with the last epoch.
    [[nodiscard]] bool HasReset() const { return hasReset_; }

private:
    // The satellite as it is received.
    struct Signal {
        double range = 0.0;  // geometric, with the clocks, m
        double elevation = 0.0;
        double azimuth = 0.0;
        double ionosphere = 0.0;  // m, on the signal's frequency
        double troposphere = 0.0;
    };
    struct Channel {
        double flight = 0.075;    // s, of the last signal
        std::int64_t since = -1;  // epoch from which it is tracked without a break; -1 while it is not
        std::int64_t lastEpoch = -1;
    };

    void Place(double t);
    [[nodiscard]] double GetElevation(std::size_t satellite, double t);
    [[nodiscard]] Signal Receive(std::size_t satellite, double t, double clock);
    void Measure(std::size_t satellite, std::int64_t epoch, double t, double clock, UbxMeasurement& measurement);

    const SimulatorSettings& settings_;
    const SimulatedFaults& faults_;
    const SimulatedNoise& noise_;
    const SimulationClock& clock_;
    const std::vector<SimulatedSatellite>& sky_;
    SimulatedOrbits& orbits_;
    const GNSS::Almanac::Iono& iono_;
    double start_;
    AntennaMotion::State antenna_;
    GNSS::LocalGrid grid_;
    StandardTroposphere troposphere_;
    std::vector<Channel> channels_;
    std::int64_t resets_ = 0;
    bool hasReset_ = false;
};

}  // namespace Host
