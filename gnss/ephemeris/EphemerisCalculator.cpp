#include "gnss/ephemeris/EphemerisCalculator.h"

#include <utility>

#include "gnss/ephemeris/GPSEphemerisCalc.h"
#include "gnss/ephemeris/GlonassEphemerisCalc.h"

namespace GNSS {

template <typename Rules>
EphemerisCalculator<Rules>::EphemerisCalculator(std::shared_ptr<const Implementation> implementation) {
    calculator_->implementation = std::move(implementation);
}

template <typename Rules>
void EphemerisCalculator<Rules>::SetImplementation(std::shared_ptr<const Implementation> implementation) {
    {
        const pt::mutexlock lock(calculator_->lock);
        calculator_->implementation.swap(implementation);
    }
    // The former one goes here, if nobody is asking it, outside the lock.
}

template <typename Rules>
std::shared_ptr<const typename EphemerisCalculator<Rules>::Implementation>
EphemerisCalculator<Rules>::GetImplementation() const {
    const pt::mutexlock lock(calculator_->lock);
    return calculator_->implementation;
}

template <typename Rules>
bool EphemerisCalculator<Rules>::CalculatePosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const auto implementation = GetImplementation()) return implementation->CalculatePosn(id, t, result);
    result.Reset();
    return false;
}

template <typename Rules>
bool EphemerisCalculator<Rules>::CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const auto implementation = GetImplementation()) return implementation->CalculateSecondPosn(id, t, result);
    result.Reset();
    return false;
}

template <typename Rules>
bool EphemerisCalculator<Rules>::CalculateHealthyPosn(const Id& id, const GPSTime& t, Result& result) const {
    Result calculated;
    if (!CalculatePosn(id, t, calculated) || !calculated.healthy) return false;
    result = calculated;
    return true;
}

template <typename Rules>
bool EphemerisCalculator<Rules>::Implementation::CalculateSecondPosn(const Id&, const GPSTime&, Result& result) const {
    result.Reset();
    return false;
}

template class EphemerisCalculator<GPSEphemerisRules>;
template class EphemerisCalculator<GlonassEphemerisRules>;

}  // namespace GNSS
