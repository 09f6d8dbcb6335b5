#include "host/stores/Navigation.h"

#include "gnss/store/GNSSLink.h"

namespace Host {

using GNSS::GNSSLink;

Navigation::Navigation()
    : Component(Corvane::Ident(Name), CycleMS),
      gpsLink_(*this, GNSSLink::GPSEphemerideType, Name),
      glonassLink_(*this, GNSSLink::GlonassEphemerideType, Name),
      almanacLink_(*this, GNSSLink::AlmanacUpdateType, Name) {}

}  // namespace Host
