// The GPS navigation message: words, the order of subframes, every field of every message.
#include "gnss/icd/ICD.h"

#include <string>
#include <utility>

#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "tests/icd/Messages.h"
#include "tests/support/Random.h"

namespace {

using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;
using GNSS::ICD;
using tests::MakeSubframe;
using tests::Words;
using enum tests::Code;

TEST(ICDWord, AnyRangeOfBitsIsDefined) {
    for (const unsigned long value : {0x2A5C96E7UL, 0xFFFFFFFFUL}) {
        ICD::Word word;
        word.Set(value);
        for (unsigned start = 0; start < 35; ++start) {
            std::uint32_t bits = 0;
            for (unsigned count = 0; count < 100; ++count) {
                const std::int64_t turn = count >= 1 && count < 32 && (bits >> (count - 1)) != 0 ? 1LL << count : 0;
                ASSERT_EQ(word.GetUnsigned(start, count), bits) << start << ' ' << count;
                ASSERT_EQ(word.GetSigned(start, count), static_cast<std::int32_t>(bits - turn));
                bits = bits * 2U + (start + count < 30 ? (word.Get() >> (29 - start - count)) & 1U : 0U);
            }
        }
        EXPECT_EQ(word.GetUnsigned(1, 0xFFFFFFFFU) + word.GetUnsigned(0xFFFFFFFFU, 2), 0U);
    }
}

struct Records {
    GPSEphemeride eph;
    Almanac::SV sv;
    Almanac::Iono iono;
    Almanac::UTC utc;
};
using Row = tests::Row<Records>;

constexpr int Week = 2300;
constexpr int WeekHigh = 9;
double TwoTo(int exponent) {
    return std::ldexp(1.0, exponent);
}
#define GET(expression) [](const Records& r) -> double { return expression; }

// IS-GPS-200: word, first and last bit, coding, scale.
std::vector<Row> Fields() {
    return {
        {"URA", 1, {{3, 13, 16}}, Unsigned, 1, GET(r.eph.status.GetURA())},
        {"health", 1, {{3, 17, 22}}, Unsigned, 1, GET(r.eph.status.GetHealth())},
        {"IODC", 1, {{3, 23, 24}, {8, 1, 8}}, Unsigned, 1, GET(r.eph.clock.IODC)},
        {"Tgd", 1, {{7, 17, 24}}, TwosComplement, TwoTo(-31), GET(r.eph.clock.Tgd)},
        {"toc", 1, {{8, 9, 24}}, Unsigned, 16, GET(r.eph.clock.toc)},
        {"af2", 1, {{9, 1, 8}}, TwosComplement, TwoTo(-55), GET(r.eph.clock.af2)},
        {"af1", 1, {{9, 9, 24}}, TwosComplement, TwoTo(-43), GET(r.eph.clock.af1)},
        {"af0", 1, {{10, 1, 22}}, TwosComplement, TwoTo(-31), GET(r.eph.clock.af0)},
        {"IODE", 2, {{3, 1, 8}}, Unsigned, 1, GET(r.eph.posn.IODE)},
        {"Crs", 2, {{3, 9, 24}}, TwosComplement, TwoTo(-5), GET(r.eph.posn.Crs)},
        {"delta n", 2, {{4, 1, 16}}, TwosComplement, TwoTo(-43), GET(r.eph.posn.deltaN.SemiCircles())},
        {"M0", 2, {{4, 17, 24}, {5, 1, 24}}, TwosComplement, TwoTo(-31), GET(r.eph.posn.M0.SemiCircles())},
        {"Cuc", 2, {{6, 1, 16}}, TwosComplement, TwoTo(-29), GET(r.eph.posn.Cuc.Radians())},
        {"e", 2, {{6, 17, 24}, {7, 1, 24}}, Unsigned, TwoTo(-33), GET(r.eph.posn.e)},
        {"Cus", 2, {{8, 1, 16}}, TwosComplement, TwoTo(-29), GET(r.eph.posn.Cus.Radians())},
        {"sqrt A", 2, {{8, 17, 24}, {9, 1, 24}}, Unsigned, TwoTo(-19), GET(r.eph.posn.sqrtA)},
        {"toe", 2, {{10, 1, 16}}, Unsigned, 16, GET(r.eph.posn.toe)},
        {"fit", 2, {{10, 17, 17}}, Unsigned, 1, GET(r.eph.status.GetCurveFit() == 4 ? 0 : 1)},
        {"Cic", 3, {{3, 1, 16}}, TwosComplement, TwoTo(-29), GET(r.eph.posn.Cic.Radians())},
        {"Omega0", 3, {{3, 17, 24}, {4, 1, 24}}, TwosComplement, TwoTo(-31), GET(r.eph.posn.Omega0.SemiCircles())},
        {"Cis", 3, {{5, 1, 16}}, TwosComplement, TwoTo(-29), GET(r.eph.posn.Cis.Radians())},
        {"i0", 3, {{5, 17, 24}, {6, 1, 24}}, TwosComplement, TwoTo(-31), GET(r.eph.posn.i0.SemiCircles())},
        {"Crc", 3, {{7, 1, 16}}, TwosComplement, TwoTo(-5), GET(r.eph.posn.Crc)},
        {"omega", 3, {{7, 17, 24}, {8, 1, 24}}, TwosComplement, TwoTo(-31), GET(r.eph.posn.omega.SemiCircles())},
        {"OmegaDot", 3, {{9, 1, 24}}, TwosComplement, TwoTo(-43), GET(r.eph.posn.OmegaDot.SemiCircles())},
        {"IDOT", 3, {{10, 9, 22}}, TwosComplement, TwoTo(-43), GET(r.eph.posn.IDOT.SemiCircles())},
        {"almanac e", 5, {{3, 9, 24}}, Unsigned, TwoTo(-21), GET(r.sv.e)},
        {"toa", 5, {{4, 1, 8}}, Unsigned, 4096, GET((r.sv.toa - GPSTime(Week, 0.0)).Seconds())},
        {"delta i", 5, {{4, 9, 24}}, TwosComplement, TwoTo(-19), GET(r.sv.i.SemiCircles() - 0.3)},
        {"OmegaDot", 5, {{5, 1, 16}}, TwosComplement, TwoTo(-38), GET(r.sv.OmegaDot.SemiCircles())},
        {"almanac health", 5, {{5, 17, 24}}, Unsigned, 1, GET(r.sv.health)},
        {"almanac sqrt A", 5, {{6, 1, 24}}, Unsigned, TwoTo(-11), GET(r.sv.sqrtA)},
        {"almanac Omega0", 5, {{7, 1, 24}}, TwosComplement, TwoTo(-23), GET(r.sv.Omega0.SemiCircles())},
        {"almanac w", 5, {{8, 1, 24}}, TwosComplement, TwoTo(-23), GET(r.sv.w.SemiCircles())},
        {"almanac M0", 5, {{9, 1, 24}}, TwosComplement, TwoTo(-23), GET(r.sv.M0.SemiCircles())},
        {"almanac af0", 5, {{10, 1, 8}, {10, 20, 22}}, TwosComplement, TwoTo(-20), GET(r.sv.af0)},
        {"almanac af1", 5, {{10, 9, 19}}, TwosComplement, TwoTo(-38), GET(r.sv.af1)},
        {"alpha0", 4, {{3, 9, 16}}, TwosComplement, TwoTo(-30), GET(r.iono.alpha0)},
        {"alpha1", 4, {{3, 17, 24}}, TwosComplement, TwoTo(-27), GET(r.iono.alpha1)},
        {"alpha2", 4, {{4, 1, 8}}, TwosComplement, TwoTo(-24), GET(r.iono.alpha2)},
        {"alpha3", 4, {{4, 9, 16}}, TwosComplement, TwoTo(-24), GET(r.iono.alpha3)},
        {"beta0", 4, {{4, 17, 24}}, TwosComplement, TwoTo(11), GET(r.iono.beta0)},
        {"beta1", 4, {{5, 1, 8}}, TwosComplement, TwoTo(14), GET(r.iono.beta1)},
        {"beta2", 4, {{5, 9, 16}}, TwosComplement, TwoTo(16), GET(r.iono.beta2)},
        {"beta3", 4, {{5, 17, 24}}, TwosComplement, TwoTo(16), GET(r.iono.beta3)},
        {"A1", 4, {{6, 1, 24}}, TwosComplement, TwoTo(-50), GET(r.utc.A1)},
        {"A0", 4, {{7, 1, 24}, {8, 1, 8}}, TwosComplement, TwoTo(-30), GET(r.utc.A0)},
        {"tot", 4, {{8, 9, 16}}, Unsigned, 4096, GET(r.utc.Tot)},
        {"WNt", 4, {{8, 17, 24}}, Unsigned, 1, GET(r.utc.WNt - 256 * WeekHigh)},
        {"dtLS", 4, {{9, 1, 8}}, TwosComplement, 1, GET(r.utc.DtLS)},
        {"WNLSF", 4, {{9, 9, 16}}, Unsigned, 1, GET(r.utc.WNLSF - 256 * WeekHigh)},
        {"DN", 4, {{9, 17, 24}}, Unsigned, 1, GET(r.utc.DN)},
        {"dtLSF", 4, {{10, 1, 8}}, TwosComplement, 1, GET(r.utc.DtLSF)},
    };
}

// A subframe as it is received; what is complete with it.
ICD::Type Add(ICD& icd, const Words& words) {
    int id = -1;
    int svId = -1;
    const ICD::Type type = icd.AddSubframe(words.data(), id, svId);
    const ICD::Subframe subframe(words.data());
    EXPECT_EQ(id, subframe.GetID());
    EXPECT_EQ(svId, id == 4 || id == 5 ? subframe.GetSVID() : 0);
    return type;
}

TEST(ICD, EveryFieldComesBackAmidRandomBits) {
    auto random = tests::MakeRandom();
    auto rows = Fields();
    for (int round = 0; round < 200; ++round) {
        const int svId = 1 + round % 32;
        ICD icd;
        for (int id = 1; id <= 5; ++id) {
            Words words = MakeSubframe(id, 4000 + id, id == 4 ? 56 : svId);
            // Everything but preamble, count, IDs: also parity, reserved bits and the unused bits 30 and 31.
            words[0] |= random() & 0xFFFFFFFFC03FFFFFUL;
            words[1] |= random() & 0xFFFFFFFFC00018FFUL;
            words[2] |= random() & (id < 4 ? ~0UL : 0xFFFFFFFFF03FFFFFUL);
            for (std::size_t n = 3; n < words.size(); ++n) words[n] = random();
            for (Row& row : rows) {
                if (row.message != id) continue;
                row.Draw(random);
                row.EncodeWith([&](const tests::Part& part, std::uint64_t bits) {
                    tests::Encode(words, part.unit, part.first, part.Width(), bits);
                });
            }
            EXPECT_EQ(Add(icd, words), (std::array{ICD::None, ICD::None, ICD::Ephemeris, ICD::IonoUTC,
                                                   ICD::AlmanacSubframe5}[static_cast<std::size_t>(id - 1)]));
        }
        Records records;
        records.eph.prn = 7;
        records.eph.reference = records.sv.time = records.iono.time = records.utc.time = GPSTime(Week, 5.0);
        ASSERT_TRUE(icd.GetEphemerisData(records.eph));
        ASSERT_TRUE(icd.GetAlmanac(records.sv, Week, 5));
        ASSERT_TRUE(icd.GetIono(records.iono, 4) && icd.GetUTC(records.utc, WeekHigh, 4));
        for (const Row& row : rows) row.Expect(records);
        EXPECT_EQ(records.sv.prn, svId);
        // What the message does not date, the host does.
        EXPECT_EQ(records.eph.prn, 7);
        for (const GPSTime& time : {records.eph.reference, records.sv.time, records.iono.time, records.utc.time}) {
            EXPECT_EQ(time, GPSTime(Week, 5.0));
        }
        EXPECT_TRUE(records.eph.status.IsValid(7));
    }
}

TEST(ICD, FitIntervalIsThatOfTheIODCOfSubframe1) {
    for (const auto& [iodc, hours] : {std::pair{240, 8}, std::pair{511, 74}, std::pair{752, 74}}) {
        Words first = MakeSubframe(1, 1);
        tests::Encode(first, 3, 23, 2, static_cast<std::uint64_t>(iodc / 256));
        tests::Encode(first, 8, 1, 8, static_cast<std::uint64_t>(iodc % 256));
        Words second = MakeSubframe(2, 2);
        tests::Encode(second, 10, 17, 1, 1);
        ICD icd;
        Add(icd, first);
        Add(icd, second);
        GPSEphemeride eph;
        EXPECT_TRUE(icd.GetEphemerisData(eph));
        EXPECT_EQ(eph.status.GetCurveFit(), hours) << iodc;
    }
}

TEST(ICD, SubframesFollowOneAnother) {
    struct Step {
        const char* what;
        int id;
        int tow;
        int svId;
        bool preamble;
        ICD::Type type;
        int nmrStored;  // of subframes 1 to 3, afterwards
    };
    static constexpr std::array Steps = {
        Step{"a count of 1 follows the empty slot", 2, 1, 0, true, ICD::None, 1},
        Step{"subframe 1 begins anew", 1, 100, 0, true, ICD::None, 1},
        Step{"next", 2, 101, 0, true, ICD::None, 2},
        Step{"complete", 3, 102, 0, true, ICD::Ephemeris, 3},
        Step{"repeated", 3, 102, 0, true, ICD::Ephemeris, 3},
        Step{"two later", 2, 102, 0, true, ICD::None, 1},
        Step{"3 after that 2 has no 1", 3, 103, 0, true, ICD::None, 2},
        Step{"last of the week", 1, 100799, 0, true, ICD::None, 1},
        Step{"first of the week", 2, 0, 0, true, ICD::None, 1},
        Step{"1", 1, 7, 0, true, ICD::None, 1},
        Step{"2 without preamble", 2, 8, 0, false, ICD::None, 2},
        Step{"3 is not enough", 3, 9, 0, true, ICD::None, 3},
        Step{"almanac", 4, 10, 1, true, ICD::AlmanacSubframe4, 3},
        Step{"last almanac, preamble or not", 5, 11, 32, false, ICD::AlmanacSubframe5, 3},
        Step{"beyond", 5, 11, 33, true, ICD::None, 3},
        Step{"health", 5, 11, 51, true, ICD::HealthPage, 3},
        Step{"health", 4, 11, 63, true, ICD::HealthPage, 3},
        Step{"page 18 in subframe 5", 5, 11, 56, true, ICD::IonoUTC, 3},
        Step{"dummy", 4, 11, 0, true, ICD::None, 3},
        Step{"no subframe", 0, 12, 9, true, ICD::None, 3},
        Step{"the pages outlive an ephemeris", 2, 20, 0, true, ICD::None, 1},
    };
    ICD icd;
    for (const Step& step : Steps) {
        SCOPED_TRACE(step.what);
        Words words = MakeSubframe(step.id, step.tow, step.svId);
        if (!step.preamble) words[0] = 0;
        ICD expected = icd;
        EXPECT_EQ(Add(icd, words), step.type);
        int nmrStored = 0;
        for (int n = 1; n <= 3; ++n) nmrStored += icd.GetSubframe(n) == ICD::Subframe() ? 0 : 1;
        EXPECT_EQ(nmrStored, step.nmrStored);
        for (int n = 1; n <= 3; ++n) expected.GetSubframe(n) = icd.GetSubframe(n);
        if (step.id >= 1 && step.id <= 5) expected.GetSubframe(step.id) = ICD::Subframe(words.data());
        EXPECT_EQ(icd, expected);
    }
}

TEST(ICD, DecodesWhatItsSubframesHold) {
    ICD icd;
    Almanac::SV sv;
    Almanac::Iono iono;
    Almanac::UTC utc;
    const auto tryPages = [&](int n) {
        return std::array{icd.GetAlmanac(sv, Week, n), icd.GetIono(iono, n), icd.GetUTC(utc, WeekHigh, n)};
    };
    constexpr std::array Nothing = {false, false, false};
    Add(icd, MakeSubframe(4, 1, 33));
    Words words = MakeSubframe(5, 1, 32);
    words[0] = 0;
    Add(icd, words);
    sv.e = 0.5;
    for (const int n : {0, 6, INT32_MIN, INT32_MAX}) EXPECT_EQ(tryPages(n), Nothing) << n;
    EXPECT_FALSE(icd.GetAlmanac(sv, Week, 4));
    EXPECT_TRUE(sv.e == 0.5 && sv.toa == GPSTime::Zero && iono == Almanac::Iono() && utc == Almanac::UTC());
    EXPECT_EQ(tryPages(4), (std::array{false, true, true})) << "only the preamble counts";
    EXPECT_EQ(tryPages(5), (std::array{true, false, false})) << "only the SV ID counts";
    EXPECT_TRUE(sv.prn == 32 && iono.alpha0 == 0.0 && utc.WNt == 256 * WeekHigh);

    // An ephemeris is decoded from what there is.
    GPSEphemeride eph;
    eph.posn.e = 0.5;
    EXPECT_TRUE(icd.GetEphemerisData(eph) && eph.posn.e == 0.0);
    EXPECT_FALSE(icd.GetSubframe(4).DecodeEphemeris(eph, 4));
}

TEST(ICD, WordsAreSetWithoutParity) {
    ICD icd;
    for (const int n : {0, -1, 5, 6, INT32_MIN, INT32_MAX}) icd.SetSubframeWordWithoutParity(n, 1, 1, 2, 3);
    for (const int n : {0, -1, 11, INT32_MIN, INT32_MAX}) icd.SetSubframeWordWithoutParity(1, n, 1, 2, 3);
    EXPECT_EQ(icd, ICD());
    icd.SetSubframeWordWithoutParity(1, 3, 0x12, 0x34, 0x56);
    icd.SetSubframeWordWithoutParity(4, 10, 0xFF, 0xFF, 0xFF);
    EXPECT_EQ(icd.GetSubframe(1).GetWord(3).Get(), 0x48D1580U);
    EXPECT_EQ(icd.GetSubframe(4).GetWord(10).Get(), 0x3FFFFFC0U);
}

TEST(ICD, SpecialMessageIsReadByteByByte) {
    std::string text = "ABCDEFGHIJKLMNOPQRST\xB0";
    text += '\0';
    Words words = MakeSubframe(4, 1, 55);
    for (int i = 1; i <= 22; ++i) {
        const auto byte = static_cast<unsigned char>(text[static_cast<std::size_t>(i - 1)]);
        tests::Encode(words, 3 + i / 3, 1 + i % 3 * 8, 8, byte);
    }
    ICD icd;
    EXPECT_EQ(Add(icd, words), ICD::None);
    EXPECT_EQ(icd.GetSpecialMessage().str(), text);
}

}  // namespace
