#include "gnss/platform/Statistics.h"

#include <cmath>
#include <limits>

#include <boost/math/distributions/chi_squared.hpp>
#include <boost/math/distributions/fisher_f.hpp>
#include <boost/math/distributions/non_central_chi_squared.hpp>
#include <boost/math/distributions/normal.hpp>
#include <boost/math/distributions/students_t.hpp>

namespace Corvane {

namespace {

namespace math = boost::math;
namespace policies = boost::math::policies;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();
constexpr double Infinity = std::numeric_limits<double>::infinity();

// Boost answers NaN, or the end of the range, instead of throwing.
using Quiet = policies::policy<
    policies::domain_error<policies::ignore_error>, policies::pole_error<policies::ignore_error>,
    policies::overflow_error<policies::ignore_error>, policies::underflow_error<policies::ignore_error>,
    policies::denorm_error<policies::ignore_error>, policies::evaluation_error<policies::ignore_error>,
    policies::rounding_error<policies::ignore_error>, policies::indeterminate_result_error<policies::ignore_error>>;

bool IsProbability(double p) {
    return p >= 0.0 && p <= 1.0;
}

bool IsFreedom(double freedom, double most = 1e9) {
    return freedom > 0.0 && freedom <= most;
}

bool IsLambda(double lambda) {
    return lambda >= 0.0 && lambda <= 1e5;
}

// The cumulative probability of a distribution that begins at 0.
template <class Distribution>
double PositiveCDF(const Distribution& distribution, double x) {
    if (std::isnan(x)) return NaN;
    if (x <= 0.0) return 0.0;
    return std::isinf(x) ? 1.0 : math::cdf(distribution, x);
}

// The quantile of a distribution from 0 to infinity.
template <class Distribution>
double PositiveQuantile(const Distribution& distribution, double p) {
    if (p == 0.0) return 0.0;
    return p == 1.0 ? Infinity : math::quantile(distribution, p);
}

// The cumulative probability and the quantile of a distribution over all numbers.
template <class Distribution>
double WholeCDF(const Distribution& distribution, double x) {
    if (std::isnan(x)) return NaN;
    if (std::isinf(x)) return x > 0.0 ? 1.0 : 0.0;
    return math::cdf(distribution, x);
}

template <class Distribution>
double WholeQuantile(const Distribution& distribution, double p) {
    if (!IsProbability(p)) return NaN;
    if (p == 0.0) return -Infinity;
    return p == 1.0 ? Infinity : math::quantile(distribution, p);
}

double ProbabilityOf(NormPercent level) {
    switch (level) {
        case NormPercent::Percent50:
            return 0.50;
        case NormPercent::Percent90:
            return 0.90;
        case NormPercent::Percent95:
            return 0.95;
        case NormPercent::Percent99:
            return 0.99;
        case NormPercent::Percent99_9:
            return 0.999;
        default:
            return NaN;
    }
}

}  // namespace

double NormalSDs(NormPercent level, bool oneDimensional) {
    if (level == NormPercent::OneSD) return 1.0;
    return NormalRadius(ProbabilityOf(level), oneDimensional ? 1 : 2);
}

double NormalRadius(double probability, int dimensions) {
    return std::sqrt(ChiSquareQuantile(probability, dimensions));
}

double NormalCDF(double x) {
    return WholeCDF(math::normal_distribution<double, Quiet>(), x);
}

double NormalQuantile(double probability) {
    return WholeQuantile(math::normal_distribution<double, Quiet>(), probability);
}

double ChiSquareCDF(double x, double freedom) {
    if (!IsFreedom(freedom)) return NaN;
    return PositiveCDF(math::chi_squared_distribution<double, Quiet>(freedom), x);
}

double ChiSquareQuantile(double probability, double freedom) {
    if (!IsProbability(probability) || !IsFreedom(freedom)) return NaN;
    return PositiveQuantile(math::chi_squared_distribution<double, Quiet>(freedom), probability);
}

double FCDF(double x, double freedom1, double freedom2) {
    if (!IsFreedom(freedom1) || !IsFreedom(freedom2)) return NaN;
    return PositiveCDF(math::fisher_f_distribution<double, Quiet>(freedom1, freedom2), x);
}

double FQuantile(double probability, double freedom1, double freedom2) {
    if (!IsProbability(probability) || !IsFreedom(freedom1) || !IsFreedom(freedom2)) return NaN;
    return PositiveQuantile(math::fisher_f_distribution<double, Quiet>(freedom1, freedom2), probability);
}

double StudentTCDF(double x, double freedom) {
    if (!IsFreedom(freedom)) return NaN;
    return WholeCDF(math::students_t_distribution<double, Quiet>(freedom), x);
}

double StudentTQuantile(double probability, double freedom) {
    if (!IsFreedom(freedom)) return NaN;
    return WholeQuantile(math::students_t_distribution<double, Quiet>(freedom), probability);
}

double NonCentralChiSquareCDF(double x, double freedom, double lambda) {
    if (!IsFreedom(freedom, 1e5) || !IsLambda(lambda)) return NaN;
    return PositiveCDF(math::non_central_chi_squared_distribution<double, Quiet>(freedom, lambda), x);
}

double NonCentralChiSquareQuantile(double probability, double freedom, double lambda) {
    if (!IsProbability(probability) || !IsFreedom(freedom, 1e5) || !IsLambda(lambda)) return NaN;
    return PositiveQuantile(math::non_central_chi_squared_distribution<double, Quiet>(freedom, lambda), probability);
}

}  // namespace Corvane
