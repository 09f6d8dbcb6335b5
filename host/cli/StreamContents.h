// StreamContents: what is in a receiver's stream, counted while it is decoded.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <tuple>
#include <utility>

#include "host/receiver/LeapRule.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RecordSink.h"
#include "host/report/RecordFields.h"

namespace Host {

// Takes what a decoder delivers, leads the process's clock and leap-second rule along the stream's time, and has the
// records made.
class StreamContents : public ReceiverSink, public RecordSink {
public:
    struct Satellite {
        std::int64_t subframes = 0;
        std::int64_t strings = 0;
        std::int64_t epochs = 0;  // in which it was measured
        std::int64_t ephemerides = 0;
        std::int64_t almanacs = 0;  // of this satellite, whoever sent them
    };
    struct Records {
        std::int64_t nmr = 0;
        std::int64_t different = 0;  // by satellite, reference time and issue; what is sent again is not
    };
    using TakeRecord = std::function<void(const RecordFields&)>;

    // Every record is also given to `take`, unless that is empty. The rule must outlive this.
    StreamContents(LeapRule& leaps, TakeRecord take) : leaps_(leaps), take_(std::move(take)), maker_(*this) {}

    void OnTime(const GNSS::GPSTime& time) override;
    void OnTimeLost() override { maker_.OnTimeLost(); }
    // The same for the time of a record that comes from elsewhere; it makes nothing.
    void TakeTime(const GNSS::GPSTime& time);
    void OnLeapSeconds(int seconds) override { maker_.OnLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override;
    void OnString(const GlonassString& string) override;
    void OnEphemeride(const GPSDecodedEphemeride& record) override { Pass(record, &ReceiverSink::OnEphemeride); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { Pass(record, &ReceiverSink::OnEphemeride); }
    void OnIono(const GNSS::Almanac::Iono& record) override { Pass(record, &ReceiverSink::OnIono); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { Pass(record, &ReceiverSink::OnUTC); }
    void OnMeasurements(const GNSS::MeasSet& set) override;

    void OnRecord(const GNSS::GPSEphemeride& record) override;
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override;
    void OnRecord(const GNSS::Almanac::SV& record) override;
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override;
    void OnRecord(const GNSS::Almanac::Iono& record) override;
    void OnRecord(const GNSS::Almanac::UTC& record) override;

    // By letter and number, in the order of their names.
    [[nodiscard]] const std::map<std::pair<char, int>, Satellite>& GetSatellites() const { return satellites_; }
    // By kind.
    [[nodiscard]] const std::map<std::string, Records>& GetRecords() const { return records_; }
    [[nodiscard]] std::int64_t GetNmrEpochs() const { return nmrEpochs_; }
    // The stream's time at the first and the last epoch of measurements, subframe, string and record, by time; where
    // there are none, the earliest and the latest time that it told; nothing when it told none.
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetFirst() const { return (heard_.first ? heard_ : told_).first; }
    [[nodiscard]] const std::optional<GNSS::GPSTime>& GetLast() const { return (heard_.first ? heard_ : told_).last; }
    // The first step of more than a day between two times that the stream told.
    [[nodiscard]] const std::optional<std::pair<GNSS::GPSTime, GNSS::GPSTime>>& GetJump() const { return jump_; }
    [[nodiscard]] RecordMaker& Maker() { return maker_; }
    [[nodiscard]] const RecordMaker& Maker() const { return maker_; }

private:
    struct Span {
        std::optional<GNSS::GPSTime> first;
        std::optional<GNSS::GPSTime> last;
        void Extend(const GNSS::GPSTime& time);
    };
    // What tells a record from its repeats: system, satellite, and two numbers of its contents.
    using Key = std::tuple<const char*, int, double, double>;

    // Passes on what came decoded.
    template <typename Record>
    void Pass(const Record& record, void (ReceiverSink::*call)(const Record&)) {
        Hear();
        (static_cast<ReceiverSink&>(maker_).*call)(record);
    }
    // Something is heard now.
    void Hear();
    void CountRecord(const char* kind, int satellite, double a, double b);
    template <typename Set>
    void CountMeasured(char system, const Set& set);

    LeapRule& leaps_;
    TakeRecord take_;
    RecordMaker maker_;
    std::map<std::pair<char, int>, Satellite> satellites_;
    std::map<std::string, Records> records_;
    std::set<Key> seen_;
    std::int64_t nmrEpochs_ = 0;
    Span told_;
    Span heard_;
    std::optional<std::pair<GNSS::GPSTime, GNSS::GPSTime>> jump_;
};

}  // namespace Host
