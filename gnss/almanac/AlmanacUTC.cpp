#include "gnss/almanac/AlmanacUTC.h"

#include "gnss/platform/Number.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS {

using Corvane::Date;
using Corvane::Time;
using Corvane::TimeDate;
using Corvane::TimeOfDay;
using Corvane::Stream::Succeeds;

namespace {

enum class Rule { A, B, C };

Rule RuleAt(const Almanac::UTC& utc, const GPSTime& t) {
    const GPSTime event(utc.WNLSF, Time::Day * utc.DN);
    if (t < event - Time::Hour * 6.0) return Rule::A;
    return t >= event + Time::Hour * 6.0 ? Rule::C : Rule::B;
}

// GPS time minus UTC, with the leap seconds given.
double Offset(const Almanac::UTC& utc, const GPSTime& t, int leapSeconds) {
    const double weeks = static_cast<double>(t.GetWeek()) - utc.WNt;
    const double sinceReference = weeks * GPSTime::SecsInWeek + (t.GetSeconds() - utc.Tot);
    return leapSeconds + utc.A0 + utc.A1 * sinceReference;
}

TimeDate Less(const GPSTime& t, double offset) {
    return GPSTime(t.GetWeek(), t.GetSeconds() - offset).GetTimeDate();
}

// The twelve hours around the event, in which a day may be longer or shorter: the time of day is counted on from noon
// of the day before the event.
TimeDate AroundEvent(const Almanac::UTC& utc, const GPSTime& t, double offset) {
    constexpr double Noon = 43200.0;
    const double sinceMidnight = Corvane::modulo(t.GetSeconds() - offset - Noon, GPSTime::SecsInDay) + Noon;
    const double length = GPSTime::SecsInDay + utc.DtLSF - utc.DtLS;
    const double time = Corvane::modulo(sinceMidnight, length);
    const Date after = GPSTime::Start + (std::int64_t{7} * utc.WNLSF + utc.DN);
    return {time <= Noon ? after : after - 1, TimeOfDay(time)};
}

}  // namespace

TimeDate Almanac::UTC::CalcUTC(const GPSTime& t) const {
    const Rule rule = RuleAt(*this, t);
    if (rule == Rule::A) return CaseA(t);
    return rule == Rule::B ? CaseB(t) : CaseC(t);
}

TimeDate Almanac::UTC::CalcUTCShort(const GPSTime& t) const {
    const Rule rule = RuleAt(*this, t);
    if (rule == Rule::A) return CaseAShort(t);
    return rule == Rule::B ? CaseBShort(t) : CaseCShort(t);
}

TimeDate Almanac::UTC::CaseA(const GPSTime& t) const {
    return Less(t, Offset(*this, t, DtLS));
}

TimeDate Almanac::UTC::CaseB(const GPSTime& t) const {
    return AroundEvent(*this, t, Offset(*this, t, DtLS));
}

TimeDate Almanac::UTC::CaseC(const GPSTime& t) const {
    return Less(t, Offset(*this, t, DtLSF));
}

TimeDate Almanac::UTC::CaseAShort(const GPSTime& t) const {
    return Less(t, DtLS);
}

TimeDate Almanac::UTC::CaseBShort(const GPSTime& t) const {
    return AroundEvent(*this, t, DtLS);
}

TimeDate Almanac::UTC::CaseCShort(const GPSTime& t) const {
    return Less(t, DtLSF);
}

bool Almanac::UTC::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        GPSTimeStream::Write(output, time);
        output.WriteDouble(A0);
        output.WriteDouble(A1);
        output.WriteInt(DtLS);
        output.WriteDouble(Tot);
        for (const int value : {WNt, WNLSF, DN, DtLSF}) output.WriteInt(value);
    });
}

bool Almanac::UTC::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        UTC read;
        read.time = GPSTimeStream::Read(input);
        read.A0 = input.ReadDouble();
        read.A1 = input.ReadDouble();
        read.DtLS = input.ReadInt();
        read.Tot = input.ReadDouble();
        for (int* value : {&read.WNt, &read.WNLSF, &read.DN, &read.DtLSF}) *value = input.ReadInt();
        *this = read;
    });
}

}  // namespace GNSS
