#include "host/report/RunFigures.h"

#include <algorithm>
#include <cmath>
#include <functional>

#include <fmt/format.h>

#include "gnss/platform/Number.h"

namespace Host {

namespace {

double Median(const RunSeries& series, const std::function<double(const RunEpoch&)>& figure) {
    std::vector<double> values;
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (epoch.IsFix()) values.push_back(figure(epoch));
    }
    return Quantile(values, 0.5);
}

void Count(RunFigures::Test& test, FixTest outcome) {
    switch (outcome) {
        case FixTest::Passed:
            ++test.passed;
            break;
        case FixTest::Failed:
            ++test.failed;
            break;
        case FixTest::NotIdentifiable:
            ++test.notIdentifiable;
            break;
        case FixTest::NotTestable:
            ++test.notTestable;
            break;
        case FixTest::None:
            break;
    }
}

void SummarisePositions(const RunSeries& series, const RunReference& reference, RunFigures& summary) {
    std::vector<double> horizontal;
    std::vector<double> vertical;
    std::array<double, 3> sum{};
    std::array<double, 3> squares{};
    GNSS::ECEF::Delta places;
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (!series.IsCounted(epoch)) continue;
        const std::array<double, 3> d = reference.Difference(series, epoch);
        for (std::size_t i = 0; i < 3; ++i) {
            sum[i] += d[i];
            squares[i] += d[i] * d[i];
        }
        places += epoch.place;
        horizontal.push_back(std::hypot(d[0], d[1]));
        vertical.push_back(std::abs(d[2]));
    }
    if (horizontal.empty()) return;
    summary.counted = static_cast<std::int64_t>(horizontal.size());
    const auto n = static_cast<double>(horizontal.size());
    summary.mean = *series.GetOrigin() + places * (1.0 / n);
    for (std::size_t i = 0; i < 3; ++i) {
        summary.axes[i].mean = sum[i] / n;
        summary.axes[i].rms = std::sqrt(squares[i] / n);
    }
    summary.horizontalRms = std::hypot(summary.axes[0].rms, summary.axes[1].rms);
    // About the mean in a second pass: a run far from its reference would lose its digits.
    std::array<double, 3> variance{};
    double covariance = 0.0;
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (!series.IsCounted(epoch)) continue;
        std::array<double, 3> d = reference.Difference(series, epoch);
        for (std::size_t i = 0; i < 3; ++i) {
            d[i] -= summary.axes[i].mean;
            variance[i] += d[i] * d[i] / n;
        }
        covariance += d[0] * d[1] / n;
    }
    for (std::size_t i = 0; i < 3; ++i) summary.axes[i].sd = std::sqrt(variance[i]);
    static_cast<void>(summary.scatter.SetFrom(variance[0], variance[1], covariance));
    summary.horizontal95 = Quantile(horizontal, 0.95);
    summary.vertical95 = Quantile(vertical, 0.95);
}

// Collects the stretches of one kind.
class SpellFinder {
public:
    SpellFinder(const RunSeries& series, double interval) : series_(series), interval_(interval) {}

    // Without a figure, the kind has no worst value.
    RunSpells Find(std::string what, const char* unit, const std::function<bool(const RunEpoch&)>& isFaulty,
                   const std::function<double(const RunEpoch&)>& figure = {}) {
        RunSpells spells;
        spells.what = std::move(what);
        spells.unit = unit;
        spells.hasWorst = static_cast<bool>(figure);
        std::vector<RunSpell> all;
        const RunEpoch* last = nullptr;
        for (const RunEpoch& epoch : series_.GetEpochs()) {
            if (!isFaulty(epoch)) continue;
            const bool isNew = last == nullptr || &epoch - last > 1 || RunSeries::IsGap(*last, epoch, interval_);
            if (isNew) all.push_back({series_.TimeOf(epoch), {}, 0.0, 0, 0.0});
            RunSpell& spell = all.back();
            spell.to = series_.TimeOf(epoch);
            spell.seconds = (spell.to - spell.from).Seconds() + interval_;
            ++spell.epochs;
            if (figure) spell.worst = std::max(spell.worst, figure(epoch));
            last = &epoch;
        }
        return Choose(std::move(spells), std::move(all));
    }

