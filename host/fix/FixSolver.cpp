#include "host/fix/FixSolver.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <span>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/time/Constants.h"
#include "gnss/time/GPSFreqy.h"
#include "host/fix/RangeVariance.h"
#include "host/fix/Sight.h"

namespace Host {
namespace {

using GNSS::ECEF;
using GNSS::LightSpeed;

constexpr int MaxIterations = 15;
// Steps shorter than this end the iteration, m: where the position is all that is wanted, and where elevations and
// corrections are to be worked out.
constexpr double FineStep = 1e-4;
constexpr double CoarseStep = 1000.0;
// Directions, and the corrections and weights by them, are worked out again after a longer way, m. What they change
// over it stays below 0.1 mm; the troposphere by height, which changes faster, is worked out in every step.
constexpr double CorrectionStep = 5.0;
// Standard deviation of every range before elevations are known, m: what the atmosphere adds is no gross error.
constexpr double CoarseSD = 100.0;
// Where a receiver can be, m above the ellipsoid.
constexpr double MinHeight = -10e3;
constexpr double MaxHeight = 100e3;
// A satellite is chosen by its elevation at the position found; where that moves one over the mask the position is
// found again, so often.
constexpr int MaxChoices = 4;

std::size_t SystemOf(const FixSatellite& satellite) {
    return satellite.glonass ? 1 : 0;
}

}  // namespace

const char* Describe(FixFailure failure) {
    switch (failure) {
        case FixFailure::None:
            return "";
        case FixFailure::TooFewSatellites:
            return "too few satellites";
        case FixFailure::BadGeometry:
            return "the satellites' geometry does not determine a position";
        case FixFailure::NotConverged:
            return "the ranges contradict each other too much";
        case FixFailure::NotOnEarth:
            return "the position found is not on the earth";
    }
    return "";
}

bool FixSolver::Fail(FixFailure failure) {
    failure_ = failure;
    return false;
}

std::optional<double> FixSolver::GetClock(bool glonass) const {
    const std::size_t system = glonass ? 1 : 0;
    return clockColumn_[system] < 0 ? std::nullopt : std::optional<double>(clocks_[system]);
}

void FixSolver::Place(const ECEF& position) {
    position_ = position;
    grid_.Set(position, GNSS::Spheroid::WGS84);
    geog_ = grid_.GetOrigin();
    troposphere_ = settings_.troposphere == FixSettings::Troposphere::Standard ? StandardTroposphere(geog_)
                                                                               : StandardTroposphere();
}

// Elevation and azimuth from the place.
void FixSolver::LookAt(FixSatellite& satellite) const {
    const Sight sight(satellite.posn, position_);
    const double east = sight.direction.Dot(grid_.GetEast());
    const double north = sight.direction.Dot(grid_.GetNorth());
    const double up = sight.direction.Dot(grid_.GetUp());
    satellite.elevation = std::asin(std::clamp(up, -1.0, 1.0));
    satellite.azimuth = std::atan2(east, north);
    if (satellite.azimuth < 0.0) satellite.azimuth += 2.0 * std::numbers::pi;
}

// What the atmosphere adds to the range, and how good the range is.
void FixSolver::Correct(const GNSS::GPSTime& t, const FixInputs& inputs, Row& row) const {
    FixSatellite& satellite = *row.satellite;
    row.mapping = StandardTroposphere::GetMapping(std::sin(satellite.elevation));
    satellite.troposphere = row.mapping * troposphere_.GetZenithDelay();
    satellite.ionosphere = 0.0;
    if (usedIonosphere_ && satellite.frequency > 0.0) {
        double delay = 0.0;
        if (inputs.almanac->CalculateIonoDelay(t, geog_.GetLatitude(), geog_.GetLongitude(),
                                               Corvane::Angle(satellite.elevation), Corvane::Angle(satellite.azimuth),
                                               delay)) {
            const double ratio = GNSS::GPSFreqy::L1.GetFrequency() / satellite.frequency;
            satellite.ionosphere = delay * ratio * ratio;
        }
    }
    satellite.sd = std::sqrt(RangeVariance(satellite, settings_.weights, usedIonosphere_));
}

// Which satellites take part, by what is known of their place in the sky.
void FixSolver::Choose(std::vector<FixSatellite>& satellites) {
    std::array<int, 2> counts{};
    for (FixSatellite& satellite : satellites) {
        if (satellite.use == SatelliteUse::BelowMask || satellite.use == SatelliteUse::LowSignal ||
            satellite.use == SatelliteUse::Lone || satellite.use == SatelliteUse::Rejected) {
            satellite.use = SatelliteUse::Used;
        }
        satellite.row = -1;
        if (satellite.use != SatelliteUse::Used) continue;
        if (!(satellite.elevation >= settings_.elevationMask * (std::numbers::pi / 180.0))) {
            satellite.use = SatelliteUse::BelowMask;
        } else if (satellite.snr < settings_.signalMask) {
            satellite.use = SatelliteUse::LowSignal;
        } else {
            ++counts[SystemOf(satellite)];
        }
    }
    rows_.clear();
    for (FixSatellite& satellite : satellites) {
        if (satellite.use != SatelliteUse::Used) continue;
        if (counts[SystemOf(satellite)] == 1 && counts[1 - SystemOf(satellite)] > 0) {
            satellite.use = SatelliteUse::Lone;
            continue;
        }
        satellite.row = static_cast<int>(rows_.size());
        rows_.emplace_back().satellite = &satellite;
    }
    nmrUnknown_ = 3;
    for (std::size_t system = 0; system < 2; ++system) {
        const bool takesPart =
            std::any_of(rows_.begin(), rows_.end(), [&](const Row& row) { return SystemOf(*row.satellite) == system; });
        clockColumn_[system] = takesPart ? nmrUnknown_++ : -1;
    }
    heightRow_ = -1;
    if (settings_.heightAid) {
        heightRow_ = static_cast<int>(rows_.size());
        rows_.emplace_back();
    }
    nmrObs_ = static_cast<int>(rows_.size());
}

void FixSolver::Linearise(Row& row, bool coarse) const {
    row.design.fill(0.0);
    if (row.satellite == nullptr) {
        const ECEF::Delta& up = grid_.GetUp();
        row.design = {up.GetX(), up.GetY(), up.GetZ()};
        row.misclosure = settings_.height - geog_.GetHeight();
        row.sd = coarse ? CoarseSD : settings_.heightSD;
        return;
    }
    FixSatellite& satellite = *row.satellite;
    const Sight sight(satellite.posn, position_);
    const std::size_t system = SystemOf(satellite);
    row.design = {-sight.direction.GetX(), -sight.direction.GetY(), -sight.direction.GetZ()};
    row.design[static_cast<std::size_t>(clockColumn_[system])] = 1.0;
    satellite.troposphere = row.mapping * troposphere_.GetZenithDelay();
    const double atmosphere = coarse ? 0.0 : satellite.ionosphere + satellite.troposphere;
    row.misclosure = satellite.range + satellite.correction -
                     (sight.range + clocks_[system] - LightSpeed * satellite.clock + atmosphere);
    row.sd = coarse ? CoarseSD : satellite.sd;
}

// One step of the iteration by the normal equations. False when they are singular.
bool FixSolver::Step(std::array<double, MaxUnknown>& step) {
    const auto n = static_cast<std::size_t>(nmrUnknown_);
    std::array<std::array<double, MaxUnknown>, MaxUnknown> normal{};
    step.fill(0.0);
    for (const Row& row : rows_) {
        if (row.rejected) continue;
        const double weight = 1.0 / (row.sd * row.sd);
        for (std::size_t i = 0; i < n; ++i) {
            const double weighted = weight * row.design[i];
            for (std::size_t j = 0; j <= i; ++j) normal[i][j] += weighted * row.design[j];
            step[i] += weighted * row.misclosure;
        }
    }
    // Cholesky; a pivot that has lost nearly all of its digits is none.
    constexpr double LeastPivot = 1e-11;
    for (std::size_t i = 0; i < n; ++i) {
        const double diagonal = normal[i][i];
        for (std::size_t j = 0; j <= i; ++j) {
            double sum = normal[i][j];
            for (std::size_t k = 0; k < j; ++k) sum -= normal[i][k] * normal[j][k];
            if (i != j) {
                normal[i][j] = sum / normal[j][j];
            } else if (sum > LeastPivot * diagonal) {
                normal[i][i] = std::sqrt(sum);
            } else {
                return false;
            }
        }
    }
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t k = 0; k < i; ++k) step[i] -= normal[i][k] * step[k];
        step[i] /= normal[i][i];
    }
    for (std::size_t i = n; i-- > 0;) {
        for (std::size_t k = i + 1; k < n; ++k) step[i] -= normal[k][i] * step[k];
        step[i] /= normal[i][i];
    }
    return std::all_of(step.begin(), step.end(), [](double s) { return std::isfinite(s); });
}

