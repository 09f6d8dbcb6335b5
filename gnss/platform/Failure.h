// Where the platform tells what went wrong inside functions of the application's own.
#pragma once

#include "gnss/platform/Symbol.h"

namespace Corvane {

// Inside a catch block: tells the event log under the source "<what> failed: <the exception's text>". When that fails
// too, for want of memory, nothing is told: who has caught one exception must not have to deal with a second.
void TellFailure(Ident source, const char* what) noexcept;

}  // namespace Corvane
