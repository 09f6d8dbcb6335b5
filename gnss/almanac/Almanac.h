// GNSS::Almanac: the coarse orbits of all satellites, with the ionosphere and UTC parameters that come with them.
#pragma once

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/CopyOnWrite.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// One record per GPS satellite and one per GLONASS slot, each list in the order of the numbers, one record of the
// ionosphere and one of UTC. A fresh almanac has no satellites and the built-in ionosphere and UTC.
//
// The records are nested classes with a header each: AlmanacSV.h, AlmanacGlonassSV.h, AlmanacIono.h and AlmanacUTC.h.
// They are plain values: public fields, a default that is defined, and a Read that takes all or nothing.
//
// An almanac is a handle: a copy costs next to nothing and shows what the original held when it was made. Changing one
// of them leaves the other as it was, and both go on sharing the records of all satellites that did not change.
//
// No lock of its own: an almanac is used by one thread at a time, or guarded by its owner. Copies may be used by
// different threads at once. A reference to a record is good until that almanac is next changed, assigned or destroyed.
class GNSS_EXPORT Almanac {
public:
    class SV;          // a GPS satellite
    class GlonassSV;   // a GLONASS satellite
    class Iono;        // the ionosphere
    class UTC;         // GPS time against UTC
    class Update;      // one change, on its way to those who listen
    class Calculator;  // the computations for other threads and other parts of a program

    // WGS 84 gravitational constant of the earth for the GPS model, m^3/s^2.
    static constexpr double Gravity = 3.986004418e14;
    // Rotation of the earth for the GPS model, rad/s.
    static constexpr double EarthRate = 7.2921151467e-05;
    // Relativistic clock constant, s/m^0.5.
    static constexpr double F = -4.442807633e-10;

    Almanac();
    Almanac(const Almanac& other) noexcept;
    Almanac& operator=(const Almanac& other) noexcept;
    ~Almanac();

    // As a fresh one.
    void Reset() { *this = Almanac(); }

    // Each stores a copy of the record when it is newer than the one that is held, and tells whether it did. A refusal
    // changes nothing.
    //
    // Newer is dated later, by more than 1e-7 s within a week. A record of a satellite that has none is stored; one
    // that names no satellite is refused, and so is one with a number that the almanac file cannot hold (a week beyond
    // 16 bits): what has been taken can be saved.
    bool UpdateSV(const SV& sv);
    bool UpdateIono(const Iono& iono);
    bool UpdateUTC(const UTC& utc);
    // Newer is of a later node crossing, each crossing placed in the four-year interval nearest to today's date; the
    // records' dates do not count. A record whose crossing lies more than two weeks from its date is refused with an
    // event under "Glonass Almanac".
    bool UpdateGlonassSV(const GlonassSV& sv);

    [[nodiscard]] const Iono& GetIono() const;
    [[nodiscard]] const UTC& GetUTC() const;
    // The records by index, in the order of their numbers; outside the list a fresh record, which names no satellite.
    [[nodiscard]] int NmrSV() const;
    [[nodiscard]] const SV& GetSV(int index) const;
    [[nodiscard]] int NmrGlonassSV() const;
    [[nodiscard]] const GlonassSV& GetGlonassSV(int index) const;
    // Index of a satellite's record, or -1.
    [[nodiscard]] int Find(const PRN& prn) const;
    [[nodiscard]] int Find(const Glonass::Slot& slot) const;

    // Position in metres at a GPS time and clock offset in seconds, by the satellite's record (see there: a GLONASS
    // record gives PZ-90 and leaves the offset untouched). False, and nothing is set, for a satellite without a record.
    // Like all computations here they allocate nothing.
    bool CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    bool CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    // Delay of a GPS L1 signal in metres, by Iono::CalculateDelay. Always true.
    bool CalculateIonoDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon,
                            const Corvane::Angle& elevation, const Corvane::Angle& azimuth, double& delay) const;
    // By UTC::CalcUTC and UTC::CalcUTCShort. Always true.
    bool CalcUTC(const GPSTime& t, Corvane::TimeDate& utc) const;
    bool CalcUTCShort(const GPSTime& t, Corvane::TimeDate& utc) const;
    // What turns the delay of a GPS L1 signal into that of a slot's L1 signal: the square of the ratio of their
    // frequencies. False for a slot without a record.
    bool GetGlonassIonoSF(const Glonass::Slot& slot, double& sf) const;

    // The almanac file, without a header and little-endian: number of GPS records (16 bits) and the records,
    // ionosphere, UTC, number of GLONASS records (16 bits) and the records. False when the stream fails or a number
    // does not fit its form.
    bool Write(Corvane::Stream::Output& output) const;
    // All or nothing, except that what ends within the UTC record or the number of GLONASS records is an almanac with
    // the built-in UTC (or that which was read) and no GLONASS records, and that a UTC record of a time that could not
    // be written again is passed over for the built-in one.
    //
    // What the records say is taken by the rules of the updates, silently: a GLONASS record whose node crossing does
    // not fit its date is left out, as is one that names no satellite, and of two records of one satellite the newer
    // one stays. A negative number of GPS records fails; a negative number of GLONASS records is none.
    bool Read(Corvane::Stream::Input& input);

private:
    class Inner;

    Corvane::CopyOnWrite<Inner> inner_;
};

}  // namespace GNSS