// Where the satellites' directions are those from the place already, the first step takes them.
bool FixSolver::Converge(const GNSS::GPSTime& t, const FixInputs& inputs, bool coarse, bool hasDirections) {
    double sinceCorrected = CorrectionStep;
    for (int i = 0; i < MaxIterations; ++i) {
        if (!coarse && sinceCorrected >= CorrectionStep) {
            for (Row& row : rows_) {
                if (row.satellite == nullptr) continue;
                if (i > 0 || !hasDirections) LookAt(*row.satellite);
                Correct(t, inputs, row);
            }
            sinceCorrected = 0.0;
        }
        for (Row& row : rows_) Linearise(row, coarse);
        std::array<double, MaxUnknown> step{};
        if (!Step(step)) return Fail(FixFailure::BadGeometry);
        const ECEF::Delta move(step[0], step[1], step[2]);
        for (std::size_t system = 0; system < 2; ++system) {
            if (clockColumn_[system] >= 0) clocks_[system] += step[static_cast<std::size_t>(clockColumn_[system])];
        }
        Place(position_ + move);
        const double length = move.Magnitude();
        sinceCorrected += length;
        if (length < (coarse ? CoarseStep : FineStep) && (coarse || sinceCorrected < CorrectionStep)) return true;
    }
    return Fail(FixFailure::NotConverged);
}

