#include "gnss/measurement/MSAdjust.h"

#include <cmath>
#include <cstdint>

#include "gnss/platform/Number.h"

namespace GNSS {

using Corvane::QValue;
using Corvane::ToInt;

namespace {

// Milliseconds; no signal of these systems is on its way for a hundred seconds.
constexpr double MaxDifference = 1e5;

// How far x lies from the nearest whole number.
double Residual(double x) {
    return x - std::round(x);
}

// The first range of a satellite, else its first smoothed one, metres.
template <typename SV>
std::optional<double> FirstRange(const SV& sv) {
    std::optional<double> smoothed;
    for (int i = 0; i < sv.NmrMeas(); ++i) {
        const auto& record = sv.GetMeas(i);
        if (record.IsValid(GPSMeas::Range)) return record.GetRange();
        if (!smoothed && record.IsValid(GPSMeas::SmoothRange)) smoothed = record.GetSmoothRange();
    }
    return smoothed;
}

// Cycles of light travel of a millisecond. The GLONASS satellites differ, intended.
std::optional<double> CyclesPerMS(const GPSFreqy& freqy, const MSAdjust::GPSRange*) {
    return freqy.GetFrequency() * 1e-3;
}
std::optional<double> CyclesPerMS(const Glonass::Frequency& freqy, const MSAdjust::GlonassRange* computed) {
    if (computed == nullptr || !computed->frequencyChannel) return std::nullopt;
    return freqy.GetChannelFrequency(*computed->frequencyChannel) * 1e-3;
}

// Whole milliseconds with the number of satellites that have them; one for each satellite at most.
class Tally {
public:
    void Add(int ms) {
        ++nmr_;
        for (std::size_t i = 0; i < nmrValues_; ++i) {
            if (values_[i].ms == ms) {
                ++values_[i].nmr;
                return;
            }
        }
        values_[nmrValues_++] = {ms, 1};
    }
    [[nodiscard]] int Nmr() const { return nmr_; }

    struct Value {
        int ms = 0;
        int nmr = 0;
    };
    // The most frequent; of equals the one nearest zero, then the greater.
    [[nodiscard]] Value Best() const {
        Value best;
        for (std::size_t i = 0; i < nmrValues_; ++i) {
            const Value& value = values_[i];
            const int nearer = std::abs(best.ms) - std::abs(value.ms);
            if (value.nmr > best.nmr ||
                (value.nmr == best.nmr && (nearer > 0 || (nearer == 0 && value.ms > best.ms)))) {
                best = value;
            }
        }
        return best;
    }

private:
    std::array<Value, PRN::Max + Glonass::Slot::Max> values_{};
    std::size_t nmrValues_ = 0;
    int nmr_ = 0;
};

// The differences measured - computed of an epoch in milliseconds, one for each satellite at most.
class Differences {
public:
    void Add(double ms) { values_[nmr_++] = ms; }

    // The largest group of those that agree with one of them, whole milliseconds aside; of equals the closest one.
    struct Group {
        int nmr = 0;
        double reference = 0.0;  // the one that they agree with
        double mean = 0.0;       // of the group, from the reference
        double spread = 0.0;     // sum of the distances from the reference
    };
    [[nodiscard]] Group FindGroup() const {
        Group best;
        for (std::size_t i = 0; i < nmr_; ++i) {
            Group group{.nmr = 0, .reference = values_[i], .mean = 0.0, .spread = 0.0};
            for (std::size_t j = 0; j < nmr_; ++j) {
                const double residual = Residual(values_[j] - group.reference);
                if (!(std::abs(residual) <= MSAdjust::Tolerance)) continue;
                ++group.nmr;
                group.mean += residual;
                group.spread += std::abs(residual);
            }
            group.mean /= group.nmr;
            if (group.nmr > best.nmr || (group.nmr == best.nmr && group.spread < best.spread)) best = group;
        }
        return best;
    }

private:
    std::array<double, PRN::Max + Glonass::Slot::Max> values_{};
    std::size_t nmr_ = 0;
};

}  // namespace

// What the steps of one epoch share.
class MSAdjust::Epoch {
public:
    // One system's part of it. The arrays go by the satellite's number.
    template <typename Set, typename Range, std::size_t N>
    struct Part {
        Part(Set& measured, std::span<const Range> ranges, std::array<Track, N>& tracksBefore,
             std::array<std::optional<int>, N>& takenOut)
            : set(measured), tracks(tracksBefore), taken(takenOut) {
            for (const Range& range : ranges) {
                const Range*& place = computed[static_cast<std::size_t>(int{range.id})];
                if (range.id.IsValid() && place == nullptr && std::isfinite(range.range)) place = &range;
            }
        }

