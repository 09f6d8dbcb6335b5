// Corvane::LLSq: linear least squares with the statistics of the survey trade.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/Matrix.h"

namespace Corvane {

// Parametric least squares: unknowns x from observations l = A x + e, weighted by their standard deviations, taken as
// uncorrelated. The observation is usually observed minus computed, and x the correction to the approximate values.
//
// A residual is observed minus adjusted, v = l - A x: an observation that is too large has a positive one.
// The theory is W. Baarda's (A Testing Procedure for Use in Geodetic Networks, 1968), as offshore survey uses it
// (IOGP 373-19). The standard deviations given are believed: no test scales them by the unit variance.
//
// One object may be used again and again: after a solution of as many unknowns and at least as many observations a
// solution allocates nothing. (With more than a hundred unknowns the linear algebra takes scratch memory each time.)
class GNSS_EXPORT LLSq {
public:
    // 1 - confidence is the probability with which a test rejects what is in order.
    enum Confidence : std::int32_t { Confidence90, Confidence95, Confidence99, Confidence99_9 };
    // The probability with which a test finds a bias of the size of the minimal detectable bias.
    enum Power : std::int32_t { Power70, Power80, Power90, Power95 };
    enum FTest : std::int32_t { FNotTestable, FPassed, FFailed };
    enum WTest : std::int32_t {
        WPassed,
        WFailedLargest,  // the one to reject; at most one observation of an adjustment
        WNotTestable,    // nothing checks this observation
        WFailed          // failed too, or among those that a fault cannot be told apart between
    };
    enum FLimit : std::int32_t {
        FEqualPower,   // the limit that finds, at the chosen power, what the w-test of one observation would find
        FFivePercent,  // the limit of the plain test at 5 % whatever the confidence
    };

    // One observation after a solution.
    //
    // An observation that took part has the residual that the solution left it. One that was rejected has a predicted
    // residual, against the solution without it: its w is the one that it would have if it were taken back alone, and
    // its minimal detectable bias is that of the predicted residual; its redundancy number is 0 and its external
    // reliability is zero, as it bears on nothing. It is not testable against a solution that has no degrees of
    // freedom, nor where it would not be if it were taken back.
    class GNSS_EXPORT Resid {
    public:
        Resid() = default;
        Resid(bool rejected, const std::array<double, 5>& statistics, WTest wTest, const std::array<double, 3>& extRel)
            : rejected_(rejected), statistics_(statistics), wTest_(wTest), extRel_(extRel) {}

        [[nodiscard]] bool IsRejected() const { return rejected_; }
        // The residual, observed minus adjusted, in the unit of the observation.
        [[nodiscard]] double GetResidual() const { return statistics_[0]; }
        // w, the residual in its own standard deviations; 0 when not testable.
        [[nodiscard]] double GetStandardised() const { return statistics_[1]; }
        // The standard deviation of the residual; -1 when not testable.
        [[nodiscard]] double GetSD() const { return statistics_[2]; }
        // Internal reliability: the minimal detectable bias, which the w-test finds with the chosen power; -1 when
        // not testable, as then none is found.
        [[nodiscard]] double GetMDB() const { return statistics_[3]; }
        // The redundancy number: the share of an error of this observation that shows in its residual, 0 to 1. Those
        // of all observations add up to the degrees of freedom.
        [[nodiscard]] double GetRedundancy() const { return statistics_[4]; }
        // The five figures above in their order, from 0; 0.0 beyond.
        [[nodiscard]] double GetStatistic(int i) const {
            return i >= 0 && i < 5 ? statistics_[static_cast<std::size_t>(i)] : 0.0;
        }
        [[nodiscard]] WTest GetWTest() const { return wTest_; }
        [[nodiscard]] bool WTestFailed() const { return wTest_ == WFailedLargest || wTest_ == WFailed; }
        // External reliability: the effect of the minimal detectable bias on the first three unknowns, for a position
        // fix the earth-centred coordinates. Zeros when rejected or not testable (when nothing bounds the effect).
        [[nodiscard]] const std::array<double, 3>& GetExtRel() const { return extRel_; }

    private:
        friend class LLSq;
        bool rejected_ = false;
        std::array<double, 5> statistics_{};
        WTest wTest_ = WNotTestable;
        std::array<double, 3> extRel_{};
    };

