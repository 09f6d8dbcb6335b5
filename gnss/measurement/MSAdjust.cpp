#include "gnss/measurement/MSAdjust.h"

#include <cmath>

#include "gnss/measurement/MSAdjustGroup.h"
#include "gnss/platform/Number.h"

namespace GNSS {

using Corvane::QValue;
using Corvane::ToInt;

namespace {

// Milliseconds; no signal of these systems is on its way for a hundred seconds.
constexpr double MaxDifference = 1e5;

// The first range of a satellite, else its first smoothed one, metres.
template <typename SV>
std::optional<double> FirstRange(const SV& sv) {
    std::optional<double> smoothed;
    for (int i = 0; i < sv.NmrMeas(); ++i) {
        const auto& record = sv.GetMeas(i);
        if (record.IsValid(GPSMeas::Range) && std::isfinite(record.GetRange())) return record.GetRange();
        if (!smoothed && record.IsValid(GPSMeas::SmoothRange) && std::isfinite(record.GetSmoothRange())) {
            smoothed = record.GetSmoothRange();
        }
    }
    return smoothed;
}

// Cycles of light travel of a millisecond; exact for all known signals. The GLONASS satellites differ, intended.
std::optional<double> CyclesPerMS(const GPSFreqy& freqy, const std::optional<int>&) {
    return freqy.GetFrequency() / 1000.0;
}
std::optional<double> CyclesPerMS(const Glonass::Frequency& freqy, const std::optional<int>& channel) {
    if (!channel) return std::nullopt;
    return freqy.GetChannelFrequency(*channel) / 1000.0;
}

}  // namespace

// What an epoch does to all phases.
struct MSAdjust::PhaseStep {
    int ms = 0;               // to take out
    bool isDoubtful = false;  // start anew, jump or undecided change: mark them
    std::optional<int> seen;  // ms by which those have jumped that need no mark at a jump
    int jump = 0;             // ms, of the ranges
    double drift = 0.0;       // ms, of the clock since the epoch before
};

// One system's part of an epoch, with the steps that are taken on it. The arrays go by the satellite's number.
template <typename Set, typename Range, std::size_t N>
class MSAdjust::Part {
public:
    using Record = typename Set::Record;

    Part(Set& set, std::span<const Range> ranges, std::array<Track, N>& tracks,
         std::array<std::optional<int>, N>& taken)
        : set_(set), tracks_(tracks), taken_(taken) {
        for (const Range& range : ranges) {
            const auto number = static_cast<std::size_t>(int{range.id});
            if (!range.id.IsValid() || computed_[number] || !std::isfinite(range.range)) continue;
            computed_[number] = range.range;
            if constexpr (requires { range.frequencyChannel; }) {
                const std::optional<int>& channel = range.frequencyChannel;
                if (channel && *channel >= -7 && *channel <= 24) tracks_[number].frequencyChannel = channel;
            }
        }
    }

    // Adds measured - computed, once for each satellite.
    void Compare(MSDifferences& differences) const {
        std::array<bool, N> done{};
        for (int i = 0; i < set_.NmrSV(); ++i) {
            const std::size_t number = Number(i);
            const std::optional<double> range = FirstRange(set_.GetSV(i));
            if (done[number] || !computed_[number] || !range) continue;
            const double difference = (*range - *computed_[number]) / MSRange;
            if (!(std::abs(difference) < MaxDifference)) continue;
            differences.Add(difference);
            done[number] = true;
        }
    }

    // Brings every range that fits to `reference` ms from the computed one, within half a millisecond.
    void AdjustRanges(double reference) {
        for (int i = 0; i < set_.NmrSV(); ++i) {
            const std::size_t number = Number(i);
            if (!computed_[number]) continue;
            for (int k = 0; k < set_.GetSV(i).NmrMeas(); ++k) {
                Record record = set_.GetSV(i).GetMeas(k);
                bool changed = false;
                const auto adjusted = [&](const QValue& value) {
                    const std::optional<int> ms = WholeMS(value.Value() - *computed_[number], reference);
                    if (ms && !taken_[number]) taken_[number] = ms;
                    changed = changed || ms.value_or(0) != 0;
                    return QValue(value.Value() - ms.value_or(0) * MSRange, value.Quality());
                };
                if (record.IsValid(GPSMeas::Range)) record.SetRange(adjusted(record.GetRangeQ()));
                if (record.IsValid(GPSMeas::SmoothRange)) record.SetSmoothRange(adjusted(record.GetSmoothRangeQ()));
                if (changed) *set_.ChangeSV(i)->ChangeMeas(k) = record;
            }
        }
    }

