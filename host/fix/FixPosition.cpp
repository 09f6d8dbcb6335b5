#include "host/fix/FixPosition.h"

#include <cmath>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/PositionCalcInfo.h"
#include "gnss/position/PositionVelocityInfo.h"

namespace Host {
namespace {

using GNSS::Position;

constexpr int MaxLevel = 3;

void SetMethod(Position& position, const FixResult& result, const FixSettings& settings) {
    Position::CalcInfo info;
    if (result.valid) {
        info.SetValid();
        if (settings.ranges == FixSettings::Ranges::IonosphereFree) info.SetDualFreqy();
        if (result.heightAided && !result.heightRejected) info.SetHeightAid();
        if (result.gps.used > 0) info.AddCalcMode(Position::CalcInfo::GPSOnly);
        if (result.glonass.used > 0) {
            info.SetGlonass();
            info.AddCalcMode(Position::CalcInfo::GlonassOnly);
        }
    }
    position.SetCalcInfo(info);
    switch (info.GetCalcMode()) {
        case Position::CalcInfo::GPSOnly:
            position.SetSolutionMode("GPS", 1, MaxLevel, Position::SolutionMode::Settled);
            break;
        case Position::CalcInfo::GlonassOnly:
            position.SetSolutionMode("GLO", 2, MaxLevel, Position::SolutionMode::Settled);
            break;
        case Position::CalcInfo::GPSAndGlonass:
            position.SetSolutionMode("GPS+GLO", 3, MaxLevel, Position::SolutionMode::Settled);
            break;
        case Position::CalcInfo::NoneYet:
            position.ResetSolutionMode();
            break;
    }
}

}  // namespace

Position MakePosition(const FixResult& result, const FixSettings& settings, const GNSS::Notes& notes) {
    Position position;
    position.SetGPSTime(result.time);
    position.SetTimeDate(result.time.GetUTC());
    if (result.valid) {
        position.SetCoord(result.geog, GNSS::Spheroid::WGS84);
        position.SetCovar(result.covar);
        position.SetDOP(result.dop);
        position.SetUKOOA(result.ukooa);
    }
    if (result.velocity.valid) {
        const GNSS::Grid::Delta& v = result.velocity.vely;
        Corvane::Angle course = Corvane::Angle::ArcTan2(v.GetEast(), v.GetNorth());
        if (course < Corvane::Angle::Zero) course += Corvane::Angle::Straight * 2.0;
        position.SetVelocityInfo({std::hypot(v.GetEast(), v.GetNorth()), course});
    }
    position.SetConstellation(result.constellation);
    position.SetNotes(notes);
    SetMethod(position, result, settings);
    return position;
}

}  // namespace Host
