#include "host/receiver/GlonassHamming.h"

namespace Host {

bool HasGlonassCheck(const GNSS::ICDGlonass::String& bits) {
    // The data bits 9 to 85 have the positions of a Hamming code, 3, 5, 6, 7, 9 and so on, its check bits 1 to 7 the
    // powers of two between them. The sum of the positions of all ones is then zero in each binary digit, which is what
    // the document's checksums C1 to C7 say one by one.
    unsigned position = 3;
    unsigned sum = 0;
    unsigned ones = 0;
    for (int n = 9; n <= 85; ++n, ++position) {
        if ((position & (position - 1)) == 0) ++position;
        if (bits.GetBit(n) == 0) continue;
        sum ^= position;
        ++ones;
    }
    const unsigned check = static_cast<unsigned>(bits.GetUnsigned(1, 8));
    for (unsigned rest = check; rest != 0; rest &= rest - 1) ++ones;
    return sum == (check & 0x7FU) && ones % 2 == 0;
}

}  // namespace Host
