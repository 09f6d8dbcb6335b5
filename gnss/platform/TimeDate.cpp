#include "gnss/platform/TimeDate.h"

#include <cmath>

namespace Corvane {

TimeDate operator+(const TimeDate& instant, Time span) {
    const double sum = instant.time_.Seconds() + span.Seconds();
    // Most spans stay within the day or reach the next: no remainder to take, and these differences are exact.
    if (sum >= 0.0 && sum < 86400.0) return {instant.date_, TimeOfDay(sum)};
    if (sum >= 86400.0 && sum < 172800.0) return {instant.date_ + 1, TimeOfDay(sum - 86400.0)};
    if (!std::isfinite(sum)) return {instant.date_, TimeOfDay(std::nan(""))};
    const double rest = modulo(sum, 86400.0);
    // Days from what the remainder left over, so that the two always agree.
    return {instant.date_ + ToInt64(std::round((sum - rest) / 86400.0)), TimeOfDay(rest)};
}

String TimeDate::Print(int decimals) const {
    Date date = date_;
    String time = time_.PrintRound(decimals);
    if (time.StartsWith("24")) {
        date = date + 1;
        time = TimeOfDay(0.0).PrintRound(decimals);
    }
    return String::FormatInt(date.Year(), 4, true) + "-" + String::FormatInt(date.Month(), 2, true) + "-" +
           String::FormatInt(date.Day(), 2, true) + " " + time;
}

}  // namespace Corvane
