// What is particular to GLONASS among the satellite identifiers and signals (GLONASS ICD 5.1, 3.3.1.1).
#pragma once

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"

namespace GNSS {

struct GNSS_EXPORT GlonassSystem {
    // Name of the host parameter type that holds an identifier.
    static constexpr const char* IdTypeName = "Slot";
    // Orbital slots are numbered 1 to LastNumber and print with the letter in front; the number 0 is no slot.
    static constexpr char Letter = 'R';
    static constexpr int LastNumber = 24;
    static constexpr bool HasFiveBitForm = false;

    // Carrier frequencies of channel 0 and the spacing of the channels, in Hz. Each satellite has a channel, -7 to 24.
    static constexpr bool HasChannels = true;
    static constexpr double L1Frequency = 1.602e9;
    static constexpr double L1Step = 562500.0;
    static constexpr double L2Frequency = 1.246e9;
    static constexpr double L2Step = 437500.0;

    struct SignalConstants {};
};

}  // namespace GNSS
