#include "host/receiver/RtcmEphemeris.h"

#include <array>

#include "gnss/icd/FieldTable.h"
#include "gnss/icd/ICD.h"
#include "gnss/icd/ICDGlonass.h"
#include "host/receiver/BitReader.h"
#include "host/receiver/GPSOrbit.h"
#include "host/receiver/GlonassWords.h"

namespace Host {

namespace {

using GNSS::ECEF;
using GNSS::GloTime;
using GNSS::GPSTime;
using GNSS::FieldTable::Bits;
using GNSS::FieldTable::Coding;
using GNSS::FieldTable::Field;
using GNSS::FieldTable::Raw;
using GNSS::FieldTable::Scaled;
using GNSS::FieldTable::SemiCircles;
using GNSS::FieldTable::Whole;
using enum Coding;

// A message is a table of its fields in their order, without gaps; a field's place follows from those before it.
template <typename Record>
struct Row {
    int width;  // bits
    Coding coding;
    double scale;  // value of the last bit
    void (*store)(Record&, const Raw&);
};

template <typename Record, std::size_t Size>
consteval std::array<Field<Record>, Size> InOrder(const std::array<Row<Record>, Size>& rows) {
    std::array<Field<Record>, Size> fields{};
    int first = 0;
    for (std::size_t n = 0; n < Size; ++n) {
        fields[n] = {{1, first, rows[n].width}, rows[n].coding, rows[n].scale, rows[n].store};
        first += rows[n].width;
    }
    return fields;
}

template <typename Record, std::size_t Size>
consteval int NmrBits(const std::array<Field<Record>, Size>& fields) {
    for (const auto& field : fields) {
        if (field.bits.width < 1 || field.bits.width > 32) return 0;
    }
    return fields.back().bits.first + fields.back().bits.width;
}

constexpr auto Ignore = [](auto&, const Raw&) {};

// Signed numbers are in two's complement in 1019, with sign and magnitude in 1020.
struct GPSReader {
    static constexpr bool IsTwosComplement = true;
    BitReader bits;
    [[nodiscard]] std::int64_t Unsigned(const Bits& b) const {
        return static_cast<std::int64_t>(
            bits.Unsigned(static_cast<std::size_t>(b.first), static_cast<std::size_t>(b.width)));
    }
    [[nodiscard]] std::int64_t Signed(const Bits& b) const {
        return bits.Signed(static_cast<std::size_t>(b.first), static_cast<std::size_t>(b.width));
    }
};
struct GlonassReader {
    static constexpr bool IsTwosComplement = false;
    BitReader bits;
    [[nodiscard]] std::int64_t Unsigned(const Bits& b) const { return GPSReader{bits}.Unsigned(b); }
    [[nodiscard]] std::int64_t Signed(const Bits& b) const {
        return bits.SignMagnitude(static_cast<std::size_t>(b.first), static_cast<std::size_t>(b.width));
    }
};

// 1019.
using GPSRecord = GPSDecodedEphemeride;
using Eph = GNSS::GPSEphemeride;
using Status = Eph::Status;
using SF = GNSS::ICD::EphemerisSF;
constexpr auto E = &GPSRecord::ephemeride;
using P = Eph::Posn;
using C = Eph::Clock;

constexpr auto Message1019 = InOrder(std::to_array<Row<GPSRecord>>({
    {12, Unsigned, 1.0, Ignore},  // message number
    {6, Unsigned, 1.0,
     // Without the five-bit form of the number, in which 0 is a satellite.
     [](GPSRecord& r, const Raw& raw) { r.ephemeride.prn = raw.number == 0 ? GNSS::PRN() : GNSS::PRN(raw.Whole()); }},
    {10, Unsigned, 1.0, Whole<&GPSRecord::week>},
    {4, Unsigned, 1.0, Whole<E, &Eph::status, &Status::SetAccuracy>},
    {2, Unsigned, 1.0,
     [](GPSRecord& r, const Raw& raw) { r.ephemeride.status.SetL2Codes(static_cast<char>(raw.number)); }},
    {14, Signed, SF::IDot, SemiCircles<E, &Eph::posn, &P::IDOT>},
    {8, Unsigned, 1.0, Whole<E, &Eph::posn, &P::IODE>},
    {16, Unsigned, SF::Toc, Scaled<E, &Eph::clock, &C::toc>},
    {8, Signed, SF::Af2, Scaled<E, &Eph::clock, &C::af2>},
    {16, Signed, SF::Af1, Scaled<E, &Eph::clock, &C::af1>},
    {22, Signed, SF::Af0, Scaled<E, &Eph::clock, &C::af0>},
    {10, Unsigned, 1.0, Whole<E, &Eph::clock, &C::IODC>},
    {16, Signed, SF::Crs, Scaled<E, &Eph::posn, &P::Crs>},
    {16, Signed, SF::Dn, SemiCircles<E, &Eph::posn, &P::deltaN>},
    {32, Signed, SF::M0, SemiCircles<E, &Eph::posn, &P::M0>},
    {16, Signed, SF::Cuc, GNSS::FieldTable::Radians<E, &Eph::posn, &P::Cuc>},
    {32, Unsigned, SF::E, Scaled<E, &Eph::posn, &P::e>},
    {16, Signed, SF::Cus, GNSS::FieldTable::Radians<E, &Eph::posn, &P::Cus>},
    {32, Unsigned, SF::SqrtA, Scaled<E, &Eph::posn, &P::sqrtA>},
    {16, Unsigned, SF::Toe, Scaled<E, &Eph::posn, &P::toe>},
    {16, Signed, SF::Cic, GNSS::FieldTable::Radians<E, &Eph::posn, &P::Cic>},
    {32, Signed, SF::Omega0, SemiCircles<E, &Eph::posn, &P::Omega0>},
    {16, Signed, SF::Cis, GNSS::FieldTable::Radians<E, &Eph::posn, &P::Cis>},
    {32, Signed, SF::I0, SemiCircles<E, &Eph::posn, &P::i0>},
    {16, Signed, SF::Crc, Scaled<E, &Eph::posn, &P::Crc>},
    {32, Signed, SF::W, SemiCircles<E, &Eph::posn, &P::omega>},
    {24, Signed, SF::OmegaDot, SemiCircles<E, &Eph::posn, &P::OmegaDot>},
    {8, Signed, SF::Tgd, Scaled<E, &Eph::clock, &C::Tgd>},
    {6, Unsigned, 1.0, Whole<E, &Eph::status, &Status::SetHealth>},
    {1, Unsigned, 1.0, [](GPSRecord& r, const Raw& raw) { r.ephemeride.status.SetL2PData(raw.number != 0); }},
    {1, Unsigned, 1.0,
     [](GPSRecord& r, const Raw& raw) { r.ephemeride.status.SetCurveFit(raw.Whole(), r.ephemeride.clock.IODC); }},
}));
static_assert(NmrBits(Message1019) == 488);

// 1020. The times of day are checked before they are put together.
struct GlonassFields {
    GlonassDecodedEphemeride record;
    int slot = 0, channel = 0, hours = 0, minutes = 0, halfMinutes = 0, tb = 0, day = 0, fourYears = 0;
    bool hasAdditional = false;
};
using GloRecord = GlonassFields;
using GloEph = GNSS::Glonass::Ephemeride;
using GloStatus = GloEph::Status;
using GloSF = GNSS::ICDGlonass::EphemerisSF;
using GloPosn = GloEph::Posn;
constexpr auto R = &GlonassFields::record;
constexpr auto G = &GlonassDecodedEphemeride::ephemeride;

template <GloStatus::Word Word>
constexpr auto StatusWord = [](GloRecord& r, const Raw& raw) { r.record.ephemeride.status.Set(Word, raw.Whole()); };

constexpr double TbStep = 900.0;  // s

template <auto Set>
constexpr Row<GloRecord> Posn{27, Signed, GloSF::Posn, Scaled<R, G, &GloEph::posn, &GloPosn::posn, Set>};
template <auto Set>
constexpr Row<GloRecord> Vely{24, Signed, GloSF::Vely, Scaled<R, G, &GloEph::posn, &GloPosn::vely, Set>};
template <auto Set>
constexpr Row<GloRecord> Accl{5, Signed, GloSF::Accl, Scaled<R, G, &GloEph::posn, &GloPosn::accel, Set>};

constexpr auto Message1020 = InOrder(std::to_array<Row<GloRecord>>({
    {12, Unsigned, 1.0, Ignore},  // message number
    {6, Unsigned, 1.0, Whole<&GloRecord::slot>},
    {5, Unsigned, 1.0, Whole<&GloRecord::channel>},
    {2, Unsigned, 1.0, Ignore},  // the almanac's health and whether it is given
    {2, Unsigned, 1.0,
     [](GloRecord& r, const Raw& raw) {
         r.record.ephemeride.status.Set(GloStatus::P1, GlonassP1Minutes[static_cast<std::size_t>(raw.number)]);
     }},
    {5, Unsigned, 1.0, Whole<&GloRecord::hours>},
    {6, Unsigned, 1.0, Whole<&GloRecord::minutes>},
    {1, Unsigned, 1.0, Whole<&GloRecord::halfMinutes>},
    {1, Unsigned, 1.0, [](GloRecord& r, const Raw& raw) { r.record.ephemeride.status.SetUnhealthy(raw.number != 0); }},
    {1, Unsigned, 1.0, StatusWord<GloStatus::P2>},
    {7, Unsigned, 1.0, Whole<&GloRecord::tb>},
    Vely<&ECEF::SetX>,
    Posn<&ECEF::SetX>,
    Accl<&ECEF::SetX>,
    Vely<&ECEF::SetY>,
    Posn<&ECEF::SetY>,
    Accl<&ECEF::SetY>,
    Vely<&ECEF::SetZ>,
    Posn<&ECEF::SetZ>,
    Accl<&ECEF::SetZ>,
    {1, Unsigned, 1.0, StatusWord<GloStatus::P3>},
    {11, Signed, GloSF::Gamma, Scaled<R, G, &GloEph::clock, &GloEph::Clock::gamma>},
    {2, Unsigned, 1.0, Ignore},  // P
    {1, Unsigned, 1.0, Ignore},  // l_n of string 3
    {22, Signed, GloSF::Tau, Scaled<R, G, &GloEph::clock, &GloEph::Clock::tau>},
    {5, Signed, 1.0, Ignore},  // delay of L2 against L1
    {5, Unsigned, 1.0, Whole<R, G, &GloEph::m, &GloEph::M::age>},
    {1, Unsigned, 1.0, StatusWord<GloStatus::P4>},
    {4, Unsigned, 1.0, Whole<R, G, &GloEph::m, &GloEph::M::accuracyIndex>},
    {11, Unsigned, 1.0, Whole<&GloRecord::day>},
    {2, Unsigned, 1.0, [](GloRecord& r, const Raw& raw) { r.record.ephemeride.m.isM = raw.number == 1; }},
    {1, Unsigned, 1.0, [](GloRecord& r, const Raw& raw) { r.hasAdditional = raw.number != 0; }},
    {11, Unsigned, 1.0, Ignore},  // N_A, day of the almanac
    {32, Signed, 1.0, Ignore},    // tau_c
    {5, Unsigned, 1.0, Whole<&GloRecord::fourYears>},
    {22, Signed, 1.0, Ignore},   // tau_GPS
    {1, Unsigned, 1.0, Ignore},  // l_n of string 5
    {7, Unsigned, 1.0, Ignore},  // reserved
}));
static_assert(NmrBits(Message1020) == 360);

}  // namespace

bool DecodeRtcm1019(std::string_view payload, GPSDecodedEphemeride& to) {
    const GPSReader reader{BitReader(payload)};
    if (reader.bits.NmrBits() < NmrBits(Message1019)) return false;
    to = {};
    GNSS::FieldTable::Decode<Message1019>(reader, to);
    to.weekModulus = 1024;
    const Eph& eph = to.ephemeride;
    return eph.prn.IsValid() && eph.clock.toc < GPSTime::SecsInWeek && eph.posn.toe < GPSTime::SecsInWeek &&
           IsGPSOrbit(eph.posn.sqrtA, eph.posn.e) && eph.posn.IODE == eph.clock.IODC % 256;
}

bool DecodeRtcm1020(std::string_view payload, RtcmGlonassMessage& to) {
    const GlonassReader reader{BitReader(payload)};
    if (reader.bits.NmrBits() < NmrBits(Message1020)) return false;
    GlonassFields fields;
    GNSS::FieldTable::Decode<Message1020>(reader, fields);
    if (fields.slot < GNSS::Glonass::Slot::Min || fields.slot > GNSS::Glonass::Slot::Max || fields.channel > 20 ||
        fields.hours > 23 || fields.minutes > 59 || fields.tb * TbStep >= GPSTime::SecsInDay ||
        fields.day > GloTime::DaysInInterval) {
        return false;
    }
    to = {fields.record};
    GloEph& eph = to.record.ephemeride;
    eph.slot = fields.slot;
    eph.posn.day = fields.day;
    eph.posn.frameTime = fields.hours * 3600.0 + fields.minutes * 60.0 + fields.halfMinutes * 30.0;
    eph.posn.tb = fields.tb * TbStep;
    to.record.channel = fields.channel - 7;
    if (fields.hasAdditional && fields.fourYears > 0) {
        to.record.fourYears = fields.fourYears;
        if (eph.m.isM && fields.day > 0) {
            to.date = Corvane::Date(1996 + 4 * (fields.fourYears - 1), 1, 1) + (fields.day - 1);
        }
    }
    return true;
}

}  // namespace Host
