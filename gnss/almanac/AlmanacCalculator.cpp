#include "gnss/almanac/AlmanacCalculator.h"

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/platform/CriticalSection.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::CriticalSection;
using Corvane::TimeDate;

Almanac::Calculator& Almanac::Calculator::operator=(const Calculator& other) {
    if (this != &other) SetAlmanac(other.Current());
    return *this;
}

Almanac::Calculator::~Calculator() = default;

bool Almanac::Calculator::SVPosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const {
    return Current().CalculatePosn(prn, t, posn, clockOffset);
}

bool Almanac::Calculator::GlonassSVPosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn,
                                        double& clockOffset) const {
    return Current().CalculatePosn(slot, t, posn, clockOffset);
}

bool Almanac::Calculator::GetGlonassIonoSF(const Glonass::Slot& slot, double& sf) const {
    return Current().GetGlonassIonoSF(slot, sf);
}

bool Almanac::Calculator::CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const {
    return SVPosn(prn, t, posn, clockOffset);
}

bool Almanac::Calculator::CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn) const {
    double clockOffset = 0.0;
    return SVPosn(prn, t, posn, clockOffset);
}

bool Almanac::Calculator::CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn,
                                        double& clockOffset) const {
    return GlonassSVPosn(slot, t, posn, clockOffset);
}

bool Almanac::Calculator::CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn) const {
    double clockOffset = 0.0;
    return GlonassSVPosn(slot, t, posn, clockOffset);
}

bool Almanac::Calculator::CalculateIonoDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon,
                                             const Angle& elevation, const Angle& azimuth, double& delay) const {
    // The model alone is copied in the critical section: a copy of the handle would enter it twice more.
    const Iono iono = CurrentIono();
    delay = iono.CalculateDelay(t, lat, lon, elevation, azimuth);
    return true;
}

bool Almanac::Calculator::CalcUTC(const GPSTime& t, TimeDate& utc) const {
    return Current().CalcUTC(t, utc);
}

bool Almanac::Calculator::CalcUTCShort(const GPSTime& t, TimeDate& utc) const {
    return Current().CalcUTCShort(t, utc);
}

bool Almanac::Calculator::RefersTo(const Almanac& almanac) const {
    const pt::mutexlock lock(CriticalSection());
    return almanac_.inner_.SharesWith(almanac.inner_);
}

void Almanac::Calculator::SetAlmanac(const Almanac& almanac) {
    Almanac exchanged = almanac;  // the last handle of the old body goes after the lock
    const pt::mutexlock lock(CriticalSection());
    almanac_.inner_.Swap(exchanged.inner_);
}

Almanac::Iono Almanac::Calculator::CurrentIono() const {
    const pt::mutexlock lock(CriticalSection());
    return almanac_.GetIono();
}

Almanac Almanac::Calculator::Current() const {
    const pt::mutexlock lock(CriticalSection());
    return almanac_;
}

}  // namespace GNSS
