// What is particular to GPS among the satellite identifiers and signals (IS-GPS-200, 3.3.1.1 and 20.3.3.5.1).
#pragma once

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"

namespace GNSS {

struct GNSS_EXPORT GPSSystem {
    // Name of the host parameter type that holds an identifier.
    static constexpr const char* IdTypeName = "PRN";
    // Satellites are numbered 1 to LastNumber and print with the letter in front.
    static constexpr char Letter = 'G';
    static constexpr int LastNumber = 32;
    // The 5-bit satellite fields of the message write satellite 32 as 0, so the number 0 means 32 wherever a number is
    // set. Intended for GPS only: GLONASS numbers its slots without such a field.
    static constexpr bool HasFiveBitForm = true;

    // Carrier frequencies in Hz. Every satellite sends on the same ones.
    static constexpr bool HasChannels = false;
    static constexpr double L1Frequency = 1.57542e9;
    static constexpr double L1Step = 0.0;
    static constexpr double L2Frequency = 1.2276e9;
    static constexpr double L2Step = 0.0;

    // Factors of the ionosphere-free combination (IS-GPS-200, 20.3.3.3.3.3), members of GPSFreqy.
    struct SignalConstants {
        // The square of the ratio of L1 to L2: (1575.42 / 1227.6)^2.
        static constexpr double Gamma = 1.6469444444444445;
        // 1 / (1 - Gamma), with the rounding that the combination has always been computed with.
        static constexpr double GammaDivisor = -1.54572778016316;
    };
};

}  // namespace GNSS
