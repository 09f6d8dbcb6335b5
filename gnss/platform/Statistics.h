// Distributions and their quantiles, and the numbers of standard deviations that belong to levels of confidence.
// Nothing here raises an error: outside its domain a function answers NaN.
#pragma once

#include <cstdint>

#include "gnss/platform/Export.h"

namespace Corvane {

// The level of confidence at which a standard deviation or an ellipse is shown.
enum class NormPercent : std::int32_t { OneSD, Percent50, Percent90, Percent95, Percent99, Percent99_9 };

// The number of standard deviations within which a normal error lies at the level: in one dimension (95 %: 1.96), or
// in two, as the factor on both axes of an error ellipse (95 %: 2.45; the one-dimensional 1.96 would hold only 85 %).
// OneSD is 1 in both. NaN when the level is none of the named ones.
[[nodiscard]] GNSS_EXPORT double NormalSDs(NormPercent level, bool oneDimensional);
// The radius, in standard deviations, that holds a normal error of so many dimensions with the probability, 0 to 1:
// 0.95 gives 1.960, 2.448 and 2.795 in one, two and three dimensions.
[[nodiscard]] GNSS_EXPORT double NormalRadius(double probability, int dimensions);

// Cumulative probabilities and their inverses. Probabilities are from 0 to 1; at the two ends a quantile is the end of
// the distribution, which may be infinite. Degrees of freedom may be fractions, above 0 and up to 1e9.
[[nodiscard]] GNSS_EXPORT double NormalCDF(double x);
[[nodiscard]] GNSS_EXPORT double NormalQuantile(double probability);
[[nodiscard]] GNSS_EXPORT double ChiSquareCDF(double x, double freedom);
[[nodiscard]] GNSS_EXPORT double ChiSquareQuantile(double probability, double freedom);
[[nodiscard]] GNSS_EXPORT double FCDF(double x, double freedom1, double freedom2);
[[nodiscard]] GNSS_EXPORT double FQuantile(double probability, double freedom1, double freedom2);
[[nodiscard]] GNSS_EXPORT double StudentTCDF(double x, double freedom);
[[nodiscard]] GNSS_EXPORT double StudentTQuantile(double probability, double freedom);
// Chi-square about a shifted mean: the distribution of a sum of squares when the model is wrong by lambda (the sum of
// the squares of the shifts in standard deviations). Up to 1e5 degrees of freedom, lambda from 0 to 1e5.
[[nodiscard]] GNSS_EXPORT double NonCentralChiSquareCDF(double x, double freedom, double lambda);
[[nodiscard]] GNSS_EXPORT double NonCentralChiSquareQuantile(double probability, double freedom, double lambda);

}  // namespace Corvane
