#include "host/report/FixFigures.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <numbers>

#include <Eigen/Eigenvalues>
#include <fmt/format.h>

#include "gnss/position/UKOOAResid.h"
#include "host/fix/FixNotes.h"

namespace Host {

namespace {

void Enlarge(FixFigures::Largest& largest, double value, int row) {
    if (largest.row < 0 || value > largest.value) largest = {value, row};
}

// The longest standard deviation in any direction, m.
double LongestSD(const GNSS::Grid::Covar& covar) {
    Eigen::Matrix3d matrix;
    matrix << covar.GetVarianceEast(), covar.GetCovarEastNorth(), covar.GetCovarEastHeight(),  //
        covar.GetCovarEastNorth(), covar.GetVarianceNorth(), covar.GetCovarNorthHeight(),      //
        covar.GetCovarEastHeight(), covar.GetCovarNorthHeight(), covar.GetVarianceHeight();
    Eigen::SelfAdjointEigenSolver<Eigen::Matrix3d> solver;
    return std::sqrt(std::max(0.0, solver.computeDirect(matrix, Eigen::EigenvaluesOnly).eigenvalues()(2)));
}

}  // namespace

FixFigures FiguresOf(const FixResult& result) {
    FixFigures figures;
    if (!result.valid) return figures;
    const GNSS::UKOOA& ukooa = result.ukooa;
    figures.redundancy = ukooa.NmrFreedom();
    const Corvane::Ellipse& ellipse = ukooa.GetHorizEllipse();
    figures.ellipseMajor = EllipseFactor95 * ellipse.GetSemiMajor();
    figures.ellipseMinor = EllipseFactor95 * ellipse.GetSemiMinor();
    figures.ellipseBearing = ellipse.GetOrientation().Degrees();
    figures.height95 = LineFactor95 * std::sqrt(std::max(0.0, result.covar.GetVarianceHeight()));

    figures.ellipsoidMajor = EllipsoidFactor95 * LongestSD(result.covar);

    bool hasFailed = false;
    for (int i = 0; i < ukooa.NmrResid(); ++i) {
        const GNSS::UKOOA::Resid& resid = ukooa.GetResid(i);
        if (resid.IsRejected()) continue;
        hasFailed = hasFailed || resid.WTestFailed();
        if (resid.GetMDB() < 0.0) {
            ++figures.nmrUnchecked;
            continue;
        }
        const GNSS::Grid& effect = resid.GetExtRel();
        const double horizontal = std::hypot(effect.GetEast(), effect.GetNorth());
        Enlarge(figures.mdb, resid.GetMDB(), i);
        Enlarge(figures.extRel2D, horizontal, i);
        Enlarge(figures.extRel3D, std::hypot(horizontal, effect.GetHeight()), i);
        Enlarge(figures.extRelHeight, std::abs(effect.GetHeight()), i);
    }
    if (figures.extRel2D.row >= 0) {
        const GNSS::Grid& effect = ukooa.GetResid(figures.extRel2D.row).GetExtRel();
        const double bearing = std::atan2(effect.GetEast(), effect.GetNorth()) * 180.0 / std::numbers::pi;
        figures.extRel2DBearing = bearing < 0.0 ? bearing + 360.0 : bearing;
    }
    if (figures.redundancy < 1) {
        figures.fTest = figures.wTest = FixTest::NotTestable;
        return figures;
    }
    figures.unitVariance = ukooa.UnitVariance();
    const FixTest passed = figures.redundancy > 1 ? FixTest::Passed : FixTest::NotIdentifiable;
    figures.fTest = ukooa.FTestFailed() ? FixTest::Failed : passed;
    figures.wTest = hasFailed ? FixTest::Failed : passed;
    return figures;
}

std::string NameOfRow(const FixResult& result, int row) {
    if (row < 0) return {};
    const FixSatellite* satellite = result.FindRow(row);
    return satellite != nullptr ? SatelliteName(satellite->glonass, satellite->number) : "height";
}

std::string PrintUTC(const Corvane::TimeDate& utc) {
    // The common case in whole numbers, which is several times faster; what rounds up to another day is not.
    constexpr std::int64_t Day = 86'400'000;
    const double seconds = utc.GetTimeOfDay().Seconds();
    const int year = utc.GetDate().Year();
    if (seconds >= 0.0 && seconds < 86400.0 && year >= 0 && year <= 9999) {
        if (const std::int64_t ms = std::llround(seconds * 1000.0); ms < Day) {
            std::array<char, 32> text;
            const char* const end =
                fmt::format_to(text.data(), "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", year, utc.GetDate().Month(),
                               utc.GetDate().Day(), ms / 3'600'000, ms / 60'000 % 60, ms / 1000 % 60, ms % 1000);
            return std::string(text.data(), static_cast<std::size_t>(end - text.data()));
        }
    }
    std::string text = utc.Print(3).str();
    if (const auto blank = text.find(' '); blank != std::string::npos) text[blank] = 'T';
    return text + 'Z';
}

std::string PrintUTC(const GNSS::GPSTime& time) {
    return PrintUTC(time.GetUTC());
}

}  // namespace Host
