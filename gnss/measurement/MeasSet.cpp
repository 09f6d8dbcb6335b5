#include "gnss/measurement/MeasSet.h"

namespace GNSS {

const Corvane::Type MeasSet::Type("MeasSet");

}  // namespace GNSS
