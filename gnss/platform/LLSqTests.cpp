// The limits of the tests of a least-squares adjustment, and reading their outcomes.
#include <limits>

#include "gnss/platform/LLSq.h"
#include "gnss/platform/Statistics.h"

namespace Corvane {

namespace {

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

}  // namespace

double LLSq::GetProbability(Confidence confidence) {
    switch (confidence) {
        case Confidence90:
            return 0.90;
        case Confidence95:
            return 0.95;
        case Confidence99:
            return 0.99;
        case Confidence99_9:
            return 0.999;
        default:
            return NaN;
    }
}

double LLSq::GetProbability(Power power) {
    switch (power) {
        case Power70:
            return 0.70;
        case Power80:
            return 0.80;
        case Power90:
            return 0.90;
        case Power95:
            return 0.95;
        default:
            return NaN;
    }
}

double LLSq::GetWLimit(Confidence confidence) {
    return NormalQuantile(0.5 + 0.5 * GetProbability(confidence));
}

double LLSq::GetNonCentrality(Confidence confidence, Power power) {
    return GetWLimit(confidence) + NormalQuantile(GetProbability(power));
}

double LLSq::GetFLimit(FLimit fLimit, Confidence confidence, Power power, int freedom) {
    if (freedom < 1) return NaN;
    if (fLimit == FFivePercent) return ChiSquareQuantile(0.95, freedom) / freedom;
    if (fLimit != FEqualPower) return NaN;
    // Baarda's B-method: one non-centrality for all dimensions; the limit is exceeded with the power under it.
    const double shift = GetNonCentrality(confidence, power);
    return NonCentralChiSquareQuantile(1.0 - GetProbability(power), freedom, shift * shift) / freedom;
}

const LLSq::Resid& LLSq::Stats::GetResid(int i) const {
    static const Resid none;
    return i >= 0 && i < NmrResid() ? resids_[static_cast<std::size_t>(i)] : none;
}

int LLSq::Stats::IndexToReject() const {
    for (int i = 0; i < NmrResid(); ++i) {
        if (resids_[static_cast<std::size_t>(i)].wTest_ == WFailedLargest) return i;
    }
    return -1;
}

}  // namespace Corvane
