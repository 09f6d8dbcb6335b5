// ReceiverSink: what a receiver's byte stream says, one call for each message.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/icd/ICDGlonass.h"
#include "gnss/measurement/MeasSet.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace Host {

// A GPS subframe as it was received: ten words of 30 bits, the first transmitted bit in bit 29, not inverted.
struct GPSSubframe {
    enum class Parity : std::uint8_t {
        Checked,  // the receiver has checked it; the six low bits of each word may be anything
        Present,  // the six low bits hold the parity as transmitted; nobody has checked it
    };

    GNSS::PRN prn;  // null for a page of subframe 4 or 5 of which the source does not say who sent it
    std::array<unsigned long, 10> words{};
    Parity parity = Parity::Checked;
};

// A GLONASS string as it was received.
struct GlonassString {
    GNSS::Glonass::Slot slot;
    std::optional<int> channel;  // frequency channel, -7 to 6
    int frame = 0;               // 1 to 5 within the superframe; 0 where the source does not say
    GNSS::ICDGlonass::String bits;
    bool checked = true;  // the receiver has checked the Hamming code
};

// A GPS ephemeride that came decoded. Its reference is not set.
struct GPSDecodedEphemeride {
    GNSS::GPSEphemeride ephemeride;
    int week = 0;                               // of toe if it is full, else modulo weekModulus of toe or transmission
    int weekModulus = 0;                        // 1024, or 0 for a full week
    std::optional<GNSS::GPSTime> transmission;  // when it was sent, where the source says so
};

// A GLONASS ephemeride that came decoded: slot, posn, clock, status and m are set, the rest is not. The day of posn is
// that of the frame, as the satellite tells it, 0 where it does not; of no account where the reference is given.
struct GlonassDecodedEphemeride {
    GNSS::Glonass::Ephemeride ephemeride;
    std::optional<int> channel;
    std::optional<int> fourYears;            // N4, the four-year interval, 1 from 1996 on
    std::optional<GNSS::GPSTime> reference;  // tb in GPS time, where the source says it in full
};

// The receiver's own answer. What a message does not say is empty; the receiver may say one fix in several messages,
// each of which comes by itself.
struct ReceiverFix {
    std::optional<GNSS::GPSTime> time;  // full; empty when the message has no week and none is known
    int type = 0;                       // 0 none, 1 dead reckoning, 2 two-dimensional, 3 three-dimensional, 5 time only
    bool valid = false;                 // within the receiver's own limits
    std::optional<int> nmrUsed;
    // WGS 84, degrees and metres above the ellipsoid and above mean sea level.
    std::optional<double> latitude, longitude, height, heightMSL;
    std::optional<double> horizontalAccuracy, verticalAccuracy;       // m
    std::optional<double> sigmaEast, sigmaNorth, sigmaUp;             // m
    std::optional<double> velocityNorth, velocityEast, velocityDown;  // m/s
    std::optional<double> gdop, pdop, tdop, vdop, hdop, ndop, edop;
};

// A satellite as the receiver sees it.
struct ReceiverSatellite {
    char system = 'G';  // RINEX letter, other systems too
    int number = 0;
    std::optional<double> azimuth, elevation;  // degrees
    double snr = 0.0;                          // dB-Hz
    bool used = false;
    std::optional<double> residual;  // m
    int health = 0;                  // 0 unknown, 1 healthy, 2 unhealthy
};

struct ReceiverSky {
    std::optional<GNSS::GPSTime> time;
    std::vector<ReceiverSatellite> satellites;
};

// The place of a reference station's antenna.
struct StationPosition {
    int station = 0;
    GNSS::ECEF posn;                      // m, antenna reference point
    std::optional<double> antennaHeight;  // m, above the marker
};

// Every call does nothing unless it is overridden.
class ReceiverSink {
public:
    ReceiverSink() = default;
    ReceiverSink(const ReceiverSink&) = delete;
    ReceiverSink& operator=(const ReceiverSink&) = delete;
    virtual ~ReceiverSink();

    // The stream's own time, with its full week: of an epoch, a fix or a message, before what is dated by it.
    virtual void OnTime(const GNSS::GPSTime& /*time*/) {}
    // The stream does not know its time any more, as when the receiver starts anew: until the next OnTime nothing can
    // be dated by what it told before.
    virtual void OnTimeLost() {}
    // GPS minus UTC as the receiver knows it, s.
    virtual void OnLeapSeconds(int /*seconds*/) {}
    virtual void OnSubframe(const GPSSubframe& /*subframe*/) {}
    virtual void OnString(const GlonassString& /*string*/) {}
    virtual void OnEphemeride(const GPSDecodedEphemeride& /*record*/) {}
    virtual void OnEphemeride(const GlonassDecodedEphemeride& /*record*/) {}
    // Weeks modulo 256, undated.
    virtual void OnIono(const GNSS::Almanac::Iono& /*record*/) {}
    virtual void OnUTC(const GNSS::Almanac::UTC& /*record*/) {}
    // One epoch of both systems; its time has its full week.
    virtual void OnMeasurements(const GNSS::MeasSet& /*set*/) {}
    virtual void OnFix(const ReceiverFix& /*fix*/) {}
    virtual void OnSky(const ReceiverSky& /*sky*/) {}
    virtual void OnStation(const StationPosition& /*station*/) {}
};

}  // namespace Host
