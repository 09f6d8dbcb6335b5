// GPSMeas: the measurement of a GPS signal, with its SV, Inner and Set. See SignalMeasurement.
// A GPSMeas::Set is copy-on-write: copies share one body until one of them is changed.
#pragma once

#include "gnss/measurement/SignalMeasurementSet.h"
#include "gnss/time/GPSFreqy.h"
#include "gnss/time/PRN.h"

namespace GNSS {

extern template bool SignalMeasurement<GPSSystem>::Write(Corvane::Stream::Output&) const;
extern template bool SignalMeasurement<GPSSystem>::Read(Corvane::Stream::Input&);
extern template class SignalMeasurement<GPSSystem>::SV;
extern template class SignalMeasurement<GPSSystem>::Inner;
extern template class SignalMeasurement<GPSSystem>::Set;

}  // namespace GNSS
