#include "gnss/time/SatelliteIdType.h"

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

template <typename System>
SatelliteIdType<System>::SatelliteIdType() : MultiType(System::IdTypeName) {}

template <typename System>
SatelliteIdType<System>::~SatelliteIdType() = default;

template class SatelliteIdType<GPSSystem>;
template class SatelliteIdType<GlonassSystem>;

template <>
const PRNType PRNType::TheType{};
template <>
const PRNType::Defn PRNType::TheVoidDefn{GPSSystem::IdTypeName, PRN()};
template <>
const Glonass::SlotType Glonass::SlotType::TheType{};
template <>
const Glonass::SlotType::Defn Glonass::SlotType::TheVoidDefn{GlonassSystem::IdTypeName, Glonass::Slot()};

}  // namespace GNSS
