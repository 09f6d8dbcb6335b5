// RunFigures: how a run went, in figures.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Ellipse.h"
#include "host/fix/FixSettings.h"
#include "host/report/PositionDifferences.h"
#include "host/report/RunSeries.h"

namespace Host {

// A stretch of neighbouring epochs with one fault.
struct RunSpell {
    GNSS::GPSTime from, to;  // first and last epoch
    double seconds = 0.0;    // each epoch counts one interval
    std::int64_t epochs = 0;
    double worst = 0.0;  // of the figure that the fault is about; 0 for a fault without
};

// All stretches of one kind of fault.
struct RunSpells {
    std::string what;  // "HDOP above 2"
    std::string unit;  // of the worst value
    bool hasWorst = false;
    std::int64_t count = 0;
    std::int64_t epochs = 0;
    double seconds = 0.0;
    std::vector<RunSpell> listed;  // the longest ones and the one with the worst value, in order of time
};

struct RunFigures {
    // How a test went, in numbers of fixes; they add up to all of them.
    struct Test {
        std::int64_t passed = 0;
        std::int64_t failed = 0;
        std::int64_t notIdentifiable = 0;
        std::int64_t notTestable = 0;
    };
    // Of the differences from the reference, m.
    struct Axis {
        double mean = 0.0;
        double sd = 0.0;   // about the mean
        double rms = 0.0;  // about the reference
    };

    static constexpr std::size_t MaxListed = 4;

    std::int64_t epochs = 0;
    std::int64_t fixes = 0;
    double interval = 0.0;  // s
    GNSS::GPSTime from, to;
    Test fTest, wTest, both;

    // The fixes that mean, scatter and differences are of: those that passed the w-test with a redundancy of 2 at
    // least, or all where none did. What failed or could not be checked would say nothing about the others.
    std::int64_t counted = 0;
    bool isReferenceGiven = false;
    std::optional<GNSS::ECEF> mean;
    std::array<Axis, 3> axes;  // east, north, up
    // 95 % of the differences from the reference are smaller.
    double horizontal95 = 0.0;
    double vertical95 = 0.0;
    double horizontalRms = 0.0;
    // Of one standard deviation, from the scatter of those fixes themselves.
    Corvane::Ellipse scatter;

    double medianExtRel = 0.0;  // horizontal, m
    double medianHdop = 0.0, medianPdop = 0.0;
    double medianUsed = 0.0;
    std::vector<RunSpells> spells;  // those kinds that occurred

    // Beside the series; Summarise leaves them empty.
    std::int64_t events = 0;
    std::int64_t receiverFixes = 0;         // the receiver's own, of different times
    DifferenceFigures receiver;             // ours minus those, where both are of one time
    std::optional<GNSS::ECEF> statedPlace;  // of the antenna by the data themselves, where no reference was given
    DifferenceFigures stated;               // from it
};

[[nodiscard]] RunFigures Summarise(const RunSeries& series, const RunReference& reference, const FixSettings& settings);

// Of the positions that count.
[[nodiscard]] DifferenceFigures DifferencesFrom(const RunSeries& series, const GNSS::ECEF& place);

// "99.7 %" of a part; "-" of nothing.
[[nodiscard]] std::string Percent(std::int64_t part, std::int64_t whole);
// "45 s", "12 min 30 s", "3 h 05 min"
[[nodiscard]] std::string PrintSpan(double seconds);
// GPS time in whole seconds, or milliseconds where it has them: "2020-06-25 00:00:30".
[[nodiscard]] std::string PrintInstant(const GNSS::GPSTime& time);

}  // namespace Host
