#include "gnss/measurement/SignalMeasurementSet.h"

#include <utility>

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"

namespace GNSS {

template <typename System>
bool SignalMeasurement<System>::Set::Read(Corvane::Stream::Input& input) {
    return Corvane::Stream::Succeeds([&] {
        Inner read;
        if (!read.Read(input)) return false;
        // A new body: the other handles of the old one keep it, and nobody copies it in vain.
        inner_ = Corvane::CopyOnWrite<Inner>(std::in_place, std::move(read));
        return true;
    });
}

template class SignalMeasurement<GPSSystem>::Set;
template class SignalMeasurement<GlonassSystem>::Set;

}  // namespace GNSS
