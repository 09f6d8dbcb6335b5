// The parity of GPS navigation words (IS-GPS-200, 20.3.5.2 and table 20-XIV).
#pragma once

#include <array>

namespace Host {

// The six parity bits D25 to D30, D30 in the lowest bit, of 24 data bits d1 to d24 (d24 in the lowest bit, as they were
// before the satellite inverted them), behind a word whose last two transmitted bits are D29* and D30*.
[[nodiscard]] unsigned GPSParityOf(unsigned data, bool d29, bool d30);

// Whether the ten words of a subframe agree with their parity: the data in bits 29 to 6, not inverted, the parity as
// transmitted in bits 5 to 0. The subframe before ends with two zeros, as every subframe does. Every error of one, two
// or three bits in a word is found.
[[nodiscard]] bool HasGPSParity(const std::array<unsigned long, 10>& words);

}  // namespace Host
