#include "gnss/icd/ICD.h"

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/icd/FieldTable.h"
#include "gnss/platform/Number.h"

namespace GNSS {

namespace {

using FieldTable::Bits;
using FieldTable::Field;
using FieldTable::Radians;
using FieldTable::Raw;
using FieldTable::Scaled;
using FieldTable::SemiCircles;
using FieldTable::Whole;
using enum FieldTable::Coding;

// The messages. A row: {word, first bit, width}, coding, value of the last bit, destination, {the rest of the bits}.

// IS-GPS-200, figure 20-1 sheets 1 to 3, tables 20-I and 20-III.
using Eph = GPSEphemeride;
using EphSF = ICD::EphemerisSF;

constexpr auto Subframe1 = std::to_array<Field<Eph>>({
    {{3, 13, 4}, Unsigned, 1.0, Whole<&Eph::status, &Eph::Status::SetAccuracy>},
    {{3, 17, 6}, Unsigned, 1.0, Whole<&Eph::status, &Eph::Status::SetHealth>},
    {{3, 23, 2}, Unsigned, 1.0, Whole<&Eph::clock, &Eph::Clock::IODC>, {8, 1, 8}},
    {{7, 17, 8}, Signed, EphSF::Tgd, Scaled<&Eph::clock, &Eph::Clock::Tgd>},
    {{8, 9, 16}, Unsigned, EphSF::Toc, Scaled<&Eph::clock, &Eph::Clock::toc>},
    {{9, 1, 8}, Signed, EphSF::Af2, Scaled<&Eph::clock, &Eph::Clock::af2>},
    {{9, 9, 16}, Signed, EphSF::Af1, Scaled<&Eph::clock, &Eph::Clock::af1>},
    {{10, 1, 22}, Signed, EphSF::Af0, Scaled<&Eph::clock, &Eph::Clock::af0>},
});

constexpr auto Subframe2 = std::to_array<Field<Eph>>({
    {{3, 1, 8}, Unsigned, 1.0, Whole<&Eph::posn, &Eph::Posn::IODE>},
    {{3, 9, 16}, Signed, EphSF::Crs, Scaled<&Eph::posn, &Eph::Posn::Crs>},
    {{4, 1, 16}, Signed, EphSF::Dn, SemiCircles<&Eph::posn, &Eph::Posn::deltaN>},
    {{4, 17, 8}, Signed, EphSF::M0, SemiCircles<&Eph::posn, &Eph::Posn::M0>, {5, 1, 24}},
    {{6, 1, 16}, Signed, EphSF::Cuc, Radians<&Eph::posn, &Eph::Posn::Cuc>},
    {{6, 17, 8}, Unsigned, EphSF::E, Scaled<&Eph::posn, &Eph::Posn::e>, {7, 1, 24}},
    {{8, 1, 16}, Signed, EphSF::Cus, Radians<&Eph::posn, &Eph::Posn::Cus>},
    {{8, 17, 8}, Unsigned, EphSF::SqrtA, Scaled<&Eph::posn, &Eph::Posn::sqrtA>, {9, 1, 24}},
    {{10, 1, 16}, Unsigned, EphSF::Toe, Scaled<&Eph::posn, &Eph::Posn::toe>},
    // The hours that the flag stands for depend on the IODC, which came with subframe 1.
    {{10, 17, 1}, Unsigned, 1.0, [](Eph& e, const Raw& raw) { e.status.SetCurveFit(raw.Whole(), e.clock.IODC); }},
});

constexpr auto Subframe3 = std::to_array<Field<Eph>>({
    {{3, 1, 16}, Signed, EphSF::Cic, Radians<&Eph::posn, &Eph::Posn::Cic>},
    {{3, 17, 8}, Signed, EphSF::Omega0, SemiCircles<&Eph::posn, &Eph::Posn::Omega0>, {4, 1, 24}},
    {{5, 1, 16}, Signed, EphSF::Cis, Radians<&Eph::posn, &Eph::Posn::Cis>},
    {{5, 17, 8}, Signed, EphSF::I0, SemiCircles<&Eph::posn, &Eph::Posn::i0>, {6, 1, 24}},
    {{7, 1, 16}, Signed, EphSF::Crc, Scaled<&Eph::posn, &Eph::Posn::Crc>},
    {{7, 17, 8}, Signed, EphSF::W, SemiCircles<&Eph::posn, &Eph::Posn::omega>, {8, 1, 24}},
    {{9, 1, 24}, Signed, EphSF::OmegaDot, SemiCircles<&Eph::posn, &Eph::Posn::OmegaDot>},
    {{10, 9, 14}, Signed, EphSF::IDot, SemiCircles<&Eph::posn, &Eph::Posn::IDOT>},
});

// Figure 20-1 sheet 4, table 20-VI. The record's toa has its week before it is decoded.
using Alm = Almanac::SV;
using AlmSF = ICD::AlmanacSF;

constexpr auto AlmanacPage = std::to_array<Field<Alm>>({
    {{3, 3, 6}, Unsigned, 1.0, Whole<&Alm::prn, &PRN::Set>},
    {{3, 9, 16}, Unsigned, AlmSF::Eccent, Scaled<&Alm::e>},
    {{4, 1, 8}, Unsigned, AlmSF::Toa, [](Alm& sv, const Raw& raw) { sv.toa.SetTo(sv.toa.GetWeek(), raw.Value()); }},
    {{4, 9, 16},
     Signed,
     AlmSF::Di,
     [](Alm& sv, const Raw& raw) { sv.i = Corvane::Angle::FromSemiCircles(0.3 + raw.Value()); }},
    {{5, 1, 16}, Signed, AlmSF::OmegaDot, SemiCircles<&Alm::OmegaDot>},
    {{5, 17, 8}, Unsigned, 1.0, Whole<&Alm::health>},
    {{6, 1, 24}, Unsigned, AlmSF::SqrtA, Scaled<&Alm::sqrtA>},
    {{7, 1, 24}, Signed, AlmSF::Omega0, SemiCircles<&Alm::Omega0>},
    {{8, 1, 24}, Signed, AlmSF::W, SemiCircles<&Alm::w>},
    {{9, 1, 24}, Signed, AlmSF::M0, SemiCircles<&Alm::M0>},
    {{10, 1, 8}, Signed, AlmSF::Af0, Scaled<&Alm::af0>, {10, 20, 3}},
    {{10, 9, 11}, Signed, AlmSF::Af1, Scaled<&Alm::af1>},
});

// Figure 20-1 sheet 8, tables 20-X and 20-IX: page 18 of subframe 4.
using Iono = Almanac::Iono;
using UTC = Almanac::UTC;
using PageSF = ICD::IonoUTCSF;

constexpr auto IonoPage = std::to_array<Field<Iono>>({
    {{3, 9, 8}, Signed, PageSF::Alpha0, Scaled<&Iono::alpha0>},
    {{3, 17, 8}, Signed, PageSF::Alpha1, Scaled<&Iono::alpha1>},
    {{4, 1, 8}, Signed, PageSF::Alpha2, Scaled<&Iono::alpha2>},
    {{4, 9, 8}, Signed, PageSF::Alpha3, Scaled<&Iono::alpha3>},
    {{4, 17, 8}, Signed, PageSF::Beta0, Scaled<&Iono::beta0>},
    {{5, 1, 8}, Signed, PageSF::Beta1, Scaled<&Iono::beta1>},
    {{5, 9, 8}, Signed, PageSF::Beta2, Scaled<&Iono::beta2>},
    {{5, 17, 8}, Signed, PageSF::Beta3, Scaled<&Iono::beta3>},
});

constexpr auto UTCPage = std::to_array<Field<UTC>>({
    {{6, 1, 24}, Signed, PageSF::A1, Scaled<&UTC::A1>},
    {{7, 1, 24}, Signed, PageSF::A0, Scaled<&UTC::A0>, {8, 1, 8}},
    {{8, 9, 8}, Unsigned, PageSF::Tot, Scaled<&UTC::Tot>},
    {{8, 17, 8}, Unsigned, 1.0, Whole<&UTC::WNt>},
    {{9, 1, 8}, Signed, 1.0, Whole<&UTC::DtLS>},
    {{9, 9, 8}, Unsigned, 1.0, Whole<&UTC::WNLSF>},
    {{9, 17, 8}, Unsigned, 1.0, Whole<&UTC::DN>},
    {{10, 1, 8}, Signed, 1.0, Whole<&UTC::DtLSF>},
});

// Of a word's 30 bits the first 24 are data.
template <typename Table>
consteval bool IsWithinWords(const Table& table) {
    return FieldTable::IsSound(table, ICD::Subframe::Words, 1, 24);
}
static_assert(IsWithinWords(Subframe1) && IsWithinWords(Subframe2) && IsWithinWords(Subframe3));
static_assert(IsWithinWords(AlmanacPage) && IsWithinWords(IonoPage) && IsWithinWords(UTCPage));

struct Reader {
    static constexpr bool IsTwosComplement = true;
    const ICD::Subframe& subframe;

