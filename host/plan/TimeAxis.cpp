#include "host/plan/TimeAxis.h"

#include <algorithm>
#include <cmath>

#include "gnss/platform/Number.h"

namespace Host {

using Corvane::Time;
using GNSS::GPSTime;

namespace {

constexpr double LabelWidth = 60.0;  // pixels that a label takes with the space beside it

constexpr std::int32_t DateWidth = 100;  // and a date

// Seconds between ticks.
constexpr double Steps[] = {1,    2,    5,    10,    15,    30,    60,    120,    300,    600,    900,
                            1800, 3600, 7200, 10800, 21600, 43200, 86400, 172800, 432000, 864000, 1728000};

}  // namespace

std::int32_t TimeAxis::Place(const GPSTime& time) const {
    const double part = span_ > Time::Zero ? (time - from_) / span_ : 0.0;
    return left_ + Corvane::ToInt(std::round(std::clamp(part, 0.0, 1.0) * width_));
}

std::vector<TimeAxis::Tick> TimeAxis::Ticks() const {
    std::vector<Tick> ticks;
    if (width_ <= 0 || !(span_ >= Time::Zero)) return ticks;
    double step = Steps[std::size(Steps) - 1];
    for (const double candidate : Steps) {
        if (span_.Seconds() / candidate * LabelWidth > width_) continue;
        step = candidate;
        break;
    }
    const bool isOfDays = step >= GPSTime::SecsInDay;
    const bool hasSeconds = step < 60.0;
    // Counted from the start of GPS time, a midnight.
    const double start = from_.GetWeek() * GPSTime::SecsInWeek + from_.GetSeconds();
    const double first = std::ceil(start / step - 1e-9) * step;
    for (std::int64_t i = 0; static_cast<double>(i) * step <= start + span_.Seconds() - first + 1e-6; ++i) {
        GPSTime time = GPSTime::Zero + Time(first + static_cast<double>(i) * step);
        time.Round(0);
        const std::string text = time.GetTimeDate().Print(0).str();  // "2020-06-25 06:30:00"
        Tick& tick = ticks.emplace_back();
        tick.x = Place(time);
        tick.label = isOfDays ? text.substr(5, 5) : text.substr(11, hasSeconds ? 8 : 5);
        if (!isOfDays && time.GetSeconds() == time.GetDay() * GPSTime::SecsInDay) tick.date = text.substr(0, 10);
    }
    // The first day has its date, too, unless a midnight's stands there.
    const auto hasDateNear = [&ticks](const Tick& tick) {
        return !tick.date.empty() && tick.x - ticks.front().x < DateWidth;
    };
    if (!isOfDays && !ticks.empty() && std::ranges::none_of(ticks, hasDateNear))
        ticks.front().date = from_.GetTimeDate().Print(0).str().substr(0, 10);
    return ticks;
}

}  // namespace Host
