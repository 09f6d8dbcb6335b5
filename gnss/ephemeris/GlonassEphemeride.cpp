#include "gnss/ephemeris/GlonassEphemeride.h"

#include <algorithm>
#include <cmath>

#include "gnss/platform/Event.h"
#include "gnss/platform/LogPoint.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/Registry.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS::Glonass {

namespace {

using Corvane::Angle;
using Corvane::compare;
using Corvane::String;
using Corvane::Stream::Succeeds;

constexpr double MoscowToUTC = 10800.0;  // 03:00 Moscow time is midnight UTC

double Length(const ECEF& v) {
    return (v - ECEF()).Magnitude();
}

bool AgreesWithin(const ECEF& a, const ECEF& b, double tolerance) {
    return compare(a.GetX(), b.GetX(), tolerance) == 0 && compare(a.GetY(), b.GetY(), tolerance) == 0 &&
           compare(a.GetZ(), b.GetZ(), tolerance) == 0;
}

bool IsOutside(double seconds, bool extended) {
    const double limit = extended ? 2100.0 : 1200.0;
    return seconds < -limit || seconds > limit;
}

// Adds the event of a refused record: what is wrong with it, and the numbers that show it.
void AddRejection(const Slot& slot, const char* what, const String& numbers) {
    Corvane::Event::AddEvent("Glonass Ephemeris", "Glonass Ephemeride update for Slot " +
                                                      String::FormatInt(slot, 2, true) + " is rejected due to an " +
                                                      what + " " + numbers + ".");
}

String Triple(const ECEF& v, int decimals) {
    return "(" + String::FormatReal(v.GetX(), -1, decimals) + ", " + String::FormatReal(v.GetY(), -1, decimals) + ", " +
           String::FormatReal(v.GetZ(), -1, decimals) + ")";
}

void WriteECEF(Corvane::Stream::Output& output, const ECEF& v) {
    output.WriteDouble(v.GetX());
    output.WriteDouble(v.GetY());
    output.WriteDouble(v.GetZ());
}

ECEF ReadECEF(Corvane::Stream::Input& input) {
    const double x = input.ReadDouble();
    const double y = input.ReadDouble();
    return {x, y, input.ReadDouble()};
}

}  // namespace

void Ephemeride::Status::Set(Word word, int value) {
    words_[static_cast<std::size_t>(word)] = value;
    if (word != Present) words_[Present] |= 1 << (word - 1);
}

bool Ephemeride::Posn::IsTheSameTb(const Posn& other) const {
    return compare(tb, other.tb, 0.001) == 0;
}

int Ephemeride::LeapCorrection(const GPSTime& t) const {
    // The tests that cost least come first; outside a week's first hour they are all.
    if (t.GetSeconds() >= 3600.0 || posn.tb - MoscowToUTC >= 900.0 || t.GetSeconds() <= GPSTime::LeapChange()) return 0;
    return GPSTime::LeapSecondZone(GPSTime::GetUTCTimeRef());
}

bool Ephemeride::IsTooOld(const GPSTime& t, bool extended) const {
    return IsOutside(GloTime(t) - GetReferenceTime(), extended);
}

bool Ephemeride::CalculatePosn(const GPSTime& t, Result& result, bool extended) const {
    result.Reset();
    if (status.IsUnhealthy()) return true;
    const GloTime now(t);
    GloTime ref = GetReferenceTime();
    double dt = now - ref;
    if (IsOutside(dt, extended)) return false;

    if (const int leap = LeapCorrection(t); leap != 0) {
        ref.Set(posn.day, posn.tb - leap, GloTime::UnknownYear);
        dt = now - ref;
    }
    Angle theta;
    theta.SetFromSemiCircle(((posn.tb - MoscowToUTC) * EarthRate.Radians() + GloTime::CalcSiderealTime(ref.GetDate())) *
                            (1.0 / 43200.0));

    result.valid = true;
    result.tb = Corvane::ToInt(posn.tb);
    result.sequence = posn.sequence;
    result.healthy = true;
    result.clockCorrection = clock.tau - dt * clock.gamma;
    result.clockDrift = -clock.gamma;
    Orbit start;
    start.InitStraight(posn.posn, posn.vely);
    start.IntegrateRotating(dt, 60.0, posn.accel).Extract(result, theta);
    return true;
}

bool Ephemeride::IsPosnTimeConsistentWithToI() const {
    const double d = GloTime(reference) - GetReferenceTime();
    return -604800.0 <= d && d <= 604800.0;
}

bool Ephemeride::HasReasonablePosn() const {
    const double q = (Length(posn.posn) - 25471.0) / 500.0;
    return -1.0 <= q && q <= 1.0;
}

bool Ephemeride::HasReasonableVely() const {
    const double q = (Length(posn.vely) - 3.375) / 0.5;
    return -1.0 <= q && q <= 1.0;
}

