#include "host/report/RunPlots.h"

#include <array>
#include <cmath>
#include <memory>

#include <fmt/format.h>

namespace Host {

namespace {

TimeCurve Limit(std::string name, double value) {
    return {std::move(name), [value](const RunEpoch&) { return value; }, TimeCurve::Kind::Limit, 0};
}

std::vector<TimePanel> PositionPanels(const RunSeries& series, const RunReference& reference) {
    std::vector<TimePanel> panels;
    const std::array names{"East, m", "North, m", "Up, m"};
    for (std::size_t i = 0; i < names.size(); ++i) {
        TimePanel& panel = panels.emplace_back();
        panel.title = names[i];
        panel.isFromZero = false;
        panel.curves.push_back({i == 0 ? "95 % band by the weights (factor 1.960)" : "",
                                [i](const RunEpoch& e) { return LineFactor95 * static_cast<double>(e.sd[i]); },
                                TimeCurve::Kind::Band, 0});
        panel.curves.push_back(
            {"", [&series, &reference, i](const RunEpoch& e) { return reference.Difference(series, e)[i]; },
             TimeCurve::Kind::Line, 0});
    }
    return panels;
}

std::vector<TimePanel> TestPanels() {
    TimePanel f;
    f.title = "F-test: unit variance";
    f.curves.push_back({"limit", [](const RunEpoch& e) { return e.fLimit; }, TimeCurve::Kind::Limit, 0});
    f.curves.push_back({"unit variance", [](const RunEpoch& e) { return e.unitVariance; }, TimeCurve::Kind::Line, 0});
    TimePanel w;
    w.title = "w-test: largest |w|";
    w.curves.push_back({"limit", [](const RunEpoch& e) { return e.wLimit; }, TimeCurve::Kind::Limit, 0});
    w.curves.push_back({"|w|", [](const RunEpoch& e) { return std::abs(e.maxW); }, TimeCurve::Kind::Line, 0});
    return {f, w};
}

std::vector<TimePanel> DopPanels(const FixSettings& settings) {
    TimePanel hdop;
    hdop.title = "HDOP";
    hdop.curves.push_back(Limit(fmt::format("limit {:g}", settings.hdopLimit), settings.hdopLimit));
    hdop.curves.push_back({"HDOP", [](const RunEpoch& e) { return e.hdop; }, TimeCurve::Kind::Line, 0});
    TimePanel pdop;
    pdop.title = "PDOP";
    pdop.curves.push_back(Limit(fmt::format("limit {:g}", settings.pdopLimit), settings.pdopLimit));
    pdop.curves.push_back({"PDOP", [](const RunEpoch& e) { return e.pdop; }, TimeCurve::Kind::Line, 0});
    return {hdop, pdop};
}

std::vector<TimePanel> ReliabilityPanels() {
    TimePanel reliability;
    reliability.title = "External reliability, m";
    reliability.curves.push_back({"in space", [](const RunEpoch& e) { return e.extRel3D; }, TimeCurve::Kind::Line, 2});
    reliability.curves.push_back(
        {"height", [](const RunEpoch& e) { return e.extRelHeight; }, TimeCurve::Kind::Line, 1});
    reliability.curves.push_back(
        {"horizontal", [](const RunEpoch& e) { return e.extRel2D; }, TimeCurve::Kind::Line, 0});
    TimePanel precision;
    precision.title = "95 % precision, m";
    precision.curves.push_back(
        {"ellipsoid (factor 2.7955)", [](const RunEpoch& e) { return e.ellipsoidMajor; }, TimeCurve::Kind::Line, 2});
    precision.curves.push_back(
        {"height (factor 1.960)", [](const RunEpoch& e) { return e.height95; }, TimeCurve::Kind::Line, 1});
    precision.curves.push_back(
        {"ellipse (factor 2.4477)", [](const RunEpoch& e) { return e.ellipseMajor; }, TimeCurve::Kind::Line, 0});
    return {reliability, precision};
}

std::vector<TimePanel> SatellitePanels(const RunSeries& series, const FixSettings& settings) {
    std::vector<TimePanel> panels;
    TimePanel all;
    all.title = "Satellites used";
    all.isWhole = true;
    all.curves.push_back(Limit(fmt::format("least {}", settings.minSatellites), settings.minSatellites));
    all.curves.push_back({"GPS and GLONASS", [](const RunEpoch& e) { return static_cast<double>(e.NmrUsed()); },
                          TimeCurve::Kind::Line, 0});
    panels.push_back(all);
    for (const std::size_t system : {std::size_t{0}, std::size_t{1}}) {
        bool isTracked = false;
        for (const RunEpoch& e : series.GetEpochs()) isTracked = isTracked || e.tracked[system] > 0;
        if (!isTracked) continue;
        TimePanel panel;
        panel.title = system == 0 ? "GPS" : "GLONASS";
        panel.isWhole = true;
        panel.height = 110;
        const auto add = [&](const char* name, std::array<std::uint8_t, 2> RunEpoch::*counts, int colour,
                             TimeCurve::Kind kind) {
            panel.curves.push_back(
                {name, [counts, system](const RunEpoch& e) { return static_cast<double>((e.*counts)[system]); }, kind,
                 colour});
        };
        add("tracked", &RunEpoch::tracked, 2, TimeCurve::Kind::Area);
        add("used", &RunEpoch::used, 0, TimeCurve::Kind::Line);
        add("rejected", &RunEpoch::rejected, 1, TimeCurve::Kind::Line);
        panels.push_back(panel);
    }
    return panels;
}

}  // namespace

std::vector<RunPicture> MakeRunPictures(const RunSeries& series, const RunReference& reference,
                                        const RunFigures& summary, const FixSettings& settings) {
    std::vector<RunPicture> pictures;
    const std::string span = PrintInstant(summary.from) + " to " + PrintInstant(summary.to);
    const auto addPlot = [&](const char* name, const char* title, std::string subtitle, const char* caption,
                             std::vector<TimePanel> panels) {
        const auto plot = std::make_shared<const TimePlot>(series, title, std::move(subtitle), std::move(panels));
        pictures.push_back({name, caption, plot->GetSize(),
                            [plot](Corvane::DC& dc, const Palette& palette) { plot->Draw(dc, palette); }});
    };
    const auto scatter = std::make_shared<const ScatterPlot>(series, reference, summary);
    pictures.push_back(
        {"scatter",
         "Horizontal scatter of the positions that count. The ellipse holds 95 % of them if they scatter normally: "
         "its axes are 2.4477 standard deviations of the scatter itself.",
         ScatterPlot::GetSize(), [scatter](Corvane::DC& dc, const Palette& palette) { scatter->Draw(dc, palette); }});
    addPlot("position", "Position", span + ", against " + reference.Describe(),
            "East, north and up against the reference. In the band lie 95 % of the differences if the weights are "
            "right.",
            PositionPanels(series, reference));
    addPlot("tests", "Statistical tests", span,
            "The unit variance is the sum of the squared residuals in their standard deviations over the redundancy: 1 "
            "when the weights are right. The largest |w| after rejections: the most suspect observation that was kept.",
            TestPanels());
    addPlot("reliability", "Reliability and precision", span,
            "External reliability: how far the largest fault that the w-test may miss moves the position. Precision: "
            "what the scatter of the ranges does to it; of ellipse and ellipsoid the longest semi-axis.",
            ReliabilityPanels());
    addPlot("dop", "Dilution of precision", span, "The geometry of the satellites used, and its working limits.",
            DopPanels(settings));
    addPlot("satellites", "Satellites", span, "Measured, used and rejected by the w-test, by system.",
            SatellitePanels(series, settings));
    const auto bars = std::make_shared<const NotesBars>(series);
    pictures.push_back({"notes", "When each remark held; alarms stand first.", bars->GetSize(),
                        [bars](Corvane::DC& dc, const Palette& palette) { bars->Draw(dc, palette); }});
    return pictures;
}

}  // namespace Host
