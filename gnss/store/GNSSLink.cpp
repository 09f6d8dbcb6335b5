#include "gnss/store/GNSSLink.h"

namespace GNSS {

using Corvane::Type;

const Type GNSSLink::AlmanacType("Almanac");
const Type GNSSLink::FullAlmanacType("Full Almanac");
const Type GNSSLink::AlmanacUpdateType("Almanac Update");
const Type GNSSLink::AlmanacCalcType("Almanac Calculator");
const Type GNSSLink::GPSEphemerideType("GPS Ephemeride");
const Type GNSSLink::GlonassEphemerideType("GLONASS Ephemeride");
const Type GNSSLink::GPSEphemerisType("GPS Ephemeris");
const Type GNSSLink::GlonassEphemerisType("GLONASS Ephemeris");
const Type GNSSLink::FullGPSEphemerisType("Full GPS Ephemeris");
const Type GNSSLink::FullGlonassEphemerisType("Full GLONASS Ephemeris");
const Type GNSSLink::GPSEphemerisCalcType("GPS Ephemeris Calculator");
const Type GNSSLink::GlonassEphemerisCalcType("GLONASS Ephemeris Calculator");
const Type GNSSLink::IODEDataType("IODE Data");
const Type GNSSLink::TbDataType("tb Data");

}  // namespace GNSS
