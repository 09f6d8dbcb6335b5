#include "host/run/RunText.h"

#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/fix/FixNotes.h"
#include "host/report/SafeText.h"
#include "host/run/RunSettings.h"

namespace Host {

std::vector<std::pair<std::string, std::string>> DescribeSettings(const RunRequest& request) {
    const RunSettings defaults;
    RunSettings settings;
    settings.request = request;
    std::vector<std::pair<std::string, std::string>> rows;
    std::string_view table;
    for (const Setting& setting : GetSettings()) {
        if (!HasSayInPositions(setting)) continue;
        if (table != setting.table) {
            table = setting.table;
            rows.emplace_back(fmt::format("{} [{}]", DescribeTable(table), table), "");
        }
        const std::string value = setting.print(settings);
        const std::string usual = setting.print(defaults);
        std::string& row = rows.back().second;
        row += fmt::format("{}{} = {}", row.empty() ? "" : "; ", setting.key, value);
        if (*setting.unit != 0 && value != "\"none\"") row += fmt::format(" {}", setting.unit);
        if (value != usual) row += fmt::format(" (default {})", usual);
    }
    return rows;
}

std::string DescribeInput(const RunInput& input) {
    std::string text =
        fmt::format("{}, {} bytes of content", input.format.empty() ? "unknown format" : input.format, input.bytes);
    const auto add = [&text](std::int64_t number, const char* what) {
        if (number > 0) text += fmt::format(", {} {}", number, what);
    };
    add(input.epochs, "epochs");
    add(input.records, "navigation records");
    if (!input.format.starts_with("RINEX")) add(input.messages, "messages");
    add(input.checksumFailures, "checksum failures");
    add(input.skipped, "bytes of no message");
    add(input.refused, "refused");
    add(input.undated, "undated");
    if (input.isCut) text += ", ends early";
    if (!input.failure.empty()) text += ": " + input.failure;
    return CleanText(text);
}

std::string DescribeDisabled(const RunRequest& request) {
    std::string list;
    const auto add = [&list](bool glonass, int number) {
        list += (list.empty() ? "" : " ") + SatelliteName(glonass, number);
    };
    for (const GNSS::PRN& prn : request.disabledGPS) add(false, prn);
    for (const GNSS::Glonass::Slot& slot : request.disabledGlonass) add(true, slot);
    return list;
}

std::string DescribeCounted(const RunFigures& figures) {
    if (figures.counted == figures.fixes) return fmt::format("{} positions", figures.fixes);
    return fmt::format("the {} of {} positions that passed the w-test", figures.counted, figures.fixes);
}

namespace {

using Lines = std::vector<std::string>;

void AddPositions(Lines& lines, const RunFigures& s) {
    const auto test = [&s](const char* name, const RunFigures::Test& counts) {
        return fmt::format("{} passed {}, failed {}", name, Percent(counts.passed, s.fixes),
                           Percent(counts.failed, s.fixes));
    };
    lines.push_back(test("tests", s.both) + fmt::format(", not identifiable {}, not testable {}",
                                                        Percent(s.both.notIdentifiable, s.fixes),
                                                        Percent(s.both.notTestable, s.fixes)));
    lines.push_back(test("F-test", s.fTest) + "; " + test("w-test", s.wTest));
    const GNSS::LocalGrid grid(*s.mean, GNSS::Spheroid::WGS84);
    lines.push_back(fmt::format("mean of {}: {:.8f} {:.8f} {:.3f} m", DescribeCounted(s),
                                grid.GetOrigin().GetPhi().Degrees(), grid.GetOrigin().GetLambda().Degrees(),
                                grid.GetOrigin().GetHeight()));
    lines.push_back(fmt::format(
        "about {}: horizontal RMS {:.2f} m, 95 % {:.2f} m; vertical RMS {:.2f} m, 95 % {:.2f} m",
        s.isReferenceGiven ? "the reference" : "it", s.horizontalRms, s.horizontal95, s.axes[2].rms, s.vertical95));
    const auto differences = [&lines](const std::string& from, const DifferenceFigures& d) {
        lines.push_back(from + fmt::format(": horizontal mean {:.2f} m, RMS {:.2f} m, 95 % {:.2f} m; vertical mean "
                                           "{:+.2f} m, RMS {:.2f} m, 95 % {:.2f} m",
                                           d.horizontalMean, d.horizontalRms, d.horizontal95, d.mean[2], d.verticalRms,
                                           d.vertical95));
    };
    if (s.stated.count > 0) differences("from the place that the data state", s.stated);
    if (s.receiver.count > 0)
        differences(
            fmt::format("from the receiver's own fixes ({} of {} at the same time)", s.receiver.count, s.receiverFixes),
            s.receiver);
}

void AddRemarks(Lines& lines, const RunFigures& s, const RunSeries& series) {
    std::string rejected;
    for (const auto& [name, tally] : series.GetSatellites()) {
        if (tally.rejected > 0)
            rejected += fmt::format(" {} {}x", SatelliteName(name.first, name.second), tally.rejected);
    }
    if (!rejected.empty()) lines.push_back("rejected:" + rejected);
    for (const RunSpells& spells : s.spells) {
        lines.push_back(spells.what + ": " +
                        (spells.count == 1 ? "once, " : fmt::format("{} times, together ", spells.count)) +
                        PrintSpan(spells.seconds));
    }
    for (const auto& [id, kind] : series.GetNoteKinds()) {
        lines.push_back(
            fmt::format("note {}x: {}{}", kind.epochs, CleanText(kind.text), kind.epochs > 1 ? " ..." : ""));
    }
    if (s.events > 0) lines.push_back(fmt::format("events: {}", s.events));
}

}  // namespace

std::string PrintSummary(const RunFigures& summary, const RunSeries& series, const RunFacts& facts) {
    Lines lines;
    if (summary.epochs == 0) {
        lines.emplace_back("No epochs of measurements.");
    } else {
        lines.push_back(fmt::format("{} to {} GPST: {} epochs, {} positions ({})", PrintInstant(summary.from),
                                    PrintInstant(summary.to), summary.epochs, summary.fixes,
                                    Percent(summary.fixes, summary.epochs)));
    }
    if (summary.fixes > 0) AddPositions(lines, summary);
    if (summary.receiverFixes > 0 && summary.receiver.count == 0)
        lines.push_back(
            fmt::format("the receiver's own fixes: {}, none at the time of a position", summary.receiverFixes));
    if (const std::string disabled = DescribeDisabled(facts.request); !disabled.empty())
        lines.push_back("disabled by the operator: " + disabled);
    AddRemarks(lines, summary, series);
    for (const RunInput& input : facts.inputs) {
        if (!input.failure.empty() || input.isCut) lines.push_back(CleanText(input.name) + ": " + DescribeInput(input));
    }
    std::string text;
    for (const std::string& line : lines) text += line + '\n';
    return text;
}

}  // namespace Host
