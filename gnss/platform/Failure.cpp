#include "gnss/platform/Failure.h"

#include <exception>

#include "gnss/platform/Event.h"

namespace Corvane {

namespace {

// Inside a catch block.
void AddEventOfException(Ident source, const char* what) {
    try {
        throw;
    } catch (const std::exception& exception) {
        Event::AddEvent(source.Print(), String(what) + " failed: " + exception.what());
    } catch (...) {
        Event::AddEvent(source.Print(), String(what) + " failed: unknown exception");
    }
}

}  // namespace

void TellFailure(Ident source, const char* what) noexcept {
    try {
        AddEventOfException(source, what);
    } catch (...) {  // NOLINT(bugprone-empty-catch): there is nobody left to tell
    }
}

}  // namespace Corvane
