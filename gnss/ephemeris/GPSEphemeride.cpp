#include "gnss/ephemeris/GPSEphemeride.h"

#include <cmath>

#include "gnss/ephemeris/GPSOrbitModel.h"
#include "gnss/geodesy/Kepler.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS {

namespace {

using Corvane::Angle;
using Corvane::Time;
using Corvane::Stream::Succeeds;

// Seconds from the instant with second of week `reference` that lies closest to the record's reference time, to t.
double Elapsed(const GPSEphemeride& record, double reference, const GPSTime& t) {
    return (t - record.reference.GetClosest(reference)).Seconds();
}

double MeanMotion(const GPSEphemeride::Posn& posn, double gravity) {
    const double a = posn.sqrtA * posn.sqrtA;
    return std::sqrt(gravity / (a * a * a)) + posn.deltaN.Radians();
}

// Where in its orbit the satellite is, tk seconds after toe, up to the plane of the orbit.
struct InPlane {
    double sinE, cosE;
    double shrink;       // 1 - e cos E
    double sin2, cos2;   // of twice the argument of latitude, uncorrected
    double sinU, cosU;   // of the corrected argument of latitude
    double radius;       // m
    double inclination;  // rad
};

InPlane Place(const GPSEphemeride& record, double tk, double meanMotion) {
    const GPSEphemeride::Posn& p = record.posn;
    InPlane at{};
    const auto anomaly = SolveKepler(record.MeanAnomaly(Time(tk), Angle(meanMotion)).Radians(), p.e, KeplerStop::Below);
    at.sinE = anomaly.sinE;
    at.cosE = anomaly.cosE;
    at.shrink = 1.0 - p.e * at.cosE;

    // The true anomaly is only used through its sine and cosine, which the eccentric one gives as ratios: the same
    // numbers as through the arctangent, without it.
    const double sinV = std::sqrt(1.0 - p.e * p.e) * at.sinE / at.shrink;
    const double cosV = (at.cosE - p.e) / at.shrink;
    const double sinW = sin(p.omega);
    const double cosW = cos(p.omega);
    const double sinPhi = sinV * cosW + cosV * sinW;
    const double cosPhi = cosV * cosW - sinV * sinW;
    at.sin2 = 2.0 * sinPhi * cosPhi;
    at.cos2 = cosPhi * cosPhi - sinPhi * sinPhi;

    const double du = p.Cuc.Radians() * at.cos2 + p.Cus.Radians() * at.sin2;
    const double dr = p.Crc * at.cos2 + p.Crs * at.sin2;
    const double di = p.Cic.Radians() * at.cos2 + p.Cis.Radians() * at.sin2;
    const double sinDu = std::sin(du);
    const double cosDu = std::cos(du);
    at.sinU = sinPhi * cosDu + cosPhi * sinDu;
    at.cosU = cosPhi * cosDu - sinPhi * sinDu;
    at.radius = p.sqrtA * p.sqrtA * at.shrink + dr;
    at.inclination = p.i0.Radians() + di + p.IDOT.Radians() * tk;
    return at;
}

double NodeRate(const GPSEphemeride::Posn& p) {
    return (p.OmegaDot - GPSEphemeride::EarthRate).Radians();
}

double Node(const GPSEphemeride::Posn& p, double tk) {
    return p.Omega0.Radians() + NodeRate(p) * tk - GPSEphemeride::EarthRate.Radians() * p.toe;
}

}  // namespace

Angle GPSEphemeride::MeanAnomaly(const Time& tk, const Angle& n) const {
    const Angle M = posn.M0 + n * tk.Seconds();
    return M < Angle::Zero ? M + Angle(2.0 * GPSPi) : M;
}

Angle GPSEphemeride::EccentricAnomaly(const Angle& M) const {
    const double E = SolveKepler(M.Radians(), posn.e, KeplerStop::Below).E;
    return Angle(E < 0.0 ? E + 2.0 * GPSPi : E);
}

bool GPSEphemeride::IsTooOld(const GPSTime& t) const {
    double limit = 7500.0;
    if (status.IsValid(Status::CurveFit)) {
        const int halfFit = status.GetCurveFit() / 2;  // whole hours
        limit = halfFit * 3600.0 + 300.0;
    }
    const double dt = Elapsed(*this, clock.toc, t);
    return dt < -limit || dt > limit;
}

bool GPSEphemeride::CalculatePosn(const GPSTime& t, Result& result) const {
    return GPSOrbitModel::CalculatePosn(*this, t, Gravity, result);
}

ECEF::Delta GPSEphemeride::CalculateVely(const GPSTime& t) const {
    return GPSOrbitModel::CalculateVely(*this, t, Gravity);
}

