#include "gnss/almanac/AlmanacGlonassSV.h"

#include <cmath>
#include <numbers>

#include "gnss/almanac/GlonassAlmanacModel.h"
#include "gnss/geodesy/Kepler.h"
#include "gnss/platform/Number.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::Date;
using Corvane::Stream::Succeeds;

namespace {

constexpr double NodeFactor = 6.430041152263375e-7;  // 10 degrees a day in semicircles per second: 1/1555200
constexpr double PerigeeFactor = 3.2150205761316875e-7;
constexpr double MetresPerKm = 1000.0;

// Seconds from the node crossing to perigee.
double TimeOfPerigee(Angle w, double e, double n, double period) {
    const double E = 2.0 * std::atan(Corvane::root((1.0 - e) / (1.0 + e), 1e-10) * tan(w * 0.5));
    const double t = (E - e * std::sin(E)) / n;
    return w.Compare(Angle::Straight, 1e-11) > 0 ? t + period : t;
}

}  // namespace

void GlonassAlmanacModel::GermanCalc(const Almanac::GlonassSV& record, double dt, double earthRate, ECEF& posn,
                                     ECEF::Delta& vely) {
    const double e = record.Eccent;
    const double period = record.GetDraconicPeriod();
    const double n = 2.0 * std::numbers::pi / period;
    const double a = std::cbrt(Almanac::GlonassSV::Gravity / (n * n));
    const double k = std::pow(Almanac::GlonassSV::Radius / a, 3.5);

    const Angle i = record.GetInclination();
    const double ci = cos(i);
    const double si = sin(i);
    const double nodeRate = std::numbers::pi * -NodeFactor * ci * k;
    const double perigeeRate = std::numbers::pi * PerigeeFactor * (5.0 * ci * ci - 1.0) * k;
    const Angle Omega = record.Lambda + Angle(nodeRate - earthRate) * dt;
    const Angle w = record.W + Angle(perigeeRate) * dt;

    const double M = (dt - TimeOfPerigee(w, e, n, period)) * n;
    const auto anomaly = SolveKepler(M, e, KeplerStop::AtOrBelow);
    const double minorAxis = std::sqrt(1.0 - e * e);  // of the ellipse with the major axis 1
    const double x = a * (anomaly.cosE - e);
    const double y = a * minorAxis * anomaly.sinE;
    const double speed = a * n / (1.0 - e * anomaly.cosE);
    const double vx = -speed * anomaly.sinE;
    const double vy = speed * minorAxis * anomaly.cosE;

    const double cO = cos(Omega);
    const double sO = sin(Omega);
    const double cw = cos(w);
    const double sw = sin(w);
    const ECEF::Delta P(cO * cw - sO * sw * ci, sO * cw + cO * sw * ci, sw * si);
    const ECEF::Delta Q(-cO * sw - sO * cw * ci, cO * cw * ci - sO * sw, cw * si);
    posn = ECEF() + (P * x + Q * y) * MetresPerKm;
    // Omega turns with the earth: the velocity so far is that of an inertial frame along the earth's axes.
    vely = (P * vx + Q * vy) * MetresPerKm + ECEF::Delta(earthRate * posn.GetY(), -earthRate * posn.GetX(), 0.0);
}

bool Almanac::GlonassSV::GermanCalc(const GloTime& t, ECEF& posn, ECEF::Delta& vely) const {
    GlonassAlmanacModel::GermanCalc(*this, t.Subtract(GetEpoch()), EarthRate, posn, vely);
    return true;
}

bool Almanac::GlonassSV::CalculatePosn(const GPSTime& t, ECEF& posn) const {
    ECEF::Delta vely;
    return GermanCalc(GloTime(t), posn, vely);
}

bool Almanac::GlonassSV::CalculatePosn(const GPSTime& t, ECEF& posn, double& /*clockOffset*/) const {
    return CalculatePosn(t, posn);
}

bool Almanac::GlonassSV::IsTimeConsistentWithToI() const {
    return std::abs(GloTime(time).Subtract(GetEpoch())) <= 2.0 * GPSTime::SecsInWeek;
}

Angle Almanac::GlonassSV::Calcwi(double h, double l, double e) {
    return e == 0.0 ? Angle::Zero : Angle::ArcTan2(h, l);
}

int Almanac::GlonassSV::CalcDayNumber(const Date& date) {
    GloTime time;
    time.SetFromUTC({date, Corvane::TimeOfDay()});  // 3 h of the same day in Moscow
    return time.GetDay();
}

Angle Almanac::GlonassSV::CalcSiderealTime(const Date& date) {
    // Aoki and others, Astronomy and Astrophysics 105 (1982): seconds of sidereal time, t in centuries of UT1.
    const double t = (date - Date(2000, 1, 1) - 0.5) / 36525.0;
    const double seconds = 24110.54841 + t * (8640184.812866 + t * (0.093104 - t * 6.2e-6));
    return Angle(Corvane::modulo(seconds, 86400.0) * (2.0 * std::numbers::pi / 86400.0));
}

bool Almanac::GlonassSV::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteIntAsShort(slot);
        output.WriteIntAsShort(channel);
        GPSTimeStream::Write(output, time);
        output.WriteIntAsShort(health);
        output.WriteIntAsShort(day);
        output.WriteAngle(Lambda);
        output.WriteDouble(TLambda);
        output.WriteDouble(Eccent);
        output.WriteAngle(W);
        output.WriteAngle(Di);
        for (const double value : {DDrac, DDracDot, TauN}) output.WriteDouble(value);
    });
}

bool Almanac::GlonassSV::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        GlonassSV read;
        read.slot.Set(input.ReadShortAsInt());
        read.channel = input.ReadShortAsInt();
        read.time = GPSTimeStream::Read(input);
        read.health = input.ReadShortAsInt();
        read.day = input.ReadShortAsInt();
        read.Lambda = input.ReadAngle();
        read.TLambda = input.ReadDouble();
        read.Eccent = input.ReadDouble();
        read.W = input.ReadAngle();
        read.Di = input.ReadAngle();
        for (double* value : {&read.DDrac, &read.DDracDot, &read.TauN}) *value = input.ReadDouble();
        *this = read;
    });
}

}  // namespace GNSS
