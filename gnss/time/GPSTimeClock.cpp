// What GPSTime knows of the computer's clock and of leap seconds: one state for the process, behind one lock.
#include "gnss/platform/Clock.h"
#include "gnss/platform/Lock.h"
#include "gnss/platform/Registry.h"
#include "gnss/platform/TextIO.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GPSTimeUTCConverter.h"

namespace GNSS {

using Corvane::String;
using Corvane::Time;
using Corvane::TimeDate;

namespace {

// Made at compile time, so that constants of other libraries may ask for UTC while they are made.
constinit pt::rwlock Control;  // guards the four below
constinit Time LocalToUTC{0.0};
constinit Time LocalToGPS{16.0};
constinit int NmrLeap = 0;
// 1 July 2015 00:00:00.
constinit GPSTime::UTCConverter Standard{GPSTime(1851, 259200.0), 16, 17};

constexpr const char* OffsetKey = "SOFTWARE\\The Corvane Software Company\\Halcyra\\LocalToUTC";
constexpr const char* OffsetValue = "Offset";

}  // namespace

// The clock is asked before the lock is taken: a program's own source of time may use these operations too.

void GPSTime::SetTo(const Corvane::ClassNow& now) {
    const TimeDate local = now.GetTimeDate();
    const pt::readlock lock(Control);
    SetTo(local + LocalToGPS);
}

TimeDate GPSTime::CalcUTC(const Corvane::ClassNow& now) {
    const TimeDate local = now.GetTimeDate();
    const pt::readlock lock(Control);
    if (NmrLeap != 0) return GPSTime(local + LocalToGPS).GetUTC();
    return local + LocalToUTC;
}

TimeDate GPSTime::GetUTCTimeRef() {
    return CalcUTC(Corvane::Now);
}

TimeDate GPSTime::GetUTC() const {
    const pt::readlock lock(Control);
    return Standard.Convert(*this);
}

void GPSTime::SetFromUTC(const TimeDate& utc) {
    const pt::readlock lock(Control);
    *this = Standard.Reverse(utc);
}

int GPSTime::LeapSecondZone() {
    return LeapSecondZone(GetUTCTimeRef());
}

int GPSTime::LeapSecondZone(const TimeDate& utc) {
    const pt::readlock lock(Control);
    return Standard.LeapSecondZone(utc);
}

double GPSTime::LeapChange() {
    const pt::readlock lock(Control);
    return Standard.LeapChange();
}

GPSTime::UTCConverter GPSTime::GetUTCConverter() {
    const pt::readlock lock(Control);
    return Standard;
}

void GPSTime::SetUTCParam(const GPSTime& utcInstant, int before, int after) {
    const pt::writelock lock(Control);
    Standard = UTCConverter(utcInstant, before, after);
}

Time GPSTime::GetLocalToUTC() {
    const pt::readlock lock(Control);
    return LocalToUTC;
}

Time GPSTime::GetLocalToGPS() {
    const pt::readlock lock(Control);
    return LocalToGPS;
}

int GPSTime::GetNmrLeap() {
    const pt::readlock lock(Control);
    return NmrLeap;
}

void GPSTime::SetOffset(Time localToUTC, Time localToGPS, int nmrLeap) {
    const pt::writelock lock(Control);
    const Time change = localToUTC - LocalToUTC;
    LocalToUTC = localToUTC;
    LocalToGPS = localToGPS;
    NmrLeap = nmrLeap;
    // Stored before anyone else can set it again, so that the last one set is the one stored.
    if (change > Time::Second || change < -Time::Second) WriteLocalToUTC();
}

void GPSTime::ResetOffset() {
    const pt::writelock lock(Control);
    LocalToGPS -= LocalToUTC;
    LocalToUTC = Time::Zero;
}

void GPSTime::ReadLocalToUTC() {
    const Corvane::Registry::Key key(OffsetKey);
    String text;
    if (!key.IsValid() || !key.ReadStringValue(OffsetValue, text)) return;
    const double offset = Corvane::TextIO::ToDouble(text.View());
    SetOffset(Time(offset), Time(offset + 16.0), 0);
}

void GPSTime::WriteLocalToUTC() {
    const pt::readlock lock(Control);
    Corvane::Registry::Key key(OffsetKey, Corvane::Registry::Key::Write);
    if (key.IsValid()) key.WriteStringValue(OffsetValue, Corvane::TextIO::Print(LocalToUTC));
}

}  // namespace GNSS
