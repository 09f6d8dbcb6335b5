// SatelliteIdType: a satellite identifier as a type of host parameters; written once for PRNType and Glonass::SlotType.
#pragma once

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Param.h"
#include "gnss/platform/ParamCore.h"
#include "gnss/time/GPSSystem.h"
#include "gnss/time/GlonassSystem.h"
#include "gnss/time/SatelliteId.h"

namespace GNSS {

// The parameter type "PRN" or "Slot". The host knows it by name as long as the library is loaded, through the one
// object TheType; copies register the name again.
template <typename System>
class GNSS_EXPORT SatelliteIdType : public Corvane::ParamCore::MultiType {
public:
    using Defn = typename Corvane::Param<SatelliteId<System>>::Defn;

    static const SatelliteIdType TheType;
    // Defines a parameter of this type, whose empty value is the null identifier.
    static const Defn TheVoidDefn;

    SatelliteIdType(const SatelliteIdType&) = default;
    SatelliteIdType& operator=(const SatelliteIdType&) = delete;
    ~SatelliteIdType() override;

private:
    SatelliteIdType();
};

// Made while the library loads, all in one source: nothing in the library asks for them before.
template <>
GNSS_EXPORT const PRNType PRNType::TheType;
template <>
GNSS_EXPORT const PRNType::Defn PRNType::TheVoidDefn;
template <>
GNSS_EXPORT const Glonass::SlotType Glonass::SlotType::TheType;
template <>
GNSS_EXPORT const Glonass::SlotType::Defn Glonass::SlotType::TheVoidDefn;

extern template class SatelliteIdType<GPSSystem>;
extern template class SatelliteIdType<GlonassSystem>;

}  // namespace GNSS
