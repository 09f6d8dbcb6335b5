#include "gnss/platform/Failure.h"

#include <exception>

#include "gnss/platform/Event.h"

namespace Corvane {

void TellFailure(const String& source, const String& what) {
    try {
        throw;
    } catch (const std::exception& exception) {
        Event::AddEvent(source, what + " failed: " + exception.what());
    } catch (...) {
        Event::AddEvent(source, what + " failed: unknown exception");
    }
}

}  // namespace Corvane
