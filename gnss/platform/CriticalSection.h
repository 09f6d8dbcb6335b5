// The one lock of the process for moments of shared ownership.
#pragma once

#include "gnss/platform/Export.h"
#include "gnss/platform/Lock.h"

namespace Corvane {

// The lock under which the reference counts of copy-on-write bodies change and calculators are swapped; the same one
// for every library of the process, usable while they load and unload. Held for moments only: nothing is copied, freed,
// waited for or called back under it.
[[nodiscard]] GNSS_EXPORT pt::mutex& CriticalSection();

}  // namespace Corvane
