#include "gnss/geodesy/QFilter.h"

#include <cmath>

#include "gnss/platform/Matrix.h"

namespace GNSS {

std::optional<Grid::Delta> QFilter::Filter(const Grid::Delta& innovation, const Grid::Covar& r, double dt) {
    using Corvane::Matrix;
    const Matrix rMatrix = r.GetMatrix();
    const bool isUsable = std::isfinite(innovation.Magnitude()) && rMatrix.IsFinite() && !r.IsInvalid();
    const double drift = dt > 0.0 ? qsd_ * dt : 0.0;
    const double q = drift * drift;
    if (!isValid_ || std::isinf(q)) {
        if (!isUsable) return Grid::Delta();
        isValid_ = true;
        covar_ = r;
        return std::nullopt;
    }
    if (q > 0.0) {
        covar_.SetVariances(covar_.GetVarianceEast() + q, covar_.GetVarianceNorth() + q,
                            covar_.GetVarianceHeight() + q);
    }
    if (!isUsable) return Grid::Delta();

    const Matrix p = covar_.GetMatrix();
    const Matrix k = p * (p + rMatrix).Inverse();
    if (k.IsNull()) return Grid::Delta();
    const Matrix z(3, 1, {innovation.GetEast(), innovation.GetNorth(), innovation.GetHeight()});
    const Matrix correction = k * z;
    if (!k.IsFinite() || !correction.IsFinite()) return Grid::Delta();
    // P - P S^-1 P, in the form that keeps its digits when P is many times R: P S^-1 (S - P) = K R.
    covar_.SetFromMatrix(k * rMatrix);
    return Grid::Delta(correction(0, 0), correction(1, 0), correction(2, 0));
}

}  // namespace GNSS
