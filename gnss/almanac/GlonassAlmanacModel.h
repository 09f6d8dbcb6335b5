// The two evaluations of a GLONASS almanac with the rotation of the earth as an argument. Not part of the interface:
// the published examples are computed with the usual rate, the library's own is another.
#pragma once

#include "gnss/almanac/AlmanacGlonassOrbit.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Export.h"

namespace GNSS::GlonassAlmanacModel {

// Almanac::GlonassSV::GermanCalc, dt seconds after the node crossing; earthRate in rad/s.
GNSS_EXPORT void GermanCalc(const Almanac::GlonassSV& record, double dt, double earthRate, ECEF& posn,
                            ECEF::Delta& vely);

// Almanac::GlonassSV::Orbit::Calculate, likewise.
[[nodiscard]] GNSS_EXPORT Almanac::GlonassSV::Orbit CalculateOrbit(const Almanac::GlonassSV& record, double dt,
                                                                   double earthRate);

}  // namespace GNSS::GlonassAlmanacModel
