// In what the ephemeris stores of GPS and GLONASS differ, for the template that is written once for both.
#pragma once

#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"
#include "gnss/store/GNSSLink.h"

namespace GNSS {

template <typename System>
struct EphemerisStoreRules;

template <>
struct GNSS_EXPORT EphemerisStoreRules<GPSSystem> {
    // Of the factory, its components and their data-age record.
    static constexpr const char* Name = "GPS Ephemeris";
    // "objets" is intended: operators' help and scripts know the text so.
    static constexpr const char* Description = "Store for a GPS Ephemeris, location of ephemeris calculation objets.";

    // Of the outputs.
    static constexpr Corvane::Index HistoryIndex{7};
    static constexpr Corvane::Index CalcIndex{8};
    static constexpr Corvane::Index DataAgeIndex{};

    [[nodiscard]] static Corvane::Type RecordType() { return GNSSLink::GPSEphemerideType; }
    [[nodiscard]] static Corvane::Type FullType() { return GNSSLink::FullGPSEphemerisType; }
    [[nodiscard]] static Corvane::Type HistoryType() { return GNSSLink::GPSEphemerisType; }
    [[nodiscard]] static Corvane::Type CalcType() { return GNSSLink::GPSEphemerisCalcType; }
    [[nodiscard]] static Corvane::Type DataAgeType() { return GNSSLink::IODEDataType; }

    // The health word as SVHealth has it.
    [[nodiscard]] static int GetHealth(const GPSEphemeride& record) { return record.status.GetHealth(); }
};

template <>
struct GNSS_EXPORT EphemerisStoreRules<GlonassSystem> {
    static constexpr const char* Name = "GLONASS Ephemeris";
    static constexpr const char* Description =
        "Store for a Glonass Ephemeris, location of ephemeris calculation objects.";

    // The numbers after those of the GPS store, so that a list of the outputs named "Ephemeris" tells all four apart.
    static constexpr Corvane::Index HistoryIndex{9};
    static constexpr Corvane::Index CalcIndex{10};
    static constexpr Corvane::Index DataAgeIndex{};

    [[nodiscard]] static Corvane::Type RecordType() { return GNSSLink::GlonassEphemerideType; }
    [[nodiscard]] static Corvane::Type FullType() { return GNSSLink::FullGlonassEphemerisType; }
    [[nodiscard]] static Corvane::Type HistoryType() { return GNSSLink::GlonassEphemerisType; }
    [[nodiscard]] static Corvane::Type CalcType() { return GNSSLink::GlonassEphemerisCalcType; }
    [[nodiscard]] static Corvane::Type DataAgeType() { return GNSSLink::TbDataType; }

    [[nodiscard]] static int GetHealth(const Glonass::Ephemeride& record) {
        return record.status.Get(Glonass::Ephemeride::Status::Health);
    }
};

}  // namespace GNSS
