// Numbers and spans as text, whatever the locale.
#pragma once

#include <string_view>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/Time.h"

namespace Corvane::TextIO {

// The shortest decimal text that reads back as the same number.
[[nodiscard]] GNSS_EXPORT String Print(double value);
// The span's seconds.
[[nodiscard]] GNSS_EXPORT String Print(Time span);

// The number that a text begins with, after blanks and an optional sign, decimal point only; 0 when there is none
// ("1.5 s" gives 1.5, "x" gives 0), and the largest number or 0 beyond the range of a double.
[[nodiscard]] GNSS_EXPORT double ToDouble(std::string_view text);

}  // namespace Corvane::TextIO
