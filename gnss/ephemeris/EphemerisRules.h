// In what the ephemeris histories of GPS and GLONASS differ, for the templates that are written once for both.
#pragma once

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// What a satellite's history does with a record that comes in.
enum class Reception { Refused, ReplacesNewest, BecomesNewest };

template <typename System>
struct EphemerisRules;

template <>
struct GNSS_EXPORT EphemerisRules<GPSSystem> {
    using Id = PRN;
    using Record = GPSEphemeride;
    using Result = GPSEphemeride::Result;

    // Most records per satellite.
    static constexpr int Depth = 3;
    // Members of GPSEphemeris::SV and of GPSEphemerisCalc that the other system has not.
    struct HistoryMembers {};
    struct GNSS_EXPORT CalculatorMembers {
        // Turns an earth-fixed position of the time of transmission into the earth-fixed frame of the time of
        // reception: about the pole, by GPSEphemeride::EarthRate times the signal's flight over `range` metres.
        static void CalculateRotation(ECEF& posn, double range);
    };

    [[nodiscard]] static Id GetId(const Record& record) { return record.prn; }
    // Nothing is asked of a GPS record; intended.
    [[nodiscard]] static bool IsPlausible(const Record&) { return true; }
    // Refused when its IODE is the newest record's and the toe agree within 0.1 s, or when its reference time is
    // earlier. `newest` is null for a satellite's first record.
    [[nodiscard]] static Reception Receive(const Record* newest, Record& record);
    // The second position stands under the same limit of age as the first; intended.
    static bool CalculatePosn(const Record& record, const GPSTime& t, Result& result, bool isSecond);
};

template <>
struct GNSS_EXPORT EphemerisRules<GlonassSystem> {
    using Id = Glonass::Slot;
    using Record = Glonass::Ephemeride;
    using Result = Glonass::Ephemeride::Result;

    static constexpr int Depth = 4;
    struct HistoryMembers {
        // A record whose tb lies this far or further after its predecessor's does not continue it.
        static constexpr Corvane::Time GapStarts{10800.0};
    };
    struct CalculatorMembers {};

    [[nodiscard]] static Id GetId(const Record& record) { return record.slot; }
    // The tests of Glonass::Ephemeride::IsPlausible, which adds an event when one fails.
    [[nodiscard]] static bool IsPlausible(const Record& record) { return record.IsPlausible(); }
    // Refused when it is the newest record, or its reference time or its day is earlier: so is day 1 of the next
    // four-year interval after day 1461, until the history is cleared. A repetition in a later frame replaces the
    // newest. Sets the record's sequence counter, which tells the bodies of one tb from each other: -1 for a first
    // record or after a gap, 0 at a new tb, one more at the same tb (-1 after -1). So the first record of a
    // history, while it is the only one or the older of two, answers with -1.
    [[nodiscard]] static Reception Receive(const Record* newest, Record& record);
    // The second position is given for longer (2100 s from tb) than the first (1200 s); intended.
    static bool CalculatePosn(const Record& record, const GPSTime& t, Result& result, bool isSecond);
};

}  // namespace GNSS
