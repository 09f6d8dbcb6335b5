// RecordMaker: completes what a receiver's stream says to the records that the stores take.
#pragma once

#include <cstdint>

#include "host/receiver/GPSRecordMaker.h"
#include "host/receiver/GlonassRecordMaker.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/StreamClock.h"

namespace Host {

// Words go to the library through GNSS::ICD, one for each GPS satellite, strings through GNSS::ICDGlonass, one for each
// slot; what they decode is given its satellite, its date and its full weeks here, and so is what came decoded. All of
// it from the stream's own time and leap seconds: neither the computer's clock nor the process's leap-second rule
// decides anything, and the rule is not changed.
//
// What is dated how:
//   GPS ephemeride      reference = time of transmission, the start of the last of its three subframes. Its week is the
//                       one that subframe 1 tells modulo 1024, within four weeks of the stream's time. One that came
//                       decoded: the time of transmission, or where the source does not say it the stream's, when that
//                       is within a day of toc, else toc.
//   GPS almanac, ionosphere, UTC    time = time of transmission, the start of the page's subframe: the same from all
//                       satellites. toa lies in the week that page 51 tells, when that page is of the last day and
//                       names the same toa, else in the week that brings it nearest.
//   GLONASS ephemeride  reference = time of transmission, the start of the frame. The day is that of tb, which lies
//                       nearest to the frame: about midnight not the frame's own, which the satellite sends.
//   GLONASS almanac     time = time of transmission, the start of the first of its two strings.
//   Ionosphere and UTC that came decoded    time = the stream's.
//
// What tells another date than the stream's time has given it is refused: ephemerides by the week of subframe 1 and by
// the day N_T, GLONASS almanacs by N_T of the same frame and by their own day, which is no more than two weeks off. So
// is what no satellite can have sent: orbits that meet the earth, pages without their data ID, leap seconds that are
// more than two off the table of LeapSeconds.h.
//
// What cannot be dated, because the stream has not told its time yet or does not know it any more, waits: of each kind
// and satellite the newest.
// Records come in the order in which they become complete; a receiver that hears an ephemeride again gives it again.
class RecordMaker : public ReceiverSink {
public:
    // The sink must outlive this.
    explicit RecordMaker(RecordSink& sink) : gps_(clock_, sink), glonass_(clock_, sink) {}

    void OnTime(const GNSS::GPSTime& time) override;
    void OnTimeLost() override { clock_.LoseTime(); }
    void OnLeapSeconds(int seconds) override { clock_.SetLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override { gps_.Add(subframe); }
    void OnString(const GlonassString& string) override { glonass_.Add(string); }
    void OnEphemeride(const GPSDecodedEphemeride& record) override { gps_.Add(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { glonass_.Add(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { gps_.Add(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { gps_.Add(record); }

    // What the stream has told of the time.
    [[nodiscard]] const StreamClock& GetClock() const { return clock_; }
    // Records that wait for the stream's time.
    [[nodiscard]] std::int64_t GetNmrWaiting() const { return gps_.GetNmrWaiting() + glonass_.GetNmrWaiting(); }
    // Records dropped for a newer one while they waited, and GLONASS strings that came before the time was known.
    [[nodiscard]] std::int64_t GetNmrUndatable() const { return gps_.GetNmrUndatable() + glonass_.GetNmrUndatable(); }
    // Subframes whose parity is wrong, strings that fail the Hamming check.
    [[nodiscard]] std::int64_t GetNmrParityFailures() const { return gps_.GetNmrParityFailures(); }
    [[nodiscard]] std::int64_t GetNmrHammingFailures() const { return glonass_.GetNmrHammingFailures(); }
    // Records whose parts do not belong together, that contradict the stream's time, or that say what cannot be; and
    // leap seconds that cannot be.
    [[nodiscard]] std::int64_t GetNmrRefused() const {
        return clock_.GetNmrRefused() + gps_.GetNmrRefused() + glonass_.GetNmrRefused();
    }

private:
    StreamClock clock_;
    GPSRecordMaker gps_;
    GlonassRecordMaker glonass_;
};

}  // namespace Host
