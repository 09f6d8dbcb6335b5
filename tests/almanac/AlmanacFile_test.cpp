// The almanac file.
#include <cstddef>
#include <initializer_list>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/platform/Event.h"
#include "tests/almanac/Reference.h"

namespace {

using Corvane::Angle;
using GNSS::Almanac;
using GNSS::GPSTime;
using Bytes = std::vector<std::byte>;

// Written by hand: the doubles are the numbers that the comments give.
constexpr std::string_view Golden =
    "0100"                                                                 // one GPS record
    "0500"                                                                 // satellite 5
    "4608 000000000000F03F"                                                // dated week 2118, second 1
    "4708 0000000000000040"                                                // toa week 2119, second 2
    "3F00"                                                                 // health 63
    "000000000000E03F 000000000000F83F 00000000000004C0"                   // e 0.5, i 1.5, OmegaDot -2.5
    "0000000000001440 0000000000001840 0000000000001CC0"                   // sqrtA 5, Omega0 6, w -7
    "0000000000002040 00000000000022C0 0000000000002440"                   // M0 8, af0 -9, af1 10
    "4808 0000000000000840"                                                // ionosphere of week 2120, second 3
    "000000000000F03F 00000000000000C0 0000000000000840 00000000000010C0"  // alpha: 1, -2, 3, -4
    "0000000000001440 00000000000018C0 0000000000001C40 00000000000020C0"  // beta: 5, -6, 7, -8
    "4908 0000000000001040"                                                // UTC of week 2121, second 4
    "000000000000F0BF 000000000000E0BF"                                    // A0 -1, A1 -0.5
    "12000000 0000000000002440"                                            // DtLS 18, Tot 10
    "4A080000 89080000 07000000 FFFFFFFF"                                  // WNt 2122, WNLSF 2185, DN 7, DtLSF -1
    "0100"                                                                 // one GLONASS record
    "0700 FEFF"                                                            // slot 7, channel -2
    "6A04 0000000000000000"                               // dated week 1130, second 0: 2 September 2001
    "0100 6302"                                           // health 1, day 611
    "000000000000F03F 0000000000002840 000000000000E03F"  // Lambda 1, node time 12, Eccent 0.5
    "00000000000000C0 0000000000000840 00000000000010C0"  // W -2, Di 3, DDrac -4
    "0000000000001440 00000000000018C0";                  // DDracDot 5, TauN -6

Bytes FromHex(std::string_view text) {
    const auto digit = [](char c) { return c <= '9' ? c - '0' : c - 'A' + 10; };
    Bytes bytes;
    for (std::size_t i = 0; i < text.size(); i += text[i] == ' ' ? 1 : 2) {
        if (text[i] != ' ') bytes.push_back(static_cast<std::byte>(digit(text[i]) * 16 + digit(text[i + 1])));
    }
    return bytes;
}

Almanac::GlonassSV GlonassRecord(int slot, int day, double TLambda) {
    return {slot, -2, GPSTime(1130, 0.0), 1, day, Angle(1.0), TLambda, 0.5, Angle(-2.0), Angle(3.0), -4.0, 5.0, -6.0};
}

Almanac GoldenAlmanac() {
    const Almanac::SV sv{5,   GPSTime(2118, 1.0), GPSTime(2119, 2.0), 63,         0.5,  Angle(1.5), Angle(-2.5),
                         5.0, Angle(6.0),         Angle(-7.0),        Angle(8.0), -9.0, 10.0};
    const Almanac::Iono iono{GPSTime(2120, 3.0), 1.0, -2.0, 3.0, -4.0, 5.0, -6.0, 7.0, -8.0};
    const Almanac::UTC utc{GPSTime(2121, 4.0), -1.0, -0.5, 18, 10.0, 2122, 2185, 7, -1};
    Almanac almanac;
    EXPECT_TRUE(almanac.UpdateSV(sv) && almanac.UpdateIono(iono) && almanac.UpdateUTC(utc));
    EXPECT_TRUE(almanac.UpdateGlonassSV(GlonassRecord(7, 611, 12.0)));
    return almanac;
}

bool Load(Almanac& almanac, const Bytes& bytes) {
    Corvane::Stream::MemoryInput input(bytes);
    return almanac.Read(input);
}

TEST(AlmanacFile, IsTheOneWrittenByHand) {
    const Bytes golden = FromHex(Golden);
    ASSERT_EQ(golden.size(), 2U + 96 + 74 + 54 + 2 + 82);
    EXPECT_EQ(tests::BytesOf(GoldenAlmanac()), golden);
    EXPECT_EQ(tests::BytesOf(tests::ReadBack(GoldenAlmanac())), golden);

    const Bytes empty = tests::BytesOf(Almanac());
    EXPECT_EQ(empty.size(), 2U + 74 + 54 + 2);
    EXPECT_EQ(tests::BytesOf(tests::ReadBack(Almanac())), empty);
}

TEST(AlmanacFile, CutShortAnywhere) {
    const Bytes golden = FromHex(Golden);
    Almanac::SV sv;
    sv.prn = 11;
    Almanac held;
    ASSERT_TRUE(held.UpdateSV(sv));
    const Bytes before = tests::BytesOf(held);
    for (std::size_t length = 0; length < golden.size(); ++length) {
        SCOPED_TRACE(length);
        Almanac almanac = held;
        const Bytes cut(golden.begin(), golden.begin() + static_cast<std::ptrdiff_t>(length));
        if (length < 172 || length >= 228) {
            EXPECT_FALSE(Load(almanac, cut));
            EXPECT_EQ(tests::BytesOf(almanac), before);
            continue;
        }
        ASSERT_TRUE(Load(almanac, cut));
        EXPECT_TRUE(almanac.NmrSV() == 1 && almanac.GetSV(0).prn == 5 && almanac.NmrGlonassSV() == 0);
        EXPECT_EQ(almanac.GetIono(), GoldenAlmanac().GetIono());
        EXPECT_EQ(almanac.GetUTC(), length < 226 ? Almanac::UTC() : GoldenAlmanac().GetUTC());
    }
}

TEST(AlmanacFile, TakesWhatTheRecordsSayByTheRulesOfUpdates) {
    Corvane::Stream::MemoryOutput output;
    const auto addGPS = [&output](int number, double second) {
        Almanac::SV sv;
        if (number != 0) sv.prn = number;
        sv.time = GPSTime(2000, second);
        return sv.Write(output);
    };
    output.WriteIntAsShort(6);
    EXPECT_TRUE(addGPS(32, 5.0) && addGPS(3, 1.0) && addGPS(32, 7.0) && addGPS(32, 6.0));
    EXPECT_TRUE(addGPS(0, 9.0) && addGPS(0, 8.0)) << "of no satellite";
    EXPECT_TRUE(Almanac::Iono().Write(output) && Almanac::UTC().Write(output));
    output.WriteIntAsShort(5);
    for (const auto& sv : {GlonassRecord(8, 611, 2.0), GlonassRecord(4, 900, 0.0), GlonassRecord(2, 600, 0.0),
                           GlonassRecord(8, 611, 1.0), GlonassRecord(0, 611, 0.0)}) {
        EXPECT_TRUE(sv.Write(output));
    }
    Corvane::Event::Clear();
    Almanac almanac;
    ASSERT_TRUE(Load(almanac, output.Bytes()));
    ASSERT_TRUE(almanac.NmrSV() == 2 && almanac.NmrGlonassSV() == 2);
    EXPECT_EQ(almanac.GetSV(0).prn, 3);
    EXPECT_EQ(almanac.GetSV(1).time, GPSTime(2000, 7.0));
    EXPECT_EQ(almanac.GetGlonassSV(0).slot, 2);
    EXPECT_EQ(almanac.GetGlonassSV(1).TLambda, 2.0);
    EXPECT_TRUE(Corvane::Event::GetKept().empty());
}

// The golden file with other bytes in one place.
TEST(AlmanacFile, NumbersThatLie) {
    const struct {
        const char* what;
        std::size_t at;
        std::initializer_list<int> bytes;
        bool loads;
        int nmrGlonass;
    } rows[] = {{"GPS records: -1", 0, {0xFF, 0xFF}, false, 0},
                {"GPS records: 32767", 0, {0xFF, 0x7F}, false, 0},
                {"GLONASS records: -1", 226, {0xFF, 0xFF}, true, 0},
                {"GLONASS records: 2", 226, {2, 0}, false, 0},
                {"a time that could not be written again", 13, {0x7F}, false, 0},
                {"that of the ionosphere", 107, {0x7F}, false, 0},
                {"that of UTC, which is not checked", 181, {0x7F}, true, 1}};
    for (const auto& row : rows) {
        Bytes bytes = FromHex(Golden);
        std::size_t at = row.at;
        for (const int byte : row.bytes) bytes[at++] = static_cast<std::byte>(byte);
        Almanac almanac;
        EXPECT_EQ(Load(almanac, bytes), row.loads) << row.what;
        EXPECT_EQ(almanac.NmrGlonassSV(), row.nmrGlonass) << row.what;
        EXPECT_EQ(almanac.GetUTC() == Almanac::UTC(), !row.loads || row.nmrGlonass == 1) << row.what;
    }
}

}  // namespace
