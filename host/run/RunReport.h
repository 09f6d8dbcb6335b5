// The report of a run: one page of HTML that prints, and the same figures as JSON.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/report/RunFigures.h"
#include "host/report/RunSeries.h"
#include "host/run/RunJournal.h"
#include "host/run/RunOutput.h"

namespace Host {

// A picture for the page.
struct ReportPicture {
    std::string title;
    std::string caption;
    std::string svg;  // a whole file
};

// Self-contained: no scripts, nothing from a network; texts of data are cleaned and escaped. On A4 when printed.
[[nodiscard]] std::string MakeReport(const RunFigures& summary, const RunSeries& series,
                                     const std::vector<JournalEntry>& journal, const RunFacts& facts,
                                     const std::vector<ReportPicture>& pictures);

// An SVG file as an element of a page: without declaration, as wide as its place, and with identifiers that begin with
// the prefix, since those of a page are one set.
[[nodiscard]] std::string InlineSvg(std::string_view svg, std::string_view prefix);

// The figures of summary.json.
[[nodiscard]] std::string MakeSummaryJson(const RunFigures& summary, const RunSeries& series, const RunFacts& facts);

}  // namespace Host
