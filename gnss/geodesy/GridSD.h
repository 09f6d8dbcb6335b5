// GNSS::Grid::SD: the covariance of a position as people read it, in standard deviations and correlations.
#pragma once

#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/GridCovar.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Statistics.h"

namespace GNSS {

// Standard deviations of east, north and height in metres, multiplied for a level of confidence in one dimension, and
// their correlations, -1 to 1. The default is all zero at one standard deviation.
class GNSS_EXPORT Grid::SD {
public:
    SD() = default;
    // The default when the covariance is invalid.
    SD(const Covar& covar, Corvane::NormPercent percent) { SetFrom(covar, percent); }
    // False, and nothing changes, when a variance is negative. A variance of zero gives correlations that are infinite
    // or NaN; a NaN variance gives NaN.
    bool SetFrom(const Covar& covar, Corvane::NormPercent percent);
    void Reset() { *this = SD(); }

    [[nodiscard]] Corvane::NormPercent GetPercent() const { return percent_; }
    // Brings the standard deviations to another level of confidence; to NaN when it is none of the named levels.
    void SetPercent(Corvane::NormPercent percent);

    [[nodiscard]] double GetEast() const { return east_; }
    [[nodiscard]] double GetNorth() const { return north_; }
    [[nodiscard]] double GetHeight() const { return height_; }
    [[nodiscard]] double GetCorrelationEastNorth() const { return eastNorth_; }
    [[nodiscard]] double GetCorrelationEastHeight() const { return eastHeight_; }
    [[nodiscard]] double GetCorrelationNorthHeight() const { return northHeight_; }

private:
    Corvane::NormPercent percent_ = Corvane::NormPercent::OneSD;
    double east_ = 0.0;
    double north_ = 0.0;
    double height_ = 0.0;
    double eastNorth_ = 0.0;
    double eastHeight_ = 0.0;
    double northHeight_ = 0.0;
};

}  // namespace GNSS
