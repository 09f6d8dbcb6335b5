// The drawing of a plan: what is where, and that nothing is cut off or overdrawn.
#include "host/plan/PlanPlot.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/RecordingDC.h"

namespace {

using Corvane::Angle;
using Corvane::Time;
using GNSS::GPSTime;
using Host::PlanSight;
using tests::DrawCall;

// Twelve satellites of either system, up for a third of the day each, one after the other.
Host::VisibilityPlan MadePlan(Time span) {
    Host::PlanSettings settings;
    settings.from = GPSTime(2111, 4.0 * 86400.0);
    settings.span = span;
    settings.step = span / 288.0;
    std::vector<Host::PlanSatellite> satellites;
    for (int i = 1; i <= 12; ++i) satellites.insert(satellites.end(), {{'G', i}, {'R', i}});
    return Host::MakePlan(settings, satellites, [&](const Host::PlanSatellite& satellite, const GPSTime& t) {
        const double day = (t - settings.from) / span;
        PlanSight sight;
        if (satellite.number == 12 && day > 0.5) return sight;
        sight.orbit = day > 0.8 ? PlanSight::Orbit::Almanac : PlanSight::Orbit::Ephemeris;
        sight.isHealthy = satellite.number != 11;
        const double phase = 2.0 * std::numbers::pi * (day - satellite.number / 12.0);
        sight.elevation = Angle::FromDegrees(80.0 * std::cos(phase) - 20.0);
        sight.azimuth = Angle::FromDegrees(30.0 * satellite.number * (satellite.system == 'G' ? 1.0 : 2.3));
        return sight;
    });
}

TEST(PlanPlot, LaysOutPanelsAndLabels) {
    for (const double span : {600.0, 86400.0, 5.0 * 86400.0}) {
        const Host::VisibilityPlan plan = MadePlan(Time(span));
        ASSERT_FALSE(plan.windows.empty());
        const Host::PlanPlot plot(plan, "title", "subtitle");
        ASSERT_EQ(plot.Rows().size(), 24U);
        tests::RecordingDC dc(plot.PreferredSize());
        plot.Draw(dc, Host::Palette::Light);
        const Corvane::Rect surface{{0, 0}, plot.PreferredSize()};
        std::vector<DrawCall> texts = dc.Calls(DrawCall::Text);
        for (std::size_t i = 0; i < texts.size(); ++i) {
            EXPECT_TRUE(surface.Contains(texts[i].bounds)) << texts[i];
            for (std::size_t j = 0; j < i; ++j)
                EXPECT_FALSE(texts[i].bounds.Overlaps(texts[j].bounds)) << texts[i] << "\n" << texts[j];
        }
        for (const char* text : {"PDOP", "HDOP", "PDOP limit 3", "HDOP limit 2", "least 6", "G01", "R12", "by almanac",
                                 "no orbit", "unhealthy", "2020-06-25"}) {
            EXPECT_EQ(std::ranges::count(texts, text, &DrawCall::text), 1) << text;
        }
        EXPECT_EQ(std::ranges::count_if(texts, [](const DrawCall& call) { return call.text.starts_with("1 "); }), 1);
        for (const DrawCall& call : dc.Calls()) EXPECT_TRUE(surface.Contains(call.bounds)) << call;

        // The bar of the only pass of R03 lies where its rise and set are on the axis.
        const auto pass = std::ranges::find(plan.passes, Host::PlanSatellite{'R', 3}, &Host::PlanPass::satellite);
        ASSERT_NE(pass, plan.passes.end());
        const auto bars = dc.Calls(DrawCall::Rectangle);
        const DrawCall panel = *std::ranges::find_if(bars, [](const DrawCall& call) { return call.brush.IsNone(); });
        const auto place = [&](const GPSTime& t) {
            return panel.points[0].x + std::lround((t - plan.settings.from) / plan.settings.span * panel.size.width);
        };
        const auto label = std::ranges::find(texts, std::string("R03"), &DrawCall::text);
        EXPECT_TRUE(std::ranges::any_of(bars, [&](const DrawCall& call) {
            return call.points[0].x == place(pass->rise.time) && std::abs(call.points[0].y - label->points[0].y) < 8 &&
                   call.points[0].x + call.size.width == place(pass->set.time);
        }));
    }
}

TEST(PlanPlot, DrawsOnAnySurface) {
    const Host::VisibilityPlan plan = MadePlan(Time(86400.0));
    Host::VisibilityPlan bad = plan;
    bad.settings.pdopLimit = 1e300;
    for (const Corvane::Size size : {Corvane::Size{0, 0}, {1, 1}, {320, 300}, {4000, 240}, {20'000, 20'000}}) {
        for (const Host::VisibilityPlan& of : {plan, bad, Host::VisibilityPlan()}) {
            tests::RecordingDC dc(size);
            Host::PlanPlot(of, "title", "subtitle").Draw(dc, Host::Palette::Dark);
            EXPECT_LT(dc.Calls().size(), 200'000U);
        }
    }
}

}  // namespace
