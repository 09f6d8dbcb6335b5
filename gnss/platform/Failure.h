// Where the platform tells what went wrong inside functions of the application's own.
#pragma once

#include "gnss/platform/String.h"

namespace Corvane {

// Inside a catch block: tells the event log under the source "<what> failed: <the exception's text>".
void TellFailure(const String& source, const String& what);

}  // namespace Corvane
