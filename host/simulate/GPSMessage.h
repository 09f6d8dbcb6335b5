// The navigation message of a GPS satellite, from its contents to its bits.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "host/simulate/BroadcastOrbit.h"

namespace Host {

// What a subframe is made of, 24 data bits to a word. Bits are numbered as in IS-GPS-200, from 1 at the first one sent.
class GPSSubframeBits {
public:
    static constexpr std::size_t Words = 10;

    // A row of the document's figures: the word, the first bit and how many; of a field in two parts the second is the
    // less significant one.
    struct Place {
        int word = 0;
        int first = 0;
        int width = 0;
    };
    // The telemetry and hand-over words: subframe 1 to 5, that begins at a multiple of 6 s of the week.
    GPSSubframeBits(int subframe, double secondsOfWeek);

    void Put(const Place& place, std::int64_t number);
    // Rounded to whole units, in two's complement. A value that the field cannot hold becomes the nearest that it can.
    void Put(const Place& place, double value, double unit, bool isSigned, const Place& rest);
    void Put(const Place& place, double value, double unit, bool isSigned) {
        Put(place, value, unit, isSigned, Place{});
    }

    // The words as they are sent: parity in the lowest six bits, and where the last bit of the word before was 1, the
    // data inverted. The last words of the two halves end with two zeros, as each subframe's do.
    [[nodiscard]] std::array<std::uint32_t, Words> GetTransmitted() const;

private:
    std::array<std::uint32_t, Words> data_{};
};

// Subframes 1 to 3.
struct GPSBroadcast {
    int week = 0;      // of transmission, full
    double toe = 0.0;  // seconds of week; toc is the same
    int issue = 0;     // IODC, whose lower eight bits are the IODE
    int health = 0;
    int accuracy = 0;  // URA index
    double groupDelay = 0.0;
    double af0 = 0.0, af1 = 0.0, af2 = 0.0;
    BroadcastOrbit orbit;
};
[[nodiscard]] GPSSubframeBits MakeSubframe(const GPSBroadcast& broadcast, int subframe, double secondsOfWeek);

// A satellite's page of the almanac, in subframe 4 or 5.
struct GPSAlmanacPage {
    int prn = 0;
    double toa = 0.0;  // seconds of week, a multiple of 4096
    int health = 0;    // 8 bits
    double af0 = 0.0, af1 = 0.0;
    BroadcastOrbit orbit;
};
[[nodiscard]] GPSSubframeBits MakeAlmanacPage(const GPSAlmanacPage& page, int subframe, double secondsOfWeek);
// Page 18 of subframe 4.
[[nodiscard]] GPSSubframeBits MakeIonoUTCPage(const GNSS::Almanac::Iono& iono, const GNSS::Almanac::UTC& utc,
                                              double secondsOfWeek);
// Page 25 of both: of subframe 5 with toa and its week, in each the health (6 bits) of 24 or 8 satellites.
[[nodiscard]] GPSSubframeBits MakeHealthPage(int subframe, double toa, int weekOfAlmanac,
                                             const std::array<int, 33>& health, double secondsOfWeek);
// The special message, page 17 of subframe 4: 22 characters.
[[nodiscard]] GPSSubframeBits MakeTextPage(std::string_view text, double secondsOfWeek);
// A page that says nothing, of an SV ID.
[[nodiscard]] GPSSubframeBits MakeEmptyPage(int subframe, int svId, double secondsOfWeek);

}  // namespace Host
