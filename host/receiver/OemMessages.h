// OemMessages: what the bodies of OEM messages say. For OemDecoder.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/measurement/MeasSet.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/ReceiverSink.h"

// Each function reads one body, without header and checksum. Nothing or false: the body is too short, or says what
// cannot be. Bodies may be longer than what is known of them; later firmware appends fields.
namespace Host::Oem {

// Satellite numbers 38 to 61 are GLONASS slots.
inline constexpr int SlotOffset = 37;

enum Message : std::uint16_t {
    IonUTC = 8,
    RawGPSSubframe = 25,
    RawEphem = 41,
    BestPos = 42,
    Range = 43,
    RawAlm = 74,
    RangeCmp = 140,
    GloRawString = 722,
    GloEphemeris = 723,
};

// The time of a header, in whose milliseconds of the week the binary messages count. Nothing in week 0, after MaxWeek,
// and outside the week.
[[nodiscard]] std::optional<GNSS::GPSTime> MakeTime(std::uint32_t week, std::uint32_t milliseconds);

// RAWEPHEM: subframes 1 to 3 of one satellite. The receiver joins those of one issue from different frames; their TOW
// counts become those of the newest of these frames, so that they follow each other.
[[nodiscard]] std::optional<std::array<GPSSubframe, 3>> ReadRawEphem(std::string_view body);
[[nodiscard]] std::optional<GPSSubframe> ReadRawGPSSubframe(std::string_view body);

// RAWALM, of which two forms are known: with the 30 bytes of whole subframes, in 32 for each page; and with 24 bytes,
// of words 3 to 10, in 26.
class RawAlmanac {
public:
    // Whether the body holds the pages that it announces.
    [[nodiscard]] bool Open(std::string_view body);

    [[nodiscard]] std::size_t GetNmrPages() const { return nmrPages_; }
    // A page as a subframe, which is from nobody; nothing for what is no page of subframe 4 or 5. Where the message has
    // no words 1 and 2 they are made: the preamble, the subframe that sends pages of this SV ID (5 for 1 to 24 and 51,
    // else 4; IS-GPS-200, table 20-V), and the TOW count of the subframe that begins next after a second of the week.
    [[nodiscard]] std::optional<GPSSubframe> ReadPage(std::size_t index, double seconds) const;
    // Time of applicability of the almanac, seconds of the week.
    [[nodiscard]] double GetReferenceSeconds() const { return referenceSeconds_; }

private:
    std::string_view pages_;
    std::size_t nmrPages_ = 0;
    std::size_t pageSize_ = 0;
    double referenceSeconds_ = 0.0;
};

struct IonosphereAndUTC {
    GNSS::Almanac::Iono iono;  // undated
    GNSS::Almanac::UTC utc;    // undated, weeks modulo 256
};
[[nodiscard]] std::optional<IonosphereAndUTC> ReadIonUTC(std::string_view body);

[[nodiscard]] std::optional<GlonassString> ReadGloRawString(std::string_view body);

struct GlonassEphemeris {
    GlonassDecodedEphemeride record;
    int leapSeconds = 0;
};
[[nodiscard]] std::optional<GlonassEphemeris> ReadGloEphemeris(std::string_view body);

// Both add to a set that has its time. A set for which they answer false is of no use.
[[nodiscard]] bool ReadRange(std::string_view body, GNSS::MeasSet& set);
[[nodiscard]] bool ReadRangeCmp(std::string_view body, GNSS::MeasSet& set);

// Its time is not set.
[[nodiscard]] std::optional<ReceiverFix> ReadBestPos(std::string_view body);

}  // namespace Host::Oem
