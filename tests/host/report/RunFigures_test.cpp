#include "host/report/RunFigures.h"

#include <algorithm>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "host/report/FixRows.h"
#include "host/report/SafeText.h"
#include "host/report/TimePlot.h"
#include "tests/host/report/MadeFix.h"

namespace {

using Host::RunEpoch;
using Host::RunSeries;

std::string Print(const Host::Cell& cell) {
    if (const auto* text = std::get_if<std::string_view>(&cell)) return std::string(*text);
    if (const auto* whole = std::get_if<std::int64_t>(&cell)) return std::to_string(*whole);
    if (const auto* yes = std::get_if<bool>(&cell)) return *yes ? "1" : "0";
    const auto* real = std::get_if<double>(&cell);
    return real != nullptr && std::isfinite(*real) ? std::to_string(*real) : "";
}

std::map<std::string, std::string> Named(const std::vector<Host::Column>& columns, std::span<const Host::Cell> cells) {
    EXPECT_EQ(columns.size(), cells.size());
    std::map<std::string, std::string> named;
    for (std::size_t i = 0; i < columns.size() && i < cells.size(); ++i) named[columns[i].name] = Print(cells[i]);
    EXPECT_EQ(named.size(), columns.size());  // no name twice
    return named;
}

TEST(SafeText, IsCleanAndEscaped) {
    const std::pair<std::string, std::string> clean[] = {
        {"plain \u00e4\u20ac\U0001F6F0", "plain \u00e4\u20ac\U0001F6F0"},
        {"a\x1b[31m\r\n\x7f\xc2\x9b"
         "b",
         "a [31m    b"},
        {std::string("nul\0l", 5), "nul l"},
        {"\u202etxt.exe\u2066", "\ufffdtxt.exe\ufffd"},
        {"\xff\xc0\xaf\xed\xa0\x80\xf5", "\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd\ufffd"},
        {"cut \xe2\x82", "cut \ufffd\ufffd"},
    };
    for (const auto& [text, expected] : clean) EXPECT_EQ(Host::CleanText(text), expected);
    for (const char* text : {"=1+1", "+cmd", "-2", "@sum", "  =x"}) EXPECT_EQ(Host::CellText(text)[0], '\'') << text;
    EXPECT_EQ(Host::CellText("a=1"), "a=1");
    EXPECT_EQ(Host::HtmlText("<a href='x'>\"&"), "&lt;a href=&#39;x&#39;&gt;&quot;&amp;");
    EXPECT_EQ(Host::JsonText("a\"\\b"), "\"a\\\"\\\\b\"");
}

TEST(FixRow, HasEachFigureInItsColumn) {
    const Host::PublishedFix fix = tests::MakeFix(30.25);
    Host::FixRow row;
    auto cells = Named(Host::FixRow::Columns(), row.Fill(fix, Host::FiguresOf(fix.result)));
    const std::pair<const char*, const char*> expected[] = {
        {"gps_week", "2111"},
        {"gps_time", "345630.250000"},
        {"fix", "1"},
        {"mode", "GPS+GLO"},
        {"test", "passed"},
        {"used", "6"},
        {"used_gps", "5"},
        {"used_glonass", "1"},
        {"tracked_gps", "6"},
        {"tracked_glonass", "2"},
        {"rejected_gps", "1"},
        {"rejected_glonass", "0"},
        {"latitude", "55.500000"},
        {"longitude", "8.500000"},
        {"height", "60.000000"},
        {"sd_east", "1.000000"},
        {"sd_north", "2.000000"},
        {"sd_up", "3.000000"},
        {"cov_east_north", "0.500000"},
        {"cov_east_up", "-0.250000"},
        {"cov_north_up", "0.750000"},
        {"clock_gps", "100.500000"},
        {"clock_glonass", "101.500000"},
        {"redundancy", "2"},
        {"unit_variance", "1.250000"},
        {"f_limit", "3.759000"},
        {"f_test", "passed"},
        {"w_test", "passed"},
        {"max_w", "-1.750000"},
        {"max_w_satellite", "G03"},
        {"residual_rms", "1.500000"},
        // Of G05, not of the rejected G07: its effect is 3, 4 and 12 times 5, towards the south-west.
        {"mdb", "12.000000"},
        {"mdb_satellite", "G05"},
        {"ext_rel_2d", "25.000000"},
        {"ext_rel_2d_bearing", "216.869898"},
        {"ext_rel_2d_satellite", "G05"},
        {"ext_rel_height", "60.000000"},
        {"ext_rel_3d", "65.000000"},
        {"ellipse95_major", "4.895400"},
        {"ellipse95_minor", "2.447700"},
        {"ellipse95_bearing", "0.000000"},
        {"ellipse95_factor", "2.447700"},
        {"height95", "5.880000"},
        {"v_east", ""},
        {"notes", "2"}};
    for (const auto& [name, value] : expected) EXPECT_EQ(cells[name], value) << name;
    EXPECT_EQ(cells["utc"].size(), std::string("2020-06-25T00:00:12.250Z").size());

    Host::SatelliteRow satellites;
    cells = Named(Host::SatelliteRow::Columns(), satellites.Fill(fix.result, fix.result.satellites[2]));
    EXPECT_EQ(cells["satellite"] + cells["use"] + cells["w"] + cells["mde"] + cells["effect_up"],
              "G03used1.50000010.00000036.000000");
    cells = Named(Host::SatelliteRow::Columns(), satellites.Fill(fix.result, fix.result.satellites[5]));
    EXPECT_EQ(cells["satellite"] + cells["use"] + cells["rejected_w"] + cells["effect_up"], "G07rejected-6.000000");
    cells = Named(Host::SatelliteRow::Columns(), satellites.Fill(fix.result, fix.result.satellites[7]));
    EXPECT_EQ(cells["satellite"] + cells["use"] + cells["sd"] + cells["azimuth"], "R09no ephemeris");

    const Host::PublishedFix none = tests::MakeNoFix(0.0);
    cells = Named(Host::FixRow::Columns(), row.Fill(none, Host::FiguresOf(none.result)));
    EXPECT_EQ(cells["fix"] + cells["test"] + cells["latitude"] + cells["sd_east"] + cells["f_test"], "0no fix");
    EXPECT_NE(cells["failure"], "");
}

// Redundancies of 0 and 1 never read as passed.
TEST(FixFigures, PassesNothingThatIsNotTested) {
    using Corvane::LLSq;
    for (const auto& [freedom, fTest, expected] :
         {std::tuple(0, LLSq::FNotTestable, Host::FixTest::NotTestable),
          std::tuple(1, LLSq::FPassed, Host::FixTest::NotIdentifiable),
          std::tuple(1, LLSq::FFailed, Host::FixTest::Failed), std::tuple(2, LLSq::FPassed, Host::FixTest::Passed)}) {
        Host::PublishedFix fix = tests::MakeFix(0.0);
        fix.result.ukooa.SetBasicStats(LLSq::Confidence99, LLSq::Power80, freedom, 1.0, fTest, 1.0, 0.0, 0.0);
        const Host::FixFigures figures = Host::FiguresOf(fix.result);
        EXPECT_EQ(figures.fTest, expected) << freedom;
        EXPECT_EQ(figures.wTest == Host::FixTest::Passed, freedom > 1) << freedom;
        EXPECT_EQ(std::isfinite(figures.unitVariance), freedom > 0);
    }
}

// 1000 epochs on 50 columns: a spike of one epoch is there, and curves end where epochs are missing.
TEST(ThinCurve, KeepsExtremesAndGaps) {
    RunSeries series;
    for (int i = 0; i < 1000; ++i) {
        if (i >= 300 && i < 310) continue;
        const double up = i == 123 ? 500.0 : i == 124 ? -700.0 : 0.0;
        tests::AddTo(series, i == 600 ? tests::MakeNoFix(i) : tests::MakeFix(i, {0.0, 0.0, up}));
    }
    const Host::RunReference reference(series, tests::Home().GetOriginECEF());
    const Host::TimeAxis axis(series.GetStart(), series.GetSpan(), 10, 49);
    const auto stretches = Host::ThinCurve(
        series, [&](const RunEpoch& e) { return reference.Difference(series, e)[2]; }, axis);
    ASSERT_EQ(stretches.size(), 3U);
    double low = 0.0;
    double high = 0.0;
    std::size_t columns = 0;
    for (const auto& stretch : stretches) {
        columns += stretch.size();
        for (const Host::ColumnRange& c : stretch) {
            low = std::min(low, c.low);
            high = std::max(high, c.high);
        }
    }
    EXPECT_NEAR(high, 500.0, 1e-3);
    EXPECT_NEAR(low, -700.0, 1e-3);
    EXPECT_LE(columns, 52U);
    const auto faults = Host::FindFaultColumns(series, axis);
    ASSERT_EQ(faults.size(), 2U);
    EXPECT_EQ(faults[0].from, axis.Place(series.GetStart() + Corvane::Time(299.0)));
    EXPECT_EQ(faults[1].to, axis.Place(series.GetStart() + Corvane::Time(600.0)));
}

TEST(RunFigures, FindsTheWorstWindows) {
    RunSeries series;
    // Without positions at 10, 20 to 24, 40 and 60 to 62, 70 and 80; epochs 90 to 99 missing; HDOP large at 5 and 6.
    const auto isNone = [](int i) {
        return i == 10 || (i >= 20 && i <= 24) || i == 40 || (i >= 60 && i <= 62) || i == 70 || i == 80;
    };
    for (int i = 0; i < 120; ++i) {
        if (i >= 90 && i < 100) continue;
        Host::PublishedFix fix = isNone(i) ? tests::MakeNoFix(i * 30.0) : tests::MakeFix(i * 30.0, {i % 2 * 2.0, 0, 0});
        if (i == 5 || i == 6) fix.result.dop.Set(i, i, 1.0, 1.0);
        tests::AddTo(series, fix);
    }
    const Host::FixSettings settings;
    const Host::RunFigures figures = Host::Summarise(series, Host::RunReference(series, std::nullopt), settings);
    EXPECT_EQ(figures.epochs, 110);
    EXPECT_EQ(figures.fixes, 98);
    EXPECT_EQ(figures.fTest.passed, 98);
    EXPECT_NEAR(figures.axes[0].sd, 1.0, 0.01);
    EXPECT_NEAR(figures.axes[0].mean, 0.0, 1e-6);
    const auto find = [&](const std::string& what) {
        const auto found =
            std::ranges::find_if(figures.spells, [&](const auto& s) { return s.what.starts_with(what); });
        return found != figures.spells.end() ? *found : Host::RunSpells();
    };
    const Host::RunSpells none = find("No position");
    EXPECT_EQ(none.count, 6);
    EXPECT_EQ(none.epochs, 12);
    ASSERT_EQ(none.listed.size(), Host::RunFigures::MaxListed);
    // In order of time; the two longest are among them.
    EXPECT_EQ(none.listed[0].epochs, 1);
    EXPECT_EQ(none.listed[1].epochs, 5);
    EXPECT_DOUBLE_EQ(none.listed[1].seconds, 150.0);
    EXPECT_EQ(none.listed[3].epochs, 3);
    EXPECT_DOUBLE_EQ(find("No measurements").seconds, 300.0);
    const Host::RunSpells hdop = find("HDOP");
    ASSERT_EQ(hdop.count, 1);
    EXPECT_NEAR(hdop.listed[0].worst, std::sqrt(12.0), 1e-6);
    EXPECT_EQ(find("F-test").count, 0);
}

TEST(RunFigures, ShowsAllOnlyForAll) {
    EXPECT_EQ(Host::Percent(100000, 100000), "100.0 %");
    EXPECT_EQ(Host::Percent(99999, 100000), "99.99 %");
    EXPECT_EQ(Host::Percent(1, 1000000), "0.01 %");
    EXPECT_EQ(Host::Percent(0, 5), "0.0 %");
    EXPECT_EQ(Host::Percent(0, 0), "-");
    EXPECT_EQ(Host::PrintSpan(0.2), "0.2 s");
    EXPECT_EQ(Host::PrintSpan(750.0), "12 min 30 s");
    EXPECT_EQ(Host::PrintSpan(86400.0), "24 h 00 min");
}

}  // namespace
