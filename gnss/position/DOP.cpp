#include "gnss/position/DOP.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "gnss/geodesy/Grid.h"
#include "gnss/platform/Matrix.h"
#include "gnss/platform/Number.h"
#include "gnss/position/Constellation.h"

namespace GNSS {
namespace {

// The power of two that brings x >= 0 into [0.5, 1); 1 for zero. Matrix::Inverse scales by the same.
double ScaleOf(double x) {
    if (!(x > 0.0)) return 1.0;
    const auto exponent = std::bit_cast<std::uint64_t>(x) >> 52U;
    return std::bit_cast<double>(std::min<std::uint64_t>(2045U - exponent, 2023U) << 52U);
}

template <std::size_t Size>
using Square = std::array<std::array<double, Size>, Size>;

// NaN when an element is.
template <std::size_t Size>
double LargestColumnSum(const Square<Size>& symmetric, const std::array<double, Size>& rows,
                        const std::array<double, Size>& columns) {
    double largest = 0.0;
    for (std::size_t j = 0; j < Size; ++j) {
        double sum = 0.0;
        for (std::size_t i = 0; i < Size; ++i) sum += std::abs(symmetric[i][j]) * rows[i];
        sum *= columns[j];
        if (std::isnan(sum)) return sum;
        largest = std::max(largest, sum);
    }
    return largest;
}

// Whether Matrix::Inverse would give the inverse, by its rule: the reciprocal condition number after a scaling of rows
// and then columns. Infinite and NaN elements fail.
template <std::size_t Size>
bool IsWellConditioned(const Square<Size>& normal, const Square<Size>& inverse) {
    std::array<double, Size> rows;
    std::array<double, Size> columns;
    std::array<double, Size> perRow;
    std::array<double, Size> perColumn;
    for (std::size_t i = 0; i < Size; ++i) {
        double largest = 0.0;
        for (std::size_t j = 0; j < Size; ++j) largest = std::max(largest, std::abs(normal[i][j]));
        rows[i] = ScaleOf(largest);
    }
    for (std::size_t j = 0; j < Size; ++j) {
        double largest = 0.0;
        for (std::size_t i = 0; i < Size; ++i) largest = std::max(largest, std::abs(normal[i][j]) * rows[i]);
        columns[j] = ScaleOf(largest);
        perRow[j] = 1.0 / rows[j];
        perColumn[j] = 1.0 / columns[j];
    }
    const double condition = LargestColumnSum(normal, rows, columns) * LargestColumnSum(inverse, perColumn, perRow);
    return condition * Corvane::Matrix::MinReciprocalCondition <= 1.0;
}

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
        return nmrClock_ == 2 ? Invert<2>(variances) : nmrClock_ == 1 && Invert<1>(variances);
    }

private:
    struct ClockColumn {
        std::array<double, 3> position;
        double count;
    };

    // The clocks do not bear on each other, so each is eliminated by a division: (A'A)^-1 by blocks, with the Schur
    // complement of the clocks factorised as L D L'. No pivoting is needed, as the matrix is positive definite or else
    // singular.
    template <std::size_t Clocks>
    bool Invert(std::array<double, 4>& variances) const {
        double ee = ee_;
        double en = en_;
        double eu = eu_;
        double nn = nn_;
        double nu = nu_;
        double uu = uu_;
        std::array<std::array<double, 3>, Clocks> mean;
        for (std::size_t c = 0; c < Clocks; ++c) {
            const auto& sum = clocks_[c].position;
            for (std::size_t i = 0; i < 3; ++i) mean[c][i] = sum[i] / clocks_[c].count;
            ee -= sum[0] * mean[c][0];
            en -= sum[0] * mean[c][1];
            eu -= sum[0] * mean[c][2];
            nn -= sum[1] * mean[c][1];
            nu -= sum[1] * mean[c][2];
            uu -= sum[2] * mean[c][2];
        }
        if (!(ee > 0.0)) return false;
        const double northByEast = en / ee;
        const double upByEast = eu / ee;
        const double north = nn - en * northByEast;
        if (!(north > 0.0)) return false;
        const double upNorth = nu - eu * northByEast;
        const double upByNorth = upNorth / north;
        const double up = uu - eu * upByEast - upNorth * upByNorth;
        if (!(up > 0.0)) return false;

        Square<3 + Clocks> q{};
        const double east = upByNorth * northByEast - upByEast;
        q[2][2] = 1.0 / up;
        q[1][2] = q[2][1] = -upByNorth * q[2][2];
        q[0][2] = q[2][0] = east * q[2][2];
        q[1][1] = 1.0 / north - upByNorth * q[1][2];
        q[0][1] = q[1][0] = -northByEast / north - upByNorth * q[0][2];
        q[0][0] = 1.0 / ee - northByEast * (-northByEast / north) + east * q[0][2];
        Square<3 + Clocks> normal{{{ee_, en_, eu_}, {en_, nn_, nu_}, {eu_, nu_, uu_}}};
        for (std::size_t c = 0; c < Clocks; ++c) {
            const std::size_t column = 3 + c;
            for (std::size_t i = 0; i < 3; ++i) {
                normal[i][column] = normal[column][i] = clocks_[c].position[i];
                q[i][column] = q[column][i] = -(q[i][0] * mean[c][0] + q[i][1] * mean[c][1] + q[i][2] * mean[c][2]);
            }
            normal[column][column] = clocks_[c].count;
            for (std::size_t d = 0; d <= c; ++d) {
                double value = c == d ? 1.0 / clocks_[c].count : 0.0;
                for (std::size_t i = 0; i < 3; ++i) value -= mean[d][i] * q[i][column];
                q[column][3 + d] = q[3 + d][column] = value;
            }
        }
        if (!IsWellConditioned(normal, q)) return false;
        variances = {q[0][0], q[1][1], q[2][2], q[3][3]};
        if constexpr (Clocks == 2) variances[3] += q[4][4];
        return true;
    }

    double ee_ = 0.0;
    double en_ = 0.0;
    double eu_ = 0.0;
    double nn_ = 0.0;
    double nu_ = 0.0;
    double uu_ = 0.0;
    std::array<ClockColumn, 2> clocks_{};
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
