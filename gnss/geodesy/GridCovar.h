// GNSS::Grid::Covar: the covariance of a position in east, north and height.
#pragma once

#include <array>
#include <cstdint>

#include "gnss/geodesy/Grid.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Matrix.h"

namespace GNSS {

// Variances and covariances in square metres. The default has variances of 1 and covariances of 0.
class GNSS_EXPORT Grid::Covar : public Corvane::Matrix::Covar {
public:
    Covar() = default;
    explicit Covar(const SD& sd) { SetFrom(sd); }
    // The default covariance when the matrix has fewer than three rows and columns or values that are not finite.
    explicit Covar(const Corvane::Matrix& matrix) { SetFromMatrix(matrix); }
    // No covariances; variances of east and north 0.5 a2 b2, of height 0.7071 a2 b2. The factors are intended.
    Covar(double a, double b);
    // No covariances; variances of east and north 0.7071 a2 c2, of height b2 c2. The factors are intended.
    Covar(double a, double b, double c);
    // Takes the upper triangle of the first three rows and columns. Nothing changes when the matrix has fewer or a
    // value is not finite.
    Covar& operator=(const Corvane::Matrix& matrix) {
        SetFromMatrix(matrix);
        return *this;
    }

    void Reset() { values_ = Unit; }
    // Undoes the standard deviations' level of confidence.
    void SetFrom(const SD& sd);
    // Whether a variance is negative. NaN is not.
    [[nodiscard]] bool IsInvalid() const;

    [[nodiscard]] double GetVarianceEast() const { return values_[East]; }
    [[nodiscard]] double GetVarianceNorth() const { return values_[North]; }
    [[nodiscard]] double GetVarianceHeight() const { return values_[Height]; }
    [[nodiscard]] double GetCovarEastNorth() const { return values_[EastNorth]; }
    [[nodiscard]] double GetCovarEastHeight() const { return values_[EastHeight]; }
    [[nodiscard]] double GetCovarNorthHeight() const { return values_[NorthHeight]; }
    void SetVariances(double east, double north, double height);
    void SetCovariances(double eastNorth, double eastHeight, double northHeight);

    [[nodiscard]] int Size() const override { return 3; }
    // The matrix counts east, north, height; what lies below its diagonal reads 0 although it is symmetric.
    [[nodiscard]] double GetMatrixUpperValue(int row, int column) const override;
    void SetMatrixUpperValue(int row, int column, double value) override;

private:
    enum Place : std::uint32_t { East, North, Height, EastNorth, EastHeight, NorthHeight, Nowhere };
    [[nodiscard]] static Place Find(int row, int column);

    static constexpr std::array<double, 6> Unit{1.0, 1.0, 1.0, 0.0, 0.0, 0.0};
    std::array<double, 6> values_ = Unit;
};

}  // namespace GNSS
