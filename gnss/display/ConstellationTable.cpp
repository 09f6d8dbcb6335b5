#include "gnss/display/ConstellationTable.h"

#include <cmath>
#include <cstdint>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Font.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"
#include "gnss/position/Constellation.h"

namespace GNSS {

using Corvane::String;
using Corvane::StringTable;
using Corvane::TextPlace;

namespace {

String WholeDegrees(Corvane::Angle angle, int width) {
    const double degrees = angle.Degrees();
    if (!std::isfinite(degrees)) return {};
    // A whole number of degrees may fall short by a bit of its way through radians: 30 degrees must not read 29.
    return String::FormatInt(Corvane::ToInt(Corvane::round(degrees, 9)), width) + "\xB0";
}

String StateWord(int state, int healthy) {
    if (state == healthy) return "Healthy";
    if (state == Constellation::BelowMask) return "Below Mask";
    return state == Constellation::Disabled ? "Disabled" : "Unhealthy";
}

template <typename Entries>
void AddRows(StringTable& table, const Entries& entries, int healthy) {
    for (const auto& entry : entries) {
        table.AddRow({String::FormatInt(entry.GetId(), 2), WholeDegrees(entry.GetElevation(), 2),
                      WholeDegrees(entry.GetAzimuth(), 3), StateWord(entry.GetState(), healthy)});
    }
}

}  // namespace

void ConstellationTable::Init() {
    table_ = StringTable();
    table_.AddColumn({mode_ == DopArt::GlonassOnly ? "Slot" : "PRN", "G00", TextPlace::Centre});
    table_.AddColumn({"Elev", "00\xB0", TextPlace::Centre});
    table_.AddColumn({"Azi", "000\xB0", TextPlace::Centre});
    table_.AddColumn({"Status", "Below Mask", TextPlace::Centre});
    table_.AddRule(StringTable::UnderHeading);
}

void ConstellationTable::SetConstellation(const Constellation& constellation) {
    table_.ClearRows();
    table_.ClearRules();
    table_.AddRule(StringTable::UnderHeading);
    // Each system has a code of its own for a healthy satellite, and calls the other's unhealthy. Intended.
    if (DopArt::ShowsGPS(mode_)) AddRows(table_, constellation.GetSVs(), Constellation::HealthyGPS);
    if (mode_ == DopArt::Both) {
        table_.AddRule(table_.AddRow({"Slot", "Elev", "Azi", "Status"}, Corvane::Style::Heading));
    }
    if (DopArt::ShowsGlonass(mode_)) AddRows(table_, constellation.GetGlonassSVs(), Constellation::HealthyGlonass);
}

}  // namespace GNSS
