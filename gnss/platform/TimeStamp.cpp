#include "gnss/platform/TimeStamp.h"

#include "gnss/platform/Clock.h"

namespace Corvane {

TimeStamp TimeStamp::AfterNow(std::int64_t milliseconds) {
    std::int64_t sum = 0;
    if (__builtin_add_overflow(pt::now(), milliseconds, &sum)) sum = milliseconds < 0 ? INT64_MIN : INT64_MAX;
    return TimeStamp(sum);
}

bool TimeStamp::HasExpired() const {
    return pt::now() >= milliseconds_;
}

std::int64_t operator-(TimeStamp a, TimeStamp b) {
    std::int64_t difference = 0;
    if (__builtin_sub_overflow(a.milliseconds_, b.milliseconds_, &difference)) {
        return a < b ? INT64_MIN : INT64_MAX;
    }
    return difference;
}

}  // namespace Corvane
