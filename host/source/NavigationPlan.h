// NavigationPlan: the records of navigation files, each at the time from when it is of use.
#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/EphemerisSet.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/RinexNavigation.h"

namespace Host {

// Who works out positions from the records takes the newest that has come. A file is known as a whole, so a record
// becomes due
//   when it was sent, or already when its reference time is nearer than that of the record before it would stay:
//   Lead before it (GPS an hour, half of the usual interval of two; GLONASS a quarter of an hour, half of its
//   interval); earlier than that, as soon as it holds, where no record before it holds any more or there is none: the
//   satellite was in view before its message was whole; never before it holds.
// So the newest record that is due is one that holds. A GPS record is usually sent two hours before its reference time,
// and used from then on, as receivers do: it rests on newer measurements, and gives better positions at a station of
// known place than the nearest one. Records of one satellite become due in the order in which they were sent, as the
// stores refuse others.
class NavigationPlan {
public:
    static constexpr Corvane::Time LeadGPS{3600.0};
    static constexpr Corvane::Time LeadGlonass{900.0};
    // How long a record holds on either side of its reference time. A GPS record with a longer curve fit holds longer
    // afterwards; it is not used earlier.
    static constexpr Corvane::Time HoldsGPS{7200.0};
    static constexpr Corvane::Time HoldsGlonass{1200.0};

    // A file's records. After the last file, Complete. Under the leap-second rule of the records, by which those of
    // GLONASS are checked.
    void Add(const RinexNavigation& navigation, std::string_view file);
    // Puts the records in order, without repeats and without those that contradict their neighbours or put their
    // satellite where none can be.
    void Complete();

    // A line for each record that is left out for that.
    [[nodiscard]] std::vector<std::string> GetDoubts() const { return set_.GetDoubts(); }
    [[nodiscard]] std::size_t GetNmrRecords() const { return due_.size(); }
    [[nodiscard]] std::optional<GNSS::GPSTime> GetFirstReference() const { return set_.GetFirst(); }

    // When the next record is due; nothing after the last.
    [[nodiscard]] const GNSS::GPSTime* GetNext() const { return next_ < due_.size() ? &due_[next_].time : nullptr; }
    // Gives the next record, complete, and goes on.
    void SendNext(RecordSink& sink);
    // Begins with the first again.
    void Rewind();

private:
    struct Due {
        GNSS::GPSTime time;
        GNSS::GPSTime sent;
        const EphemerisSet::GPSRecords::Entry* gps = nullptr;
        const EphemerisSet::GlonassRecords::Entry* glonass = nullptr;
    };
    template <typename Records, typename Entry>
    void Plan(const Records& records, const Entry* Due::*place, Corvane::Time lead, Corvane::Time holds);

    EphemerisSet set_;
    std::vector<Due> due_;
    std::size_t next_ = 0;
};

}  // namespace Host
