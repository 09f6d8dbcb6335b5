#include "host/report/FixRows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string_view>

#include "gnss/position/PositionVelocityInfo.h"
#include "gnss/position/UKOOAResid.h"
#include "host/fix/FixNotes.h"

namespace Host {

namespace {

// As wide as the name at least.
Column Make(std::string_view name, const char* unit, int width, int decimals, bool isLeft) {
    return {std::string(name), unit, std::max(width, static_cast<int>(name.size())), decimals, isLeft};
}

Column Text(const char* name, int width = 4) {
    return Make(name, "", width, 0, true);
}

Column Whole(const char* name) {
    return Make(name, "", 2, 0, false);
}

// With a sign and so many digits before the point.
Column Real(const char* name, const char* unit, int decimals, int digits = 3) {
    return Make(name, unit, digits + decimals + 2, decimals, false);
}

double Degrees(double radians) {
    return Corvane::Angle(radians).Degrees();
}

// A standard deviation; NaN of a variance that is none.
double SD(double variance) {
    return std::sqrt(variance);
}

const char* NameOfWTest(Corvane::LLSq::WTest test, int redundancy) {
    switch (test) {
        case Corvane::LLSq::WPassed:
            return redundancy > 1 ? "passed" : "not identifiable";
        case Corvane::LLSq::WFailedLargest:
            return "failed, largest";
        case Corvane::LLSq::WFailed:
            return "failed";
        case Corvane::LLSq::WNotTestable:
            break;
    }
    return "not testable";
}

}  // namespace

std::vector<Column> FixRow::Columns() {
    return {
        Whole("gps_week"),
        Real("gps_time", "s", 4, 6),
        Text("utc", 24),
        Whole("fix"),
        Text("failure", 24),
        Text("mode", 7),
        Text("test", 16),
        // What was measured and used.
        Whole("used"),
        Whole("used_gps"),
        Whole("used_glonass"),
        Whole("tracked_gps"),
        Whole("tracked_glonass"),
        Whole("rejected_gps"),
        Whole("rejected_glonass"),
        Text("height_aid"),
        Whole("ionosphere"),
        Whole("notes"),
        // Where.
        Real("latitude", "deg", 9),
        Real("longitude", "deg", 9),
        Real("height", "m", 4, 4),
        Real("x", "m", 4, 8),
        Real("y", "m", 4, 8),
        Real("z", "m", 4, 8),
        Real("sd_east", "m", 4),
        Real("sd_north", "m", 4),
        Real("sd_up", "m", 4),
        Real("cov_east_north", "m2", 5),
        Real("cov_east_up", "m2", 5),
        Real("cov_north_up", "m2", 5),
        Real("gdop", "", 3),
        Real("pdop", "", 3),
        Real("hdop", "", 3),
        Real("vdop", "", 3),
        Real("tdop", "", 3),
        Real("edop", "", 3),
        Real("ndop", "", 3),
        Real("clock_gps", "m", 3),
        Real("clock_glonass", "m", 3),
        // How good.
        Whole("redundancy"),
        Real("unit_variance", "", 4),
        Real("f_limit", "", 4),
        Text("f_test"),
        Text("w_test"),
        Real("max_w", "", 3),
        Text("max_w_satellite"),
        Real("w_limit", "", 4),
        Real("residual_rms", "m", 3),
        Whole("unchecked"),
        Real("mdb", "m", 3),
        Text("mdb_satellite"),
        Real("ext_rel_2d", "m", 3),
        Real("ext_rel_2d_bearing", "deg", 1),
        Text("ext_rel_2d_satellite"),
        Real("ext_rel_height", "m", 3),
        Text("ext_rel_height_satellite"),
        Real("ext_rel_3d", "m", 3),
        Text("ext_rel_3d_satellite"),
        Real("ellipse95_major", "m", 3),
        Real("ellipse95_minor", "m", 3),
        Real("ellipse95_bearing", "deg", 1),
        Real("ellipse95_factor", "", 4),
        Real("height95", "m", 3),
        Real("height95_factor", "", 4),
        Real("ellipsoid95_major", "m", 3),
        Real("ellipsoid95_factor", "", 4),
        // How fast.
        Real("v_east", "m/s", 4),
        Real("v_north", "m/s", 4),
        Real("v_up", "m/s", 4),
        Real("sd_v_east", "m/s", 4),
        Real("sd_v_north", "m/s", 4),
        Real("sd_v_up", "m/s", 4),
        Real("sog", "m/s", 4),
        Real("cmg", "deg", 2),
        Real("clock_drift", "m/s", 4),
        Whole("rates_used"),
        Whole("rates_rejected"),
    };
}

std::vector<std::size_t> FixRow::ChiefColumns() {
    constexpr std::array Chief{"gps_week",     "gps_time",      "utc",     "latitude", "longitude", "height",
                               "sd_east",      "sd_north",      "sd_up",   "pdop",     "hdop",      "used_gps",
                               "used_glonass", "unit_variance", "f_limit", "test",     "max_w",     "max_w_satellite",
                               "ext_rel_2d",   "ext_rel_3d",    "notes",   "failure"};
    const std::vector<Column> columns = Columns();
    std::vector<std::size_t> places;
    for (const std::string_view name : Chief) {
        const auto found = std::ranges::find(columns, name, &Column::name);
        if (found != columns.end()) places.push_back(static_cast<std::size_t>(found - columns.begin()));
    }
    return places;
}

void FixRow::Add(const FixResult& result, const FixFigures::Largest& largest, std::string& name) {
    name = NameOfRow(result, largest.row);
    Add(largest.value);
    Add(std::string_view(name));
}

void FixRow::AddPosition(const FixResult& result) {
    Add(result.geog.GetPhi().Degrees());
    Add(result.geog.GetLambda().Degrees());
    Add(result.geog.GetHeight());
    Add(result.ecef.GetX());
    Add(result.ecef.GetY());
    Add(result.ecef.GetZ());
    Add(SD(result.covar.GetVarianceEast()));
    Add(SD(result.covar.GetVarianceNorth()));
    Add(SD(result.covar.GetVarianceHeight()));
    Add(result.covar.GetCovarEastNorth());
    Add(result.covar.GetCovarEastHeight());
    Add(result.covar.GetCovarNorthHeight());
    const GNSS::DOP& dop = result.dop;
    for (const double figure :
         {dop.GetGDOP(), dop.GetPDOP(), dop.GetHDOP(), dop.GetVDOP(), dop.GetTDOP(), dop.GetEDOP(), dop.GetNDOP()})
        Add(figure);
    Add(result.clockGPS.value_or(FixFigures::None));
    Add(result.clockGlonass.value_or(FixFigures::None));
}

void FixRow::AddStatistics(const FixResult& result, const FixFigures& figures) {
    Add(std::int64_t{figures.redundancy});
    Add(figures.unitVariance);
    Add(figures.redundancy > 0 ? Cell(result.fLimit) : Cell());
    Add(std::string_view(Name(figures.fTest)));
    Add(std::string_view(Name(figures.wTest)));
    // With a redundancy of 1 all |w| are alike: a fault has no place.
    Add(result, {result.maxWRow < 0 ? FixFigures::None : result.maxW, figures.redundancy > 1 ? result.maxWRow : -1},
        maxW_);
    Add(result.wLimit);
    Add(result.ukooa.RMS());
    Add(std::int64_t{figures.nmrUnchecked});
    Add(result, figures.mdb, mdb_);
    Add(figures.extRel2D.value);
    Add(figures.extRel2DBearing);
    extRel2D_ = NameOfRow(result, figures.extRel2D.row);
    Add(std::string_view(extRel2D_));
    Add(result, figures.extRelHeight, extRelHeight_);
    Add(result, figures.extRel3D, extRel3D_);
    Add(figures.ellipseMajor);
    Add(figures.ellipseMinor);
    Add(figures.ellipseBearing);
    Add(EllipseFactor95);
    Add(figures.height95);
    Add(LineFactor95);
    Add(figures.ellipsoidMajor);
    Add(EllipsoidFactor95);
}

void FixRow::AddVelocity(const PublishedFix& fix) {
    const Velocity& velocity = fix.result.velocity;
    if (!velocity.valid) return AddNone(11);
    for (const GNSS::Grid::Delta& part : {velocity.vely, velocity.sd}) {
        Add(part.GetEast());
        Add(part.GetNorth());
        Add(part.GetHeight());
    }
    const GNSS::Position::VelocityInfo* info = fix.position.GetVelocityInfo();
    Add(info != nullptr ? Cell(info->GetSOG()) : Cell());
    Add(info != nullptr ? Cell(info->GetCMG().Degrees()) : Cell());
    Add(velocity.clockDrift);
    Add(std::int64_t{velocity.nmrUsed});
    Add(std::int64_t{velocity.nmrRejected});
}

std::span<const Cell> FixRow::Fill(const PublishedFix& fix, const FixFigures& figures) {
    const FixResult& result = fix.result;
    cells_.clear();
    const Corvane::TimeDate* utc = fix.position.GetTimeDate();
    utc_ = utc != nullptr ? PrintUTC(*utc) : PrintUTC(result.time);
    const GNSS::Position::SolutionMode* mode = fix.position.GetSolutionMode();
    mode_ = mode != nullptr ? mode->GetName().ToUTF8() : std::string();
    Add(std::int64_t{result.time.GetWeek()});
    Add(result.time.GetSeconds());
    Add(std::string_view(utc_));
    Add(result.valid);
    Add(std::string_view(result.valid ? "" : Describe(result.failure)));
    Add(std::string_view(mode_));
    Add(std::string_view(Name(result.test)));
    for (const int count : {result.NmrUsed(), result.gps.used, result.glonass.used, result.gps.tracked,
                            result.glonass.tracked, result.gps.rejected, result.glonass.rejected})
        Add(std::int64_t{count});
    Add(std::string_view(!result.valid || !result.heightAided ? "" : result.heightRejected ? "rejected" : "used"));
    Add(result.valid ? Cell(result.usedIonosphere) : Cell());
    Add(std::int64_t{fix.notes.NmrNote()});
    if (result.valid) {
        AddPosition(result);
        AddStatistics(result, figures);
        AddVelocity(fix);
    }
    cells_.resize(NmrColumns);
    return cells_;
}

std::vector<Column> SatelliteRow::Columns() {
    return {
        Whole("gps_week"),
        Real("gps_time", "s", 4),
        Text("satellite"),
        Whole("channel"),
        Text("use"),
        Text("health"),
        Real("azimuth", "deg", 2),
        Real("elevation", "deg", 2),
        Real("cn0", "dBHz", 1),
        Whole("issue"),
        Real("age", "s", 0),
        Real("ionosphere", "m", 3),
        Real("troposphere", "m", 3),
        Real("sd", "m", 3),
        Real("residual", "m", 3),
        Real("redundancy", "", 4),
        Real("w", "", 3),
        Text("w_test"),
        Real("rejected_w", "", 3),
        Real("mde", "m", 3),
        Real("effect_east", "m", 3),
        Real("effect_north", "m", 3),
        Real("effect_up", "m", 3),
    };
}

std::span<const Cell> SatelliteRow::Fill(const FixResult& result, const FixSatellite& satellite) {
    name_ = SatelliteName(satellite.glonass, satellite.number);
    cells_.clear();
    const auto add = [this](Cell cell) { cells_.push_back(cell); };
    const bool isSeen = std::isfinite(satellite.elevation);
    add(std::int64_t{result.time.GetWeek()});
    add(result.time.GetSeconds());
    add(std::string_view(name_));
    add(satellite.channel ? Cell(std::int64_t{*satellite.channel}) : Cell());
    add(std::string_view(Name(satellite.use)));
    add(std::string_view(!satellite.healthy ? "" : *satellite.healthy ? "healthy" : "unhealthy"));
    add(Degrees(satellite.azimuth));
    add(Degrees(satellite.elevation));
    add(satellite.snr);
    add(satellite.issue >= 0 ? Cell(std::int64_t{satellite.issue}) : Cell());
    add(satellite.age);
    const bool hasRow = result.valid && satellite.row >= 0;
    add(hasRow && isSeen ? Cell(satellite.ionosphere) : Cell());
    add(hasRow && isSeen ? Cell(satellite.troposphere) : Cell());
    add(hasRow ? Cell(satellite.sd) : Cell());
    if (hasRow) {
        const GNSS::UKOOA::Resid& resid = result.ukooa.GetResid(satellite.row);
        const bool isTestable = resid.GetWTest() != Corvane::LLSq::WNotTestable;
        add(resid.GetResidual());
        add(resid.GetRedundancy());
        add(isTestable ? Cell(resid.GetStandardised()) : Cell());
        add(std::string_view(satellite.use == SatelliteUse::Rejected
                                 ? "rejected"
                                 : NameOfWTest(resid.GetWTest(), result.ukooa.NmrFreedom())));
        add(satellite.use == SatelliteUse::Rejected ? Cell(satellite.rejectedW) : Cell());
        add(resid.GetMDB() >= 0.0 ? Cell(resid.GetMDB()) : Cell());
        if (isTestable && !resid.IsRejected()) {
            add(resid.GetExtRel().GetEast());
            add(resid.GetExtRel().GetNorth());
            add(resid.GetExtRel().GetHeight());
        }
    }
    cells_.resize(NmrColumns);
    return cells_;
}

}  // namespace Host
