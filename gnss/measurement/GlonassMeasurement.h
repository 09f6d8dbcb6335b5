// Glonass::Measurement: the measurement of a GLONASS signal, with its SV, Inner and Set. See SignalMeasurement.
// A Glonass::Measurement::Set is copy-on-write: copies share one body until one of them is changed.
#pragma once

#include "gnss/measurement/SignalMeasurementSet.h"
#include "gnss/time/GlonassFrequency.h"
#include "gnss/time/GlonassSlot.h"

namespace GNSS {

extern template bool SignalMeasurement<GlonassSystem>::Write(Corvane::Stream::Output&) const;
extern template bool SignalMeasurement<GlonassSystem>::Read(Corvane::Stream::Input&);
extern template class SignalMeasurement<GlonassSystem>::SV;
extern template class SignalMeasurement<GlonassSystem>::Inner;
extern template class SignalMeasurement<GlonassSystem>::Set;

}  // namespace GNSS