bool Ephemeride::IsPlausible() const {
    if (!IsPosnTimeConsistentWithToI()) {
        AddRejection(slot, "inconsistent day number", String::FormatInt(posn.day));
    } else if (!HasReasonablePosn()) {
        AddRejection(slot, "invalid position", Triple(posn.posn, 0));
    } else if (!HasReasonableVely()) {
        AddRejection(slot, "invalid velocity", Triple(posn.vely, 3));
    } else {
        return true;
    }
    return false;
}

bool Ephemeride::IsTheSame(const Ephemeride& other) const {
    return posn.day == other.posn.day && compare(posn.frameTime, other.posn.frameTime, 0.001) == 0 &&
           posn.IsTheSameTb(other.posn);
}

bool Ephemeride::HasTheSameBody(const Ephemeride& other) const {
    return posn.day == other.posn.day && posn.IsTheSameTb(other.posn) &&
           AgreesWithin(posn.posn, other.posn.posn, 0.001) && AgreesWithin(posn.vely, other.posn.vely, 1e-6) &&
           AgreesWithin(posn.accel, other.posn.accel, 1e-9);
}

Corvane::Time Ephemeride::TbDifference(const Ephemeride& other) const {
    const Corvane::Date today = Corvane::Now.GetTimeDate().GetDate();
    GloTime a = GetReferenceTime();
    GloTime b = other.GetReferenceTime();
    a.ResolveLeapYear(today);
    b.ResolveLeapYear(today);
    return Corvane::Time(a - b);
}

bool Ephemeride::CanCalcWith(int tb, bool odd) const {
    if (posn.tb != tb || status.IsUnhealthy()) return false;
    return posn.sequence < 0 || (posn.sequence % 2 != 0) == odd;
}

bool Ephemeride::Posn::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        if (IsOldFormat()) {
            output.WriteIntAsShort(day);
        } else {
            output.WriteInt(day);
        }
        output.WriteDouble(frameTime);
        output.WriteDouble(tb);
        output.WriteInt(sequence);
        for (const ECEF& v : {posn, vely, accel}) WriteECEF(output, v);
    });
}

bool Ephemeride::Posn::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Posn read;
        read.day = IsOldFormat() ? input.ReadShortAsInt() : input.ReadInt();
        read.frameTime = input.ReadDouble();
        read.tb = input.ReadDouble();
        read.sequence = input.ReadInt();
        for (ECEF* v : {&read.posn, &read.vely, &read.accel}) *v = ReadECEF(input);
        *this = read;
    });
}

bool Ephemeride::Clock::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteDouble(tau);
        output.WriteDouble(gamma);
    });
}

bool Ephemeride::Clock::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Clock read;
        read.tau = input.ReadDouble();
        read.gamma = input.ReadDouble();
        *this = read;
    });
}

bool Ephemeride::Status::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        for (const int word : words_) output.WriteInt(word);
    });
}

bool Ephemeride::Status::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Status read;
        for (int& word : read.words_) word = input.ReadInt();
        *this = read;
    });
}

bool Ephemeride::M::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteBool(isM);
        output.WriteInt(age);
        output.WriteInt(accuracyIndex);
    });
}

bool Ephemeride::M::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        M read;
        read.isM = input.ReadBool();
        read.age = input.ReadInt();
        read.accuracyIndex = input.ReadInt();
        *this = read;
    });
}

bool Ephemeride::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        if (IsOldFormat()) {
            output.WriteIntAsShort(slot);
        } else {
            output.WriteUChar(static_cast<std::uint8_t>(static_cast<int>(slot)));
        }
        GPSTimeStream::Write(output, reference);
        if (!posn.Write(output) || !clock.Write(output) || !status.Write(output) || !m.Write(output)) return false;
        output.WriteDouble(accuracy);
        return true;
    });
}

bool Ephemeride::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Ephemeride read;
        read.slot.Set(IsOldFormat() ? input.ReadShortAsInt() : input.ReadUChar());
        read.reference = GPSTimeStream::Read(input);
        if (!read.posn.Read(input) || !read.clock.Read(input) || !read.status.Read(input) || !read.m.Read(input))
            return false;
        read.accuracy = input.ReadDouble();
        *this = read;
        return true;
    });
}

bool Ephemeride::IsOldFormat() {
    // Read once: the records of one run are all of one form.
    static const int formatVersion = [] {
        unsigned long version = 0;
        const Corvane::Registry::Key key("SOFTWARE\\The Corvane Software Company\\Tolbrin\\GlonassEphemeris");
        return key.IsValid() && key.ReadULongValue("Version", version) && version == 110 ? 110 : 109;
    }();
    return Corvane::LogDataControl::FileVersion() <= formatVersion;
}

}  // namespace GNSS::Glonass
