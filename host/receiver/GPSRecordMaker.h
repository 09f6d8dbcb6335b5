// GPSRecordMaker: GPS subframes and undated GPS records to complete records. For RecordMaker, which tells the rules.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "gnss/almanac/AlmanacSV.h"
#include "gnss/icd/ICD.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/StreamClock.h"
#include "host/receiver/Waiting.h"

namespace Host {

class GPSRecordMaker {
public:
    GPSRecordMaker(StreamClock& clock, RecordSink& sink) : clock_(clock), sink_(sink) {}

    void Add(const GPSSubframe& subframe);
    void Add(const GPSDecodedEphemeride& record);
    void Add(const GNSS::Almanac::Iono& record);
    void Add(const GNSS::Almanac::UTC& record);
    // The stream's time has become known.
    void CompleteWaiting();

    [[nodiscard]] std::int64_t GetNmrWaiting() const;
    [[nodiscard]] std::int64_t GetNmrUndatable() const;
    [[nodiscard]] std::int64_t GetNmrParityFailures() const { return nmrParityFailures_; }
    [[nodiscard]] std::int64_t GetNmrRefused() const { return nmrRefused_; }

private:
    static constexpr int Satellites = GNSS::PRN::Max;

    // A record as its subframe says it, and the second of the week at which that subframe began; absent for what came
    // decoded.
    template <typename Record>
    struct Page {
        Record record;
        std::optional<double> seconds;
    };
    // Of subframes 1 to 3.
    struct Subframes {
        GNSS::GPSEphemeride ephemeride;
        int week = 0;        // of transmission, modulo 1024
        double first = 0.0;  // s of that week: the start of subframe 1
        double third = 0.0;  // s of its week: the start of subframe 3
    };
    // What page 51 of one satellite said last.
    struct AlmanacWeek {
        double toa = 0.0;    // s
        int week = 0;        // modulo 256
        GNSS::GPSTime time;  // of transmission
    };

    void TakeEphemeride(GNSS::PRN prn, const GNSS::ICD& icd);
    void TakeUTCPage(const GNSS::ICD& icd, double seconds);

    // Completes a record, or lets it wait; the index is from 0.
    template <typename Record, int Places>
    void Take(int index, const Record& record, Waiting<Record, Places>& waiting);
    void Complete(const Subframes& subframes);
    void Complete(const Page<AlmanacWeek>& page);
    void Complete(const Page<GNSS::Almanac::SV>& page);
    void Complete(const Page<GNSS::Almanac::Iono>& page);
    void Complete(const Page<GNSS::Almanac::UTC>& page);
    void Complete(const GPSDecodedEphemeride& record);

    // The full time of transmission.
    [[nodiscard]] GNSS::GPSTime Date(const std::optional<double>& seconds) const;

    StreamClock& clock_;
    RecordSink& sink_;
    // By PRN; 0 is for pages that come from no particular satellite.
    std::array<GNSS::ICD, static_cast<std::size_t>(Satellites) + 1> icds_;
    std::optional<AlmanacWeek> almanacWeek_;
    Waiting<Page<AlmanacWeek>, 1> almanacWeeks_;
    Waiting<Subframes, Satellites> ephemerides_;
    Waiting<GPSDecodedEphemeride, Satellites> decoded_;
    Waiting<Page<GNSS::Almanac::SV>, Satellites> almanacs_;
    Waiting<Page<GNSS::Almanac::Iono>, 1> iono_;
    Waiting<Page<GNSS::Almanac::UTC>, 1> utc_;
    std::int64_t nmrParityFailures_ = 0;
    std::int64_t nmrRefused_ = 0;
};

}  // namespace Host
