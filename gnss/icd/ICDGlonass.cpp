#include "gnss/icd/ICDGlonass.h"

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/icd/FieldTable.h"
#include "gnss/platform/Clock.h"

namespace GNSS {

namespace {

using FieldTable::Bits;
using FieldTable::Field;
using FieldTable::Raw;
using FieldTable::Scaled;
using FieldTable::SemiCircles;
using FieldTable::Whole;
using enum FieldTable::Coding;

// The messages. A row: {string, lowest bit, width}, coding, value of the last bit, destination.

// Section 4.4 of the interface control document: strings 1 to 4 of a frame.
using Eph = Glonass::Ephemeride;
using Status = Eph::Status;
using EphSF = ICDGlonass::EphemerisSF;

constexpr std::array IntervalMinutes = {0, 30, 45, 60};

template <Status::Word Word>
constexpr auto StatusWord = [](Eph& e, const Raw& raw) { e.status.Set(Word, raw.Whole()); };

constexpr auto Immediate = std::to_array<Field<Eph>>({
    // The hours of the frame's time come first, minutes and half minutes are added to them.
    {{1, 72, 5}, Unsigned, 3600.0, Scaled<&Eph::posn, &Eph::Posn::frameTime>},
    {{1, 66, 6}, Unsigned, 60.0, [](Eph& e, const Raw& raw) { e.posn.frameTime += raw.Value(); }},
    {{1, 65, 1}, Unsigned, 30.0, [](Eph& e, const Raw& raw) { e.posn.frameTime += raw.Value(); }},
    {{1, 77, 2},
     Unsigned,
     1.0,
     [](Eph& e, const Raw& raw) { e.status.Set(Status::P1, IntervalMinutes[static_cast<std::size_t>(raw.number)]); }},
    {{1, 9, 27}, Signed, EphSF::Posn, Scaled<&Eph::posn, &Eph::Posn::posn, &ECEF::SetX>},
    {{1, 41, 24}, Signed, EphSF::Vely, Scaled<&Eph::posn, &Eph::Posn::vely, &ECEF::SetX>},
    {{1, 36, 5}, Signed, EphSF::Accl, Scaled<&Eph::posn, &Eph::Posn::accel, &ECEF::SetX>},

    {{2, 80, 1}, Unsigned, 1.0, [](Eph& e, const Raw& raw) { e.status.SetUnhealthy(raw.number != 0); }},
    {{2, 77, 1}, Unsigned, 1.0, StatusWord<Status::P2>},
    {{2, 70, 7}, Unsigned, 900.0, Scaled<&Eph::posn, &Eph::Posn::tb>},
    {{2, 9, 27}, Signed, EphSF::Posn, Scaled<&Eph::posn, &Eph::Posn::posn, &ECEF::SetY>},
    {{2, 41, 24}, Signed, EphSF::Vely, Scaled<&Eph::posn, &Eph::Posn::vely, &ECEF::SetY>},
    {{2, 36, 5}, Signed, EphSF::Accl, Scaled<&Eph::posn, &Eph::Posn::accel, &ECEF::SetY>},

    {{3, 80, 1}, Unsigned, 1.0, StatusWord<Status::P3>},
    {{3, 69, 11}, Signed, EphSF::Gamma, Scaled<&Eph::clock, &Eph::Clock::gamma>},
    {{3, 9, 27}, Signed, EphSF::Posn, Scaled<&Eph::posn, &Eph::Posn::posn, &ECEF::SetZ>},
    {{3, 41, 24}, Signed, EphSF::Vely, Scaled<&Eph::posn, &Eph::Posn::vely, &ECEF::SetZ>},
    {{3, 36, 5}, Signed, EphSF::Accl, Scaled<&Eph::posn, &Eph::Posn::accel, &ECEF::SetZ>},

    {{4, 59, 22}, Signed, EphSF::Tau, Scaled<&Eph::clock, &Eph::Clock::tau>},
    // Signed, though an age is never below zero: intended.
    {{4, 49, 5}, Signed, 1.0, Whole<&Eph::m, &Eph::M::age>},
    {{4, 34, 1}, Unsigned, 1.0, StatusWord<Status::P4>},
    {{4, 16, 11}, Unsigned, 1.0, Whole<&Eph::posn, &Eph::Posn::day>},
    // Type M is 1, and only that: with the upper bit set the number is -1, no GLONASS-M: intended.
    {{4, 9, 2}, Signed, 1.0, [](Eph& e, const Raw& raw) { e.m.isM = raw.number == 1; }},
});

// Section 4.5: the two strings of a slot's almanac, and string 5 of their frame.
using Alm = Almanac::GlonassSV;
using AlmSF = ICDGlonass::AlmanacSF;
enum AlmanacString : std::int32_t { Even = 1, Odd = 2, Fifth = 3 };

constexpr auto AlmanacStrings = std::to_array<Field<Alm>>({
    // The channels below zero are sent as 25 to 31.
    {{Odd, 10, 5},
     Unsigned,
     1.0,
     [](Alm& sv, const Raw& raw) { sv.channel = raw.Whole() >= 25 ? raw.Whole() - 32 : raw.Whole(); }},
    {{Odd, 15, 7}, Signed, AlmSF::DDracDot, Scaled<&Alm::DDracDot>},
    {{Odd, 22, 22}, Signed, AlmSF::DDrac, Scaled<&Alm::DDrac>},
    {{Odd, 44, 21}, Unsigned, AlmSF::TLambda, Scaled<&Alm::TLambda>},
    {{Odd, 65, 16}, Signed, AlmSF::W, SemiCircles<&Alm::W>},
    {{Even, 9, 15}, Unsigned, AlmSF::Eccent, Scaled<&Alm::Eccent>},
    {{Even, 24, 18}, Signed, AlmSF::Di, SemiCircles<&Alm::Di>},
    {{Even, 42, 21}, Signed, AlmSF::Lambda, SemiCircles<&Alm::Lambda>},
    {{Even, 63, 10}, Signed, AlmSF::TauN, Scaled<&Alm::TauN>},
    {{Even, 80, 1}, Unsigned, 1.0, Whole<&Alm::health>},
    {{Fifth, 70, 11}, Unsigned, 1.0, Whole<&Alm::day>},
});

// Bits 1 to 8 of a string are check bits, bits 81 to 84 its number.
static_assert(FieldTable::IsSound(Immediate, 4, 9, 80));
static_assert(FieldTable::IsSound(AlmanacStrings, 3, 9, 80));

// The units of a table are strings: unit n is the n-th of these.
template <std::size_t Count>
struct Reader {
    static constexpr bool IsTwosComplement = false;  // but sign and magnitude
    std::array<const ICDGlonass::String*, Count> strings;

