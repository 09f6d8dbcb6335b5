#include "host/cli/PlanTables.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <optional>
#include <set>

#include <fmt/format.h>

#include "host/cli/PlanText.h"
#include "host/text/Satellites.h"
#include "host/text/TimeText.h"

namespace Host {

using GNSS::DopArt;
using GNSS::GPSTime;

namespace {

std::string Print(const PlanSatellite& satellite) {
    return PrintSatellite(satellite.system, satellite.number);
}

GPSTime ToSecond(GPSTime time) {
    time.Round(0);
    return time;
}

// "1:05:09"
std::string PrintDuration(Corvane::Time span) {
    const std::int64_t seconds = std::llround(span.Seconds());
    return fmt::format("{}:{:02}:{:02}", seconds / 3600, seconds / 60 % 60, seconds % 60);
}

const char* Name(PlanPass::End end) {
    switch (end) {
        case PlanPass::End::Mask:
            return "mask";
        case PlanPass::End::Plan:
            return "plan";
        case PlanPass::End::Orbit:
            return "no orbit";
        case PlanPass::End::Health:
            return "unhealthy";
    }
    return "";
}

char Mark(PlanPass::End end) {
    switch (end) {
        case PlanPass::End::Mask:
            return ' ';
        case PlanPass::End::Plan:
            return '*';
        case PlanPass::End::Orbit:
            return '?';
        case PlanPass::End::Health:
            return '!';
    }
    return ' ';
}

// The extreme of a figure over the epochs that have it.
struct Extremes {
    double low = 0.0;
    double high = 0.0;
    GPSTime lowTime;
    GPSTime highTime;
    int nmr = 0;

