#include "gnss/platform/Failure.h"

#include <exception>
#include <iostream>

namespace Corvane {

namespace {

// The one place that tells: becomes Event::AddEvent(source, text) where there is an event log.
void Tell(const String& source, const String& text) {
    std::cerr << (source + ": " + text + "\n");
}

}  // namespace

void TellFailure(const String& source, const String& what) {
    try {
        throw;
    } catch (const std::exception& exception) {
        Tell(source, what + " failed: " + exception.what());
    } catch (...) {
        Tell(source, what + " failed: unknown exception");
    }
}

}  // namespace Corvane
