// Glonass::Frequency: the GLONASS signals C/A, L1 and L2 with their frequencies and wavelengths, which depend on the
// satellite's frequency channel. See SignalFrequency.
#pragma once

#include "gnss/time/GlonassSystem.h"
#include "gnss/time/SignalFrequency.h"
