// UbxWriter: messages of the UBX protocol, as a receiver sends them.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include "gnss/icd/ICDGlonass.h"
#include "gnss/time/GPSTime.h"

namespace Host {

// One signal of L1 at an epoch.
struct UbxMeasurement {
    char system = 'G';
    int number = 0;
    int channel = 0;         // of GLONASS
    double range = 0.0;      // m
    double phase = 0.0;      // cycles
    double doppler = 0.0;    // Hz
    int snr = 0;             // dB-Hz
    double rangeSD = 0.0;    // m
    double phaseSD = 0.0;    // cycles
    double dopplerSD = 0.0;  // Hz
    double lockTime = 0.0;   // s
};

// Each appends a message to the bytes. See UbxDecoder.h for the documents.
class UbxWriter {
public:
    explicit UbxWriter(std::string& bytes) : bytes_(bytes) {}

    // NAV-TIMEGPS, with the leap seconds.
    void WriteTime(const GNSS::GPSTime& time, int leapSeconds);
    // RXM-RAWX. `reset` tells of a jump of the receiver's clock.
    void WriteMeasurements(const GNSS::GPSTime& time, int leapSeconds, bool reset,
                           std::span<const UbxMeasurement> measurements);
    // RXM-SFRBX of a subframe as it was transmitted: the receiver turns each word back by the last bit before it.
    void WriteSubframe(int prn, const std::array<std::uint32_t, 10>& transmitted);
    // RXM-SFRBX of a string, with the frame that it is from, 1 to 5.
    void WriteString(int slot, int channel, int frame, const GNSS::ICDGlonass::String& string);

private:
    void Begin(std::uint32_t kind);
    template <typename Number>
    void Put(Number number);
    void Finish();

    std::string& bytes_;
    std::size_t begin_ = 0;
};

}  // namespace Host