    void Add(double value, const GPSTime& time) {
        if (nmr == 0 || value < low) {
            low = value;
            lowTime = time;
        }
        if (nmr == 0 || value > high) {
            high = value;
            highTime = time;
        }
        ++nmr;
    }
};

void WriteFigures(const VisibilityPlan& plan, Sink& sink) {
    const int width = static_cast<int>(PrintPlanTime(plan, plan.settings.from).size());
    const auto writer = RowWriter::Make(Form::Table,
                                        {{"", "", 10, 0, true},
                                         {"best", "", 6, 2},
                                         {"at", "", width, 0, true},
                                         {"worst", "", 6, 2},
                                         {"at", "", width, 0, true}},
                                        sink);
    const auto write = [&](std::string_view name, bool isHighBest, bool isWhole, const auto& of) {
        Extremes e;
        for (const PlanEpoch& epoch : plan.epochs) {
            if (const std::optional<double> value = of(epoch)) e.Add(*value, epoch.time);
        }
        if (e.nmr == 0) return;
        const auto value = [isWhole](double v) { return isWhole ? Cell(std::llround(v)) : Cell(v); };
        const std::string best = PrintPlanTime(plan, isHighBest ? e.highTime : e.lowTime);
        const std::string worst = PrintPlanTime(plan, isHighBest ? e.lowTime : e.highTime);
        const std::array<Cell, 5> row{name, value(isHighBest ? e.high : e.low), std::string_view(best),
                                      value(isHighBest ? e.low : e.high), std::string_view(worst)};
        writer->Write(row);
    };
    const auto dop = [&plan](auto figure) {
        return [&plan, figure](const PlanEpoch& epoch) -> std::optional<double> {
            const GNSS::DOP& of = plan.DopOf(epoch);
            if (!of.IsValid()) return std::nullopt;
            return (of.*figure)();
        };
    };
    write("satellites", true, true,
          [](const PlanEpoch& epoch) { return std::optional<double>(epoch.NmrSatellites()); });
    write("HDOP", false, false, dop(&GNSS::DOP::GetHDOP));
    write("VDOP", false, false, dop(&GNSS::DOP::GetVDOP));
    write("PDOP", false, false, dop(&GNSS::DOP::GetPDOP));
    const auto none =
        std::ranges::count_if(plan.epochs, [&plan](const PlanEpoch& epoch) { return !plan.DopOf(epoch).IsValid(); });
    if (none > 0) sink.Write(fmt::format(" no fix is possible at {} of {} steps\n", none, plan.epochs.size()));
}

void WriteWindowTable(const VisibilityPlan& plan, Sink& sink) {
    if (plan.windows.empty()) return sink.Write("\nNever bad (" + DescribeLimits(plan.settings) + ").\n");
    Corvane::Time sum;
    for (const PlanWindow& window : plan.windows) sum += window.to - window.from;
    sink.Write(fmt::format("\nBad geometry ({}): {} in {} window{}\n", DescribeLimits(plan.settings),
                           PrintDuration(sum), plan.windows.size(), plan.windows.size() == 1 ? "" : "s"));
    const int width = static_cast<int>(PrintPlanTime(plan, plan.settings.from).size());
    const auto writer = RowWriter::Make(Form::Table,
                                        {{"", "", 3},
                                         {"from", "", width + 1, 0, true},
                                         {"to", "", width + 1, 0, true},
                                         {"lasts", "", 9},
                                         {"HDOP", "", 6, 2},
                                         {"PDOP", "", 6, 2},
                                         {"sats", "", 4},
                                         {"why", "", 20, 0, true}},
                                        sink);
    std::int64_t number = 0;
    for (const PlanWindow& window : plan.windows) {
        const std::string from = PrintPlanTime(plan, window.from) + (window.isFromStart ? "*" : "");
        const std::string to = PrintPlanTime(plan, window.to) + (window.isToEnd ? "*" : "");
        const std::string lasts = PrintDuration(window.to - window.from);
        const std::string why = DescribeFaults(window.faults);
        const auto figure = [](double value) { return value > 0.0 ? Cell(value) : Cell(); };
        const std::array<Cell, 8> row{++number,
                                      std::string_view(from),
                                      std::string_view(to),
                                      std::string_view(lasts),
                                      figure(window.worstHDOP),
                                      figure(window.worstPDOP),
                                      std::int64_t{window.leastSatellites},
                                      std::string_view(why)};
        writer->Write(row);
    }
}

// A line for each satellite.
void WritePassTable(const VisibilityPlan& plan, Sink& sink) {
    std::map<PlanSatellite, std::string> lines;
    bool isMarked = false;
    for (const PlanPass& pass : plan.passes) {
        lines[pass.satellite] +=
            fmt::format("  {}{}-{}{}({:2.0f})", PrintPlanTime(plan, pass.rise.time), Mark(pass.rise.end),
                        PrintPlanTime(plan, pass.set.time), Mark(pass.set.end), pass.highest.Degrees());
        isMarked = isMarked || pass.rise.end != PlanPass::End::Mask || pass.set.end != PlanPass::End::Mask;
    }
    if (lines.empty()) return sink.Write("\nNo satellite comes into view.\n");
    sink.Write("\nRises and sets, and the highest elevation in degrees\n");
    for (const auto& [satellite, line] : lines) sink.Write(" " + Print(satellite) + line + "\n");
    if (isMarked)
        sink.Write(" * up at the plan's start or end  ? up where its orbit begins or ends  ! health changes\n");
}

void WriteSteps(const VisibilityPlan& plan, Form form, Sink& sink) {
    std::vector<Column> columns{
        {"time", "", 19, 0, true}, {"gps", "", 3},         {"glonass", "", 7},     {"by almanac", "", 10},
        {"hdop", "", 6, 2},        {"vdop", "", 6, 2},     {"pdop", "", 6, 2},     {"tdop", "", 6, 2},
        {"gdop", "", 6, 2},        {"edop", "", 6, 2},     {"ndop", "", 6, 2},     {"hdop gps", "", 8, 2},
        {"pdop gps", "", 8, 2},    {"hdop glo", "", 8, 2}, {"pdop glo", "", 8, 2}, {"bad", "", 20, 0, true}};
    // Files keep more digits than people read.
    for (Column& column : columns) {
        if (column.decimals > 0 && form != Form::Table) column.decimals = 4;
    }
    const auto writer = RowWriter::Make(form, columns, sink);
    const auto figure = [](const GNSS::DOP& dop, double value) { return dop.IsValid() ? Cell(value) : Cell(); };
    for (const PlanEpoch& epoch : plan.epochs) {
        const std::string time = PrintTime(epoch.time);
        const std::string bad = DescribeFaults(epoch.faults);
        const GNSS::DOP& dop = plan.DopOf(epoch);
        const GNSS::DOP& gps = epoch.dops[DopArt::GPSOnly];
        const GNSS::DOP& glonass = epoch.dops[DopArt::GlonassOnly];
        const std::array<Cell, 16> row{std::string_view(time),
                                       std::int64_t{epoch.nmrGPS},
                                       std::int64_t{epoch.nmrGlonass},
                                       std::int64_t{epoch.nmrByAlmanac},
                                       figure(dop, dop.GetHDOP()),
                                       figure(dop, dop.GetVDOP()),
                                       figure(dop, dop.GetPDOP()),
                                       figure(dop, dop.GetTDOP()),
                                       figure(dop, dop.GetGDOP()),
                                       figure(dop, dop.GetEDOP()),
                                       figure(dop, dop.GetNDOP()),
                                       figure(gps, gps.GetHDOP()),
                                       figure(gps, gps.GetPDOP()),
                                       figure(glonass, glonass.GetHDOP()),
                                       figure(glonass, glonass.GetPDOP()),
                                       std::string_view(bad)};
        writer->Write(row);
        if (!sink.IsGood()) return;
    }
}

void WritePasses(const VisibilityPlan& plan, Form form, Sink& sink) {
    const auto writer = RowWriter::Make(form,
                                        {{"sat", "", 3, 0, true},
                                         {"rise", "", 19, 0, true},
                                         {"from", "", 9, 0, true},
                                         {"azimuth", "deg", 7, 1},
                                         {"highest", "", 19, 0, true},
                                         {"elevation", "deg", 9, 1},
                                         {"set", "", 19, 0, true},
                                         {"to", "", 9, 0, true},
                                         {"set azimuth", "deg", 11, 1},
                                         {"by almanac", "", 10}},
                                        sink);
    for (const PlanPass& pass : plan.passes) {
        const std::string satellite = Print(pass.satellite);
        const std::string rise = PrintTime(ToSecond(pass.rise.time));
        const std::string highest = PrintTime(ToSecond(pass.highestTime));
        const std::string set = PrintTime(ToSecond(pass.set.time));
        const std::array<Cell, 10> row{std::string_view(satellite),
                                       std::string_view(rise),
                                       std::string_view(Name(pass.rise.end)),
                                       pass.rise.azimuth.Degrees(),
                                       std::string_view(highest),
                                       pass.highest.Degrees(),
                                       std::string_view(set),
                                       std::string_view(Name(pass.set.end)),
                                       pass.set.azimuth.Degrees(),
                                       pass.isByAlmanac};
        writer->Write(row);
    }
}

void WriteWindows(const VisibilityPlan& plan, Form form, Sink& sink) {
    const auto writer = RowWriter::Make(form,
                                        {{"from", "", 19, 0, true},
                                         {"to", "", 19, 0, true},
                                         {"lasts", "s", 7, 0},
                                         {"hdop", "", 7, 2},
                                         {"pdop", "", 7, 2},
                                         {"worst at", "", 19, 0, true},
                                         {"satellites", "", 10},
                                         {"bad", "", 20, 0, true}},
                                        sink);
    for (const PlanWindow& window : plan.windows) {
        const std::string from = PrintTime(ToSecond(window.from));
        const std::string to = PrintTime(ToSecond(window.to));
        const std::string worst = PrintTime(ToSecond(window.worstTime));
        const std::string bad = DescribeFaults(window.faults);
        const auto figure = [](double value) { return value > 0.0 ? Cell(value) : Cell(); };
        const std::array<Cell, 8> row{std::string_view(from),
                                      std::string_view(to),
                                      (window.to - window.from).Seconds(),
                                      figure(window.worstHDOP),
                                      figure(window.worstPDOP),
                                      std::string_view(worst),
                                      std::int64_t{window.leastSatellites},
                                      std::string_view(bad)};
        writer->Write(row);
    }
}

}  // namespace

bool ParsePlanRows(std::string_view text, PlanRows& rows) {
    if (text == "steps")
        rows = PlanRows::Steps;
    else if (text == "passes")
        rows = PlanRows::Passes;
    else if (text == "windows")
        rows = PlanRows::Windows;
    else
        return false;
    return true;
}

void WritePlanSummary(const VisibilityPlan& plan, const std::string& place, Sink& sink) {
    sink.Write(DescribePlan(plan, place) + "\n");
    sink.Write(fmt::format("{} to {}, GPS time, {} step{}\n", PrintTime(plan.settings.from), PrintTime(plan.End()),
                           plan.epochs.size(), plan.epochs.size() == 1 ? "" : "s"));
    std::set<PlanSatellite> without;
    for (const PlanGap& gap : plan.gaps) {
        if (gap.kind == PlanGap::Kind::NoOrbit) without.insert(gap.satellite);
    }
    if (!without.empty()) {
        sink.Write(
            fmt::format("{} satellites have no orbit for all or a part of this time (see the end) and are not "
                        "counted then\n",
                        without.size()));
    }
    sink.Write("\n");
    WriteFigures(plan, sink);
    WriteWindowTable(plan, sink);
    WritePassTable(plan, sink);
    const std::vector<std::string> gaps = DescribeGaps(plan);
    if (gaps.empty()) return;
    sink.Write("\nOrbits\n");
    if (!without.empty()) sink.Write(" An almanac file beside the others fills gaps.\n");
    for (const std::string& line : gaps) sink.Write(" " + line + "\n");
}

void WritePlanRows(const VisibilityPlan& plan, PlanRows rows, Form form, Sink& sink) {
    switch (rows) {
        case PlanRows::Steps:
            return WriteSteps(plan, form, sink);
        case PlanRows::Passes:
            return WritePasses(plan, form, sink);
        case PlanRows::Windows:
            return WriteWindows(plan, form, sink);
    }
}

}  // namespace Host
