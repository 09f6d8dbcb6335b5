#include "host/report/PositionDifferences.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"

namespace Host {

using Corvane::Time;
using GNSS::GPSTime;

namespace {

constexpr double SpeedOfLight = 299792458.0;  // m/s
// However strange the times are.
constexpr std::size_t MaxKept = 4096;

bool IsWithin(const GPSTime& a, const GPSTime& b, Time span) {
    return std::abs((a - b).Seconds()) <= span.Seconds();
}

}  // namespace

double Quantile(std::vector<double>& values, double part) {
    std::erase_if(values, [](double value) { return !std::isfinite(value); });
    if (values.empty()) return std::numeric_limits<double>::quiet_NaN();
    std::ranges::sort(values);
    const double at = part * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(at);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return values[below] + (at - static_cast<double>(below)) * (values[above] - values[below]);
}

void DifferenceTally::Add(const std::array<double, 3>& difference) {
    const double horizontal = std::hypot(difference[0], difference[1]);
    if (!std::isfinite(horizontal + difference[2])) return;
    for (std::size_t i = 0; i < difference.size(); ++i) {
        sum_[i] += difference[i];
        squares_[i] += difference[i] * difference[i];
    }
    distances_ += horizontal;
    horizontal_.push_back(static_cast<float>(horizontal));
    vertical_.push_back(static_cast<float>(std::abs(difference[2])));
}

DifferenceFigures DifferenceTally::Summarise() const {
    DifferenceFigures figures;
    figures.count = static_cast<std::int64_t>(horizontal_.size());
    if (horizontal_.empty()) return figures;
    const auto n = static_cast<double>(horizontal_.size());
    for (std::size_t i = 0; i < sum_.size(); ++i) figures.mean[i] = sum_[i] / n;
    figures.horizontalMean = distances_ / n;
    figures.horizontalRms = std::sqrt((squares_[0] + squares_[1]) / n);
    figures.verticalRms = std::sqrt(squares_[2] / n);
    std::vector<double> values(horizontal_.begin(), horizontal_.end());
    figures.horizontal95 = Quantile(values, 0.95);
    values.assign(vertical_.begin(), vertical_.end());
    figures.vertical95 = Quantile(values, 0.95);
    return figures;
}

void ReceiverComparison::Add(const FixResult& result) {
    if (!result.valid) return;
    const double clock = result.clockGPS ? *result.clockGPS : result.clockGlonass.value_or(0.0);
    const GPSTime time = result.time - Time(clock / SpeedOfLight);
    SettleBefore(time);
    ours_.push_back({time, result.ecef, false});
}

void ReceiverComparison::Add(const ReceiverFix& fix) {
    if (!fix.time) return;
    SettleBefore(*fix.time);
    const auto same =
        std::ranges::find_if(theirs_, [&](const Placed& each) { return IsWithin(each.time, *fix.time, SameTime); });
    Placed& theirs = same != theirs_.end() ? *same : theirs_.emplace_back(Placed{*fix.time, std::nullopt, false});
    // A message that says nothing of the kind of fix leaves that to the others.
    constexpr int ThreeDimensional = 3;
    if (fix.type != 0 && (fix.type != ThreeDimensional || !fix.valid)) theirs.isRefused = true;
    if (theirs.place || !fix.latitude || !fix.longitude || !fix.height) return;
    const GNSS::Geog geog(Corvane::Angle::FromDegrees(*fix.latitude), Corvane::Angle::FromDegrees(*fix.longitude),
                          *fix.height);
    theirs.place = GNSS::LocalGrid(geog, GNSS::Spheroid::WGS84).GetOriginECEF();
}

void ReceiverComparison::Finish() {
    for (const Placed& theirs : theirs_) Settle(theirs);
    theirs_.clear();
    ours_.clear();
}

// Whatever is far from a time, on either side, has no partner to come. Ours stay longer: theirs are settled with them.
void ReceiverComparison::SettleBefore(const GPSTime& time) {
    const auto isPast = [&](const std::deque<Placed>& kept, Time span) {
        return !kept.empty() && (kept.size() > MaxKept || !IsWithin(kept.front().time, time, span));
    };
    while (isPast(theirs_, Span)) {
        Settle(theirs_.front());
        theirs_.pop_front();
    }
    while (isPast(ours_, 2.0 * Span)) ours_.pop_front();
}

void ReceiverComparison::Settle(const Placed& theirs) {
    if (!theirs.place || theirs.isRefused) return;
    ++nmrFixes_;
    const auto ours =
        std::ranges::find_if(ours_, [&](const Placed& each) { return IsWithin(each.time, theirs.time, SameTime); });
    if (ours == ours_.end()) return;
    const GNSS::LocalGrid grid(*theirs.place, GNSS::Spheroid::WGS84);
    const GNSS::Grid::Delta delta = grid.GetGridDelta(*ours->place);
    tally_.Add({delta.GetEast(), delta.GetNorth(), delta.GetHeight()});
}

}  // namespace Host
