// The satellites of both systems and the frequencies on which they send.
#include <iostream>

#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

int main() {
    using GNSS::Glonass::Frequency;
    using GNSS::Glonass::Slot;
    std::cout << "GPS from " << GNSS::PRN::First.Print() << " to " << GNSS::PRN::Last.Print() << ", GLONASS from "
              << Slot::First.Print() << " to " << Slot::Last.Print() << '\n';
    GNSS::PRN::List seen;
    for (int number = 3; number < 30; number += 11) seen.Add(GNSS::PRN(number));
    std::cout << "a list of satellites: " << seen.Print() << '\n';
    for (const GNSS::GPSFreqy signal : {GNSS::GPSFreqy::L1, GNSS::GPSFreqy::L2}) {
        std::cout << "GPS " << signal.GetName() << ": " << signal.GetFrequency() / 1e6 << " MHz, "
                  << signal.GetWaveLength() * 100.0 << " cm\n";
    }
    // The satellites of GLONASS tell themselves apart by frequency; opposite ones of an orbit share a channel.
    for (int channel = -7; channel <= 6; ++channel) {
        std::cout << "GLONASS channel " << Corvane::String::FormatInt(channel, 2) << ": L1 "
                  << Corvane::String::FormatReal(Frequency::L1.GetChannelFrequency(channel) / 1e6, -1, 4) << " MHz, L2 "
                  << Corvane::String::FormatReal(Frequency::L2.GetChannelFrequency(channel) / 1e6, -1, 4) << " MHz\n";
    }
}
