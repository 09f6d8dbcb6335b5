#include "host/report/RunSeries.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/UKOOAResid.h"
#include "host/fix/FixNotes.h"

namespace Host {

namespace {

std::uint8_t Byte(int count) {
    return static_cast<std::uint8_t>(std::clamp(count, 0, 255));
}

float Float(double value) {
    return static_cast<float>(value);
}

void AddStatistics(const FixResult& result, const FixSatellite& satellite, RunSeries::Satellite& tally) {
    if (satellite.row < 0) return;
    const GNSS::UKOOA::Resid& resid = result.ukooa.GetResid(satellite.row);
    tally.squares += resid.GetResidual() * resid.GetResidual();
    tally.variances += satellite.sd * satellite.sd;
    if (resid.GetMDB() < 0.0) return;
    tally.largestMde = std::max(tally.largestMde, resid.GetMDB());
    const GNSS::Grid& effect = resid.GetExtRel();
    tally.largestEffect = std::max(tally.largestEffect, std::hypot(effect.GetEast(), effect.GetNorth()));
}

}  // namespace

void RunSeries::Add(const PublishedFix& fix, const FixFigures& figures) {
    const FixResult& result = fix.result;
    if (epochs_.empty()) start_ = result.time;
    RunEpoch& epoch = epochs_.emplace_back();
    epoch.time = (result.time - start_).Seconds();
    first_ = std::min(first_, epoch.time);
    last_ = std::max(last_, epoch.time);
    epoch.tracked = {Byte(result.gps.tracked), Byte(result.glonass.tracked)};
    epoch.used = {Byte(result.gps.used), Byte(result.glonass.used)};
    epoch.rejected = {Byte(result.gps.rejected), Byte(result.glonass.rejected)};
    epoch.test = result.valid ? result.test : FixTest::None;
    epoch.fTest = figures.fTest;
    epoch.wTest = figures.wTest;
    constexpr float None = std::numeric_limits<float>::quiet_NaN();
    epoch.sd = {None, None, None};
    epoch.hdop = epoch.pdop = epoch.fLimit = epoch.maxW = epoch.wLimit = None;
    if (result.valid) {
        if (!origin_) origin_ = result.ecef;
        epoch.place = result.ecef - *origin_;
        epoch.sd = {Float(std::sqrt(result.covar.GetVarianceEast())), Float(std::sqrt(result.covar.GetVarianceNorth())),
                    Float(std::sqrt(result.covar.GetVarianceHeight()))};
        epoch.hdop = Float(result.dop.GetHDOP());
        epoch.pdop = Float(result.dop.GetPDOP());
        if (figures.redundancy > 0) epoch.fLimit = Float(result.fLimit);
        epoch.wLimit = Float(result.wLimit);
        if (result.maxWRow >= 0) {
            epoch.maxW = Float(result.maxW);
            const FixSatellite* satellite = figures.redundancy > 1 ? result.FindRow(result.maxWRow) : nullptr;
            if (satellite != nullptr)
                epoch.maxWSatellite =
                    static_cast<std::int16_t>(satellite->number + (satellite->glonass ? GlonassParam : 0));
        }
    }
    epoch.unitVariance = Float(figures.unitVariance);
    epoch.extRel2D = Float(figures.extRel2D.value);
    epoch.extRelHeight = Float(figures.extRelHeight.value);
    epoch.ellipseMajor = Float(figures.ellipseMajor);
    epoch.height95 = Float(figures.height95);
    epoch.extRel3D = Float(figures.extRel3D.value);
    epoch.ellipsoidMajor = Float(figures.ellipsoidMajor);
    if (epoch.IsChecked()) ++nmrChecked_;

    for (const FixSatellite& satellite : result.satellites) {
        Satellite& tally = satellites_[{satellite.glonass, satellite.number}];
        ++tally.tracked;
        if (!result.valid) continue;
        if (satellite.use == SatelliteUse::Used) {
            ++tally.used;
            AddStatistics(result, satellite, tally);
            if (figures.redundancy > 1 && satellite.row == result.maxWRow) ++tally.mostSuspect;
        }
        if (satellite.use != SatelliteUse::Rejected) continue;
        if (++tally.rejected == 1 || std::abs(satellite.rejectedW) > std::abs(tally.largestW)) {
            tally.largestW = satellite.rejectedW;
            tally.largestAt = result.time;
        }
    }
    for (int i = 0; i < fix.notes.NmrNote(); ++i) {
        const GNSS::Notes::Note& note = fix.notes[i];
        NoteKind& kind = noteKinds_[note.GetId()];
        // Several satellites may have the same at one epoch.
        if (kind.lastEpoch == epochs_.size()) continue;
        if (kind.epochs++ == 0) kind.text = note.GetText().ToUTF8();
        kind.lastEpoch = epochs_.size();
    }
    history_.Update(result.time.GetTimeDate(), fix.notes);
}

double RunSeries::GetInterval() const {
    std::vector<double> steps;
    steps.reserve(epochs_.size());
    for (std::size_t i = 1; i < epochs_.size(); ++i) {
        if (const double step = epochs_[i].time - epochs_[i - 1].time; step > 0.0) steps.push_back(step);
    }
    if (steps.empty()) return 0.0;
    const auto middle = steps.begin() + static_cast<std::ptrdiff_t>(steps.size() / 2);
    std::ranges::nth_element(steps, middle);
    return *middle;
}

RunReference::RunReference(const RunSeries& series, const std::optional<GNSS::ECEF>& given)
    : isGiven_(given.has_value()) {
    if (given) {
        grid_.Set(*given, GNSS::Spheroid::WGS84);
        return;
    }
    if (!series.GetOrigin()) return;
    GNSS::ECEF::Delta sum;
    double count = 0.0;
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (!series.IsCounted(epoch)) continue;
        sum += epoch.place;
        count += 1.0;
    }
    grid_.Set(*series.GetOrigin() + sum * (1.0 / count), GNSS::Spheroid::WGS84);
}

std::array<double, 3> RunReference::Difference(const RunSeries& series, const RunEpoch& epoch) const {
    if (!epoch.IsFix()) return {FixFigures::None, FixFigures::None, FixFigures::None};
    const GNSS::Grid::Delta delta = grid_.GetGridDelta(series.PlaceOf(epoch));
    return {delta.GetEast(), delta.GetNorth(), delta.GetHeight()};
}

}  // namespace Host
