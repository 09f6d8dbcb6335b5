// Places as people write them.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "gnss/geodesy/Geog.h"

namespace Host {

// A place on WGS 84 as people write it, its three parts separated by commas or blanks:
//   "55.4936,8.4568,60"                        latitude, longitude (degrees, north and east above zero), height (m)
//   "55 29 36.9 N, 8 27 24.6 E, 60"            degrees, minutes, seconds; with or without the marks of each
//   "3582105.29,532589.73,5232754.81"          X, Y and Z (m), earth-centred: three numbers that lie within 20 km
//                                              of the earth's surface
// The height may be left out, for 0, where it is not needed; longitudes go to 180, or to 360 as three numbers. Nothing
// when it is none of these or the height is not within 20 km of the ellipsoid.
[[nodiscard]] std::optional<GNSS::Geog> ParsePlace(std::string_view text, bool isHeightNeeded = false);

// "55.493600, 8.456800, 60.0 m"
[[nodiscard]] std::string PrintPlace(const GNSS::Geog& place);

inline constexpr const char* PlaceHelp =
    "the place: LAT,LON,HEIGHT in degrees and metres above the ellipsoid (55.4936,8.4568,60), with minutes and seconds "
    "(\"55 29 36.9 N 8 27 24.6 E 60\"), or earth-centred X,Y,Z in metres";

}  // namespace Host
