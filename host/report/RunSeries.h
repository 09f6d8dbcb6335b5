// RunSeries: what a report needs of every epoch of a run, kept small.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/geodesy/LocalGrid.h"
#include "gnss/health/NotesHistory.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixComponent.h"
#include "host/report/FixFigures.h"

namespace Host {

// One epoch. Figures that it does not have are NaN.
struct RunEpoch {
    double time = 0.0;          // s since the first epoch
    GNSS::ECEF::Delta place;    // m, from the first fix
    std::array<float, 3> sd{};  // m, east, north, up
    float hdop = 0.0F;
    float pdop = 0.0F;
    float unitVariance = 0.0F;
    float fLimit = 0.0F;
    float maxW = 0.0F;  // with its sign
    float wLimit = 0.0F;
    float extRel2D = 0.0F;                                      // m
    float extRelHeight = 0.0F;                                  // m
    float ellipseMajor = 0.0F;                                  // m, 95 %
    float height95 = 0.0F;                                      // m
    float extRel3D = 0.0F;                                      // m
    float ellipsoidMajor = 0.0F;                                // m, 95 %
    std::int16_t maxWSatellite = -1;                            // as a note's parameter; -1 for none and for the height
    std::array<std::uint8_t, 2> tracked{}, used{}, rejected{};  // GPS, GLONASS
    FixTest test = FixTest::None;
    FixTest fTest = FixTest::None;
    FixTest wTest = FixTest::None;

    [[nodiscard]] bool IsFix() const { return test != FixTest::None; }
    // Each range was checked, with two observations to spare at least, and none failed.
    [[nodiscard]] bool IsChecked() const { return wTest == FixTest::Passed; }
    [[nodiscard]] int NmrUsed() const { return used[0] + used[1]; }
};

class RunSeries {
public:
    // How a satellite fared.
    struct Satellite {
        std::int64_t tracked = 0;  // epochs
        std::int64_t used = 0;
        std::int64_t rejected = 0;
        double largestW = 0.0;  // of those with which it was rejected
        GNSS::GPSTime largestAt;
        // Of the epochs in which it was used.
        double squares = 0.0;    // of its residuals, m2
        double variances = 0.0;  // of its range, m2
        double largestMde = 0.0;
        double largestEffect = 0.0;    // of such a fault, horizontally, m
        std::int64_t mostSuspect = 0;  // epochs in which its |w| was the largest
    };
    // How often a kind of note was there, whichever satellites it was about.
    struct NoteKind {
        std::string text;  // of the first
        std::int64_t epochs = 0;
        std::size_t lastEpoch = 0;  // counted from 1
    };
    using NoteKinds = std::map<int, NoteKind>;                     // by FixNote
    using Satellites = std::map<std::pair<bool, int>, Satellite>;  // by GLONASS or not, and number

    RunSeries() { history_.SetValidTime(Corvane::Time(1e11)); }

    void Add(const PublishedFix& fix, const FixFigures& figures);

    [[nodiscard]] const std::vector<RunEpoch>& GetEpochs() const { return epochs_; }
    [[nodiscard]] GNSS::GPSTime TimeOf(const RunEpoch& epoch) const { return start_ + Corvane::Time(epoch.time); }
    // The first and the last time there is, whatever the order of the epochs. Only when there are epochs.
    [[nodiscard]] GNSS::GPSTime GetStart() const { return start_ + Corvane::Time(first_); }
    [[nodiscard]] Corvane::Time GetSpan() const { return Corvane::Time(last_ - first_); }
    // Where the first fix was; nothing before there is one.
    [[nodiscard]] const std::optional<GNSS::ECEF>& GetOrigin() const { return origin_; }
    [[nodiscard]] GNSS::ECEF PlaceOf(const RunEpoch& epoch) const { return *origin_ + epoch.place; }
    [[nodiscard]] const Satellites& GetSatellites() const { return satellites_; }
    [[nodiscard]] const NoteKinds& GetNoteKinds() const { return noteKinds_; }
    // In GPS time.
    [[nodiscard]] const GNSS::Notes::History& GetHistory() const { return history_; }

    // Whether a position counts for mean, scatter and differences: those that are checked, or all where none is.
    [[nodiscard]] bool IsCounted(const RunEpoch& epoch) const {
        return nmrChecked_ > 0 ? epoch.IsChecked() : epoch.IsFix();
    }
    [[nodiscard]] std::int64_t NmrChecked() const { return nmrChecked_; }

    // The usual step between epochs, s: the median of the steps forwards; 0 with fewer than two epochs.
    [[nodiscard]] double GetInterval() const;
    // Whether epochs are missing between two: the step is longer than one and a half intervals, or backwards.
    [[nodiscard]] static bool IsGap(const RunEpoch& before, const RunEpoch& after, double interval) {
        const double step = after.time - before.time;
        return step < 0.0 || step > 1.5 * interval;
    }

private:
    std::vector<RunEpoch> epochs_;
    GNSS::GPSTime start_;  // of the first epoch
    double first_ = 0.0;   // s from start_
    double last_ = 0.0;
    std::optional<GNSS::ECEF> origin_;
    std::int64_t nmrChecked_ = 0;
    Satellites satellites_;
    NoteKinds noteKinds_;
    GNSS::Notes::History history_;
};

// The differences of a run's positions from a place, m: a grid at a reference that the user gave, or at the run's own
// mean.
class RunReference {
public:
    RunReference(const RunSeries& series, const std::optional<GNSS::ECEF>& given);

    [[nodiscard]] bool IsGiven() const { return isGiven_; }
    // Without a fix and a reference: of no use, and no figure of it counts.
    [[nodiscard]] const GNSS::LocalGrid& GetGrid() const { return grid_; }
    // East, north and up; NaN for an epoch without a fix.
    [[nodiscard]] std::array<double, 3> Difference(const RunSeries& series, const RunEpoch& epoch) const;
    // "the reference given", "the mean of the run"
    [[nodiscard]] const char* Describe() const { return isGiven_ ? "the reference given" : "the run's own mean"; }

private:
    bool isGiven_ = false;
    GNSS::LocalGrid grid_;
};

}  // namespace Host
