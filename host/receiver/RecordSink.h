// RecordSink: complete navigation records, as the stores take them.
#pragma once

#include <optional>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"

namespace Host {

// Every call does nothing unless it is overridden.
class RecordSink {
public:
    RecordSink() = default;
    RecordSink(const RecordSink&) = delete;
    RecordSink& operator=(const RecordSink&) = delete;
    virtual ~RecordSink() = default;

    virtual void OnRecord(const GNSS::GPSEphemeride& /*record*/) {}
    // With the frequency channel, where it is known.
    virtual void OnRecord(const GNSS::Glonass::Ephemeride& /*record*/, std::optional<int> /*channel*/) {}
    virtual void OnRecord(const GNSS::Almanac::SV& /*record*/) {}
    virtual void OnRecord(const GNSS::Almanac::GlonassSV& /*record*/) {}
    virtual void OnRecord(const GNSS::Almanac::Iono& /*record*/) {}
    virtual void OnRecord(const GNSS::Almanac::UTC& /*record*/) {}
};

}  // namespace Host
