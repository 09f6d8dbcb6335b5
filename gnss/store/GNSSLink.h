// GNSS::GNSSLink: the types under which the stores' data travel on the links of a component tree.
#pragma once

#include "gnss/platform/Export.h"
#include "gnss/platform/Symbol.h"

namespace GNSS {

// Each type goes with one class. Both ends of a link name the type: who has decoded a record sends it on a link of the
// type that a store listens to, and who wants what a store holds makes a response of the type that it publishes. Only
// accepted changes of the almanac are published under the type that its store listens to: another store refuses, after
// the first time, what is not newer than its own.
//
// Health updates of all stores travel under SVHealth::Update::Type.
struct GNSS_EXPORT GNSSLink {
    // Almanac: a whole one, from the store.
    static const Corvane::Type AlmanacType;
    // The same class: a whole one that is to replace what a store holds. A type of its own, since the one that a store
    // keeps goes to whoever joins: an empty one of a second store would replace the first one's.
    static const Corvane::Type FullAlmanacType;
    // Almanac::Update: a changed record, to the store and, once it has been accepted, from it.
    static const Corvane::Type AlmanacUpdateType;
    // Almanac::Calculator, from the store.
    static const Corvane::Type AlmanacCalcType;

    // GPSEphemeride and Glonass::Ephemeride: a decoded record, to the stores.
    static const Corvane::Type GPSEphemerideType;
    static const Corvane::Type GlonassEphemerideType;
    // GPSEphemeris and Glonass::Ephemeris: a whole history, from the stores.
    static const Corvane::Type GPSEphemerisType;
    static const Corvane::Type GlonassEphemerisType;
    // The same classes: a whole history that is to replace what a store holds; likewise.
    static const Corvane::Type FullGPSEphemerisType;
    static const Corvane::Type FullGlonassEphemerisType;
    // GPSEphemerisCalc and Glonass::EphemerisCalc, from the stores.
    static const Corvane::Type GPSEphemerisCalcType;
    static const Corvane::Type GlonassEphemerisCalcType;
    // IODEData and TbData, from the stores and from whoever receives corrections.
    static const Corvane::Type IODEDataType;
    static const Corvane::Type TbDataType;
};

}  // namespace GNSS
