// Navigation records as named values with units.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/time/GPSTime.h"
#include "host/report/Rows.h"

namespace Host {

// One value of a record. The names and units of a kind of record, and their order, are always the same.
struct RecordField {
    Column column;  // name, unit, decimals
    Cell value;
};

// A record of any kind: what it is, whose, and its values in the order of the message. Angles are in radians and their
// rates in rad/s, whatever the message counts; the rest is in the units of the library's record.
struct RecordFields {
    const char* kind = "";
    std::string satellite;  // "G05"; empty for what concerns none
    GNSS::GPSTime time;     // that dates the record
    std::vector<RecordField> fields;
};

[[nodiscard]] RecordFields FieldsOf(const GNSS::GPSEphemeride& record);
[[nodiscard]] RecordFields FieldsOf(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel);
[[nodiscard]] RecordFields FieldsOf(const GNSS::Almanac::SV& record);
[[nodiscard]] RecordFields FieldsOf(const GNSS::Almanac::GlonassSV& record);
[[nodiscard]] RecordFields FieldsOf(const GNSS::Almanac::Iono& record);
[[nodiscard]] RecordFields FieldsOf(const GNSS::Almanac::UTC& record);

}  // namespace Host
