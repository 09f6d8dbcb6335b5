// GNSS::Almanac::UTC: the broadcast relation of GPS time to UTC.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// The UTC parameters of page 18 of subframe 4 (IS-GPS-200, 20.3.3.5.2.4). A fresh record holds built-in ones: the leap
// second at the end of June 2015. Weeks are full weeks.
//
// The leap second takes effect at the end of day DN of week WNLSF. Three rules share the time around it: A until six
// hours before, B for the twelve hours in between, where the day may have 86401 seconds (23:59:60), and C from six
// hours after. Their Short forms use whole leap seconds only, without the polynomial A0 + A1 t.
//
// NaN and infinite fields or times give a time of day of NaN or the ends of the calendar.
class GNSS_EXPORT Almanac::UTC {
public:
    GPSTime time{1826, 115200.0};  // dates the record; set by whoever delivers it, and orders updates
    double A0 = 0.0;               // GPS time minus UTC beyond the leap seconds, at the reference time: s
    double A1 = 0.0;               // and its drift, s/s
    int DtLS = 16;                 // leap seconds before the event
    double Tot = 0.0;              // reference time, seconds of the week
    int WNt = 1826;                // and its week
    int WNLSF = 1851;              // week of the event
    int DN = 3;                    // day of that week at whose end it comes: 1 = Sunday to 7
    int DtLSF = 17;                // leap seconds after the event

    void Reset() { *this = UTC(); }
    // Dated later than the start of GPS time.
    [[nodiscard]] bool IsValid() const { return time > GPSTime::Zero; }
    // Times within the tolerance of GPSTime, the rest exactly.
    friend bool operator==(const UTC&, const UTC&) = default;

    // UTC of a GPS time by the rule that its distance from the event calls for.
    [[nodiscard]] Corvane::TimeDate CalcUTC(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CalcUTCShort(const GPSTime& t) const;

    // The rules, whatever the distance.
    [[nodiscard]] Corvane::TimeDate CaseA(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CaseB(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CaseC(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CaseAShort(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CaseBShort(const GPSTime& t) const;
    [[nodiscard]] Corvane::TimeDate CaseCShort(const GPSTime& t) const;

    // False when the stream fails or the week does not fit into 16 bits; a failed read leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);
};

}  // namespace GNSS
