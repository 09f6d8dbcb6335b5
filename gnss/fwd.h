// Forward declarations of the library's classes, and the public names of what is written once for both systems.
#pragma once

namespace GNSS {

// What tells GPS from GLONASS, for the templates that are written once for both.
struct GPSSystem;
struct GlonassSystem;

// Time and identity.
class GPSTime;
class GloTime;
class PRNType;
template <typename System>
class SatelliteId;
template <typename System>
class SignalFrequency;

using PRN = SatelliteId<GPSSystem>;
using GPSFreqy = SignalFrequency<GPSSystem>;

namespace Glonass {

class SlotType;

using Slot = SatelliteId<GlonassSystem>;
using Frequency = SignalFrequency<GlonassSystem>;

}  // namespace Glonass
}  // namespace GNSS
