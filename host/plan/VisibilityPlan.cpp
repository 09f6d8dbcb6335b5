#include "host/plan/VisibilityPlan.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "gnss/position/Constellation.h"
#include "host/plan/SatelliteTrack.h"

namespace Host {

using Corvane::Time;
using GNSS::Constellation;
using GNSS::DopArt;
using GNSS::GPSTime;

namespace {

std::int64_t ScansPerStep(const PlanSettings& settings) {
    return Corvane::ToInt64(std::ceil(settings.step / PlanSettings::LongestScan - 1e-9));
}

// Works out the epochs; keeps the constellations' memory from one to the next.
class Judge {
public:
    Judge(const PlanSettings& settings, const std::vector<PlanSatellite>& satellites, const PlanLook& look)
        : settings_(settings), satellites_(satellites), look_(look) {}

    void Begin(const GPSTime& t) {
        all_.Reset();
        glonass_.Reset();
        epoch_ = PlanEpoch();
        epoch_.time = t;
    }
    void Add(const PlanSatellite& satellite, const PlanSight& sight) {
        if (!IsInUse(sight, settings_.mask)) return;
        if (sight.orbit == PlanSight::Orbit::Almanac) ++epoch_.nmrByAlmanac;
        if (satellite.system == 'G') {
            ++epoch_.nmrGPS;
            all_.Add(GNSS::PRN(satellite.number), sight.elevation, sight.azimuth, Constellation::HealthyGPS, false);
        } else {
            ++epoch_.nmrGlonass;
            const GNSS::Glonass::Slot slot(satellite.number);
            all_.Add(slot, sight.elevation, sight.azimuth, Constellation::HealthyGlonass);
            glonass_.Add(slot, sight.elevation, sight.azimuth, Constellation::HealthyGlonass);
        }
    }
    [[nodiscard]] const PlanEpoch& End() {
        const auto set = [this](DopArt::Mode of, const Constellation& constellation, bool withGlonass) {
            if (settings_.mode != of && settings_.mode != DopArt::Both) return;
            epoch_.dops[static_cast<std::size_t>(of)].Set(constellation, withGlonass, settings_.isHeightAided);
        };
        set(DopArt::GPSOnly, all_, false);
        set(DopArt::GlonassOnly, glonass_, true);
        set(DopArt::Both, all_, true);

        const GNSS::DOP& dop = epoch_.dops[static_cast<std::size_t>(settings_.mode)];
        unsigned faults = PlanEpoch::None;
        if (epoch_.NmrSatellites() < settings_.leastSatellites) faults |= PlanEpoch::FewSatellites;
        if (!dop.IsValid()) {
            faults |= PlanEpoch::NoDOP;
        } else {
            // A figure that is no number is bad.
            if (!(dop.GetHDOP() <= settings_.hdopLimit)) faults |= PlanEpoch::HighHDOP;
            if (!(dop.GetPDOP() <= settings_.pdopLimit)) faults |= PlanEpoch::HighPDOP;
        }
        epoch_.faults = static_cast<std::uint8_t>(faults);
        return epoch_;
    }

