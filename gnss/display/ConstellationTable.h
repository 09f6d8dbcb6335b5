// GNSS::ConstellationTable: the satellites of a constellation as a table.
#pragma once

#include "gnss/display/DopArt.h"
#include "gnss/display/TableArt.h"
#include "gnss/fwd.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// A row for each satellite, in the constellation's order: number, elevation and azimuth in whole degrees cut towards
// zero, and a word for its state. GLONASS satellites stand below those of GPS under a heading of their own. Numbers are
// filled with blanks (" 9\xB0"); the cell of a direction that is not finite is empty.
class GNSS_EXPORT ConstellationTable : public TableArt {
public:
    // Of both systems.
    ConstellationTable() { Init(); }
    explicit ConstellationTable(const Constellation& constellation) : ConstellationTable() {
        SetConstellation(constellation);
    }

    // Also empties the table: the constellation is not kept.
    void SetMode(DopArt::Mode mode) {
        mode_ = mode;
        Init();
    }
    [[nodiscard]] DopArt::Mode GetMode() const { return mode_; }
    void SetConstellation(const Constellation& constellation);

private:
    void Init();

    DopArt::Mode mode_ = DopArt::Both;
};

}  // namespace GNSS