    // What was taken out of the satellites, and by how much that changed for those that were there before.
    void Count(MSTally& taken, MSTally& changes) const {
        for (std::size_t number = 0; number < N; ++number) {
            if (!taken_[number]) continue;
            taken.Add(*taken_[number]);
            if (tracks_[number].taken) changes.Add(*taken_[number] - *tracks_[number].taken);
        }
    }

    // How many phases jumped with the ranges, less those that did not.
    [[nodiscard]] int CountVotes(const PhaseStep& step) const {
        int votes = 0;
        ForPhases([&](int i, int k, std::size_t signal) {
            const std::optional<double> own = PhaseJump(i, k, signal, step.drift);
            if (!own) return;
            if (std::abs(*own - step.jump) <= Tolerance) ++votes;
            if (std::abs(*own) <= Tolerance) --votes;
        });
        return votes;
    }

    void AdjustPhases(const PhaseStep& step, std::uint32_t doubts) {
        ForPhases([&](int i, int k, std::size_t signal) {
            Record record = set_.GetSV(i).GetMeas(k);
            const std::optional<GivenPhase>& given = tracks_[Number(i)].given[signal];
            const double taken = CyclesOf(i, k, step.ms);
            const bool isContinuous = step.isDoubtful
                                          ? step.seen && given && taken == given->taken + CyclesOf(i, k, *step.seen) &&
                                                IsNear(PhaseJump(i, k, signal, step.drift), *step.seen)
                                          : given && taken == given->taken && given->doubts == doubts;
            const bool isMarked = given && !isContinuous;
            if (taken == 0.0 && !isMarked) return;
            record.SetPhase({record.GetPhase() - taken, record.GetPhaseQ().Quality()});
            if (isMarked) record.SetCycleSlip(Record::Slip);
            *set_.ChangeSV(i)->ChangeMeas(k) = record;
        });
    }

    // After the phases have been adjusted; what the epochs go by only of one that counted.
    void Remember(const PhaseStep& step, std::uint32_t doubts, bool counted) {
        for (std::size_t number = 0; counted && number < N; ++number) {
            tracks_[number].taken = taken_[number];
            tracks_[number].computed = computed_[number].value_or(0.0);
            tracks_[number].measured = {};
        }
        ForPhases([&](int i, int k, std::size_t signal) {
            Track& track = tracks_[Number(i)];
            const double taken = CyclesOf(i, k, step.ms);
            track.given[signal] = {taken, doubts};
            if (counted) track.measured[signal] = set_.GetSV(i).GetMeas(k).GetPhase() + taken;
        });
    }

private:
    [[nodiscard]] std::size_t Number(int i) const { return static_cast<std::size_t>(int{set_.GetSV(i).GetId()}); }

    // Calls with the satellite's index, the record's index and the signal, 0 to 2, of every phase.
    template <typename Call>
    void ForPhases(const Call& call) const {
        for (int i = 0; i < set_.NmrSV(); ++i) {
            for (int k = 0; k < set_.GetSV(i).NmrMeas(); ++k) {
                const Record& record = set_.GetSV(i).GetMeas(k);
                const auto signal = static_cast<std::size_t>(record.GetFreqy().GetIdent() - 1);
                if (record.IsValid(GPSMeas::Phase) && signal < 3) call(i, k, signal);
            }
        }
    }

    // The whole ms in a range's distance from the computed one, if it fits.
    [[nodiscard]] static std::optional<int> WholeMS(double distance, double reference) {
        const double difference = distance / MSRange;
        const double ms = difference - reference;
        if (!(std::abs(difference) < MaxDifference && std::abs(ResidualMS(ms)) <= Tolerance)) return std::nullopt;
        return ToInt(std::round(ms));
    }

    // Zero for a phase that cannot be adjusted.
    [[nodiscard]] double CyclesOf(int i, int k, int ms) const {
        const auto& freqy = set_.GetSV(i).GetMeas(k).GetFreqy();
        return ms * CyclesPerMS(freqy, tracks_[Number(i)].frequencyChannel).value_or(0.0);
    }