    [[nodiscard]] bool IsBad(const GPSTime& t) {
        Begin(t);
        for (const PlanSatellite& satellite : satellites_) Add(satellite, look_(satellite, t));
        return End().faults != PlanEpoch::None;
    }

private:
    const PlanSettings& settings_;
    const std::vector<PlanSatellite>& satellites_;
    const PlanLook& look_;
    Constellation all_;
    Constellation glonass_;
    PlanEpoch epoch_;
};

void AddTo(PlanWindow& window, const PlanEpoch& epoch, const GNSS::DOP& dop) {
    const bool hadDop = (window.faults & PlanEpoch::NoDOP) == 0;
    window.faults = static_cast<std::uint8_t>(window.faults | epoch.faults);
    window.leastSatellites = std::min(window.leastSatellites, epoch.NmrSatellites());
    if (!dop.IsValid()) {
        if (hadDop) window.worstTime = epoch.time;
        return;
    }
    if (hadDop && dop.GetPDOP() > window.worstPDOP) window.worstTime = epoch.time;
    window.worstHDOP = std::max(window.worstHDOP, dop.GetHDOP());
    window.worstPDOP = std::max(window.worstPDOP, dop.GetPDOP());
}

std::vector<PlanWindow> FindWindows(const VisibilityPlan& plan, Judge& judge) {
    std::vector<PlanWindow> windows;
    for (std::size_t i = 0; i < plan.epochs.size(); ++i) {
        const PlanEpoch& epoch = plan.epochs[i];
        const bool isBad = epoch.faults != PlanEpoch::None;
        const bool wasBad = i > 0 && plan.epochs[i - 1].faults != PlanEpoch::None;
        const auto change = [&] {
            return FindChange(plan.epochs[i - 1].time, epoch.time, wasBad,
                              [&judge](const GPSTime& t) { return judge.IsBad(t); });
        };
        if (isBad && !wasBad) {
            PlanWindow& window = windows.emplace_back();
            window.isFromStart = i == 0;
            window.from = i == 0 ? epoch.time : change().after;
            window.worstTime = epoch.time;
        }
        if (!isBad && wasBad) windows.back().to = change().before;
        if (isBad) AddTo(windows.back(), epoch, plan.DopOf(epoch));
    }
    if (!plan.epochs.empty() && plan.epochs.back().faults != PlanEpoch::None) {
        windows.back().to = plan.End();
        windows.back().isToEnd = true;
    }
    return windows;
}

}  // namespace

std::int64_t PlanSettings::NmrScans() const {
    const double steps = std::floor(span / step + 1e-9);
    const double perStep = std::ceil(step / LongestScan - 1e-9);
    if (!(span >= Time::Zero) || !(step > Time::Zero) || !(steps * perStep < static_cast<double>(MostScans)) ||
        !(span / LongestScan < static_cast<double>(MostScans)))
        return MostScans + 1;
    // What is left behind the last step.
    return Corvane::ToInt64(steps * perStep) + 1 + Corvane::ToInt64(std::ceil((span - step * steps) / LongestScan));
}

const GNSS::DOP& VisibilityPlan::DopOf(const PlanEpoch& epoch) const {
    return epoch.dops[static_cast<std::size_t>(settings.mode)];
}

VisibilityPlan MakePlan(const PlanSettings& settings, const std::vector<PlanSatellite>& all, const PlanLook& look) {
    VisibilityPlan plan;
    plan.settings = settings;
    std::vector<PlanSatellite> satellites;
    std::ranges::copy_if(all, std::back_inserter(satellites), [&settings](const PlanSatellite& satellite) {
        return satellite.system == 'G' ? DopArt::ShowsGPS(settings.mode) : DopArt::ShowsGlonass(settings.mode);
    });
    if (satellites.empty() || settings.NmrScans() > PlanSettings::MostScans) return plan;

    std::vector<SatelliteTrack> tracks;
    tracks.reserve(satellites.size());
    for (const PlanSatellite& satellite : satellites) tracks.emplace_back(satellite, settings.mask, look, plan);
    Judge judge(settings, satellites, look);
    const auto scan = [&](const GPSTime& t, bool isEpoch) {
        judge.Begin(t);
        for (SatelliteTrack& track : tracks) judge.Add(track.Satellite(), track.Take(t));
        if (isEpoch) plan.epochs.push_back(judge.End());
    };

    const std::int64_t perStep = ScansPerStep(settings);
    const Time between = settings.step / static_cast<double>(perStep);
    const std::int64_t nmrSteps = Corvane::ToInt64(std::floor(settings.span / settings.step + 1e-9));
    for (std::int64_t i = 0; i <= nmrSteps * perStep; ++i) {
        const bool isEpoch = i % perStep == 0;
        // Steps are not added up, so that they stay where the clock shows them.
        const Time since =
            isEpoch ? settings.step * static_cast<double>(i / perStep) : between * static_cast<double>(i);
        scan(settings.from + since, isEpoch);
    }
    const Time last = settings.step * static_cast<double>(nmrSteps);
    const double rest = (settings.span - last).Seconds();
    const std::int64_t nmrRest = Corvane::ToInt64(std::ceil(rest / PlanSettings::LongestScan.Seconds()));
    for (std::int64_t i = 1; i <= nmrRest; ++i) {
        const double part = static_cast<double>(i) / static_cast<double>(nmrRest);
        scan(settings.from + last + Time(rest * part), false);
    }
    for (SatelliteTrack& track : tracks) track.Finish();

    std::ranges::stable_sort(plan.passes, [](const PlanPass& a, const PlanPass& b) {
        return a.rise.time != b.rise.time ? a.rise.time < b.rise.time : a.satellite < b.satellite;
    });
    std::ranges::stable_sort(plan.gaps, [](const PlanGap& a, const PlanGap& b) {
        return a.satellite != b.satellite ? a.satellite < b.satellite : a.from < b.from;
    });
    plan.windows = FindWindows(plan, judge);
    return plan;
}

}  // namespace Host