        Set& set;
        std::array<Track, N>& tracks;
        std::array<std::optional<int>, N>& taken;
        std::array<const Range*, N> computed{};
    };

    template <typename P>
    static void Collect(const P& part, Differences& differences) {
        auto waiting = part.computed;
        for (int i = 0; i < part.set.NmrSV(); ++i) {
            const auto& sv = part.set.GetSV(i);
            auto& computed = waiting[static_cast<std::size_t>(int{sv.GetId()})];
            const std::optional<double> range = FirstRange(sv);
            if (computed == nullptr || !range) continue;
            const double difference = (*range - computed->range) / MSRange;
            if (!(std::abs(difference) < MaxDifference)) continue;
            differences.Add(difference);
            computed = nullptr;
        }
    }

    // The milliseconds to take out of a range, if it fits.
    [[nodiscard]] std::optional<int> WholeMS(double range, double computed) const {
        const double difference = (range - computed) / MSRange;
        const double ms = difference - reference;
        if (!(std::abs(difference) < MaxDifference && std::abs(Residual(ms)) <= Tolerance)) return std::nullopt;
        return ToInt(std::round(ms));
    }

    template <typename P>
    void AdjustRanges(const P& part) const {
        for (int i = 0; i < part.set.NmrSV(); ++i) {
            const auto number = static_cast<std::size_t>(int{part.set.GetSV(i).GetId()});
            const auto* const computed = part.computed[number];
            if (computed == nullptr) continue;
            for (int k = 0; k < part.set.GetSV(i).NmrMeas(); ++k) {
                auto record = part.set.GetSV(i).GetMeas(k);
                bool changed = false;
                const auto take = [&](const QValue& value) {
                    const std::optional<int> ms = WholeMS(value.Value(), computed->range);
                    if (ms && !part.taken[number]) part.taken[number] = ms;
                    changed = changed || ms.value_or(0) != 0;
                    return QValue(value.Value() - ms.value_or(0) * MSRange, value.Quality());
                };
                if (record.IsValid(GPSMeas::Range)) record.SetRange(take(record.GetRangeQ()));
                if (record.IsValid(GPSMeas::SmoothRange)) record.SetSmoothRange(take(record.GetSmoothRangeQ()));
                if (changed) *part.set.ChangeSV(i)->ChangeMeas(k) = record;
            }
        }
    }

    template <typename P>
    static void TallyTaken(const P& part, Tally& taken, Tally& changes) {
        for (std::size_t number = 0; number < part.taken.size(); ++number) {
            if (!part.taken[number]) continue;
            taken.Add(*part.taken[number]);
            if (part.tracks[number].known) changes.Add(*part.taken[number] - part.tracks[number].taken);
        }
    }

    // How many phases jumped with the ranges, less those that did not. The plain wavelength will do for GLONASS: the
    // channels differ by less than half a percent.
    template <typename P>
    [[nodiscard]] int CountPhaseJumps(const P& part, int jump) const {
        int votes = 0;
        for (int i = 0; i < part.set.NmrSV(); ++i) {
            const auto& sv = part.set.GetSV(i);
            const auto number = static_cast<std::size_t>(int{sv.GetId()});
            const Track& track = part.tracks[number];
            if (!track.known || !part.taken[number]) continue;
            const double moved = (part.computed[number]->range - track.computed) / MSRange + drift;
            for (int k = 0; k < sv.NmrMeas(); ++k) {
                const auto& record = sv.GetMeas(k);
                const std::optional<double> before = PhaseOf(track, record);
                if (!before || !record.IsValid(GPSMeas::Phase) || record.IsCycleSlip() || record.IsLostLock()) continue;
                const double ms = (record.GetPhase() - *before) * record.GetFreqy().GetWaveLength() / MSRange - moved;
                if (std::abs(ms - jump) <= Tolerance) ++votes;
                if (std::abs(ms) <= Tolerance) --votes;
            }
        }
        return votes;
    }

    // Replaces the tracks by those of this epoch; before the phases are adjusted.
    template <typename P>
    static void Remember(const P& part) {
        part.tracks = {};
        for (int i = 0; i < part.set.NmrSV(); ++i) {
            const auto& sv = part.set.GetSV(i);
            const auto number = static_cast<std::size_t>(int{sv.GetId()});
            Track& track = part.tracks[number];
            if (!part.taken[number]) continue;
            track.known = true;
            track.taken = *part.taken[number];
            track.computed = part.computed[number]->range;
            for (int k = 0; k < sv.NmrMeas(); ++k) {
                const auto& record = sv.GetMeas(k);
                const std::size_t signal = SignalIndex(record);
                if (record.IsValid(GPSMeas::Phase) && signal < track.phase.size()) {
                    track.phase[signal] = record.GetPhase();
                }
            }
        }
    }