// The adjustment with all its statistics, at the position of now. False when it does not determine the unknowns.
bool FixSolver::Adjust(bool coarse) {
    llsq_.Reset(nmrUnknown_);
    llsq_.SetTests(settings_.confidence, settings_.power, settings_.fLimit);
    for (std::size_t i = 0; i < rows_.size(); ++i) {
        Row& row = rows_[i];
        Linearise(row, coarse);
        const std::span<const double> design(row.design.data(), static_cast<std::size_t>(nmrUnknown_));
        if (!llsq_.AddObs(design, row.misclosure, row.sd)) return false;
        if (row.rejected) llsq_.SetRejected(static_cast<int>(i), true);
    }
    return llsq_.Solve();
}

// Data snooping: leaves out one range after the other, as long as the tests place a fault in one.
bool FixSolver::Snoop(const GNSS::GPSTime& t, const FixInputs& inputs, bool coarse) {
    for (;;) {
        if (!Adjust(coarse)) return Fail(FixFailure::BadGeometry);
        const Corvane::LLSq::Stats& stats = llsq_.GetStats();
        const int index = settings_.rejects ? stats.IndexToReject() : -1;
        if (index < 0) return true;
        Row& row = rows_[static_cast<std::size_t>(index)];
        row.rejected = true;
        if (row.satellite != nullptr) {
            row.satellite->use = SatelliteUse::Rejected;
            row.satellite->rejectedW = stats.GetResid(index).GetStandardised();
        }
        if (!Converge(t, inputs, coarse)) return false;
    }
}