    // By how many ms an unadjusted phase moved more than range and clock, if it ran on since the epoch before.
    [[nodiscard]] std::optional<double> PhaseJump(int i, int k, std::size_t signal, double drift) const {
        const Record& record = set_.GetSV(i).GetMeas(k);
        const Track& track = tracks_[Number(i)];
        const std::optional<double> cycles = CyclesPerMS(record.GetFreqy(), track.frequencyChannel);
        if (!track.taken || !taken_[Number(i)] || !track.measured[signal] || !cycles) return std::nullopt;
        if (record.IsCycleSlip() || record.IsLostLock()) return std::nullopt;
        return (record.GetPhase() - *track.measured[signal]) / *cycles -
               (*computed_[Number(i)] - track.computed) / MSRange - drift;
    }
    [[nodiscard]] static bool IsNear(const std::optional<double>& jump, int ms) {
        return jump && std::abs(*jump - ms) <= Tolerance;
    }

    Set& set_;
    std::array<Track, N>& tracks_;
    std::array<std::optional<int>, N>& taken_;  // ms out of each satellite's first range that fits
    std::array<std::optional<double>, N> computed_{};
};

MSAdjust::Report MSAdjust::Adjust(MeasSet& set, std::span<const GPSRange> gps, std::span<const GlonassRange> glonass) {
    Report report;
    Part gpsPart(set.GetGPS(), gps, gps_, report.gps);
    Part glonassPart(set.GetGlonass(), glonass, glonass_, report.glonass);
    const auto forBoth = [&](const auto& call) {
        call(gpsPart);
        call(glonassPart);
    };

    MSDifferences differences(Tolerance);
    forBoth([&](const auto& part) { part.Compare(differences); });
    const MSDifferences::Group group = differences.FindGroup();
    report.nmrAgree = group.nmr;
    report.adjusted = group.nmr >= 2;
    report.counted = report.adjusted && 2 * group.nmr > differences.Nmr();

    PhaseStep step;
    double offset = 0.0;
    if (report.adjusted) {
        const double gap = (set.GetGPSTime() - time_).Seconds();
        report.started = !hasEpoch_ || !(gap > GPSTime::Tolerance && gap <= MaxGap + GPSTime::Tolerance) ||
                         !(std::abs(offset_) < MaxDifference);
        const double before = report.started ? 0.0 : offset_;
        step.drift = ResidualMS(group.reference + group.mean - before);
        offset = before + step.drift;
        report.clockOffset = offset * 1e-3;
        forBoth([&](auto& part) { part.AdjustRanges(offset - group.mean); });

        MSTally taken;
        MSTally changes;
        forBoth([&](const auto& part) { part.Count(taken, changes); });
        report.common = taken.Best().ms;
        step.isDoubtful = report.started;
        if (!report.started) step.ms = phase_;
        if (report.counted && !report.started) {
            const std::optional<int> jump = changes.Majority();
            step.isDoubtful = jump != 0;
            step.jump = report.jump = jump.value_or(0);
        }
        if (report.jump != 0) {
            int votes = 0;
            forBoth([&](const auto& part) { votes += part.CountVotes(step); });
            report.phaseJumped = votes > 0;
            // An epoch in between may have shown the phases otherwise.
            if (votes != 0 && !interrupted_) step.seen = report.phaseJumped ? report.jump : 0;
            if (report.phaseJumped) step.ms += report.jump;
            if (std::abs(step.ms) > MaxPhase) step.ms = 0;
        }
        report.phase = step.ms;
    }
    forBoth([&](auto& part) { part.AdjustPhases(step, doubts_); });
    if (report.counted) {
        hasEpoch_ = true;
        time_ = set.GetGPSTime();
        offset_ = offset;
        phase_ = step.ms;
        if (step.isDoubtful) ++doubts_;
    }
    interrupted_ = !report.counted;
    forBoth([&](auto& part) { part.Remember(step, doubts_, report.counted); });
    for (std::optional<int>& own : report.gps) {
        if (own) *own -= report.common;
    }
    for (std::optional<int>& own : report.glonass) {
        if (own) *own -= report.common;
    }
    return report;
}

}  // namespace GNSS
