#include <array>
#include <cmath>

#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/fix/FixNotes.h"
#include "host/report/SafeText.h"
#include "host/run/RunReport.h"
#include "host/run/RunSettings.h"
#include "host/run/RunText.h"

namespace Host {

namespace {

std::string Json(double value, int decimals) {
    return std::isfinite(value) ? fmt::format("{:.{}f}", value, decimals) : "null";
}

std::string JsonTest(const RunFigures::Test& t) {
    return fmt::format(R"({{"passed":{},"failed":{},"not_identifiable":{},"not_testable":{}}})", t.passed, t.failed,
                       t.notIdentifiable, t.notTestable);
}

std::string JsonDifferences(const DifferenceFigures& d) {
    return fmt::format(R"("positions":{},"mean_east_m":{},"mean_north_m":{},"mean_up_m":{},"horizontal_mean_m":{},)"
                       R"("horizontal_rms_m":{},"horizontal_95_m":{},"vertical_rms_m":{},"vertical_95_m":{})",
                       d.count, Json(d.mean[0], 4), Json(d.mean[1], 4), Json(d.mean[2], 4), Json(d.horizontalMean, 4),
                       Json(d.horizontalRms, 4), Json(d.horizontal95, 4), Json(d.verticalRms, 4),
                       Json(d.vertical95, 4));
}

}  // namespace

std::string MakeSummaryJson(const RunFigures& s, const RunSeries& series, const RunFacts& facts) {
    std::string json = "{\n";
    const auto add = [&json](const char* name, const std::string& value) {
        json += fmt::format("{}  \"{}\": {}", json.size() > 2 ? ",\n" : "", name, value);
    };
    if (s.epochs > 0) {
        add("from_utc", JsonText(PrintUTC(s.from)));
        add("to_utc", JsonText(PrintUTC(s.to)));
    }
    add("interval_s", Json(s.interval, 3));
    add("epochs", fmt::format("{}", s.epochs));
    add("fixes", fmt::format("{}", s.fixes));
    add("epochs_repeated", fmt::format("{}", facts.counts.repeated));
    add("epochs_out_of_order", fmt::format("{}", facts.counts.outOfOrder));
    add("f_test", JsonTest(s.fTest));
    add("w_test", JsonTest(s.wTest));
    add("test", JsonTest(s.both));
    add("positions_counted", fmt::format("{}", s.counted));
    if (s.mean) {
        const GNSS::LocalGrid grid(*s.mean, GNSS::Spheroid::WGS84);
        const GNSS::Geog& mean = grid.GetOrigin();
        add("mean", fmt::format(R"({{"latitude_deg":{:.9f},"longitude_deg":{:.9f},"height_m":{:.4f},"x_m":{:.4f},)"
                                R"("y_m":{:.4f},"z_m":{:.4f}}})",
                                mean.GetPhi().Degrees(), mean.GetLambda().Degrees(), mean.GetHeight(), s.mean->GetX(),
                                s.mean->GetY(), s.mean->GetZ()));
        add("reference", s.isReferenceGiven ? "\"given\"" : "\"mean of the run\"");
        const std::array names{"east", "north", "up"};
        for (std::size_t i = 0; i < names.size(); ++i)
            add(names[i], fmt::format(R"({{"mean_m":{},"sd_m":{},"rms_m":{}}})", Json(s.axes[i].mean, 4),
                                      Json(s.axes[i].sd, 4), Json(s.axes[i].rms, 4)));
        add("horizontal_rms_m", Json(s.horizontalRms, 4));
        add("horizontal_95_m", Json(s.horizontal95, 4));
        add("vertical_95_m", Json(s.vertical95, 4));
        const Corvane::Ellipse ellipse = s.scatter.ScaledBy(EllipseFactor95);
        add("scatter_ellipse_95",
            fmt::format(R"({{"factor":{:.4f},"major_m":{},"minor_m":{},"bearing_deg":{}}})", EllipseFactor95,
                        Json(ellipse.GetSemiMajor(), 4), Json(ellipse.GetSemiMinor(), 4),
                        Json(ellipse.GetOrientation().Degrees(), 1)));
        add("median_hdop", Json(s.medianHdop, 3));
        add("median_pdop", Json(s.medianPdop, 3));
        add("median_ext_rel_2d_m", Json(s.medianExtRel, 3));
    }
    if (s.statedPlace)
        add("from_stated_place", fmt::format(R"({{"x_m":{:.4f},"y_m":{:.4f},"z_m":{:.4f},{}}})", s.statedPlace->GetX(),
                                             s.statedPlace->GetY(), s.statedPlace->GetZ(), JsonDifferences(s.stated)));
    add("from_receiver", fmt::format(R"({{"receiver_fixes":{},{}}})", s.receiverFixes, JsonDifferences(s.receiver)));
    add("events", fmt::format("{}", s.events));
    std::string list;
    for (const auto& [id, kind] : series.GetNoteKinds())
        list += fmt::format("{}\n    {{\"note\":{},\"text\":{},\"epochs\":{}}}", list.empty() ? "" : ",", id,
                            JsonText(CleanText(kind.text)), kind.epochs);
    add("notes", "[" + list + "]");
    list.clear();
    for (const RunSpells& spells : s.spells) {
        list += fmt::format("{}\n    {{\"what\":{},\"times\":{},\"epochs\":{},\"seconds\":{},\"windows\":[",
                            list.empty() ? "" : ",", JsonText(spells.what), spells.count, spells.epochs,
                            Json(spells.seconds, 3));
        for (std::size_t i = 0; i < spells.listed.size(); ++i) {
            const RunSpell& spell = spells.listed[i];
            list += fmt::format(R"({}{{"from_utc":{},"to_utc":{},"epochs":{},"seconds":{},"worst":{}}})",
                                i > 0 ? "," : "", JsonText(PrintUTC(spell.from)), JsonText(PrintUTC(spell.to)),
                                spell.epochs, Json(spell.seconds, 3), spells.hasWorst ? Json(spell.worst, 3) : "null");
        }
        list += "]}";
    }
    add("worst_windows", "[" + list + "]");
    list.clear();
    for (const auto& [name, tally] : series.GetSatellites())
        list += fmt::format(R"({}{}{{"satellite":"{}","tracked":{},"used":{},"rejected":{},"largest_w":{}}})",
                            list.empty() ? "" : ",", "\n    ", SatelliteName(name.first, name.second), tally.tracked,
                            tally.used, tally.rejected, tally.rejected > 0 ? Json(tally.largestW, 3) : "null");
    add("satellites", "[" + list + "]");
    add("disabled", JsonText(DescribeDisabled(facts.request)));
    list.clear();
    for (const RunInput& input : facts.inputs)
        list += fmt::format(
            "{}\n    {{\"name\":{},\"format\":{},\"bytes\":{},\"epochs\":{},\"records\":{},\"messages\":{},"
            "\"skipped_bytes\":{},\"checksum_failures\":{},\"refused\":{},\"undated\":{},\"cut\":{},\"failure\":{}}}",
            list.empty() ? "" : ",", JsonText(CleanText(input.name)), JsonText(CleanText(input.format)), input.bytes,
            input.epochs, input.records, input.messages, input.skipped, input.checksumFailures, input.refused,
            input.undated, input.isCut, input.failure.empty() ? "null" : JsonText(CleanText(input.failure)));
    add("inputs", "[" + list + "]");
    list.clear();
    RunSettings settings;
    settings.request = facts.request;
    for (const Setting& setting : GetSettings()) {
        if (HasSayInPositions(setting))
            list += fmt::format("{}\n    {}: {}", list.empty() ? "" : ",", JsonText(setting.GetName()),
                                setting.print(settings));
    }
    add("settings", "{" + list + "}");
    return json + "\n}\n";
}

}  // namespace Host