    // The statistics of a solution, by observation in the order in which they were added.
    class GNSS_EXPORT Stats {
    public:
        Stats() = default;
        Stats(Confidence confidence, Power power, int freedom, double unitVariance, FTest fTest, double rms)
            : confidence_(confidence),
              power_(power),
              freedom_(freedom),
              unitVariance_(unitVariance),
              fTest_(fTest),
              rms_(rms) {}
        void AddResid(const Resid& resid) { resids_.push_back(resid); }

        [[nodiscard]] Confidence GetConfidence() const { return confidence_; }
        [[nodiscard]] Power GetPower() const { return power_; }
        // Observations that took part minus unknowns.
        [[nodiscard]] int NmrFreedom() const { return freedom_; }
        // The sum of the squares of v / sd over the degrees of freedom; 0 without any.
        [[nodiscard]] double UnitVariance() const { return unitVariance_; }
        // Whether the unit variance stays below its limit. It confirms model and weights; it rejects nothing by itself.
        [[nodiscard]] FTest GetFTestResult() const { return fTest_; }
        [[nodiscard]] bool FTestFailed() const { return fTest_ == FFailed; }
        // The root mean square of the residuals that took part, unweighted.
        [[nodiscard]] double RMS() const { return rms_; }
        [[nodiscard]] int NmrResid() const { return static_cast<int>(resids_.size()); }
        // An empty one outside the list.
        [[nodiscard]] const Resid& GetResid(int i) const;

        // Without degrees of freedom nothing is tested.
        [[nodiscard]] bool IsTestable() const { return freedom_ >= 1; }
        // With one degree of freedom a fault is seen, but every observation is as suspect as the next.
        [[nodiscard]] bool IsIdentifiable() const { return freedom_ >= 2; }
        // The observation to reject, the largest |w| of those that fail; -1 when none does, or when two or more fail
        // alike, so that the fault cannot be placed.
        [[nodiscard]] int IndexToReject() const;

    private:
        friend class LLSq;
        Confidence confidence_ = Confidence99;
        Power power_ = Power80;
        int freedom_ = 0;
        double unitVariance_ = 0.0;
        FTest fTest_ = FNotTestable;
        double rms_ = 0.0;
        std::vector<Resid> resids_;
    };

    // An observation whose redundancy number lies below this is not testable: no bias below 3000 standard deviations
    // would be found. Rounding does not lift an observation over it that nothing checks. The redundancy number is
    // 1 - |q|^2, with q the observation's row of the orthonormal basis Q of the weighted design matrix (Householder
    // QR): for a true redundancy number r its error is of the order of e + 2 k e sqrt(r) + (k e)^2, where e is the
    // precision of a double and k the condition number of that matrix, its columns scaled to unit length. Solve accepts
    // k up to about 3e6, which makes the error less than 1e-14 where nothing checks the observation, and less than 1e-4
    // of the number where it is as small as this.
    static constexpr double MinRedundancy = 1e-6;

    // A problem with so many unknowns, from 1 to Matrix::MaxDimension; any other number makes one that never solves.
    explicit LLSq(int nmrUnknown = 0) { Reset(nmrUnknown); }

    // Drops observations and solution; the settings below stay.
    void Reset(int nmrUnknown);
    // Drops the observations; the solution stays until the next one.
    void ClearObs();

    // Default: 99 %, 80 %, limits of equal power. They count from the next solution on.
    void SetTests(Confidence confidence, Power power, FLimit fLimit = FEqualPower);

    // Adds an observation with its row of the design matrix (one element an unknown), its value and its standard
    // deviation in the value's unit. False, and nothing is added, when the row has another length, a number is not
    // finite, or the standard deviation is not above 0 or so small or large that its square is none. Nothing is added
    // either when memory runs out (std::bad_alloc).
    bool AddObs(std::span<const double> row, double value, double sd);
    // Takes an observation out of the solution, or back in. It keeps its place, and gets statistics of its own
    // (see Resid). Nothing happens outside the list.
    void SetRejected(int obs, bool rejected);
    [[nodiscard]] bool IsRejected(int obs) const { return IsObs(obs) && obs_[static_cast<std::size_t>(obs)].rejected; }
    [[nodiscard]] int NmrObs() const { return static_cast<int>(obs_.size()); }
    [[nodiscard]] int NmrUnknown() const { return nmrUnknown_; }