// A first position from the earth's centre or, where a height helps, from below the satellites' middle. Gross errors
// are left out of it, or the wrong horizon would choose the wrong satellites.
bool FixSolver::Begin(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites) {
    clocks_ = {};
    ECEF::Delta middle;
    for (FixSatellite& satellite : satellites) {
        if (!satellite.hasPlace) continue;
        satellite.elevation = std::numbers::pi / 2.0;  // nothing is below the mask as long as there is no horizon
        if (satellite.use == SatelliteUse::Used) middle += satellite.posn - ECEF();
    }
    double length = 0.0;
    const bool hasMiddle = settings_.heightAid && middle.Normalise(length);
    Place(hasMiddle ? ECEF() + middle * GNSS::Spheroid::WGS84.GetSemiMajorAxis() : ECEF());
    Choose(satellites);
    if (nmrObs_ < nmrUnknown_) return Fail(FixFailure::TooFewSatellites);
    return Converge(t, inputs, true) && Snoop(t, inputs, true);
}

void FixSolver::LookAtAll(std::vector<FixSatellite>& satellites) const {
    for (FixSatellite& satellite : satellites) {
        if (satellite.hasPlace) LookAt(satellite);
    }
}

// Whether the satellites chosen are those above the mask.
bool FixSolver::IsChoiceRight(const std::vector<FixSatellite>& satellites) const {
    const double mask = settings_.elevationMask * (std::numbers::pi / 180.0);
    return std::none_of(satellites.begin(), satellites.end(), [mask](const FixSatellite& satellite) {
        return (satellite.use == SatelliteUse::BelowMask && satellite.elevation >= mask) ||
               (satellite.row >= 0 && !(satellite.elevation >= mask));
    });
}

// The position from where the solver stands, near it or not.
bool FixSolver::Find(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites) {
    LookAtAll(satellites);
    for (int choice = 0; choice < MaxChoices; ++choice) {
        Choose(satellites);
        if (nmrObs_ < nmrUnknown_ || nmrUnknown_ == 3) return Fail(FixFailure::TooFewSatellites);
        if (!Converge(t, inputs, false, true) || !Snoop(t, inputs, false)) return false;
        LookAtAll(satellites);
        if (IsChoiceRight(satellites)) break;
    }
    if (!(geog_.GetHeight() > MinHeight && geog_.GetHeight() < MaxHeight)) return Fail(FixFailure::NotOnEarth);
    for (FixSatellite& satellite : satellites) {
        if (satellite.row >= 0) satellite.resid = llsq_.GetStats().GetResid(satellite.row);
    }
    return true;
}

bool FixSolver::Solve(const GNSS::GPSTime& t, const FixInputs& inputs, std::vector<FixSatellite>& satellites) {
    failure_ = FixFailure::None;
    usedIonosphere_ = settings_.ionosphere == FixSettings::Ionosphere::WhenReceived &&
                      settings_.ranges == FixSettings::Ranges::L1 && inputs.hasIonosphere && inputs.almanac != nullptr;
    const ECEF prior = position_;
    if (hasPrior_ && Find(t, inputs, satellites)) return true;
    // The last position may be far from this one.
    failure_ = FixFailure::None;
    if (Begin(t, inputs, satellites) && Find(t, inputs, satellites)) {
        hasPrior_ = true;
        return true;
    }
    // Without a position there are no directions either; with the last one they are those from there.
    if (hasPrior_) {
        Place(prior);
        LookAtAll(satellites);
    }
    for (FixSatellite& satellite : satellites) {
        if (!hasPrior_) satellite.elevation = satellite.azimuth = FixSatellite::None;
        satellite.row = -1;
    }
    return false;
}

}  // namespace Host
