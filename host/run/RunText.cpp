#include "host/run/RunText.h"

#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
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
        if (*setting.unit != 0) row += fmt::format(" {}", setting.unit);
        if (value != usual) row += fmt::format(" (default {})", usual);
    }
    return rows;
}

std::string DescribeInput(const RunInput& input) {
    std::string text =
        fmt::format("{}, {} bytes", input.format.empty() ? "unknown format" : input.format, input.bytes);
    const auto add = [&text](std::int64_t number, const char* what) {
        if (number > 0) text += fmt::format(", {} {}", number, what);
    };
    add(input.epochs, "epochs");
    add(input.records, "navigation records");
    add(input.messages, "messages");
    add(input.checksumFailures, "checksum failures");
    add(input.skipped, "bytes of no message");
    add(input.refused, "refused");
    add(input.undated, "undated");
    if (input.isCut) text += ", ends early";
    if (!input.failure.empty()) text += ": " + input.failure;
    return CleanText(text);
}

std::string PrintSummary(const RunFigures& summary, const RunFacts& facts) {
    std::string text;
    const auto line = [&text](const std::string& what) { text += what + '\n'; };
    if (summary.epochs == 0) {
        line("No epochs of measurements.");
    } else {
        line(fmt::format("{} to {} GPST: {} epochs, {} positions ({})", PrintInstant(summary.from),
                         PrintInstant(summary.to), summary.epochs, summary.fixes,
                         Percent(summary.fixes, summary.epochs)));
    }
    if (summary.fixes > 0) {
        const auto test = [&summary](const char* name, const RunFigures::Test& counts) {
            std::string result = fmt::format("{} passed {}", name, Percent(counts.passed, summary.fixes));
            if (counts.failed > 0) result += fmt::format(", failed {}", Percent(counts.failed, summary.fixes));
            return result;
        };
        line(test("F-test", summary.fTest) + "; " + test("w-test", summary.wTest));
        if (summary.both.notTestable + summary.both.notIdentifiable > 0)
            line(fmt::format("not testable {}, not identifiable {}", Percent(summary.both.notTestable, summary.fixes),
                             Percent(summary.both.notIdentifiable, summary.fixes)));
        const GNSS::LocalGrid grid(*summary.mean, GNSS::Spheroid::WGS84);
        line(fmt::format("mean position {:.8f} {:.8f} {:.3f} m", grid.GetOrigin().GetPhi().Degrees(),
                         grid.GetOrigin().GetLambda().Degrees(), grid.GetOrigin().GetHeight()));
        line(fmt::format("about {}: horizontal RMS {:.2f} m, 95 % {:.2f} m; vertical RMS {:.2f} m, 95 % {:.2f} m",
                         summary.isReferenceGiven ? "the reference" : "it", summary.horizontalRms, summary.horizontal95,
                         summary.axes[2].rms, summary.vertical95));
    }
    for (const RunSpells& spells : summary.spells) {
        line(spells.what + ": " + (spells.count == 1 ? "once, " : fmt::format("{} times, together ", spells.count)) +
             PrintSpan(spells.seconds));
    }
    for (const RunInput& input : facts.inputs) {
        if (!input.failure.empty() || input.isCut) line(CleanText(input.name) + ": " + DescribeInput(input));
    }
    return text;
}

}  // namespace Host
