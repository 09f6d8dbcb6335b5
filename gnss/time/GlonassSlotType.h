// Glonass::SlotType: a Glonass::Slot as a type of host parameters, named "Slot". See SatelliteIdType.
#pragma once

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/SatelliteIdType.h"
