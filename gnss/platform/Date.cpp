#include "gnss/platform/Date.h"

#include <array>

namespace Corvane {

String DayOfWeek::Name() const {
    constexpr std::array Names = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
    return Names[static_cast<std::size_t>(day_)];
}

}  // namespace Corvane
