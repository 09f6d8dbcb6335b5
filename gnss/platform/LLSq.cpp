#include "gnss/platform/LLSq.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include <Eigen/Cholesky>
#include <Eigen/Core>

namespace Corvane {

namespace {

double Dot(std::span<const double> a, const double* b) {
    return std::inner_product(a.begin(), a.end(), b, 0.0);
}

}  // namespace

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

// Inverts the normal matrix, which is scaled to a unit diagonal on the way and is lost. All by columns.
bool LLSq::InvertNormals(double* normals, double* inverse, double* scales) const {
    using Square = Eigen::Map<Eigen::MatrixXd>;
    const Eigen::Index n = nmrUnknown_;
    Square scaled(normals, n, n);
    Square result(inverse, n, n);
    Eigen::Map<Eigen::VectorXd> scale(scales, n);

    for (Eigen::Index i = 0; i < n; ++i) {
        if (!std::isnormal(scaled(i, i))) return false;
        scale(i) = 1.0 / std::sqrt(scaled(i, i));
    }
    for (Eigen::Index j = 0; j < n; ++j) {
        for (Eigen::Index i = 0; i < n; ++i) scaled(i, j) *= scale(i) * scale(j);
    }
    if (!scaled.allFinite()) return false;
    const double norm = scaled.cwiseAbs().colwise().sum().maxCoeff();

    Eigen::Ref<Eigen::MatrixXd> inPlace(scaled);
    const Eigen::LLT<Eigen::Ref<Eigen::MatrixXd>> factor(inPlace);
    if (factor.info() != Eigen::Success) return false;
    result.setIdentity();
    factor.solveInPlace(result);
    if (!result.allFinite()) return false;
    const double inverseNorm = result.cwiseAbs().colwise().sum().maxCoeff();
    if (!(norm * inverseNorm * Matrix::MinReciprocalCondition <= 1.0)) return false;

    for (Eigen::Index j = 0; j < n; ++j) {
        for (Eigen::Index i = 0; i < n; ++i) result(i, j) *= scale(i) * scale(j);
    }
    return result.allFinite();
}

bool LLSq::Solve() {
    const auto width = static_cast<std::size_t>(nmrUnknown_);
    if (width == 0) return false;
    work_.assign(2 * width * width + 3 * width, 0.0);
    double* const normals = work_.data();
    double* const inverse = normals + width * width;
    double* const scales = inverse + width * width;
    double* const rightSide = scales + width;
    double* const unknowns = rightSide + width;

    int used = 0;
    for (int obs = 0; obs < NmrObs(); ++obs) {
        const auto& [value, sd, rejected] = obs_[static_cast<std::size_t>(obs)];
        if (rejected) continue;
        ++used;
        const auto row = Row(obs);
        const double weight = 1.0 / (sd * sd);
        for (std::size_t j = 0; j < width; ++j) {
            if (row[j] == 0.0) continue;
            const double weighted = weight * row[j];
            for (std::size_t i = 0; i < width; ++i) normals[j * width + i] += row[i] * weighted;
            rightSide[j] += weighted * value;
        }
    }
    if (used < nmrUnknown_ || !InvertNormals(normals, inverse, scales)) return false;
    for (std::size_t i = 0; i < width; ++i) unknowns[i] = Dot({inverse + i * width, width}, rightSide);

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

    // The solution stands; from here on the former one is overwritten.
    unknowns_.assign(unknowns, unknowns + width);
    if (covar_.NmrRow() != nmrUnknown_) covar_ = Matrix(nmrUnknown_, nmrUnknown_);
    for (int i = 0; i < nmrUnknown_; ++i) {
        const double* column = inverse + static_cast<std::size_t>(i) * width;
        for (int j = 0; j <= i; ++j) {
            covar_.SetValue(i, j, column[j]);
            covar_.SetValue(j, i, column[j]);
        }
    }
    stats_.confidence_ = confidence_;
    stats_.power_ = power_;
    stats_.freedom_ = used - nmrUnknown_;
    stats_.unitVariance_ = stats_.freedom_ > 0 ? weightedSquares / stats_.freedom_ : 0.0;
    stats_.rms_ = std::sqrt(squares / used);
    stats_.resids_.resize(obs_.size());
    effects_.resize(obs_.size() * width);
    const double nonCentrality = GetNonCentrality(confidence_, power_);
    for (int obs = 0; obs < NmrObs(); ++obs) WorkOutResid(obs, nonCentrality);
    TestResids();
    return true;
}

void LLSq::WorkOutResid(int obs, double nonCentrality) {
    const auto& o = obs_[static_cast<std::size_t>(obs)];
    const auto row = Row(obs);
    const auto width = row.size();
    const auto effect = std::span(effects_).subspan(static_cast<std::size_t>(obs) * width, width);

    // The covariance of the unknowns with the adjusted observation, and the variance of the latter.
    for (std::size_t i = 0; i < width; ++i) {
        effect[i] = 0.0;
        for (std::size_t j = 0; j < width; ++j) effect[i] += covar_(static_cast<int>(i), static_cast<int>(j)) * row[j];
    }
    const double adjusted = Dot(row, effect.data());

    const double variance = o.sd * o.sd;
    const double residVariance = o.rejected ? variance + adjusted : variance - adjusted;
    const double redundancy = o.rejected ? 0.0 : std::clamp(residVariance / variance, 0.0, 1.0);
    const double v = Misclosure(obs, unknowns_.data());
    Resid& resid = stats_.resids_[static_cast<std::size_t>(obs)];
    resid = Resid(o.rejected, {v, 0.0, -1.0, -1.0, redundancy}, WNotTestable, {});

    const bool testable = o.rejected || (stats_.IsTestable() && redundancy >= MinRedundancy);
    const double sd = std::sqrt(residVariance);
    const double mdb = nonCentrality * (o.rejected ? sd : variance / sd);
    double factor = 0.0;
    if (testable && std::isfinite(v / sd) && std::isfinite(mdb)) {
        resid.statistics_ = {v, v / sd, sd, mdb, redundancy};
        if (stats_.IsTestable()) resid.wTest_ = WPassed;
        if (!o.rejected) factor = mdb / variance;
    }
    for (std::size_t i = 0; i < width; ++i) {
        effect[i] = factor == 0.0 ? 0.0 : effect[i] * factor;
        if (i < resid.extRel_.size()) resid.extRel_[i] = effect[i];
    }
}

// The outcomes of the F-test and of the w-tests, once all residuals are known.
void LLSq::TestResids() {
    const double fLimit = GetFLimit(fLimit_, confidence_, power_, stats_.freedom_);
    stats_.fTest_ = FNotTestable;
    if (!std::isnan(fLimit)) stats_.fTest_ = stats_.unitVariance_ > fLimit ? FFailed : FPassed;

    const double wLimit = GetWLimit(confidence_);
    Resid* largest = nullptr;
    for (Resid& resid : stats_.resids_) {
        if (resid.wTest_ == WNotTestable || !(std::abs(resid.GetStandardised()) > wLimit)) continue;
        resid.wTest_ = WFailed;
        if (resid.rejected_) continue;
        if (largest == nullptr || std::abs(resid.GetStandardised()) > std::abs(largest->GetStandardised())) {
            largest = &resid;
        }
    }
    if (largest == nullptr || !stats_.IsIdentifiable()) return;
    // Observations whose residuals always move together have the same |w|, but for rounding: no fault is placed there.
    const double alike = std::abs(largest->GetStandardised()) * (1.0 - 1e-8);
    const auto rivals = std::count_if(stats_.resids_.begin(), stats_.resids_.end(), [alike](const Resid& resid) {
        return !resid.rejected_ && std::abs(resid.GetStandardised()) >= alike;
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