    // Solves for the unknowns and works out the statistics. False, and the former solution stays, when the
    // observations that are not rejected do not determine the unknowns: the normal matrix N, scaled to a unit diagonal
    // so that a mixture of units does not count, has a reciprocal condition number 1 / (|N| |1/N|), in the norm of the
    // largest column sum, below Matrix::MinReciprocalCondition. N and its inverse are taken from the triangle R of the
    // QR decomposition (N = R'R), so that the decision is good to several digits. False also when a weight or a result
    // is beyond what a double holds.
    bool Solve();

    // What follows is of the last solution; without one the unknowns are 0, the matrices null and the lists empty.
    [[nodiscard]] double GetUnknown(int unknown) const;
    [[nodiscard]] Matrix GetUnknowns() const;  // one column
    // The covariance matrix of the unknowns from the standard deviations given.
    [[nodiscard]] const Matrix& GetCovar() const { return covar_; }
    // The same times the unit variance; null without redundancy, where there is none.
    [[nodiscard]] Matrix GetScaledCovar() const;
    [[nodiscard]] const Stats& GetStats() const { return stats_; }
    // External reliability: what a bias of the size of its minimal detectable bias in this observation would do to
    // all the unknowns, as one column. Zeros for an observation that is rejected or not testable; null outside the
    // list.
    [[nodiscard]] Matrix GetExtRel(int obs) const;

    // The probabilities behind the settings (0.99, 0.8); NaN when the value is none of the named ones.
    [[nodiscard]] static double GetProbability(Confidence confidence);
    [[nodiscard]] static double GetProbability(Power power);
    // The limit of |w|: the two-sided quantile of the normal distribution (99 %: 2.576).
    [[nodiscard]] static double GetWLimit(Confidence confidence);
    // The shift of w, in its standard deviations, that the w-test finds with the power (99 %, 80 %: 3.4175).
    [[nodiscard]] static double GetNonCentrality(Confidence confidence, Power power);
    // The limit of the unit variance. NaN for degrees of freedom below 1 or above 1e5. The limit of equal power falls
    // below 1 when the redundancy is in the hundreds: to find one biased observation among so many, the test must alarm
    // often.
    [[nodiscard]] static double GetFLimit(FLimit fLimit, Confidence confidence, Power power, int freedom);

private:
    struct Obs {
        double value;
        double sd;
        bool rejected;
    };

    // The limits of the tests by settings and degrees of freedom.
    struct Limits {
        Confidence confidence = Confidence99;
        Power power = Power80;
        FLimit fLimit = FEqualPower;
        int freedom = -1;
        double w = 0.0;
        double nonCentrality = 0.0;
        double unitVariance = 0.0;
    };
    struct Factors;

    [[nodiscard]] bool IsObs(int obs) const { return obs >= 0 && obs < NmrObs(); }
    [[nodiscard]] std::span<const double> Row(int obs) const;
    [[nodiscard]] double Misclosure(int obs, const double* unknowns) const;
    [[nodiscard]] const Limits& GetLimits(int freedom);
    void FillIn(Factors& factors) const;
    void WorkOutResid(int obs, Factors& factors, int usedRow, double nonCentrality);
    void TestResids(const Limits& limits, double condition);

    Confidence confidence_ = Confidence99;
    Power power_ = Power80;
    FLimit fLimit_ = FEqualPower;

    int nmrUnknown_ = 0;
    std::vector<Obs> obs_;
    std::vector<double> rows_;  // of the design matrix, one after the other

    std::vector<double> unknowns_;
    Matrix covar_;
    Stats stats_;
    std::vector<double> effects_;  // external reliability: all unknowns of the first observation, of the second, ...
    std::vector<double> work_;     // scratch space of a solution
    // Limits worked out before, as the one of equal power costs more than a solution of a dozen observations. By the
    // last bits of the degrees of freedom, which go up and down by one as observations are rejected and taken back.
    std::array<Limits, 4> limits_;
};

}  // namespace Corvane
