#include "gnss/almanac/AlmanacSV.h"

#include <cmath>

#include "gnss/geodesy/Kepler.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GPSTimeStream.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::Time;
using Corvane::Stream::Succeeds;

Angle Almanac::SV::MeanAnomaly(Time dt, Angle n) const {
    const Angle M = M0 + n * dt.Seconds();
    return M < Angle::Zero ? M + Angle(2.0 * GPSPi) : M;
}

Angle Almanac::SV::EccentricAnomaly(Angle M) const {
    return Angle(SolveKepler(M.Radians(), e, KeplerStop::AtOrBelow).E);
}

bool Almanac::SV::CalculatePosn(const GPSTime& t, ECEF& posn, double& clockOffset) const {
    const Time tk = t - toa;
    const double A = sqrtA * sqrtA;
    const Angle n(std::sqrt(Gravity / (A * A * A)));
    const auto anomaly = SolveKepler(MeanAnomaly(tk, n).Radians(), e, KeplerStop::AtOrBelow);
    clockOffset = af0 + af1 * tk.Seconds() + F * e * sqrtA * anomaly.sinE;

    const double nu = std::atan2(std::sqrt(1.0 - e * e) * anomaly.sinE, anomaly.cosE - e);
    const double phi = nu + w.Radians();
    const double r = A * (1.0 - e * anomaly.cosE);
    const double x = r * std::cos(phi);
    const double y = r * std::sin(phi);

    const Angle Omega = Omega0 + (OmegaDot - Angle(EarthRate)) * tk.Seconds() - Angle(EarthRate * toa.GetSeconds());
    const double sinO = sin(Omega);
    const double cosO = cos(Omega);
    const double yCosI = y * cos(i);
    posn.Set(x * cosO - yCosI * sinO, x * sinO + yCosI * cosO, y * sin(i));
    return true;
}

bool Almanac::SV::CalculatePosn(const GPSTime& t, ECEF& posn) const {
    double clockOffset = 0.0;
    return CalculatePosn(t, posn, clockOffset);
}

bool Almanac::SV::Write(Corvane::Stream::Output& output) const {
    return Succeeds([&] {
        output.WriteIntAsShort(prn);
        GPSTimeStream::Write(output, time);
        GPSTimeStream::Write(output, toa);
        output.WriteIntAsShort(health);
        output.WriteDouble(e);
        output.WriteAngle(i);
        output.WriteAngle(OmegaDot);
        output.WriteDouble(sqrtA);
        for (const Angle angle : {Omega0, w, M0}) output.WriteAngle(angle);
        output.WriteDouble(af0);
        output.WriteDouble(af1);
    });
}

bool Almanac::SV::Read(Corvane::Stream::Input& input) {
    return Succeeds([&] {
        SV read;
        // A record without a satellite stays one: to Set the number 0 would be PRN 32.
        const int number = input.ReadShortAsInt();
        if (number != 0) read.prn.Set(number);
        read.time = GPSTimeStream::Read(input);
        read.toa = GPSTimeStream::Read(input);
        read.health = input.ReadShortAsInt();
        read.e = input.ReadDouble();
        read.i = input.ReadAngle();
        read.OmegaDot = input.ReadAngle();
        read.sqrtA = input.ReadDouble();
        for (Angle* angle : {&read.Omega0, &read.w, &read.M0}) *angle = input.ReadAngle();
        read.af0 = input.ReadDouble();
        read.af1 = input.ReadDouble();
        *this = read;
    });
}

}  // namespace GNSS
