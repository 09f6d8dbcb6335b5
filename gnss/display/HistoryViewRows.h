// HistoryViewRows: in what the views of GPS and GLONASS ephemerides differ.
#pragma once

#include <span>

#include "gnss/display/RecordRows.h"
#include "gnss/ephemeris/EphemerisRules.h"
#include "gnss/fwd.h"

namespace GNSS {

template <typename System>
struct HistoryViewRows {
    using Record = typename EphemerisRules<System>::Record;

    [[nodiscard]] static const char* Name();  // "GPS"
    [[nodiscard]] static std::span<const RecordRows::Row<Record>> Get();
    [[nodiscard]] static bool IsTooOld(const Record& record, const GPSTime& now);
};

// In EphemerisView.cpp.
template <>
const char* HistoryViewRows<GPSSystem>::Name();
template <>
std::span<const RecordRows::Row<GPSEphemeride>> HistoryViewRows<GPSSystem>::Get();
template <>
bool HistoryViewRows<GPSSystem>::IsTooOld(const GPSEphemeride& record, const GPSTime& now);

// In GlonassEphemerisView.cpp.
template <>
const char* HistoryViewRows<GlonassSystem>::Name();
template <>
std::span<const RecordRows::Row<Glonass::Ephemeride>> HistoryViewRows<GlonassSystem>::Get();
template <>
bool HistoryViewRows<GlonassSystem>::IsTooOld(const Glonass::Ephemeride& record, const GPSTime& now);

}  // namespace GNSS
