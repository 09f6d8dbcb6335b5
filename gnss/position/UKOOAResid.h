// GNSS::UKOOA::Resid: the statistics of one observation of a fix.
#pragma once

#include <array>

#include "gnss/geodesy/Grid.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/LLSq.h"
#include "gnss/position/UKOOA.h"
#include "gnss/position/UKOOADesc.h"

namespace GNSS {

// The figures are explained where they come from, in Corvane::LLSq::Resid. The default is of no observation: figures
// of 0, not testable.
class GNSS_EXPORT UKOOA::Resid {
public:
    Resid() = default;
    // The external reliability is turned from earth-centred axes into the grid's.
    Resid(const Desc& desc, const Corvane::LLSq::Resid& resid, const LocalGrid& grid);
    Resid(const Desc& desc, bool rejected, const std::array<double, 5>& statistics, Corvane::LLSq::WTest wTest,
          const Grid& extRel)
        : desc_(desc), rejected_(rejected), statistics_(statistics), wTest_(wTest), extRel_(extRel) {}

    [[nodiscard]] const Desc& GetDesc() const { return desc_; }
    // Whether the adjustment left the observation out.
    [[nodiscard]] bool IsRejected() const { return rejected_; }
    // Observed minus adjusted, in metres.
    [[nodiscard]] double GetResidual() const { return statistics_[0]; }
    // w: the residual in its own standard deviations.
    [[nodiscard]] double GetStandardised() const { return statistics_[1]; }
    // The standard deviation of the residual, in metres; negative when there is none.
    [[nodiscard]] double GetSD() const { return statistics_[2]; }
    // Its square; -1.0 when there is none.
    [[nodiscard]] double GetResidVar() const { return GetSD() < 0.0 ? -1.0 : GetSD() * GetSD(); }
    // Internal reliability: the minimal detectable bias, in metres; -1 when the observation is not testable.
    [[nodiscard]] double GetMDB() const { return statistics_[3]; }
    // The redundancy number, 0 to 1.
    [[nodiscard]] double GetRedundancy() const { return statistics_[4]; }
    // The five figures above, but for the variance, in their order.
    [[nodiscard]] const std::array<double, 5>& GetStatistics() const { return statistics_; }
    [[nodiscard]] Corvane::LLSq::WTest GetWTest() const { return wTest_; }
    [[nodiscard]] bool WTestFailed() const {
        return wTest_ == Corvane::LLSq::WFailedLargest || wTest_ == Corvane::LLSq::WFailed;
    }
    // External reliability: where an error of the size of the minimal detectable bias moves the fix, in metres.
    [[nodiscard]] const Grid& GetExtRel() const { return extRel_; }

private:
    Desc desc_;
    bool rejected_ = false;
    std::array<double, 5> statistics_{};
    Corvane::LLSq::WTest wTest_ = Corvane::LLSq::WNotTestable;
    Grid extRel_;
};

}  // namespace GNSS
