// GNSS::Almanac::Calculator: what an almanac can compute, for those who never see the almanac itself.
#pragma once

#include "gnss/almanac/Almanac.h"
#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/TimeDate.h"
#include "gnss/time/GPSTime.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Refers to an almanac, which its owner exchanges for the next one when something has changed. Any thread may compute
// meanwhile: each computation is of one whole almanac, the one referred to when it began. Units, frames and failures
// are those of the computations of Almanac; nothing allocates.
//
// A copy refers to the same almanac and does not follow later exchanges.
class GNSS_EXPORT Almanac::Calculator {
public:
    // To a fresh almanac.
    Calculator() = default;
    explicit Calculator(const Almanac& almanac) : almanac_(almanac) {}
    Calculator(const Calculator& other) : almanac_(other.Current()) {}
    Calculator& operator=(const Calculator& other);

    // What a calculator of another source replaces. Called by any thread. The order of the virtual functions is part of
    // the interface, which is why the destructor comes last.
    virtual bool SVPosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    virtual bool GlonassSVPosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    virtual bool GetGlonassIonoSF(const Glonass::Slot& slot, double& sf) const;
    virtual ~Calculator();

    // By SVPosn and GlonassSVPosn.
    bool CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    bool CalculatePosn(const PRN& prn, const GPSTime& t, ECEF& posn) const;
    bool CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn, double& clockOffset) const;
    bool CalculatePosn(const Glonass::Slot& slot, const GPSTime& t, ECEF& posn) const;

    bool CalculateIonoDelay(const GPSTime& t, const Latitude& lat, const Longitude& lon,
                            const Corvane::Angle& elevation, const Corvane::Angle& azimuth, double& delay) const;
    bool CalcUTC(const GPSTime& t, Corvane::TimeDate& utc) const;
    bool CalcUTCShort(const GPSTime& t, Corvane::TimeDate& utc) const;

    // Whether it refers to this very almanac or a copy of it, neither changed since they were one.
    [[nodiscard]] bool RefersTo(const Almanac& almanac) const;
    // Refers to this almanac, as it is now, from the next computation on. The exchange is one moment inside the
    // process's critical section.
    void SetAlmanac(const Almanac& almanac);

private:
    [[nodiscard]] Almanac Current() const;
    [[nodiscard]] Iono CurrentIono() const;

    Almanac almanac_;  // exchanged and copied in the critical section only
};

}  // namespace GNSS
