#include "host/cli/PlanText.h"

#include <map>

#include <fmt/format.h>

#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::DopArt;
using GNSS::GPSTime;

namespace {

std::string Print(const PlanSatellite& satellite) {
    return PrintSatellite(satellite.system, satellite.number);
}

// In minutes, which is more than the limits of an orbit's validity deserve.
std::string DescribeGap(const VisibilityPlan& plan, const PlanGap& gap) {
    const auto print = [&plan](const GPSTime& time) {
        std::string text = PrintPlanTime(plan, time + Corvane::Time(30.0));
        text.resize(text.size() - 3);
        return text;
    };
    if (gap.isFromStart) return "until " + print(gap.to);
    if (gap.isToEnd) return "from " + print(gap.from) + " on";
    return "from " + print(gap.from) + " to " + print(gap.to);
}

}  // namespace

std::string DescribePlan(const VisibilityPlan& plan, const std::string& place) {
    const PlanSettings& settings = plan.settings;
    const char* const systems = settings.mode == DopArt::GPSOnly       ? "GPS"
                                : settings.mode == DopArt::GlonassOnly ? "GLONASS"
                                                                       : "GPS + GLONASS";
    return fmt::format("{} above {:g} degrees at {}{}", systems, settings.mask.Degrees(), place,
                       settings.isHeightAided ? ", height aided" : "");
}

std::string DescribeLimits(const PlanSettings& settings) {
    return fmt::format("HDOP above {:g}, PDOP above {:g} or fewer than {} satellites", settings.hdopLimit,
                       settings.pdopLimit, settings.leastSatellites);
}

std::string DescribeFaults(unsigned faults) {
    std::string text;
    const auto add = [&](unsigned fault, const char* name) {
        if ((faults & fault) == 0) return;
        if (!text.empty()) text += ", ";
        text += name;
    };
    add(PlanEpoch::NoDOP, "no fix");
    add(PlanEpoch::HighHDOP, "HDOP");
    add(PlanEpoch::HighPDOP, "PDOP");
    add(PlanEpoch::FewSatellites, "few satellites");
    return text;
}

std::string PrintPlanTime(const VisibilityPlan& plan, const GPSTime& time) {
    GPSTime second = time;
    second.Round(0);
    const Corvane::Date first = plan.settings.from.GetDate();
    const bool isOneDay = (plan.End() - Corvane::Time(1.0)).GetDate() <= first;
    // The midnight at its end is not another day's.
    if (isOneDay && second.GetDate() > first) return "24:00:00";
    return PrintTime(second).substr(isOneDay ? 11 : 5);
}

std::vector<std::string> DescribeGaps(const VisibilityPlan& plan) {
    struct Text {
        PlanGap::Kind kind;
        const char* name;
    };
    std::vector<std::string> lines;
    for (const Text& text : {Text{PlanGap::Kind::NoOrbit, "no orbit for"}, Text{PlanGap::Kind::Unhealthy, "unhealthy:"},
                             Text{PlanGap::Kind::ByAlmanac, "by almanac:"}}) {
        std::string always;
        std::map<PlanSatellite, std::string> parts;
        for (const PlanGap& gap : plan.gaps) {
            if (gap.kind != text.kind) continue;
            if (gap.isFromStart && gap.isToEnd) {
                always += " " + Print(gap.satellite);
                continue;
            }
            std::string& part = parts[gap.satellite];
            part += (part.empty() ? " " : ", ") + DescribeGap(plan, gap);
        }
        if (!always.empty()) {
            const bool isNever = text.kind == PlanGap::Kind::NoOrbit;
            lines.push_back(text.name + always + (isNever ? " at any time" : " all the time"));
        }
        for (const auto& [satellite, part] : parts)
            lines.push_back(fmt::format("{} {}{}", text.name, Print(satellite), part));
    }
    return lines;
}

}  // namespace Host