    [[nodiscard]] std::uint32_t Unsigned(const Bits& bits) const {
        return Of(bits).GetUnsigned(static_cast<unsigned>(bits.first), static_cast<unsigned>(bits.width));
    }
    [[nodiscard]] std::int32_t Signed(const Bits& bits) const {
        return Of(bits).GetSigned(static_cast<unsigned>(bits.first), static_cast<unsigned>(bits.width));
    }

private:
    [[nodiscard]] const ICDGlonass::String& Of(const Bits& bits) const {
        return *strings[static_cast<std::size_t>(bits.unit) - 1];
    }
};

// Which slot's almanac a string is, if it is the first one of an almanac.
int AlmanacSlot(const ICDGlonass::String& string) {
    return static_cast<int>(string.GetUnsigned(73, 5));
}

}  // namespace

void ICDGlonass::Frame::SetString(const String& string) {
    const int number = string.GetNumber();
    if (number >= 1 && number <= NmrString) (*this)[number - 1] = string;
}

bool ICDGlonass::Frame::FindIndex(int slot, int& index) const {
    if (slot < 1) return false;
    const int expected = (slot - 1) % 5 * 2 + 5;
    if (AlmanacSlot((*this)[expected]) == slot) {
        index = expected;
        return true;
    }
    // Every element, not only those of first strings: intended.
    for (int n = 5; n < NmrString; ++n) {
        if (n == expected || AlmanacSlot((*this)[n]) != slot) continue;
        index = n;
        return true;
    }
    return false;
}

bool ICDGlonass::FindIndex(int slot, int& frame, int& index) const {
    const int expected = (slot - 1) / 5;
    if ((*this)[expected].FindIndex(slot, index)) {
        frame = expected;
        return true;
    }
    for (int n = 0; n < NmrFrame; ++n) {
        if (n == expected || !(*this)[n].FindIndex(slot, index)) continue;
        frame = n;
        return true;
    }
    return false;
}

void ICDGlonass::AddString(int frame, const String& string) {
    if (frame >= 1 && frame <= NmrFrame) (*this)[frame - 1].SetString(string);
}

bool ICDGlonass::GetAlmanac(Almanac::GlonassSV& sv) const {
    int frameIndex = 0;
    int index = 0;
    if (sv.slot.IsNull() || !FindIndex(sv.slot, frameIndex, index)) return false;
    // Nothing follows string 15.
    if (index + 1 >= Frame::NmrString) return false;
    const Frame& frame = (*this)[frameIndex];
    try {
        Almanac::GlonassSV filled = sv;
        FieldTable::Decode<AlmanacStrings>(Reader<3>{{&frame[index], &frame[index + 1], &frame[4]}}, filled);
        filled.time.SetTo(Corvane::Now);
        sv = filled;
    } catch (...) {  // from a clock of the program's own
        return false;
    }
    return sv.channel != 0 || sv.health == 1;
}

bool ICDGlonass::GetEphemeride(Glonass::Ephemeride& ephemeride, int frame) const {
    if (ephemeride.slot.IsNull() || frame < 1 || frame > NmrFrame) return false;
    const Frame& strings = (*this)[frame - 1];
    FieldTable::Decode<Immediate>(Reader<4>{{&strings[0], &strings[1], &strings[2], &strings[3]}}, ephemeride);
    // String 4 has an index of the accuracy (F_T, bits 30 to 33), which is not decoded: intended.
    ephemeride.accuracy = Glonass::Ephemeride::UnknownAccuracy;
    return true;
}

}  // namespace GNSS
