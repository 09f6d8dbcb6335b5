#include "gnss/position/DOP.h"

#include <array>
#include <cstddef>

#include "gnss/geodesy/Grid.h"
#include "gnss/platform/Matrix.h"
#include "gnss/platform/Number.h"
#include "gnss/position/Constellation.h"

namespace GNSS {
namespace {

// The normal matrix A'A of east, north, up and one or two clocks, row by row of A.
class Normal {
public:
    // All satellites of one clock.
    template <typename Satellites>
    void Add(const Satellites& satellites) {
        if (satellites.empty()) return;
        double east = 0.0;
        double north = 0.0;
        double up = 0.0;
        for (const auto& satellite : satellites) {
            const Grid::Delta sight(Grid::Polar(satellite.GetElevation(), satellite.GetAzimuth(), 1.0));
            east += sight.GetEast();
            north += sight.GetNorth();
            up += sight.GetHeight();
            ee_ += sight.GetEast() * sight.GetEast();
            en_ += sight.GetEast() * sight.GetNorth();
            eu_ += sight.GetEast() * sight.GetHeight();
            nn_ += sight.GetNorth() * sight.GetNorth();
            nu_ += sight.GetNorth() * sight.GetHeight();
            uu_ += sight.GetHeight() * sight.GetHeight();
        }
        clocks_[nmrClock_++] = {{east, north, up}, static_cast<double>(satellites.size())};
    }
    void AddHeight() { uu_ += 1.0; }

    // The variances of east, north, up and the clocks together; false when the matrix is singular.
    bool GetVariances(std::array<double, 4>& variances) const {
        return GetVariancesByBlocks(variances) || GetVariancesByMatrix(variances);
    }

private:
    struct ClockColumn {
        std::array<double, 3> position;
        double count;
    };

    // The clocks do not bear on each other, so each is eliminated by a division, and what is left of the position
    // factorised as L D L'. No pivoting is needed, as the matrix is positive definite or else singular; each variance
    // is a sum of squares, y_i^2 / d_i with y = L^-1 x.
    //
    // False also when the geometry is so weak that the matrix may be singular by the rule of Matrix::Inverse: the
    // condition number of that rule is at most 50 (n + 1) times the sum of the variances, n being the number of
    // satellites.
    [[nodiscard]] bool GetVariancesByBlocks(std::array<double, 4>& variances) const {
        double ee = ee_;
        double en = en_;
        double eu = eu_;
        double nn = nn_;
        double nu = nu_;
        double uu = uu_;
        double nmrRow = 1.0;
        std::array<std::array<double, 3>, MaxClocks> mean{};
        for (std::size_t clock = 0; clock < nmrClock_; ++clock) {
            const auto& [sum, count] = clocks_[clock];
            const double share = 1.0 / count;
            mean[clock] = {sum[0] * share, sum[1] * share, sum[2] * share};
            ee -= sum[0] * mean[clock][0];
            en -= sum[0] * mean[clock][1];
            eu -= sum[0] * mean[clock][2];
            nn -= sum[1] * mean[clock][1];
            nu -= sum[1] * mean[clock][2];
            uu -= sum[2] * mean[clock][2];
            nmrRow += count;
        }
        const double east = 1.0 / ee;
        const double northByEast = en * east;
        const double upByEast = eu * east;
        const double north = 1.0 / (nn - en * northByEast);
        const double upNorth = nu - eu * northByEast;
        const double upByNorth = upNorth * north;
        const double up = 1.0 / (uu - eu * upByEast - upNorth * upByNorth);
        if (!(east > 0.0 && north > 0.0 && up > 0.0)) return false;

        const auto variance = [&](double x, double y, double z) {
            y -= northByEast * x;
            z -= upByEast * x + upByNorth * y;
            return x * x * east + y * y * north + z * z * up;
        };
        variances = {variance(1.0, 0.0, 0.0), variance(0.0, 1.0, 0.0), up, 0.0};
        for (std::size_t clock = 0; clock < nmrClock_; ++clock) {
            variances[3] += 1.0 / clocks_[clock].count + variance(mean[clock][0], mean[clock][1], mean[clock][2]);
        }
        constexpr double Clear = 1e8;
        return (variances[0] + variances[1] + variances[2] + variances[3]) * nmrRow < Clear;
    }

    [[nodiscard]] bool GetVariancesByMatrix(std::array<double, 4>& variances) const {
        const int size = 3 + static_cast<int>(nmrClock_);
        Corvane::Matrix normal(size, size);
        const std::array<std::array<double, 3>, 3> position{{{ee_, en_, eu_}, {en_, nn_, nu_}, {eu_, nu_, uu_}}};
        for (int i = 0; i < 3; ++i) {
            const auto row = static_cast<std::size_t>(i);
            for (int j = 0; j < 3; ++j) normal.SetValue(i, j, position[row][static_cast<std::size_t>(j)]);
            for (int clock = 3; clock < size; ++clock) {
                const double sum = clocks_[static_cast<std::size_t>(clock - 3)].position[row];
                normal.SetValue(i, clock, sum);
                normal.SetValue(clock, i, sum);
                normal.SetValue(clock, clock, clocks_[static_cast<std::size_t>(clock - 3)].count);
            }
        }
        const Corvane::Matrix inverse = normal.Inverse();
        if (inverse.IsNull()) return false;
        variances = {inverse(0, 0), inverse(1, 1), inverse(2, 2), inverse(3, 3) + inverse(4, 4)};
        return true;
    }

    static constexpr std::size_t MaxClocks = 2;

    double ee_ = 0.0;
    double en_ = 0.0;
    double eu_ = 0.0;
    double nn_ = 0.0;
    double nu_ = 0.0;
    double uu_ = 0.0;
    std::array<ClockColumn, MaxClocks> clocks_{};
    std::size_t nmrClock_ = 0;
};

}  // namespace

void DOP::Set(double ee, double nn, double uu, double tt) {
    constexpr double Rounding = 1e-10;
    gdop_ = Corvane::root(ee + nn + uu + tt, Rounding);
    pdop_ = Corvane::root(ee + nn + uu, Rounding);
    hdop_ = Corvane::root(ee + nn, Rounding);
    edop_ = Corvane::root(ee, Rounding);
    ndop_ = Corvane::root(nn, Rounding);
    vdop_ = Corvane::root(uu, Rounding);
    tdop_ = Corvane::root(tt, Rounding);
    valid_ = true;
}

bool DOP::Set(const Constellation& constellation, bool withGlonass, bool heightAided) {
    Reset();
    const std::size_t nmrGPS = constellation.GetSVs().size();
    const std::size_t nmrGlonass = constellation.GetGlonassSVs().size();
    const bool usesGlonass = withGlonass && nmrGlonass >= 2;
    const std::size_t nmrUnknown = usesGlonass && nmrGPS > 0 ? 5 : 4;
    const std::size_t nmrRow = nmrGPS + (usesGlonass ? nmrGlonass : 0) + (heightAided ? 1 : 0);
    if (nmrRow < nmrUnknown) return false;

    Normal normal;
    normal.Add(constellation.GetSVs());
    if (usesGlonass) normal.Add(constellation.GetGlonassSVs());
    if (heightAided) normal.AddHeight();
    std::array<double, 4> variances;
    if (!normal.GetVariances(variances)) return false;
    Set(variances[0], variances[1], variances[2], variances[3]);
    return true;
}

}  // namespace GNSS
