// GPSFreqy: the GPS signals C/A, L1 and L2 with their frequencies and wavelengths. See SignalFrequency.
#pragma once

#include "gnss/time/GPSSystem.h"
#include "gnss/time/SignalFrequency.h"
