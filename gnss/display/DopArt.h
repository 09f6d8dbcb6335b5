// GNSS::DopArt: what the displays of satellites have in common.
#pragma once

#include <cstdint>

namespace GNSS {

struct DopArt {
    // Of which system a display shows satellites.
    enum Mode : std::int32_t {
        GPSOnly = 0,
        GlonassOnly = 1,
        Both = 2,
    };

    // A number that is no mode shows neither.
    [[nodiscard]] static constexpr bool ShowsGPS(Mode mode) { return mode == GPSOnly || mode == Both; }
    [[nodiscard]] static constexpr bool ShowsGlonass(Mode mode) { return mode == GlonassOnly || mode == Both; }
};

}  // namespace GNSS
