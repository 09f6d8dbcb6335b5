// MissingSatellites: which satellites were used and stand above the mask, but are not received any more.
#pragma once

#include <map>
#include <optional>

#include "gnss/geodesy/ECEF.h"
#include "gnss/health/Notes.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixInputs.h"
#include "host/fix/FixResult.h"
#include "host/fix/FixSettings.h"

namespace Host {

class MissingSatellites {
public:
    // A satellite that is not measured for so long is missing, s: a shadow that passes needs no remark.
    static constexpr double Patience = 10.0;

    // Takes the fix of the next epoch and adds a note for each satellite that is missing in it. One that sets, or whose
    // place nothing tells any more, is forgotten.
    void Update(const FixResult& result, const FixInputs& inputs, const FixSettings& settings, GNSS::Notes& notes);
    void Reset() { *this = MissingSatellites(); }

private:
    std::map<int, GNSS::GPSTime> lastMeasured_;  // of satellites that have been used, by the parameter of their notes
    std::optional<GNSS::ECEF> place_;            // of the last fix
};

}  // namespace Host
