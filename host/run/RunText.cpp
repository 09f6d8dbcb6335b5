#include "host/run/RunText.h"

#include <fmt/format.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/report/SafeText.h"

namespace Host {

namespace {

const char* Name(FixSettings::Systems systems) {
    switch (systems) {
        case FixSettings::Systems::GPS:
            return "GPS";
        case FixSettings::Systems::Glonass:
            return "GLONASS";
        case FixSettings::Systems::Both:
            break;
    }
    return "GPS and GLONASS";
}

}  // namespace

std::vector<std::pair<std::string, std::string>> DescribeSettings(const FixSettings& s) {
    using Corvane::LLSq;
    std::vector<std::pair<std::string, std::string>> rows;
    const auto add = [&rows](const char* name, std::string value) { rows.emplace_back(name, std::move(value)); };
    add("Systems", Name(s.systems));
    add("Ranges", s.ranges == FixSettings::Ranges::L1 ? "L1 C/A" : "ionosphere-free");
    add("Ionosphere", s.ranges == FixSettings::Ranges::IonosphereFree ? "taken off by two frequencies"
                      : s.ionosphere == FixSettings::Ionosphere::Off  ? "off"
                                                                      : "broadcast model, when received");
    add("Troposphere", s.troposphere == FixSettings::Troposphere::Off ? "off" : "standard");
    add("Masks", fmt::format("elevation {:g}\u00b0{}", s.elevationMask,
                             s.signalMask > 0.0 ? fmt::format(", C/N0 {:g} dB-Hz", s.signalMask) : ""));
    add("Range SD at zenith", fmt::format("code {:g} m GPS, {:g} m GLONASS; orbit {:g} m, {:g} m", s.weights.codeGPS,
                                          s.weights.codeGlonass, s.weights.orbitGPS, s.weights.orbitGlonass));
    add("GLONASS frame shift", s.glonassShift == nullptr ? "none" : "on");
    add("Height aid", s.heightAid ? fmt::format("{:.2f} m, SD {:g} m", s.height, s.heightSD) : "off");
    const LLSq::FLimit fLimit = s.fLimit;
    add("Tests",
        fmt::format("w at {:g} % (limit {:.3f}), power {:g} %, F limit {}", 100.0 * LLSq::GetProbability(s.confidence),
                    LLSq::GetWLimit(s.confidence), 100.0 * LLSq::GetProbability(s.power),
                    fLimit == LLSq::FEqualPower ? "of equal power" : "at 5 %"));
    add("Rejection", s.rejects ? "the largest |w|, one at a time" : "off");
    add("Working limits", fmt::format("HDOP {:g}, PDOP {:g}, {} satellites; no fix beyond GDOP {:g}", s.hdopLimit,
                                      s.pdopLimit, s.minSatellites, s.maxGDOP));
    add("Ephemeris age", fmt::format("up to {:g} s GPS, {:g} s GLONASS", s.maxAgeGPS, s.maxAgeGlonass));
    add("Velocity", s.velocity ? fmt::format("from Doppler, SD {:g} m/s", s.dopplerSD) : "off");
    return rows;
}

std::string DescribeInput(const RunInput& input) {
    std::string text =
        fmt::format("{}, {} bytes: {} epochs, {} navigation records",
                    input.format.empty() ? "unknown format" : input.format, input.bytes, input.epochs, input.records);
    const auto add = [&text](std::int64_t number, const char* what) {
        if (number > 0) text += fmt::format(", {} {}", number, what);
    };
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
        line(fmt::format("{}: {} times, {} in all", spells.what, spells.count, PrintSpan(spells.seconds)));
    }
    for (const RunInput& input : facts.inputs) {
        if (!input.failure.empty() || input.isCut) line(CleanText(input.name) + ": " + DescribeInput(input));
    }
    return text;
}

}  // namespace Host
