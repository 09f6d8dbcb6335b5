// RtcmTime: full times for RTCM 3, whose epochs are only seconds of a week or of a day.
#pragma once

#include <cstdint>
#include <optional>

#include "gnss/platform/Date.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"
#include "host/receiver/RtcmObservations.h"

namespace Host {

// The time from outside counts until the stream says a date of its own; from then on the stream's counts. Its sources,
// the better one first:
//   1013  the station's system parameters have the whole date and time. Always taken.
//   1020  the date and frame time of a GLONASS-M satellite. Where nothing is known yet but from outside, that of a
//         healthy satellite is taken as it is; against a time that the stream has told it counts only when two
//         satellites in succession say the same (a single one may be wrong), and never after a 1013.
//   1019  the week of a GPS satellite, of ten bits. Nothing where no time is known. It changes the week only when two
//         healthy satellites in succession say the same, and never after a 1013; where the time from outside is still
//         all there is and no epoch has told the second of the week, toe does.
// A source that agrees with what is known to half a day, or in the week, changes nothing. Once known, the time goes on
// from epoch to epoch, each being the one nearest to the last, across turns of the week and the day.
//
// GLONASS time counts leap seconds and has the same number for a leap second and for the one after it. The first of the
// two is taken, unless the epoch before it, of GPS say, is already the second.
class RtcmTime {
public:
    // From outside: within half a week of the next epoch, where there are 1019 or 1020 within years of it, or within
    // half a day where that is of 1009 to 1012, which have the time of day only.
    void SetApproximate(const GNSS::GPSTime& time);
    // 1013. Returns the time.
    GNSS::GPSTime SetStation(const Corvane::Date& utc, double secondsOfDay);
    // 1020: frame time, in seconds of that Moscow day. Returns the time that it says, if that is believed.
    std::optional<GNSS::GPSTime> SetSatellite(GNSS::Glonass::Slot slot, bool healthy, const Corvane::Date& moscow,
                                              double frameTime);
    // 1019: the week modulo 1024, of toe or of transmission; toe in seconds. Returns the time that follows where that
    // is another than was known.
    std::optional<GNSS::GPSTime> SetWeek(GNSS::PRN prn, int week, double toe);

    // The time of the last epoch, or near to the present.
    [[nodiscard]] const std::optional<GNSS::GPSTime>& Get() const { return reference_; }
    // An epoch's full time, from which the next ones go on; nothing while no time is known.
    std::optional<GNSS::GPSTime> Date(const RtcmObservations& message);

private:
    enum class Source : std::uint8_t { None, Outside, Satellite, Station };
    struct Said {
        GNSS::Glonass::Slot slot;
        GNSS::GPSTime time;
    };

    std::optional<GNSS::GPSTime> reference_;
    Source source_ = Source::None;
    std::optional<Said> doubted_;  // what a satellite has said against the known time
    struct SaidWeek {
        GNSS::PRN prn;
        int week;
    };
    std::optional<SaidWeek> doubtedWeek_;  // the same of GPS
    bool hasSeconds_ = false;              // the second of the week is the stream's own
};

// GPS time of the seconds of a day of Moscow time (UTC + 3 h).
[[nodiscard]] GNSS::GPSTime FromMoscow(const Corvane::Date& date, double seconds);
// The GPS time nearest to another at which Moscow time is that many seconds into its day or week, whichever the period
// is long.
[[nodiscard]] GNSS::GPSTime NearestMoscow(const GNSS::GPSTime& near, double seconds, double period);

}  // namespace Host
