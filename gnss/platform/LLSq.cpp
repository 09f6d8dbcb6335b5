#include "gnss/platform/LLSq.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include <Eigen/Core>

namespace Corvane {

namespace {

using Eigen::Index;
using MatrixMap = Eigen::Map<Eigen::MatrixXd>;
using VectorMap = Eigen::Map<Eigen::VectorXd>;

// The systems are small, five unknowns as a rule, for which Eigen's products of any size take several times as long.

double LargestColumnSum(const MatrixMap& matrix) {
    double largest = 0.0;
    for (Index j = 0; j < matrix.cols(); ++j) {
        double sum = 0.0;
        for (Index i = 0; i < matrix.rows(); ++i) sum += std::abs(matrix(i, j));
        largest = std::max(largest, sum);
    }
    return largest;
}

// Two sums, which need not wait for each other.
double Dot(const double* a, const double* b, Index n) {
    double even = 0.0;
    double odd = 0.0;
    Index i = 0;
    for (; i + 1 < n; i += 2) {
        even += a[i] * b[i];
        odd += a[i + 1] * b[i + 1];
    }
    if (i < n) even += a[i] * b[i];
    return even + odd;
}

// Householder's reflection of a column by the vector (1, essential).
void Reflect(double* column, const double* essential, double tau, Index rows) {
    const double share = tau * (column[0] + Dot(column + 1, essential, rows - 1));
    column[0] -= share;
    for (Index i = 1; i < rows; ++i) column[i] -= share * essential[i - 1];
}

// Makes the vector of the reflection that leaves nothing of a column but its first value, which is returned. It stands
// where the column was, without its leading 1.
double MakeReflection(double* column, double& tau, Index rows) {
    const double first = column[0];
    const double tail = Dot(column + 1, column + 1, rows - 1);
    if (tail <= std::numeric_limits<double>::min()) {
        tau = 0.0;
        std::fill(column + 1, column + rows, 0.0);
        return first;
    }
    const double length = std::sqrt(first * first + tail);
    const double left = first >= 0.0 ? -length : length;
    for (Index i = 1; i < rows; ++i) column[i] /= first - left;
    tau = (left - first) / left;
    return left;
}

double Dot(std::span<const double> a, const double* b) {
    return Dot(a.data(), b, static_cast<Index>(a.size()));
}

}  // namespace

// The weighted design matrix A = Q R of the observations that take part, in memory that the object keeps. Orthogonal
// throughout: the normal matrix, which squares the condition number, serves the decision on singularity alone.
struct LLSq::Factors {
    Factors(double* memory, Index obs, Index unknown)
        : q(memory, obs, unknown),
          rightSide(q.data() + q.size(), obs),
          r(rightSide.data() + obs, unknown, unknown),
          root(r.data() + r.size(), unknown, unknown),
          square(root.data() + root.size(), unknown, unknown),
          scale(square.data() + square.size(), unknown),
          tau(scale.data() + unknown, unknown),
          row(tau.data() + unknown, unknown) {}
    static std::size_t Size(std::size_t obs, std::size_t unknown) {
        return obs * (unknown + 1) + 3 * unknown * unknown + 3 * unknown;
    }

    [[nodiscard]] bool Factorise();
    void Triangularise();
    void FormBasis();
    void Square();
    void Invert();