    // Where there are no epochs at all.
    RunSpells FindGaps() {
        RunSpells spells;
        spells.what = "No measurements";
        std::vector<RunSpell> all;
        const std::vector<RunEpoch>& epochs = series_.GetEpochs();
        for (std::size_t i = 1; i < epochs.size(); ++i) {
            if (epochs[i].time < epochs[i - 1].time || !RunSeries::IsGap(epochs[i - 1], epochs[i], interval_)) continue;
            const double missing = epochs[i].time - epochs[i - 1].time - interval_;
            all.push_back({series_.TimeOf(epochs[i - 1]) + Corvane::Time(interval_),
                           series_.TimeOf(epochs[i]) - Corvane::Time(interval_), missing,
                           Corvane::ToInt64(std::round(missing / interval_)), 0.0});
        }
        return Choose(std::move(spells), std::move(all));
    }

private:
    static RunSpells Choose(RunSpells spells, std::vector<RunSpell> all) {
        spells.count = static_cast<std::int64_t>(all.size());
        for (const RunSpell& spell : all) {
            spells.seconds += spell.seconds;
            spells.epochs += spell.epochs;
        }
        // The longest first, and of those alike the worst, then the earliest; but the worst of all is always listed.
        std::ranges::stable_sort(all, [](const RunSpell& a, const RunSpell& b) {
            return a.seconds != b.seconds ? a.seconds > b.seconds : a.worst > b.worst;
        });
        if (all.size() > RunFigures::MaxListed) {
            const auto worst =
                std::ranges::max_element(all, [](const RunSpell& a, const RunSpell& b) { return a.worst < b.worst; });
            const auto lastListed = all.begin() + static_cast<std::ptrdiff_t>(RunFigures::MaxListed) - 1;
            if (worst > lastListed) *lastListed = *worst;
            all.resize(RunFigures::MaxListed);
        }
        std::ranges::stable_sort(
            all, [](const RunSpell& a, const RunSpell& b) { return (a.from - b.from).Seconds() < 0.0; });
        spells.listed = std::move(all);
        return spells;
    }

    const RunSeries& series_;
    double interval_;
};

void FindSpells(const RunSeries& series, const FixSettings& settings, RunFigures& summary) {
    SpellFinder finder(series, summary.interval);
    const auto add = [&summary](RunSpells spells) {
        if (spells.count > 0) summary.spells.push_back(std::move(spells));
    };
    add(finder.FindGaps());
    add(finder.Find("No position", "", [](const RunEpoch& e) { return !e.IsFix(); }));
    add(finder.Find(
        "F-test failed", "of its limit", [](const RunEpoch& e) { return e.fTest == FixTest::Failed; },
        [](const RunEpoch& e) { return static_cast<double>(e.unitVariance / e.fLimit); }));
    add(finder.Find(
        "w-test failed (the largest |w|)", "", [](const RunEpoch& e) { return e.wTest == FixTest::Failed; },
        [](const RunEpoch& e) { return std::abs(static_cast<double>(e.maxW)); }));
    add(finder.Find("Not testable (redundancy 0)", "",
                    [](const RunEpoch& e) { return e.test == FixTest::NotTestable; }));
    add(finder.Find("Not identifiable (redundancy 1)", "",
                    [](const RunEpoch& e) { return e.test == FixTest::NotIdentifiable; }));
    add(finder.Find(
        fmt::format("HDOP above {:g}", settings.hdopLimit), "",
        [&](const RunEpoch& e) { return static_cast<double>(e.hdop) > settings.hdopLimit; },
        [](const RunEpoch& e) { return e.hdop; }));
    add(finder.Find(
        fmt::format("PDOP above {:g}", settings.pdopLimit), "",
        [&](const RunEpoch& e) { return static_cast<double>(e.pdop) > settings.pdopLimit; },
        [](const RunEpoch& e) { return e.pdop; }));
    add(finder.Find(fmt::format("Fewer than {} satellites used", settings.minSatellites), "",
                    [&](const RunEpoch& e) { return e.IsFix() && e.NmrUsed() < settings.minSatellites; }));
    const double large = 2.0 * summary.medianExtRel;
    add(finder.Find(
        fmt::format("Horizontal external reliability above {:.1f} m, twice the run's median", large), "m",
        [&](const RunEpoch& e) { return static_cast<double>(e.extRel2D) > large; },
        [](const RunEpoch& e) { return e.extRel2D; }));
}

}  // namespace

