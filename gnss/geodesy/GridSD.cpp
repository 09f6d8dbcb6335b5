#include "gnss/geodesy/GridSD.h"

#include "gnss/platform/Number.h"

namespace GNSS {

bool Grid::SD::SetFrom(const Covar& covar, Corvane::NormPercent percent) {
    if (covar.IsInvalid()) return false;
    constexpr double Rounding = 1e-10;
    percent_ = Corvane::NormPercent::OneSD;
    east_ = Corvane::root(covar.GetVarianceEast(), Rounding);
    north_ = Corvane::root(covar.GetVarianceNorth(), Rounding);
    height_ = Corvane::root(covar.GetVarianceHeight(), Rounding);
    eastNorth_ = covar.GetCovarEastNorth() / (east_ * north_);
    eastHeight_ = covar.GetCovarEastHeight() / (height_ * east_);
    northHeight_ = covar.GetCovarNorthHeight() / (height_ * north_);
    SetPercent(percent);
    return true;
}

void Grid::SD::SetPercent(Corvane::NormPercent percent) {
    if (percent == percent_) return;
    const double factor = Corvane::NormalSDs(percent, true) / Corvane::NormalSDs(percent_, true);
    percent_ = percent;
    east_ *= factor;
    north_ *= factor;
    height_ *= factor;
}

}  // namespace GNSS
