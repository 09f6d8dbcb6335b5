// Latitude and longitude text: whatever is read without failure prints, and reads back as printed.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "gnss/time/Latitude.h"
#include "gnss/time/Longitude.h"

namespace {

template <typename Value>
void Check(const std::string& text, double limit) {
    const Value before(12.5);
    Value value = before;
    std::istringstream is(text);
    value.ScanFrom(is);
    if (is.fail()) {
        if (value != before) std::abort();
        return;
    }
    if (!(std::abs(value.GetAngle().Degrees()) <= limit)) std::abort();
    for (const int decimals : {0, 3, 10}) {
        Value back;
        std::istringstream printed(value.Print(decimals).str());
        back.ScanFrom(printed);
        const double error = std::abs(std::remainder((back - value).Degrees(), 360.0));
        if (printed.fail() || error > (0.5 * std::pow(10.0, -decimals) + 1e-9) / 3600.0) std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    Check<GNSS::Latitude>(text, 90.0);
    Check<GNSS::Longitude>(text, 180.0);
    return 0;
}
