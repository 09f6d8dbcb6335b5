#include "gnss/platform/CriticalSection.h"

namespace Corvane {

namespace {

constinit pt::mutex criticalSection;

}  // namespace

pt::mutex& CriticalSection() {
    return criticalSection;
}

}  // namespace Corvane
