// GNSS::QFilter: the filter behind QGrid and QGeog.
#pragma once

#include <optional>

#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/GridCovar.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// A Kalman filter of a position that stands still but for a random drift, with the identity as measurement model. It
// holds the covariance; the derived class holds the position.
//
// Bad input: a measurement with a position or covariance that is not finite, with a negative variance, or with a
// covariance whose sum with the filter's is singular (both zero along an axis), leaves position and covariance as they
// are but for the drift; so does one whose correction is not finite. A drift too large to be a number starts afresh.
class GNSS_EXPORT QFilter {
public:
    // Whether a position has been added since the last Reset.
    [[nodiscard]] bool IsValid() const { return isValid_; }
    // The next position added is taken as it is. Position and covariance keep their last values.
    void Reset() { isValid_ = false; }
    [[nodiscard]] const Grid::Covar& GetCovar() const { return covar_; }
    // The standard deviation of the drift in metres per unit of the time dt; 0.01 at first.
    void SetQSD(double qsd) { qsd_ = qsd; }
    [[nodiscard]] double GetQSD() const { return qsd_; }

protected:
    QFilter() = default;
    // Brings the covariance up to a measurement that lies `innovation` from the position, `dt` after the last, and
    // gives what is to be added to the position; nothing when the measurement itself is to be the position.
    [[nodiscard]] std::optional<Grid::Delta> Filter(const Grid::Delta& innovation, const Grid::Covar& r, double dt);

private:
    double qsd_ = 0.01;
    bool isValid_ = false;
    Grid::Covar covar_;
};

}  // namespace GNSS