    MatrixMap q;          // A, then its orthonormal basis
    VectorMap rightSide;  // the weighted observations, then the unknowns at its head
    MatrixMap r;          // of A with its columns scaled to unit length
    MatrixMap root;       // B upper triangular with B B' the covariance matrix
    MatrixMap square;     // the normal matrix, then the covariance matrix
    VectorMap scale;      // of the columns
    VectorMap tau;        // of the Householder vectors
    VectorMap row;
    double condition = 0.0;  // of A with its columns scaled, from above
};

// False when the unknowns are not determined.
bool LLSq::Factors::Factorise() {
    const Index n = q.cols();
    for (Index j = 0; j < n; ++j) {
        double* const column = q.col(j).data();
        const double squaredLength = Dot(column, column, q.rows());
        if (!std::isnormal(squaredLength)) return false;
        scale(j) = 1.0 / std::sqrt(squaredLength);
        for (Index i = 0; i < q.rows(); ++i) column[i] *= scale(j);
    }
    Triangularise();
    if (!r.allFinite() || (r.diagonal().array() == 0.0).any()) return false;

    Square();
    const double norm = LargestColumnSum(square);
    Invert();
    for (Index j = 0; j < n; ++j) {
        for (Index i = 0; i <= j; ++i) {
            double sum = 0.0;
            for (Index k = j; k < n; ++k) sum += root(i, k) * root(j, k);
            square(i, j) = square(j, i) = sum;
        }
    }
    if (!square.allFinite()) return false;
    const double squaredCondition = norm * LargestColumnSum(square);
    if (!(squaredCondition * Matrix::MinReciprocalCondition <= 1.0)) return false;
    condition = std::sqrt(squaredCondition);

    for (Index i = n - 1; i >= 0; --i) {
        for (Index j = i + 1; j < n; ++j) rightSide(i) -= r(i, j) * rightSide(j);
        rightSide(i) /= r(i, i);
    }
    for (Index j = 0; j < n; ++j) rightSide(j) *= scale(j);
    for (Index j = 0; j < n; ++j) {
        for (Index i = 0; i < n; ++i) {
            root(i, j) *= scale(i);
            square(i, j) *= scale(i) * scale(j);
        }
    }
    FormBasis();
    return root.allFinite() && square.allFinite();
}

// The normal matrix R'R.
void LLSq::Factors::Square() {
    for (Index j = 0; j < r.cols(); ++j) {
        for (Index i = 0; i <= j; ++i) square(i, j) = square(j, i) = Dot(r.col(i).data(), r.col(j).data(), i + 1);
    }
}

// The inverse of R into root, column by column.
void LLSq::Factors::Invert() {
    const Index n = r.cols();
    root.setZero();
    for (Index j = 0; j < n; ++j) {
        root(j, j) = 1.0 / r(j, j);
        for (Index i = j - 1; i >= 0; --i) {
            double sum = 0.0;
            for (Index k = i + 1; k <= j; ++k) sum += r(i, k) * root(k, j);
            root(i, j) = -sum / r(i, i);
        }
    }
}

// Leaves the Householder vectors in q, R in r, and Q' times the observations in rightSide.
void LLSq::Factors::Triangularise() {
    const Index n = q.cols();
    r.setZero();
    for (Index k = 0; k < n; ++k) {
        const Index rows = q.rows() - k;
        double* const column = q.col(k).data() + k;
        r(k, k) = MakeReflection(column, tau(k), rows);
        for (Index j = k + 1; j < n; ++j) Reflect(q.col(j).data() + k, column + 1, tau(k), rows);
        Reflect(rightSide.data() + k, column + 1, tau(k), rows);
        for (Index i = 0; i < k; ++i) r(i, k) = q(i, k);
    }
}

// Makes the first columns of Q of the Householder vectors, from the last to the first.
void LLSq::Factors::FormBasis() {
    const Index n = q.cols();
    for (Index k = n - 1; k >= 0; --k) {
        const Index rows = q.rows() - k;
        double* const column = q.col(k).data() + k;
        for (Index j = k + 1; j < n; ++j) Reflect(q.col(j).data() + k, column + 1, tau(k), rows);
        for (Index i = 1; i < rows; ++i) column[i] *= -tau(k);
        column[0] = 1.0 - tau(k);
        std::fill(q.col(k).data(), column, 0.0);
    }
}

void LLSq::Reset(int nmrUnknown) {
    nmrUnknown_ = nmrUnknown >= 1 && nmrUnknown <= Matrix::MaxDimension ? nmrUnknown : 0;
    ClearObs();
    unknowns_.clear();
    covar_ = Matrix();
    stats_.resids_.clear();  // kept as it is otherwise, for its memory
    stats_.confidence_ = confidence_;
    stats_.power_ = power_;
    stats_.freedom_ = 0;
    stats_.unitVariance_ = stats_.rms_ = 0.0;
    stats_.fTest_ = FNotTestable;
    effects_.clear();
}

void LLSq::ClearObs() {
    obs_.clear();
    rows_.clear();
}

void LLSq::SetTests(Confidence confidence, Power power, FLimit fLimit) {
    confidence_ = confidence;
    power_ = power;
    fLimit_ = fLimit;
}

bool LLSq::AddObs(std::span<const double> row, double value, double sd) {
    if (nmrUnknown_ == 0 || row.size() != static_cast<std::size_t>(nmrUnknown_)) return false;
    if (!std::isfinite(value) || !(sd > 0.0) || !std::isnormal(sd * sd) || !std::isnormal(1.0 / (sd * sd)))
        return false;
    if (!std::all_of(row.begin(), row.end(), [](double x) { return std::isfinite(x); })) return false;
    // Room for the observation first: when there is none for the row, neither is added.
    if (obs_.size() == obs_.capacity()) obs_.reserve(std::max<std::size_t>(8, 2 * obs_.size()));
    rows_.insert(rows_.end(), row.begin(), row.end());
    obs_.push_back({value, sd, false});
    return true;
}

void LLSq::SetRejected(int obs, bool rejected) {
    if (IsObs(obs)) obs_[static_cast<std::size_t>(obs)].rejected = rejected;
}

std::span<const double> LLSq::Row(int obs) const {
    const auto width = static_cast<std::size_t>(nmrUnknown_);
    return std::span(rows_).subspan(static_cast<std::size_t>(obs) * width, width);
}

// Observed minus adjusted.
double LLSq::Misclosure(int obs, const double* unknowns) const {
    return obs_[static_cast<std::size_t>(obs)].value - Dot(Row(obs), unknowns);
}

const LLSq::Limits& LLSq::GetLimits(int freedom) {
    Limits& limits = limits_[static_cast<std::size_t>(freedom) % limits_.size()];
    if (limits.freedom != freedom || limits.confidence != confidence_ || limits.power != power_ ||
        limits.fLimit != fLimit_) {
        limits = {confidence_,
                  power_,
                  fLimit_,
                  freedom,
                  GetWLimit(confidence_),
                  GetNonCentrality(confidence_, power_),
                  GetFLimit(fLimit_, confidence_, power_, freedom)};
    }
    return limits;
}

// The observations that take part, weighted.
void LLSq::FillIn(Factors& factors) const {
    Index k = 0;
    for (int obs = 0; obs < NmrObs(); ++obs) {
        const auto& [value, sd, rejected] = obs_[static_cast<std::size_t>(obs)];
        if (rejected) continue;
        const auto row = Row(obs);
        for (Index j = 0; j < nmrUnknown_; ++j) factors.q(k, j) = row[static_cast<std::size_t>(j)] / sd;
        factors.rightSide(k) = value / sd;
        ++k;
    }
}

bool LLSq::Solve() {
    const auto width = static_cast<std::size_t>(nmrUnknown_);
    const auto used =
        static_cast<int>(std::count_if(obs_.begin(), obs_.end(), [](const Obs& o) { return !o.rejected; }));
    if (width == 0 || used < nmrUnknown_) return false;
    work_.resize(Factors::Size(static_cast<std::size_t>(used), width));
    Factors factors(work_.data(), used, nmrUnknown_);
    FillIn(factors);
    if (!factors.Factorise()) return false;
    const double* const unknowns = factors.rightSide.data();

    double squares = 0.0;
    double weightedSquares = 0.0;
    for (int obs = 0; obs < NmrObs(); ++obs) {
        const auto& o = obs_[static_cast<std::size_t>(obs)];
        const double v = Misclosure(obs, unknowns);
        if (!std::isfinite(v)) return false;
        if (o.rejected) continue;
        squares += v * v;
        weightedSquares += (v / o.sd) * (v / o.sd);
    }
    if (!std::isfinite(squares) || !std::isfinite(weightedSquares)) return false;

    // The solution stands; once there is room for it the former one is overwritten.
    unknowns_.reserve(width);
    stats_.resids_.reserve(obs_.size());
    effects_.reserve(obs_.size() * width);
    if (covar_.NmrRow() != nmrUnknown_) covar_ = Matrix(nmrUnknown_, nmrUnknown_);
    unknowns_.assign(unknowns, unknowns + width);
    for (int i = 0; i < nmrUnknown_; ++i) {
        for (int j = 0; j <= i; ++j) {
            covar_.SetValue(i, j, factors.square(j, i));
            covar_.SetValue(j, i, factors.square(j, i));
        }
    }
    stats_.confidence_ = confidence_;
    stats_.power_ = power_;
    stats_.freedom_ = used - nmrUnknown_;
    stats_.unitVariance_ = stats_.freedom_ > 0 ? weightedSquares / stats_.freedom_ : 0.0;
    stats_.rms_ = std::sqrt(squares / used);
    stats_.resids_.resize(obs_.size());
    effects_.resize(obs_.size() * width);
    const Limits& limits = GetLimits(stats_.freedom_);
    int usedRow = 0;
    for (int obs = 0; obs < NmrObs(); ++obs) {
        WorkOutResid(obs, factors, usedRow, limits.nonCentrality);
        if (!IsRejected(obs)) ++usedRow;
    }
    TestResids(limits, factors.condition);
    return true;
}

// The row of Q of an observation that takes part is the given one.
void LLSq::WorkOutResid(int obs, Factors& factors, int usedRow, double nonCentrality) {
    const auto& o = obs_[static_cast<std::size_t>(obs)];
    const auto width = static_cast<std::size_t>(nmrUnknown_);

    // The square of the row is the variance of the adjusted observation, in that of the observation.
    if (o.rejected) {
        const auto row = Row(obs);
        for (Index j = 0; j < nmrUnknown_; ++j)
            factors.row(j) = Dot(factors.root.col(j).data(), row.data(), j + 1) / o.sd;
    } else {
        for (Index j = 0; j < nmrUnknown_; ++j) factors.row(j) = factors.q(usedRow, j);
    }
    const double adjusted = Dot(factors.row.data(), factors.row.data(), nmrUnknown_);
    // What the redundancy number is, or would be if the observation were taken back.
    const double share = o.rejected ? 1.0 / (1.0 + adjusted) : std::clamp(1.0 - adjusted, 0.0, 1.0);
    const double rootOfShare = std::sqrt(share);
    const double sd = o.sd * (o.rejected ? 1.0 / rootOfShare : rootOfShare);
    const double mdb = nonCentrality * o.sd / rootOfShare;

    const double v = Misclosure(obs, unknowns_.data());
    const bool testable = stats_.IsTestable() && share >= MinRedundancy && std::isfinite(v / sd) && std::isfinite(mdb);
    Resid& resid = stats_.resids_[static_cast<std::size_t>(obs)];
    resid = Resid(o.rejected, {v, 0.0, -1.0, -1.0, o.rejected ? 0.0 : share}, WNotTestable, {});
    const auto effect = std::span(effects_).subspan(static_cast<std::size_t>(obs) * width, width);
    std::fill(effect.begin(), effect.end(), 0.0);
    if (!testable) return;

    resid.statistics_ = {v, v / sd, sd, mdb, resid.GetRedundancy()};
    resid.wTest_ = WPassed;
    if (o.rejected) return;
    for (Index j = 0; j < nmrUnknown_; ++j) {
        const double part = factors.row(j) * (mdb / o.sd);
        for (Index i = 0; i <= j; ++i) effect[static_cast<std::size_t>(i)] += factors.root(i, j) * part;
    }
    std::copy_n(effect.begin(), std::min(width, resid.extRel_.size()), resid.extRel_.begin());
}

// The outcomes of the F-test and of the w-tests, once all residuals are known.
void LLSq::TestResids(const Limits& limits, double condition) {
    stats_.fTest_ = FNotTestable;
    if (!std::isnan(limits.unitVariance)) {
        stats_.fTest_ = stats_.unitVariance_ > limits.unitVariance ? FFailed : FPassed;
    }

    Resid* largest = nullptr;
    for (Resid& resid : stats_.resids_) {
        if (resid.wTest_ == WNotTestable || !(std::abs(resid.GetStandardised()) > limits.w)) continue;
        resid.wTest_ = WFailed;
        if (resid.rejected_) continue;
        if (largest == nullptr || std::abs(resid.GetStandardised()) > std::abs(largest->GetStandardised())) {
            largest = &resid;
        }
    }
    if (largest == nullptr || !stats_.IsIdentifiable()) return;
    // Observations whose residuals always move together have the same |w|, but for rounding: no fault is placed there.
    // Rounding moves a residual by what the condition number makes of it, and w by that over the root of the
    // redundancy.
    const double rounding = 16.0 * std::numeric_limits<double>::epsilon() * condition;
    const auto bound = [rounding](const Resid& resid, double sign) {
        const double doubt = 1e-8 + rounding / std::sqrt(resid.GetRedundancy());
        return std::abs(resid.GetStandardised()) * (1.0 + sign * doubt);
    };
    const double alike = bound(*largest, -1.0);
    const auto rivals =
        std::count_if(stats_.resids_.begin(), stats_.resids_.end(), [&bound, alike](const Resid& resid) {
            return !resid.rejected_ && resid.wTest_ != WNotTestable && bound(resid, 1.0) >= alike;
        });
    if (rivals == 1) largest->wTest_ = WFailedLargest;
}

double LLSq::GetUnknown(int unknown) const {
    const auto i = static_cast<std::size_t>(unknown);
    return unknown >= 0 && i < unknowns_.size() ? unknowns_[i] : 0.0;
}

Matrix LLSq::GetUnknowns() const {
    Matrix result(static_cast<int>(unknowns_.size()), 1);
    for (int i = 0; i < result.NmrRow(); ++i) result.SetValue(i, 0, GetUnknown(i));
    return result;
}

Matrix LLSq::GetScaledCovar() const {
    return stats_.IsTestable() ? covar_ * stats_.unitVariance_ : Matrix();
}

Matrix LLSq::GetExtRel(int obs) const {
    if (obs < 0 || obs >= stats_.NmrResid()) return {};
    Matrix result(nmrUnknown_, 1);
    const auto first = static_cast<std::size_t>(obs) * static_cast<std::size_t>(nmrUnknown_);
    for (int i = 0; i < nmrUnknown_; ++i) result.SetValue(i, 0, effects_[first + static_cast<std::size_t>(i)]);
    return result;
}

}  // namespace Corvane
