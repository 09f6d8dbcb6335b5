#include "gnss/platform/TimeOfDay.h"

#include <algorithm>
#include <cmath>

namespace Corvane {

namespace {

constexpr double Day = 86400.0;

// Minutes since midnight to which a time belongs: the last one also holds the leap second.
int MinuteOfDay(double seconds) {
    if (!std::isfinite(seconds) || seconds < 0.0) return 0;
    return std::min(ToInt(seconds / 60.0), 24 * 60 - 1);
}

String Print(double printed, int decimals) {
    const int minute = MinuteOfDay(printed);
    return String::FormatInt(minute / 60, 2, true) + ":" + String::FormatInt(minute % 60, 2, true) + ":" +
           String::FormatReal(printed - minute * 60.0, 2, decimals, true);
}

}  // namespace

int TimeOfDay::Hour() const {
    return MinuteOfDay(seconds_) / 60;
}

int TimeOfDay::Minute() const {
    return MinuteOfDay(seconds_) % 60;
}

double TimeOfDay::SecondOfMinute() const {
    return std::isfinite(seconds_) && seconds_ >= 0.0 ? seconds_ - MinuteOfDay(seconds_) * 60.0 : 0.0;
}

String TimeOfDay::PrintRound(int decimals) const {
    if (!std::isfinite(seconds_) || seconds_ < 0.0) return String::FormatReal(seconds_, -1, decimals);
    const double rounded = round(seconds_, decimals);
    // Rounding may not turn the last instant of an ordinary day into a leap second, nor that into one second more.
    const double end = seconds_ < Day ? Day : std::floor(seconds_) + 1.0;
    if (rounded >= end) return String("24:00:") + String::FormatReal(0.0, 2, decimals, true);
    return Print(rounded, decimals);
}

String TimeOfDay::PrintTrunc(int decimals) const {
    if (!std::isfinite(seconds_) || seconds_ < 0.0)
        return String::FormatReal(truncate(seconds_, decimals), -1, decimals);
    return Print(truncate(seconds_, decimals), decimals);
}

}  // namespace Corvane
