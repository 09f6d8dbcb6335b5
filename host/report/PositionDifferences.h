// How far a run's positions are from others: from the receiver's own, or from a place.
#pragma once

#include <array>
#include <cstdint>
#include <deque>
#include <optional>
#include <vector>

#include "gnss/geodesy/ECEF.h"
#include "gnss/platform/Time.h"
#include "gnss/time/GPSTime.h"
#include "host/fix/FixResult.h"
#include "host/receiver/ReceiverSink.h"

namespace Host {

// Differences in m. All zero without any.
struct DifferenceFigures {
    std::int64_t count = 0;
    std::array<double, 3> mean{};  // east, north, up, with their signs
    double horizontalMean = 0.0;   // of the distances
    double horizontalRms = 0.0;
    double horizontal95 = 0.0;  // 95 % are nearer
    double verticalRms = 0.0;
    double vertical95 = 0.0;
};

class DifferenceTally {
public:
    // East, north and up; what is not finite is left out.
    void Add(const std::array<double, 3>& difference);
    [[nodiscard]] DifferenceFigures Summarise() const;

private:
    std::array<double, 3> sum_{};
    std::array<double, 3> squares_{};
    double distances_ = 0.0;
    std::vector<float> horizontal_, vertical_;
};

// Finds our positions and the receiver's own that are of one time: of GPS time, as an epoch is dated by the receiver's
// clock, which may be milliseconds off, while its fix is dated without the clock's error. Either may come first, by
// less than Span.
class ReceiverComparison {
public:
    static constexpr Corvane::Time Span{5.0};
    static constexpr Corvane::Time SameTime{1e-3};

    void Add(const FixResult& result);
    // One fix may come in several messages; it counts where one has a place in three dimensions, and none says that the
    // receiver does not stand by it.
    void Add(const ReceiverFix& fix);
    // Once, behind the last.
    void Finish();

    // Of different times.
    [[nodiscard]] std::int64_t NmrReceiverFixes() const { return nmrFixes_; }
    // Ours minus the receiver's.
    [[nodiscard]] DifferenceFigures Summarise() const { return tally_.Summarise(); }

private:
    struct Placed {
        GNSS::GPSTime time;
        std::optional<GNSS::ECEF> place;
        bool isRefused = false;
    };

    void SettleBefore(const GNSS::GPSTime& time);
    void Settle(const Placed& theirs);

    std::deque<Placed> ours_, theirs_;
    std::int64_t nmrFixes_ = 0;
    DifferenceTally tally_;
};

// A part of the values, 0 to 1, is smaller; NaN of none. Reorders the values and drops those that are not finite.
[[nodiscard]] double Quantile(std::vector<double>& values, double part);

}  // namespace Host
