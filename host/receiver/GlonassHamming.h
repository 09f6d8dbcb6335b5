// The Hamming check of GLONASS strings (GLONASS interface control document, edition 5.1, 4.7).
#pragma once

#include "gnss/icd/ICDGlonass.h"

namespace Host {

// Whether the 85 bits of a string agree with their eight check bits (bits 1 to 8). Every error of one, two or three
// bits is found. The document also corrects an error of a single bit; that is not done, because three or more errors
// often look like one, and the string comes again within 30 s or 2.5 minutes.
[[nodiscard]] bool HasGlonassCheck(const GNSS::ICDGlonass::String& bits);

}  // namespace Host
