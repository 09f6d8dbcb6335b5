#include "gnss/ephemeris/EphemerisCalculator.h"

#include <utility>

#include "gnss/ephemeris/GPSEphemerisCalc.h"
#include "gnss/ephemeris/GlonassEphemerisCalc.h"

namespace GNSS {

template <typename System>
EphemerisCalculator<System>::EphemerisCalculator(std::shared_ptr<const Implementation> implementation) {
    calculator_->implementation = std::move(implementation);
}

template <typename System>
void EphemerisCalculator<System>::SetImplementation(std::shared_ptr<const Implementation> implementation) {
    {
        const pt::mutexlock lock(calculator_->lock);
        calculator_->implementation.swap(implementation);
    }
    // The former one goes here, if nobody is asking it, outside the lock.
}

template <typename System>
std::shared_ptr<const typename EphemerisCalculator<System>::Implementation>
EphemerisCalculator<System>::GetImplementation() const {
    const pt::mutexlock lock(calculator_->lock);
    return calculator_->implementation;
}

template <typename System>
bool EphemerisCalculator<System>::CalculatePosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const auto implementation = GetImplementation()) return implementation->CalculatePosn(id, t, result);
    result.Reset();
    return false;
}

template <typename System>
bool EphemerisCalculator<System>::CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const auto implementation = GetImplementation()) return implementation->CalculateSecondPosn(id, t, result);
    result.Reset();
    return false;
}

template <typename System>
bool EphemerisCalculator<System>::CalculateHealthyPosn(const Id& id, const GPSTime& t, Result& result) const {
    Result calculated;
    if (!CalculatePosn(id, t, calculated) || !calculated.healthy) return false;
    result = calculated;
    return true;
}

template <typename System>
bool EphemerisCalculator<System>::Implementation::CalculateSecondPosn(const Id&, const GPSTime&, Result& result) const {
    result.Reset();
    return false;
}

template class EphemerisCalculator<GPSSystem>;
template class EphemerisCalculator<GlonassSystem>;

}  // namespace GNSS
