// Forward declarations of the library's classes, and the public names of what is written once for both systems.
#pragma once

#include "gnss/platform/Export.h"

namespace GNSS {

// What tells GPS from GLONASS, for the templates that are written once for both.
struct GPSSystem;
struct GlonassSystem;

// Time and identity. (clang takes a template's visibility from its first declaration, which these are.)
class GPSTime;
class GloTime;
template <typename System>
class GNSS_EXPORT SatelliteId;
template <typename System>
class GNSS_EXPORT SatelliteIdType;
template <typename System>
class GNSS_EXPORT SignalFrequency;

// Measurements.
template <typename System>
class GNSS_EXPORT SignalMeasurement;
class MeasSet;
class MeasAvail;
class MSAdjust;

using PRN = SatelliteId<GPSSystem>;
using PRNType = SatelliteIdType<GPSSystem>;
using GPSFreqy = SignalFrequency<GPSSystem>;
using GPSMeas = SignalMeasurement<GPSSystem>;

// Almanac and ephemerides.
class Almanac;
class GPSEphemeride;
template <typename System>
class GNSS_EXPORT EphemerisHistory;
template <typename System>
class GNSS_EXPORT EphemerisCalculator;
template <typename System>
class GNSS_EXPORT DataAge;

using GPSEphemeris = EphemerisHistory<GPSSystem>;
using GPSEphemerisCalc = EphemerisCalculator<GPSSystem>;
using IODEData = DataAge<GPSSystem>;
using TbData = DataAge<GlonassSystem>;

// Stores.
template <typename System>
class GNSS_EXPORT EphemerisStore;

using GPSEphemStore = EphemerisStore<GPSSystem>;

// Navigation messages.
class ICD;
class ICDGlonass;

// Health and notes.
class SVHealth;
class Notes;

// The record of a fix, and the displays.
class Constellation;
class Position;
class DOP;
class UKOOA;
struct DopArt;
class ConstellationArtist;
class ConstellationTable;
class DOPTable;

// The data views.
class RecordTable;
class RecordView;
class AlmanacView;
template <typename System>
class GNSS_EXPORT HistoryView;

using EphemerisView = HistoryView<GPSSystem>;
using GlonassEphemerisView = HistoryView<GlonassSystem>;

// Stores.
struct GNSSLink;
class AlmanacStore;

namespace Glonass {

class Ephemeride;

using Slot = SatelliteId<GlonassSystem>;
using SlotType = SatelliteIdType<GlonassSystem>;
using Frequency = SignalFrequency<GlonassSystem>;
using Measurement = SignalMeasurement<GlonassSystem>;
using Ephemeris = EphemerisHistory<GlonassSystem>;
using EphemerisCalc = EphemerisCalculator<GlonassSystem>;
using EphemStore = EphemerisStore<GlonassSystem>;

}  // namespace Glonass
}  // namespace GNSS