    template <typename P>
    static void AdjustPhases(const P& part, int phase, bool jumped, bool broken) {
        if (phase == 0 && !jumped && !broken) return;
        for (int i = 0; i < part.set.NmrSV(); ++i) {
            const auto* const computed = part.computed[static_cast<std::size_t>(int{part.set.GetSV(i).GetId()})];
            for (int k = 0; k < part.set.GetSV(i).NmrMeas(); ++k) {
                auto record = part.set.GetSV(i).GetMeas(k);
                if (!record.IsValid(GPSMeas::Phase)) continue;
                const std::optional<double> cycles = CyclesPerMS(record.GetFreqy(), computed);
                if (cycles) record.SetPhase({record.GetPhase() - phase * *cycles, record.GetPhaseQ().Quality()});
                if (broken || (jumped && !cycles)) record.SetCycleSlip(decltype(record)::Slip);
                *part.set.ChangeSV(i)->ChangeMeas(k) = record;
            }
        }
    }

    double reference = 0.0;  // difference that the ranges of the group are near after the adjustment, ms
    double drift = 0.0;      // of the clock offset since the epoch before, ms

private:
    template <typename Record>
    static std::size_t SignalIndex(const Record& record) {
        return static_cast<std::size_t>(record.GetFreqy().GetIdent() - 1);
    }
    template <typename Record>
    static std::optional<double> PhaseOf(const Track& track, const Record& record) {
        const std::size_t signal = SignalIndex(record);
        return signal < track.phase.size() ? track.phase[signal] : std::nullopt;
    }
};

MSAdjust::Report MSAdjust::Adjust(MeasSet& set, std::span<const GPSRange> gps, std::span<const GlonassRange> glonass) {
    Report report;
    const Epoch::Part gpsPart(set.GetGPS(), gps, gps_, report.gps);
    const Epoch::Part glonassPart(set.GetGlonass(), glonass, glonass_, report.glonass);

    Differences differences;
    Epoch::Collect(gpsPart, differences);
    Epoch::Collect(glonassPart, differences);
    const Differences::Group group = differences.FindGroup();
    report.nmrAgree = group.nmr;
    if (group.nmr < 2) return report;
    report.adjusted = true;

    const double gap = (set.GetGPSTime() - time_).Seconds();
    report.started = !hasEpoch_ || !(gap >= 0.0 && gap <= MaxGap + GPSTime::Tolerance);
    const bool broken = report.started && (phase_ != 0 || std::round(offset_) != 0.0);
    if (report.started) Reset();
    hasEpoch_ = true;
    time_ = set.GetGPSTime();

    Epoch epoch;
    epoch.drift = Residual(group.reference + group.mean - offset_);
    offset_ += epoch.drift;
    epoch.reference = offset_ - group.mean;
    report.clockOffset = offset_ * 1e-3;
    epoch.AdjustRanges(gpsPart);
    epoch.AdjustRanges(glonassPart);

    Tally taken;
    Tally changes;
    Epoch::TallyTaken(gpsPart, taken, changes);
    Epoch::TallyTaken(glonassPart, taken, changes);
    report.common = taken.Best().ms;
    const Tally::Value change = changes.Best();
    if (change.nmr >= 2 && 2 * change.nmr > changes.Nmr()) report.jump = change.ms;
    if (report.jump != 0) {
        const int votes = epoch.CountPhaseJumps(gpsPart, report.jump) + epoch.CountPhaseJumps(glonassPart, report.jump);
        report.phaseJumped = votes > 0;
        if (report.phaseJumped) phase_ += report.jump;
    }
    report.phase = phase_;
    Epoch::Remember(gpsPart);
    Epoch::Remember(glonassPart);
    Epoch::AdjustPhases(gpsPart, phase_, report.phaseJumped, broken);
    Epoch::AdjustPhases(glonassPart, phase_, report.phaseJumped, broken);
    for (std::optional<int>& own : report.gps) {
        if (own) *own -= report.common;
    }
    for (std::optional<int>& own : report.glonass) {
        if (own) *own -= report.common;
    }
    return report;
}

}  // namespace GNSS
