// RecordInvariants: whether records are what those of a RecordMaker always are, whatever the stream.
#pragma once

#include <cmath>
#include <optional>

#include "gnss/time/GloTime.h"
#include "host/receiver/RecordSink.h"

namespace Host {

class RecordInvariants : public RecordSink {
public:
    // Whether all records so far were as they must be.
    [[nodiscard]] bool AreHeld() const { return areHeld_; }

    void OnRecord(const GNSS::GPSEphemeride& record) override {
        const auto& posn = record.posn;
        const auto& clock = record.clock;
        Check(record.prn.IsValid() && IsDated(record.reference) && IsOfWeek(posn.toe) && IsOfWeek(clock.toc));
        Check(std::abs((record.GetTOE() - record.reference).Seconds()) <= GNSS::GPSTime::SecsInWeek / 2);
        Check(std::isfinite(posn.sqrtA + posn.e + posn.M0.Radians() + posn.Crc + posn.Crs + clock.af0 + clock.Tgd));
        Check(posn.sqrtA >= 0.0 && posn.e >= 0.0 && posn.e <= 0.5);
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        const auto& posn = record.posn;
        Check(record.slot.IsValid() && IsDated(record.reference) && (!channel || std::abs(*channel) <= 13));
        Check(posn.tb >= 0.0 && posn.tb < 86400.0 && posn.frameTime >= 0.0 && posn.frameTime < 86400.0);
        Check(std::isfinite(posn.posn.Radius() + posn.vely.Radius() + posn.accel.Radius()));
        Check(std::isfinite(record.clock.tau + record.clock.gamma + record.accuracy));
        // tb is the one nearest to the frame, which the record is dated with; leap seconds may be any.
        const double sent = (record.reference - GNSS::GPSTime::Zero).Seconds() + 10800.0;
        const double since = record.posn.day * 86400.0 + posn.tb - sent;
        constexpr double Interval = GNSS::GloTime::DaysInInterval * 86400.0;
        // 6 January 1980 is the sixth day of its interval.
        Check(posn.day >= 1 && posn.day <= GNSS::GloTime::DaysInInterval);
        Check(std::abs(std::remainder(since - 6 * 86400.0, Interval)) <= 43200.0 + 300.0 || IsBeyondRule(record));
    }
    void OnRecord(const GNSS::Almanac::SV& record) override {
        Check(record.prn.IsValid() && IsDated(record.time) && IsOfWeek(record.toa.GetSeconds()));
        Check(std::abs(record.toa.GetWeek() - record.time.GetWeek()) <= 128);
        Check(std::isfinite(record.sqrtA + record.e + record.M0.Radians() + record.af0));
    }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override {
        Check(record.slot.IsValid() && IsDated(record.time) && record.day >= 1);
        Check(record.day <= GNSS::GloTime::DaysInInterval && record.channel >= -7 && record.channel <= 24);
        Check(std::isfinite(record.TLambda + record.Eccent + record.DDrac + record.TauN));
    }
    void OnRecord(const GNSS::Almanac::Iono& record) override {
        Check(IsDated(record.time) && std::isfinite(record.alpha0 + record.beta3));
    }
    void OnRecord(const GNSS::Almanac::UTC& record) override {
        Check(IsDated(record.time) && record.DN >= 1 && record.DN <= 7 && std::isfinite(record.A0 + record.A1));
        Check(std::abs(record.WNt - record.time.GetWeek()) <= 128);
        Check(std::abs(record.WNLSF - record.time.GetWeek()) <= 128);
    }

private:
    void Check(bool holds) { areHeld_ = areHeld_ && holds; }
    static bool IsOfWeek(double seconds) { return seconds >= 0.0 && seconds < GNSS::GPSTime::SecsInWeek; }
    // The latest week that a header can say, and one beyond at a turn.
    static bool IsDated(const GNSS::GPSTime& time) {
        return time.GetWeek() >= -1 && time.GetWeek() <= 0x10000 && IsOfWeek(time.GetSeconds());
    }
    // From 2100 on the intervals are no more of 1461 days each.
    static bool IsBeyondRule(const GNSS::Glonass::Ephemeride& record) {
        return record.reference.GetDate() < Corvane::Date(1980, 1, 8) ||
               record.reference.GetDate() > Corvane::Date(2099, 12, 30);
    }

    bool areHeld_ = true;
};

}  // namespace Host