    [[nodiscard]] std::uint32_t Unsigned(const Bits& bits) const {
        return subframe.GetWord(bits.unit).GetUnsigned(static_cast<unsigned>(bits.first) - 1,
                                                       static_cast<unsigned>(bits.width));
    }
    [[nodiscard]] std::int32_t Signed(const Bits& bits) const {
        return subframe.GetWord(bits.unit).GetSigned(static_cast<unsigned>(bits.first) - 1,
                                                     static_cast<unsigned>(bits.width));
    }
};

constexpr bool IsSatellite(int svId) {
    return svId >= PRN::Min && svId <= PRN::Max;
}

int WithHighWeek(int week, int weekHigh) {
    return Corvane::Saturate(week + std::int64_t{256} * weekHigh);
}

}  // namespace

bool ICD::Subframe::DecodeAlmanac(Almanac::SV& sv, int week) const {
    if (!IsSatellite(GetSVID())) return false;
    sv.toa.SetTo(week, 0.0);
    FieldTable::Decode<AlmanacPage>(Reader{*this}, sv);
    return true;
}

bool ICD::Subframe::DecodeEphemeris(GPSEphemeride& ephemeride, int subframe) const {
    switch (subframe) {
        case 1:
            FieldTable::Decode<Subframe1>(Reader{*this}, ephemeride);
            return true;
        case 2:
            FieldTable::Decode<Subframe2>(Reader{*this}, ephemeride);
            return true;
        case 3:
            FieldTable::Decode<Subframe3>(Reader{*this}, ephemeride);
            return true;
        default:
            return false;
    }
}

bool ICD::Subframe::DecodeIono(Almanac::Iono& iono) const {
    if (!IsValid()) return false;
    FieldTable::Decode<IonoPage>(Reader{*this}, iono);
    return true;
}

bool ICD::Subframe::DecodeUTC(Almanac::UTC& utc, int weekHigh) const {
    if (!IsValid()) return false;
    FieldTable::Decode<UTCPage>(Reader{*this}, utc);
    utc.WNt = WithHighWeek(utc.WNt, weekHigh);
    utc.WNLSF = WithHighWeek(utc.WNLSF, weekHigh);
    return true;
}

void ICD::ResetEphemeris() {
    for (int n = 1; n <= 3; ++n) GetSubframe(n).Reset();
}

void ICD::SetSubframeWordWithoutParity(int subframe, int word, unsigned char b1, unsigned char b2, unsigned char b3) {
    // Below Subframes, though the last subframe has just that number: intended.
    if (subframe >= 1 && subframe < Subframes) GetSubframe(subframe).SetWordWithoutParity(word, b1, b2, b3);
}

ICD::Type ICD::AddSubframe(const unsigned long* words, int& subframeId, int& svId) {
    const Subframe subframe(words);
    subframeId = subframe.GetID();
    svId = 0;
    switch (subframeId) {
        case 1:
            ResetEphemeris();
            GetSubframe(1) = subframe;
            return None;
        case 2:
        case 3:
            if (subframe.GetTOW() - GetSubframe(subframeId - 1).GetTOW() != 1) ResetEphemeris();
            GetSubframe(subframeId) = subframe;
            return IsEphemerisValid() ? Ephemeris : None;
        case 4:
        case 5:
            svId = subframe.GetSVID();
            GetSubframe(subframeId) = subframe;
            // In either subframe, though page 18 belongs to subframe 4: intended.
            if (svId == 56) return IonoUTC;
            if (svId == 51 || svId == 63) return HealthPage;
            if (!IsSatellite(svId)) return None;
            return subframeId == 4 ? AlmanacSubframe4 : AlmanacSubframe5;
        default:
            return None;
    }
}

bool ICD::IsEphemerisValid() const {
    return GetSubframe(1).IsValid() && GetSubframe(2).IsValid() && GetSubframe(3).IsValid();
}

bool ICD::GetEphemerisData(GPSEphemeride& ephemeride) const {
    // In this order: subframe 2 takes the IODC that subframe 1 has left in the record.
    for (int n = 1; n <= 3; ++n) {
        if (!GetSubframe(n).DecodeEphemeris(ephemeride, n)) return false;
    }
    return true;
}

bool ICD::GetAlmanac(Almanac::SV& sv, int week, int subframe) const {
    return Exists(subframe) && GetSubframe(subframe).DecodeAlmanac(sv, week);
}

bool ICD::GetIono(Almanac::Iono& iono, int subframe) const {
    return Exists(subframe) && GetSubframe(subframe).DecodeIono(iono);
}

bool ICD::GetUTC(Almanac::UTC& utc, int weekHigh, int subframe) const {
    return Exists(subframe) && GetSubframe(subframe).DecodeUTC(utc, weekHigh);
}

Corvane::String ICD::GetSpecialMessage() const {
    Corvane::String text;
    text.Reserve(SpecialMessageLength);
    // The bytes from word 3 on, three to a word; the first is the page's data ID and SV ID.
    for (int byte = 1; byte <= SpecialMessageLength; ++byte) {
        const Word& word = GetSubframe(4).GetWord(3 + byte / 3);
        text += static_cast<char>(word.GetUnsigned(static_cast<unsigned>(byte % 3) * 8, 8));
    }
    return text;
}

}  // namespace GNSS
