// GlonassWords: what coded words of the GLONASS message stand for.
#pragma once

#include <array>
#include <cstddef>

namespace Host {

// Metres that the accuracy index F_T stands for (GLONASS interface control document, edition 5.1, table 4.4); 15 is
// none.
inline constexpr std::array<double, 15> GlonassAccuracyMetres{1,  2,  2.5, 4,  5,   7,   10, 12,
                                                              14, 16, 32,  64, 128, 256, 512};
// Minutes between the tb of successive records, by the word P1 (table 4.3).
inline constexpr std::array<int, 4> GlonassP1Minutes{0, 30, 45, 60};

}  // namespace Host
