#include "gnss/health/SVHealth.h"

#include <utility>

#include "gnss/health/SVHealthUpdate.h"

namespace GNSS {

bool SVHealth::Refresh(const Update& update) {
    switch (update.GetMode()) {
        case Update::Enable:
            return !std::exchange(enabled_, true);
        case Update::Disable:
            return std::exchange(enabled_, false);
        case Update::AlmanacHealth:
            return std::exchange(almanac_, update.GetHealth()) != almanac_;
        case Update::EphemerisHealth:
            return std::exchange(ephemeris_, update.GetHealth()) != ephemeris_;
        case Update::Unknown:
            break;
    }
    return false;
}

}  // namespace GNSS
