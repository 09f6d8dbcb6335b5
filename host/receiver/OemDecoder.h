// OemDecoder: the binary messages of NovAtel OEM receivers.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/time/GPSTime.h"
#include "host/receiver/OverlappingRuns.h"
#include "host/receiver/StreamDecoder.h"

namespace Host {

// Messages begin with AA 44 12 and a long header or AA 44 13 and a short one, and end with a CRC-32 over all before it
// (OEM family firmware reference manual, "Binary", "Short Binary" and "32-Bit CRC"). By their number:
//
//     8  IONUTC          ionosphere and UTC; leap seconds where no change of them is announced
//    25  RAWGPSSUBFRAME  a subframe
//    41  RAWEPHEM        subframes 1 to 3
//    42  BESTPOS         a fix; one that was not computed is delivered as none, without a place
//    43  RANGE           an epoch of measurements
//    74  RAWALM          pages of subframes 4 and 5, from no particular satellite: their PRN is null
//   140  RANGECMP        an epoch of measurements, compressed
//   722  GLORAWSTRING    a string; the frame is not told
//   723  GLOEPHEMERIS    a decoded ephemeride, and the leap seconds in it
//
// All others are counted. So are, without being read, the answers to commands, what comes from a second antenna, and
// messages with a short header, which none of the above have.
//
// Time   The header's, when its status is fine or better; before that the receiver's week is a guess, or 0, and its
//        epochs are not delivered, nor are its fixes dated; below coarse the time is lost. Messages that repeat what a
//        satellite has sent carry that satellite's time, which lags; it is told only where it does not take the
//        stream's time back.
// Ranges Satellites of other systems, and numbers that are no satellite's, are left out. C/A is C/A; L2 is the P code
//        of a satellite if it is measured, or else its civil code. A range without code lock and a phase or Doppler
//        without phase lock are left out and warned of, a phase that may be wrong by half a cycle is warned of. The
//        phase of RANGECMP, told modulo 2^23 cycles, is taken nearest to the range, and left out where there is none.
class OemDecoder : public StreamDecoder {
public:
    // Longer messages than any that receivers send are taken for noise: a start and a length that are not what they
    // seem hold back no more than this.
    static constexpr std::size_t MaxBody = 16384;

    using StreamDecoder::StreamDecoder;

    [[nodiscard]] std::string GetKindName(std::uint32_t kind) const override;

protected:
    [[nodiscard]] std::size_t FindStart(std::string_view bytes) const override;
    void OnMoved() override { runs_.Restart(); }
    [[nodiscard]] Frame Inspect(std::string_view bytes) override;
    [[nodiscard]] bool Decode(std::uint32_t kind, std::string_view message) override;

private:
    // CRC-32 with a register that begins with zeros and is not inverted at the end.
    struct Crc {
        using Sum = std::uint32_t;
        static Sum Of(std::string_view run);
        static Sum Step(Sum sum, char c);
        static Sum Between(Sum before, Sum all, std::size_t n);
    };

    [[nodiscard]] bool DecodeBody(std::uint32_t kind, std::string_view body);
    [[nodiscard]] bool DecodeAlmanac(std::string_view body);
    void TellMessageTime();

    OverlappingRuns<Crc> runs_;
    // Of the message at hand.
    std::optional<GNSS::GPSTime> time_;
    bool isSatelliteTime_ = false;
};

}  // namespace Host