DifferenceFigures DifferencesFrom(const RunSeries& series, const GNSS::ECEF& place) {
    DifferenceTally tally;
    const RunReference reference(series, place);
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (series.IsCounted(epoch)) tally.Add(reference.Difference(series, epoch));
    }
    return tally.Summarise();
}

RunFigures Summarise(const RunSeries& series, const RunReference& reference, const FixSettings& settings) {
    RunFigures summary;
    summary.epochs = static_cast<std::int64_t>(series.GetEpochs().size());
    summary.interval = series.GetInterval();
    summary.isReferenceGiven = reference.IsGiven();
    if (summary.epochs == 0) return summary;
    summary.from = series.GetStart();
    summary.to = series.GetStart() + series.GetSpan();
    for (const RunEpoch& epoch : series.GetEpochs()) {
        if (!epoch.IsFix()) continue;
        ++summary.fixes;
        Count(summary.fTest, epoch.fTest);
        Count(summary.wTest, epoch.wTest);
        Count(summary.both, epoch.test);
    }
    SummarisePositions(series, reference, summary);
    summary.medianExtRel = Median(series, [](const RunEpoch& e) { return e.extRel2D; });
    summary.medianHdop = Median(series, [](const RunEpoch& e) { return e.hdop; });
    summary.medianPdop = Median(series, [](const RunEpoch& e) { return e.pdop; });
    summary.medianUsed = Median(series, [](const RunEpoch& e) { return static_cast<double>(e.NmrUsed()); });
    FindSpells(series, settings, summary);
    return summary;
}

std::string Percent(std::int64_t part, std::int64_t whole) {
    if (whole <= 0) return "-";
    const double percent = 100.0 * static_cast<double>(part) / static_cast<double>(whole);
    // What is not all is not shown as all, nor something as nothing.
    if (part < whole && percent > 99.9) return fmt::format("{:.2f} %", std::min(percent, 99.99));
    if (part > 0 && percent < 0.1) return fmt::format("{:.2f} %", std::max(percent, 0.01));
    return fmt::format("{:.1f} %", percent);
}

std::string PrintSpan(double seconds) {
    if (!(seconds < 60.0)) {
        const std::int64_t whole = Corvane::ToInt64(std::round(seconds));
        if (whole < 3600) return fmt::format("{} min {:02} s", whole / 60, whole % 60);
        const std::int64_t minutes = (whole + 30) / 60;
        return fmt::format("{} h {:02} min", minutes / 60, minutes % 60);
    }
    return fmt::format("{:g} s", std::round(seconds * 1000.0) / 1000.0);
}

std::string PrintInstant(const GNSS::GPSTime& time) {
    GNSS::GPSTime rounded = time;
    rounded.Round(3);
    const double fraction = rounded.GetSeconds() - std::floor(rounded.GetSeconds());
    return rounded.GetTimeDate().Print(fraction > 5e-4 && fraction < 1.0 - 5e-4 ? 3 : 0).str();
}

}  // namespace Host
