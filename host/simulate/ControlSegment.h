// ControlSegment: what the satellites of a simulation broadcast, and when.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "gnss/almanac/AlmanacIono.h"
#include "host/simulate/GPSMessage.h"
#include "host/simulate/GlonassMessage.h"
#include "host/simulate/NominalSky.h"
#include "host/simulate/SimulatedFault.h"
#include "host/simulate/SimulatedOrbits.h"
#include "host/simulate/SimulationClock.h"

namespace Host {

// GPS: an ephemeris every two hours from even hours of GPS time on, fitted to the four hours about its toe, which is
// the end of its own two; a new issue besides when a fault begins or ends. An almanac every day, with its toa about
// noon, fitted to the day. GLONASS: immediate data for the half hour about each tb at 15 and 45 minutes; an almanac for
// each day of Moscow time. What a fault does to the messages begins with the next frame.
//
// Times in seconds from the origin of the clock.
class ControlSegment {
public:
    // Of GLONASS system time from GPS time beyond the whole seconds, s.
    static constexpr double GlonassOffset = 46 * 0x1p-30;

    // What is given must outlive this. Faults count from `start`.
    ControlSegment(const SimulationClock& clock, SimulatedOrbits& orbits, const std::vector<SimulatedSatellite>& sky,
                   const SimulatedFaults& faults, double start);

    // The subframe that begins at a second of a week, a multiple of 6; satellites by their index in the sky.
    [[nodiscard]] GPSSubframeBits GetSubframe(std::size_t satellite, double t);
    // The string that begins at a second of Moscow time, a multiple of 2 (SimulationClock::ToMoscow).
    [[nodiscard]] GNSS::ICDGlonass::String GetString(std::size_t satellite, double moscow);

    // Satellite minus GPS time, s, relativity included, by the satellite's inertial state.
    [[nodiscard]] static double GetClock(const SimulatedSatellite& satellite, const SimulatedOrbits::State& state,
                                         double t);
    [[nodiscard]] const GNSS::Almanac::Iono& GetIono() const { return iono_; }

private:
    struct GPSRecord {
        std::int64_t window = -1;  // of two hours from the start of GPS time
        BroadcastOrbit orbit;
        double af0 = 0.0;
    };
    struct GPSAlmanac {
        BroadcastOrbit orbit;
        double af0 = 0.0;
    };
    struct GlonassRecord {
        std::int64_t window = -1;  // of half an hour of Moscow time
        GlonassBroadcast broadcast;
    };

    [[nodiscard]] BroadcastOrbit Fit(std::size_t satellite, double t, double half, double step, bool almanac);
    [[nodiscard]] const GPSRecord& GetRecord(std::size_t satellite, std::int64_t window);
    [[nodiscard]] GPSBroadcast GetBroadcast(std::size_t satellite, double frame);
    [[nodiscard]] GPSSubframeBits GetPage(int subframe, int page, double t, double secondsOfWeek, double frame);
    void MakeGPSAlmanac(std::int64_t day);
    [[nodiscard]] const GlonassBroadcast& GetBroadcast(std::size_t satellite, std::int64_t window);
    void MakeGlonassAlmanac(std::int64_t day);
    [[nodiscard]] GlonassAlmanacEntry MakeGlonassEntry(std::size_t satellite, double midnight);
    [[nodiscard]] GNSS::Almanac::UTC GetUTC(double t) const;
    [[nodiscard]] bool IsHealthy(const SimulatedSatellite& satellite, double frame) const;
    [[nodiscard]] std::optional<std::size_t> Find(char system, int number) const;

    const SimulationClock& clock_;
    SimulatedOrbits& orbits_;
    const std::vector<SimulatedSatellite>& sky_;
    const SimulatedFaults& faults_;
    double start_;
    GNSS::Almanac::Iono iono_;
    std::vector<GPSRecord> records_;      // by satellite
    std::vector<GlonassRecord> glonass_;  // by satellite
    std::vector<GPSAlmanac> gpsAlmanac_;  // by satellite
    std::int64_t gpsAlmanacDay_ = -1;     // of GPS time
    std::vector<GlonassAlmanacEntry> glonassAlmanac_;
    std::int64_t glonassAlmanacDay_ = -1;  // of Moscow time
};

}  // namespace Host
