#include "host/run/RunReport.h"

#include <algorithm>
#include <array>
#include <cmath>

#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/fix/FixNotes.h"
#include "host/report/SafeText.h"
#include "host/run/RunText.h"

namespace Host {

namespace {

constexpr const char* Style = R"(
@page { size: A4; margin: 14mm; }
* { box-sizing: border-box; }
body { font: 14px/1.45 "DejaVu Sans", "Segoe UI", Helvetica, Arial, sans-serif; color: #1a1a1a; background: #fff;
  max-width: 960px; margin: 24px auto; padding: 0 16px; }
h1 { font-size: 22px; margin: 0 0 2px; overflow-wrap: anywhere; } h2 { font-size: 16px; margin: 26px 0 6px; break-after: avoid; }
p { margin: 4px 0 8px; } .faint { color: #595959; } .alert { color: #b83a00; font-weight: bold; }
table { border-collapse: collapse; width: 100%; margin: 4px 0 8px; font-variant-numeric: tabular-nums; }
th, td { text-align: left; vertical-align: top; padding: 3px 10px 3px 0; border-bottom: 1px solid #d8d8d8;
  overflow-wrap: anywhere; }
th { font-weight: bold; border-bottom-color: #8c8c8c; } td.n, th.n { text-align: right; white-space: nowrap; }
td.t { white-space: nowrap; } table.small { font-size: 11px; }
tr { break-inside: avoid; }
.tiles { display: flex; flex-wrap: wrap; gap: 10px; margin: 12px 0; }
.tile { border: 1px solid #8c8c8c; border-radius: 4px; padding: 6px 10px; flex: 1 1 105px; }
.tile b { display: block; font-size: 20px; } .tile span { font-size: 12px; color: #595959; }
figure { margin: 14px 0; break-inside: avoid; } figcaption { font-size: 12px; color: #595959; }
figure svg { width: 100%; height: auto; display: block; }
dl { display: grid; grid-template-columns: max-content 1fr; gap: 2px 14px; font-size: 12px; } dt { font-weight: bold; }
dd { margin: 0; }
@media print { body { margin: 0; padding: 0; max-width: none; font-size: 11px; }
  h1 { font-size: 16px; } h2 { font-size: 13px; margin-top: 16px; } .tile b { font-size: 16px; }
  .tile span, figcaption, dl { font-size: 9px; } table, table.small { font-size: 8px; } td, th { padding: 1px 6px 1px 0; }
  .figures { display: flex; flex-wrap: wrap; gap: 3mm; } figure { margin: 0; width: 88mm; } }
)";

// Elements, one after the other; what is given as text is escaped.
class Page {
public:
    void Raw(std::string_view html) { html_ += html; }
    void Element(const char* name, std::string_view text, const char* kind = "") {
        html_ += fmt::format("<{}{}>{}</{}>\n", name, kind[0] != 0 ? fmt::format(" class=\"{}\"", kind) : "",
                             HtmlText(text), name);
    }
    void BeginTable(const std::vector<const char*>& heads, std::size_t firstNumber, bool isSmall = false) {
        firstNumber_ = firstNumber;
        html_ += isSmall ? "<table class=\"small\">\n" : "<table>\n";
        if (!heads.empty()) Row(std::vector<std::string>(heads.begin(), heads.end()), "th");
    }
    void Row(const std::vector<std::string>& cells, const char* name = "td") {
        html_ += "<tr>";
        for (std::size_t i = 0; i < cells.size(); ++i)
            html_ += fmt::format("<{}{}>{}</{}>", name,
                                 i >= firstNumber_  ? " class=\"n\""
                                 : IsTime(cells[i]) ? " class=\"t\""
                                                    : "",
                                 HtmlText(cells[i]), name);
        html_ += "</tr>\n";
    }
    void EndTable() { html_ += "</table>\n"; }
    void Tile(const std::string& value, const std::string& what, bool isAlert = false) {
        html_ += fmt::format("<div class=\"tile\"><b{}>{}</b><span>{}</span></div>\n",
                             isAlert ? " class=\"alert\"" : "", HtmlText(value), HtmlText(what));
    }
    [[nodiscard]] std::string Take() { return std::move(html_); }

private:
    // "2020-06-25 00:00:30", which is not broken.
    static bool IsTime(std::string_view cell) { return cell.size() >= 19 && cell[4] == '-' && cell[13] == ':'; }

    std::string html_;
    std::size_t firstNumber_ = 0;
};

constexpr std::size_t NoNumbers = 99;

void AddTiles(Page& page, const RunFigures& s) {
    page.Raw("<div class=\"tiles\">\n");
    page.Tile(Percent(s.fixes, s.epochs), fmt::format("{} of {} epochs have a position", s.fixes, s.epochs),
              s.fixes < s.epochs);
    const auto test = [&](const char* name, const RunFigures::Test& t) {
        std::string what = fmt::format("of positions passed the {}: {} did, {} failed", name, t.passed, t.failed);
        if (t.notIdentifiable > 0) what += fmt::format(", {} not identifiable", t.notIdentifiable);
        if (t.notTestable > 0) what += fmt::format(", {} not testable", t.notTestable);
        page.Tile(Percent(t.passed, s.fixes), what);
    };
    test("F-test", s.fTest);
    test("w-test", s.wTest);
    if (s.fixes > 0) {
        page.Tile(fmt::format("{:.2f} m", s.horizontal95),
                  fmt::format("95 % of {} positions are within this of {}, horizontally", s.counted,
                              s.isReferenceGiven ? "the reference" : "the run's own mean"));
        page.Tile(fmt::format("{:.2f} m", s.vertical95), "and within this in height");
    }
    page.Raw("</div>\n");
}

void AddPosition(Page& page, const RunFigures& s) {
    if (!s.mean) return;
    const GNSS::LocalGrid grid(*s.mean, GNSS::Spheroid::WGS84);
    const GNSS::Geog& mean = grid.GetOrigin();
    page.Element("h2", "Position");
    page.Element("p", fmt::format("Mean of {} (WGS 84): {:.8f}\u00b0, {:.8f}\u00b0, {:.3f} m; "
                                  "X {:.3f} m, Y {:.3f} m, Z {:.3f} m.",
                                  DescribeCounted(s), mean.GetPhi().Degrees(), mean.GetLambda().Degrees(),
                                  mean.GetHeight(), s.mean->GetX(), s.mean->GetY(), s.mean->GetZ()));
    page.BeginTable({"m", "mean difference", "standard deviation", "RMS"}, 1);
    const std::array names{"East", "North", "Up"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        page.Row({names[i], fmt::format("{:+.3f}", s.isReferenceGiven ? s.axes[i].mean : 0.0),
                  fmt::format("{:.3f}", s.axes[i].sd), fmt::format("{:.3f}", s.axes[i].rms)});
    }
    page.EndTable();
    const Corvane::Ellipse ellipse = s.scatter.ScaledBy(EllipseFactor95);
    page.Element("p",
                 fmt::format("Differences are from {}. 95 % ellipse of the scatter (factor {:.4f}): {:.2f} m by {:.2f} "
                             "m, major axis {:.0f}\u00b0. Medians: HDOP {:.2f}, PDOP {:.2f}, {:g} satellites used, "
                             "horizontal external reliability {:.2f} m.",
                             s.isReferenceGiven ? "the reference given"
                                                : "the run's own mean, which hides what is common to all",
                             EllipseFactor95, ellipse.GetSemiMajor(), ellipse.GetSemiMinor(),
                             std::fmod(std::round(ellipse.GetOrientation().Degrees()), 180.0), s.medianHdop,
                             s.medianPdop, s.medianUsed, s.medianExtRel),
                 "faint");
}

void AddComparisons(Page& page, const RunFigures& s) {
    if (s.receiver.count > 0 || s.stated.count > 0) {
        page.BeginTable(
            {"differences, m", "positions", "horizontal mean", "RMS", "95 %", "vertical mean", "RMS", "95 %"}, 1);
        const auto row = [&page](const char* from, const DifferenceFigures& d) {
            page.Row({from, fmt::format("{}", d.count), fmt::format("{:.2f}", d.horizontalMean),
                      fmt::format("{:.2f}", d.horizontalRms), fmt::format("{:.2f}", d.horizontal95),
                      fmt::format("{:+.2f}", d.mean[2]), fmt::format("{:.2f}", d.verticalRms),
                      fmt::format("{:.2f}", d.vertical95)});
        };
        if (s.stated.count > 0) row("from the place that the data state", s.stated);
        if (s.receiver.count > 0) row("from the receiver's own fixes of the same time", s.receiver);
        page.EndTable();
    }
    if (s.statedPlace)
        page.Element(
            "p",
            fmt::format("Antenna by the data (RINEX header or RTCM 1005/1006): X {:.4f} m, Y {:.4f} m, Z {:.4f} "
                        "m. Such a place may be an approximation or of another frame, so it is not the "
                        "reference.",
                        s.statedPlace->GetX(), s.statedPlace->GetY(), s.statedPlace->GetZ()),
            "faint");
    if (s.receiverFixes > 0)
        page.Element("p", fmt::format("Fixes of the receiver's own: {}.", s.receiverFixes), "faint");
}

void AddSpells(Page& page, const RunFigures& s) {
    page.Element("h2", "Worst windows");
    if (s.spells.empty()) {
        page.Element("p", "None: a position at every epoch, all tests passed, all working limits kept.");
        return;
    }
    page.BeginTable({"what", "from (GPS time)", "to", "lasting", "epochs", "worst"}, 3);
    for (const RunSpells& spells : s.spells) {
        const std::string more = spells.count > static_cast<std::int64_t>(spells.listed.size())
                                     ? fmt::format(" ({} times; the longest, and the worst, of them)", spells.count)
                                     : "";
        bool isFirst = true;
        for (const RunSpell& spell : spells.listed) {
            page.Row({isFirst ? spells.what + more : "", PrintInstant(spell.from), PrintInstant(spell.to),
                      PrintSpan(spell.seconds), fmt::format("{}", spell.epochs),
                      spells.hasWorst ? fmt::format("{:.2f} {}", spell.worst, spells.unit) : ""});
            isFirst = false;
        }
        if (!more.empty())
            page.Row({"", "all together", "", PrintSpan(spells.seconds), fmt::format("{}", spells.epochs), ""});
    }
    page.EndTable();
}

void AddRejected(Page& page, const RunSeries& series, const RunRequest& request) {
    page.Element("h2", "Rejected satellites");
    bool hasAny = false;
    for (const auto& [name, tally] : series.GetSatellites()) {
        if (tally.rejected == 0) continue;
        if (!hasAny)
            page.BeginTable({"satellite", "epochs rejected", "share of its epochs", "largest w", "at (GPS time)"}, 1);
        hasAny = true;
        page.Row({SatelliteName(name.first, name.second), fmt::format("{}", tally.rejected),
                  Percent(tally.rejected, tally.rejected + tally.used), fmt::format("{:+.2f}", tally.largestW),
                  PrintInstant(tally.largestAt)});
    }
    if (hasAny)
        page.EndTable();
    else
        page.Element("p", "None.");
    if (const std::string disabled = DescribeDisabled(request); !disabled.empty())
        page.Element("p", "Disabled by the operator: " + disabled + ".");
}

void AddSatellites(Page& page, const RunSeries& series) {
    page.Element("h2", "Satellites");
    page.BeginTable({"satellite", "tracked", "used", "rejected", "most suspect", "residual RMS, m", "sigma, m",
                     "largest MDE, m", "its effect, m"},
                    1, true);
    for (const auto& [name, tally] : series.GetSatellites()) {
        const double n = static_cast<double>(std::max<std::int64_t>(tally.used, 1));
        const auto metres = [isUsed = tally.used > 0](double value) {
            return isUsed ? fmt::format("{:.2f}", value) : "-";
        };
        page.Row({SatelliteName(name.first, name.second), fmt::format("{}", tally.tracked),
                  fmt::format("{}", tally.used), fmt::format("{}", tally.rejected),
                  fmt::format("{}", tally.mostSuspect), metres(std::sqrt(tally.squares / n)),
                  metres(std::sqrt(tally.variances / n)), metres(tally.largestMde), metres(tally.largestEffect)});
    }
    page.EndTable();
    page.Element("p",
                 "In epochs: measured, used, rejected, and with the largest |w| of those used. Residuals and standard "
                 "deviations of the ranges used; the smallest fault that would have been found at worst, and what it "
                 "would have done to the position horizontally.",
                 "faint");
}

void AddJournal(Page& page, const std::vector<JournalEntry>& journal) {
    constexpr std::size_t Most = 40;
    page.Element("h2", "Alarms and events");
    std::size_t nmr = 0;
    for (const JournalEntry& entry : journal) {
        if (entry.kind == JournalEntry::Kind::Remark || ++nmr > Most) continue;
        if (nmr == 1) page.BeginTable({"from (GPS time)", "lasting", "what"}, NoNumbers, true);
        page.Row({entry.begin ? PrintInstant(*entry.begin) : "before", entry.end ? PrintSpan(entry.lasting) : "",
                  entry.source.empty() ? entry.text : entry.source + ": " + entry.text});
    }
    if (nmr == 0) {
        page.Element("p", "None.");
    } else {
        page.EndTable();
    }
    page.Element("p",
                 (nmr > Most ? fmt::format("{} more. ", nmr - Most) : std::string()) +
                     "journal.csv has all of them, and the remarks, in their order.",
                 "faint");
}

void AddInputs(Page& page, const RunFacts& facts) {
    page.Element("h2", "What was run");
    page.BeginTable({"source", "what it held"}, NoNumbers);
    for (const RunInput& input : facts.inputs) page.Row({CleanText(input.name), DescribeInput(input)});
    page.EndTable();
    const FixComponent::Counts& c = facts.counts;
    if (c.repeated + c.outOfOrder > 0)
        page.Element("p", fmt::format("Left out: {} repeated epochs, {} out of order.", c.repeated, c.outOfOrder));
    page.Element("h2", "Settings in force");
    page.BeginTable({}, NoNumbers);
    for (const auto& [name, value] : DescribeSettings(facts.request)) page.Row({name, value});
    page.EndTable();
}

void AddExplanations(Page& page, const FixSettings& settings) {
    using Corvane::LLSq;
    page.Element("h2", "What the figures mean");
    page.Raw("<dl>\n");
    const auto add = [&page](const char* name, const std::string& what) {
        page.Raw(fmt::format("<dt>{}</dt><dd>{}</dd>\n", HtmlText(name), HtmlText(what)));
    };
    add("Redundancy",
        "Observations less unknowns. 0: not testable, nothing is checked. 1: not identifiable, a fault is "
        "seen but not placed. Neither counts as passed; a second system costs one.");
    add("w-test", fmt::format("Each residual in its own standard deviations against {:.3f} ({:g} %). The largest that "
                              "fails is rejected and the position solved again.",
                              LLSq::GetWLimit(settings.confidence), 100.0 * LLSq::GetProbability(settings.confidence)));
    add("F-test",
        fmt::format(
            "The unit variance against its limit for the redundancy. It confirms model and weights, and "
            "rejects nothing by itself.{}",
            settings.fLimit == LLSq::FEqualPower
                ? " With a limit of the w-test's power it also fails where nothing is wrong, the more often the "
                  "higher the redundancy: without a w-test that fails it is a remark, not an alarm."
                : ""));
    add("Internal reliability",
        fmt::format("The smallest fault of a range that the w-test finds with a power of {:g} %.",
                    100.0 * LLSq::GetProbability(settings.power)));
    add("External reliability", "What a fault of that size would do to the position, the worst observation's.");
    add("95 %",
        "Factor 2.4477 on the axes of the ellipse, 1.960 on the height, 2.7955 on those of the ellipsoid. (1.96 on an "
        "ellipse would hold 85.4 %.)");
    add("HDOP, PDOP",
        "What the geometry of the satellites makes of one metre of range error, horizontally and in space.");
    page.Raw("</dl>\n");
}

}  // namespace

std::string InlineSvg(std::string_view svg, std::string_view prefix) {
    if (const auto start = svg.find("<svg"); start != std::string_view::npos) svg.remove_prefix(start);
    std::string result;
    result.reserve(svg.size() + svg.size() / 16);
    // Where an identifier begins, and where one is referred to. A plain href serves in a page, where not every program
    // knows the XML name.
    struct Mark {
        std::string_view text;
        std::string_view instead;
    };
    constexpr std::array<Mark, 3> Marks{Mark{" id=\"", " id=\""}, Mark{" xlink:href=\"#", " href=\"#"},
                                        Mark{"url(#", "url(#"}};
    while (!svg.empty()) {
        std::size_t next = svg.size();
        const Mark* found = nullptr;
        for (const Mark& mark : Marks) {
            if (const std::size_t at = svg.substr(0, next).find(mark.text); at != std::string_view::npos) {
                next = at;
                found = &mark;
            }
        }
        result += svg.substr(0, next);
        if (found == nullptr) break;
        result += found->instead;
        result += prefix;
        svg.remove_prefix(next + found->text.size());
    }
    return result;
}

std::string MakeReport(const RunFigures& summary, const RunSeries& series, const std::vector<JournalEntry>& journal,
                       const RunFacts& facts, const std::vector<ReportPicture>& pictures) {
    Page page;
    page.Raw(
        "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
        "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'unsafe-inline'\">\n"
        "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n");
    std::string title = "Positions of a run";
    if (!facts.inputs.empty()) {
        const std::string& name = facts.inputs.front().name;
        title = "Positions from " + (name == "-" ? "standard input" : CleanText(name.substr(name.rfind('/') + 1)));
    }
    if (facts.inputs.size() > 1) title += fmt::format(" and {} more", facts.inputs.size() - 1);
    page.Element("title", title);
    page.Raw("<style>");
    page.Raw(Style);
    page.Raw("</style>\n</head>\n<body>\n");
    page.Element("h1", title);
    if (summary.epochs == 0) {
        page.Element("p", "No epochs of measurements were found.", "alert");
    } else {
        page.Element("p",
                     fmt::format("{} to {}, GPS time: {}, an epoch every {:g} s", PrintInstant(summary.from),
                                 PrintInstant(summary.to),
                                 PrintSpan((summary.to - summary.from).Seconds() + summary.interval), summary.interval),
                     "faint");
        AddTiles(page, summary);
        AddPosition(page, summary);
        AddComparisons(page, summary);
        AddSpells(page, summary);
        AddRejected(page, series, facts.request);
    }
    std::size_t number = 0;
    page.Raw("<div class=\"figures\">\n");
    for (const ReportPicture& picture : pictures) {
        page.Raw("<figure>\n");
        page.Raw(InlineSvg(picture.svg, fmt::format("p{}-", ++number)));
        page.Element("figcaption", picture.caption);
        page.Raw("</figure>\n");
    }
    page.Raw("</div>\n");
    if (summary.epochs > 0) AddSatellites(page, series);
    AddJournal(page, journal);
    AddInputs(page, facts);
    AddExplanations(page, facts.request.settings);
    page.Raw("</body>\n</html>\n");
    return page.Take();
}

}  // namespace Host