bool GPSOrbitModel::CalculatePosn(const GPSEphemeride& record, const GPSTime& t, double gravity,
                                  GPSEphemeride::Result& result) {
    result.Reset();
    if (!record.status.IsHealthy()) return true;
    result.healthy = true;
    if (record.IsTooOld(t)) return false;

    const GPSEphemeride::Posn& posn = record.posn;
    const GPSEphemeride::Clock& clock = record.clock;
    const double dt = Elapsed(record, clock.toc, t);
    const double tk = Elapsed(record, posn.toe, t);
    const InPlane at = Place(record, tk, MeanMotion(posn, gravity));
    result.clockCorrection =
        (clock.af2 * dt + clock.af1) * dt + clock.af0 + GPSEphemeride::F * posn.e * posn.sqrtA * at.sinE;
    result.groupDelay = clock.Tgd;

    const double node = Node(posn, tk);
    const double sinO = std::sin(node);
    const double cosO = std::cos(node);
    const double sinI = std::sin(at.inclination);
    const double cosI = std::cos(at.inclination);
    const double x = at.radius * at.cosU;
    const double y = at.radius * at.sinU;
    result.posn.Set(x * cosO - y * cosI * sinO, x * sinO + y * cosI * cosO, y * sinI);
    result.IODE = posn.IODE;
    result.valid = true;
    return true;
}

ECEF::Delta GPSOrbitModel::CalculateVely(const GPSEphemeride& record, const GPSTime& t, double gravity) {
    const GPSEphemeride::Posn& posn = record.posn;
    const double tk = Elapsed(record, posn.toe, t);
    const double n = MeanMotion(posn, gravity);
    const InPlane at = Place(record, tk, n);

    // Derivatives of the same steps.
    const double dE = n / at.shrink;
    const double dV = std::sqrt(1.0 - posn.e * posn.e) * dE / at.shrink;
    const double dU = dV + 2.0 * dV * (posn.Cus.Radians() * at.cos2 - posn.Cuc.Radians() * at.sin2);
    const double dR =
        posn.sqrtA * posn.sqrtA * posn.e * at.sinE * dE + 2.0 * dV * (posn.Crs * at.cos2 - posn.Crc * at.sin2);
    const double dI = posn.IDOT.Radians() + 2.0 * dV * (posn.Cis.Radians() * at.cos2 - posn.Cic.Radians() * at.sin2);
    const double dNode = NodeRate(posn);

    const double node = Node(posn, tk);
    const double sinO = std::sin(node);
    const double cosO = std::cos(node);
    const double sinI = std::sin(at.inclination);
    const double cosI = std::cos(at.inclination);
    const double x = at.radius * at.cosU;
    const double y = at.radius * at.sinU;
    const double vx = dR * at.cosU - y * dU;
    const double vy = dR * at.sinU + x * dU;
    const double across = vy * cosI - y * sinI * dI;  // in the equator, at right angles to the node
    return {vx * cosO - across * sinO - dNode * (x * sinO + y * cosI * cosO),
            vx * sinO + across * cosO + dNode * (x * cosO - y * cosI * sinO),  //
            vy * sinI + y * cosI * dI};
}

bool GPSEphemeride::Posn::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteInt(IODE);
        for (const double value : {toe, sqrtA, e}) output.WriteDouble(value);
        for (const Angle angle : {M0, Omega0, i0, omega, deltaN, OmegaDot, IDOT}) output.WriteAngle(angle);
        output.WriteDouble(Crc);
        output.WriteDouble(Crs);
        for (const Angle angle : {Cuc, Cus, Cic, Cis}) output.WriteAngle(angle);
    });
}

bool GPSEphemeride::Posn::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Posn read;
        read.IODE = input.ReadInt();
        for (double* value : {&read.toe, &read.sqrtA, &read.e}) *value = input.ReadDouble();
        for (Angle* angle : {&read.M0, &read.Omega0, &read.i0, &read.omega, &read.deltaN, &read.OmegaDot, &read.IDOT}) {
            *angle = input.ReadAngle();
        }
        read.Crc = input.ReadDouble();
        read.Crs = input.ReadDouble();
        for (Angle* angle : {&read.Cuc, &read.Cus, &read.Cic, &read.Cis}) *angle = input.ReadAngle();
        *this = read;
    });
}

bool GPSEphemeride::Clock::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteInt(IODC);
        for (const double value : {toc, Tgd, af2, af1, af0}) output.WriteDouble(value);
    });
}

bool GPSEphemeride::Clock::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        Clock read;
        read.IODC = input.ReadInt();
        for (double* value : {&read.toc, &read.Tgd, &read.af2, &read.af1, &read.af0}) *value = input.ReadDouble();
        *this = read;
    });
}

bool GPSEphemeride::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteIntAsShort(prn);
        GPSTimeStream::Write(output, reference);
        return posn.Write(output) && clock.Write(output) && status.Write(output);
    });
}

bool GPSEphemeride::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        GPSEphemeride read;
        // By Set, to which the number 0 is PRN 32: a record without a satellite comes back as one of PRN 32.
        read.prn.Set(input.ReadShortAsInt());
        read.reference = GPSTimeStream::Read(input);
        if (!read.posn.Read(input) || !read.clock.Read(input) || !read.status.Read(input)) return false;
        *this = read;
        return true;
    });
}

}  // namespace GNSS
