#include "host/run/PositionRows.h"

#include <array>
#include <cmath>

#include <fmt/format.h>

#include "gnss/platform/Statistics.h"
#include "host/fix/FixNotes.h"

namespace Host {

namespace {

struct PositionColumn {
    Column column;
    bool isInTable = false;
};

// In the order in which Fill gives the cells.
std::vector<PositionColumn> AllColumns() {
    return {
        {{"time", "GPST", 23, 0, true}, true},
        {{"latitude", "deg", 13, 9}, true},
        {{"longitude", "deg", 14, 9}, true},
        {{"height", "m", 10, 3}, true},
        {{"sd_east", "m", 8, 3}, true},
        {{"sd_north", "m", 8, 3}, true},
        {{"sd_up", "m", 8, 3}, true},
        {{"gdop", "", 6, 2}, false},
        {{"pdop", "", 6, 2}, true},
        {{"hdop", "", 6, 2}, true},
        {{"vdop", "", 6, 2}, false},
        {{"gps_used", "", 8}, true},
        {{"gps_tracked", "", 11}, false},
        {{"gps_rejected", "", 12}, false},
        {{"glonass_used", "", 12}, true},
        {{"glonass_tracked", "", 15}, false},
        {{"glonass_rejected", "", 16}, false},
        {{"unit_variance", "", 13, 3}, true},
        {{"f_limit", "", 7, 3}, true},
        {{"test", "", 16, 0, true}, true},
        {{"largest_w", "", 9, 2}, true},
        {{"largest_w_of", "", 12, 0, true}, true},
        {{"external_2d", "m", 11, 2}, true},
        {{"external_3d", "m", 11, 2}, true},
        {{"ellipse95_major", "m", 15, 3}, false},
        {{"ellipse95_minor", "m", 15, 3}, false},
        {{"ellipse95_direction", "deg", 19, 1}, false},
        {{"velocity_east", "m/s", 13, 3}, false},
        {{"velocity_north", "m/s", 14, 3}, false},
        {{"velocity_up", "m/s", 11, 3}, false},
        {{"clock_gps", "m", 12, 3}, false},
        {{"clock_glonass", "m", 13, 3}, false},
        {{"notes", "", 5}, true},
        {{"failure", "", 24, 0, true}, true},
    };
}

// "2020-06-25 00:00:30.000", to the millisecond, which all receivers' epochs are fine with; returns the length.
std::string_view PrintEpoch(const GNSS::GPSTime& time, std::array<char, 40>& to) {
    GNSS::GPSTime rounded = time;
    rounded.Round(3);
    const Corvane::Date date = rounded.GetDate();
    const std::int64_t ms = std::llround(rounded.GetSeconds() * 1000.0) % std::int64_t{86'400'000};
    char* const end = fmt::format_to(to.data(), "{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}", date.Year(), date.Month(),
                                     date.Day(), ms / 3'600'000, ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
    return {to.data(), static_cast<std::size_t>(end - to.data())};
}

}  // namespace

PositionRows::PositionRows(Form form, const std::string& path) : isTable_(form == Form::Table), sink_(path) {
    std::vector<Column> columns;
    for (PositionColumn& each : AllColumns()) {
        if (!isTable_ || each.isInTable) columns.push_back(std::move(each.column));
    }
    writer_ = RowWriter::Make(form, std::move(columns), sink_);
}

void PositionRows::OnFix(const PublishedFix& fix) {
    const FixResult& result = fix.result;
    const bool valid = result.valid;
    cells_.clear();
    const auto add = [this](const Cell& cell, bool isInTable = true) {
        if (!isTable_ || isInTable) cells_.push_back(cell);
    };
    const auto number = [&](double value, bool isInTable = true) { add(valid ? Cell(value) : Cell(), isInTable); };
    const auto count = [&](int value, bool isInTable = true) { add(std::int64_t{value}, isInTable); };

    std::array<char, 40> epoch{};
    add(PrintEpoch(result.time, epoch));
    number(result.geog.GetPhi().Degrees());
    number(result.geog.GetLambda().Degrees());
    number(result.geog.GetHeight());
    number(std::sqrt(result.covar.GetVarianceEast()));
    number(std::sqrt(result.covar.GetVarianceNorth()));
    number(std::sqrt(result.covar.GetVarianceHeight()));
    number(result.dop.GetGDOP(), false);
    number(result.dop.GetPDOP());
    number(result.dop.GetHDOP());
    number(result.dop.GetVDOP(), false);
    count(result.gps.used);
    count(result.gps.tracked, false);
    count(result.gps.rejected, false);
    count(result.glonass.used);
    count(result.glonass.tracked, false);
    count(result.glonass.rejected, false);
    const bool isTested = valid && result.ukooa.NmrFreedom() > 0;
    add(isTested ? Cell(result.ukooa.UnitVariance()) : Cell());
    add(isTested ? Cell(result.fLimit) : Cell());
    add(std::string_view(Name(result.test)));
    const bool hasLargest = isTested && result.maxWRow >= 0;
    const FixSatellite* largest = hasLargest ? result.FindRow(result.maxWRow) : nullptr;
    const std::string name = largest != nullptr ? SatelliteName(largest->glonass, largest->number) : "height";
    add(hasLargest ? Cell(result.maxW) : Cell());
    add(hasLargest ? Cell(std::string_view(name)) : Cell());
    const auto reliability = [&](const GNSS::UKOOA::ExtRel& extRel) {
        add(isTested && extRel.index >= 0 ? Cell(extRel.value) : Cell());
    };
    reliability(result.ukooa.GetExtRel2D());
    reliability(result.ukooa.GetExtRel3D());
    const Corvane::Ellipse ellipse = result.ukooa.GetHorizEllipse().ScaledTo(Corvane::NormPercent::Percent95);
    number(ellipse.GetSemiMajor(), false);
    number(ellipse.GetSemiMinor(), false);
    number(ellipse.GetOrientation().Degrees(), false);
    const Velocity& velocity = result.velocity;
    const auto rate = [&](double value) { add(velocity.valid ? Cell(value) : Cell(), false); };
    rate(velocity.vely.GetEast());
    rate(velocity.vely.GetNorth());
    rate(velocity.vely.GetHeight());
    add(valid && result.clockGPS ? Cell(*result.clockGPS) : Cell(), false);
    add(valid && result.clockGlonass ? Cell(*result.clockGlonass) : Cell(), false);
    count(fix.notes.NmrNote());
    add(valid ? Cell() : Cell(std::string_view(Describe(result.failure))));
    writer_->Write(cells_);
}

std::string PositionRows::Finish(const RunFacts& /*facts*/) {
    writer_.reset();
    return sink_.Close();
}

}  // namespace Host
