// GNSS::MeasSet: the measurements of both systems at one epoch.
#pragma once

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"

namespace GNSS {

// A GPS and a GLONASS set, each a handle: copying shares both.
class GNSS_EXPORT MeasSet {
public:
    // Under which measurement sets travel on the host's links: "MeasSet".
    static const Corvane::Type Type;

    // Both sets empty, at GPSTime::Zero.
    MeasSet() = default;
    explicit MeasSet(const GPSMeas::Set& gps) : gps_(gps) {}
    explicit MeasSet(const Glonass::Measurement::Set& glonass) : glonass_(glonass) {}
    MeasSet(const GPSMeas::Set& gps, const Glonass::Measurement::Set& glonass) : gps_(gps), glonass_(glonass) {}

    [[nodiscard]] const GPSMeas::Set& GetGPS() const { return gps_; }
    [[nodiscard]] GPSMeas::Set& GetGPS() { return gps_; }
    [[nodiscard]] const Glonass::Measurement::Set& GetGlonass() const { return glonass_; }
    [[nodiscard]] Glonass::Measurement::Set& GetGlonass() { return glonass_; }

    // The epoch: the time of the GPS set or, when that has none, of the GLONASS set.
    [[nodiscard]] const GPSTime& GetGPSTime() const {
        return gps_.GetTime() == GPSTime::Zero ? glonass_.GetTime() : gps_.GetTime();
    }

    friend bool operator==(const MeasSet&, const MeasSet&) = default;

private:
    GPSMeas::Set gps_;
    Glonass::Measurement::Set glonass_;
};

}  // namespace GNSS
