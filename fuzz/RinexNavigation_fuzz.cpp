// RINEX navigation: whatever the text, what is kept is within the range of the messages and can be computed with, and
// every record left out has its warning.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/receiver/RinexNavigation.h"

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

bool IsFinite(const GNSS::ECEF& v) {
    return std::isfinite(v.GetX()) && std::isfinite(v.GetY()) && std::isfinite(v.GetZ());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Host::RinexNavigation navigation;
    Host::FileError error;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    if (!navigation.Parse(text, "fuzz", error)) {
        Check(!error.reason.empty() && navigation.gps.empty() && navigation.glonass.empty());
        return 0;
    }
    Check(navigation.warnings.GetCount() >= navigation.nmrRefused);
    for (const auto& record : navigation.gps) {
        const GNSS::GPSEphemeride& eph = record.ephemeride;
        Check(eph.prn.IsValid() && record.line > 0);
        Check(eph.posn.e >= 0.0 && eph.posn.e <= 0.5 && eph.posn.sqrtA > 0.0 && std::isfinite(eph.clock.af0));
        Check(std::abs((eph.GetTOE() - eph.GetTOC()).Seconds()) <= GNSS::GPSTime::SecsInWeek);
        Check(!record.transmission || std::abs((*record.transmission - eph.GetTOE()).Seconds()) <= 86400.0);
        GNSS::GPSEphemeride::Result result;
        eph.CalculatePosn(eph.GetTOC(), result);
        Check(IsFinite(result.posn) && std::isfinite(result.clockCorrection));
    }
    for (const auto& record : navigation.glonass) {
        const GNSS::Glonass::Ephemeride& eph = record.ephemeride;
        Check(eph.slot.IsValid() && record.line > 0);
        Check(eph.posn.day >= 1 && eph.posn.day <= 1461 && std::fmod(eph.posn.tb, 900.0) == 0.0);
        Check(eph.posn.frameTime >= 0.0 && eph.posn.frameTime < 86400.0);
        Check(IsFinite(eph.posn.posn) && IsFinite(eph.posn.vely) && IsFinite(eph.posn.accel));
        Check(std::abs((eph.reference - record.tb).Seconds()) <= 43200.0);
        Check(!record.channel || (*record.channel >= -7 && *record.channel <= 13));
    }
    if (navigation.utc) Check(std::isfinite(navigation.utc->A0) && navigation.utc->WNt >= 0);
    if (navigation.iono) Check(std::isfinite(navigation.iono->alpha0) && std::isfinite(navigation.iono->beta3));
    return 0;
}
