// PRNType: a PRN as a type of host parameters, named "PRN". See SatelliteIdType.
#pragma once

#include "gnss/time/PRN.h"
#include "gnss/time/SatelliteIdType.h"
