// The GLONASS navigation message: strings, where an almanac is found, every field.
#include "gnss/icd/ICDGlonass.h"

#include <algorithm>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/platform/Clock.h"
#include "tests/icd/Messages.h"
#include "tests/support/Random.h"

namespace {

using GNSS::GPSTime;
using GNSS::ICDGlonass;
using GNSS::Glonass::Ephemeride;
using Almanac = GNSS::Almanac::GlonassSV;
using Status = Ephemeride::Status;
using enum tests::Code;

ICDGlonass::String MakeString(int number, int slot = 0) {
    ICDGlonass::String string;
    tests::Encode(string, 81, 4, static_cast<std::uint64_t>(number));
    tests::Encode(string, 73, 5, static_cast<std::uint64_t>(slot));
    return string;
}

TEST(ICDGlonassString, AnyRangeOfBitsIsDefined) {
    auto random = tests::MakeRandom();
    ICDGlonass::String string;
    for (int n = 0; n < 12; ++n) string[n] = static_cast<unsigned char>(random());
    std::array<bool, 256> bit{};
    for (std::size_t n = 1; n <= 88; ++n) bit[n] = ((string[static_cast<int>(88 - n) / 8] >> ((n - 1) % 8)) & 1) != 0;
    for (unsigned first = 0; first < 92; ++first) {
        std::int64_t bits = 0;  // those below first + count, at most 32
        for (unsigned count = 0; count < 100; ++count) {
            ASSERT_EQ(string.GetUnsigned(first, count), bits) << first << ' ' << count;
            if (count >= 32) continue;
            ASSERT_EQ(string.GetSigned(first, count + 1), bit[first + count] ? -bits : bits);
            ASSERT_EQ(string.GetBit(static_cast<int>(first)), bit[first] ? 1 : 0);
            if (bit[first + count]) bits += 1LL << count;
        }
    }
    EXPECT_EQ(string.GetUnsigned(0xFFFFFFFFU, 0xFFFFFFFFU), 0U);
    EXPECT_EQ(string.GetSigned(88, 0xFFFFFFFFU), bit[88] ? 1 : 0);
    EXPECT_EQ(string.GetBit(INT32_MIN) + string.GetBit(INT32_MAX) + string.GetSigned(5, 0), 0);
}

struct Records {
    Ephemeride eph;
    Almanac sv;
};
using Row = tests::Row<Records>;
double TwoTo(int exponent) {
    return std::ldexp(1.0, exponent);
}
#define GET(expression) [](const Records& r) -> double { return expression; }

// Interface control document, edition 5.1, 4.4 and 4.5: string, lowest and highest bit, coding, scale; strings 6 and 7
// stand for the two of an almanac.
std::vector<Row> Fields() {
    return {
        {"hours", 0, {{1, 72, 76}}, Unsigned, 1, nullptr},
        {"minutes", 0, {{1, 66, 71}}, Unsigned, 1, nullptr},
        {"half minutes", 0, {{1, 65, 65}}, Unsigned, 1, nullptr},
        {"type M", 0, {{4, 9, 10}}, Unsigned, 1, nullptr},
        {"P1", 0, {{1, 77, 78}}, Unsigned, 1, GET(std::max(r.eph.status.Get(Status::P1) / 15 - 1, 0))},
        {"x", 0, {{1, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetX())},
        {"vx", 0, {{1, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetX())},
        {"ax", 0, {{1, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetX())},
        {"y", 0, {{2, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetY())},
        {"vy", 0, {{2, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetY())},
        {"ay", 0, {{2, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetY())},
        {"tb", 0, {{2, 70, 76}}, Unsigned, 900, GET(r.eph.posn.tb)},
        {"P2", 0, {{2, 77, 77}}, Unsigned, 1, GET(r.eph.status.Get(Status::P2))},
        {"B", 0, {{2, 80, 80}}, Unsigned, 1, GET(r.eph.status.IsUnhealthy() ? 1 : 0)},
        {"z", 0, {{3, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetZ())},
        {"vz", 0, {{3, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetZ())},
        {"az", 0, {{3, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetZ())},
        {"gamma", 0, {{3, 69, 79}}, SignMagnitude, TwoTo(-40), GET(r.eph.clock.gamma)},
        {"P3", 0, {{3, 80, 80}}, Unsigned, 1, GET(r.eph.status.Get(Status::P3))},
        {"NT", 0, {{4, 16, 26}}, Unsigned, 1, GET(r.eph.posn.day)},
        {"P4", 0, {{4, 34, 34}}, Unsigned, 1, GET(r.eph.status.Get(Status::P4))},
        {"E", 0, {{4, 49, 53}}, SignMagnitude, 1, GET(r.eph.m.age)},
        {"tau", 0, {{4, 59, 80}}, SignMagnitude, TwoTo(-30), GET(r.eph.clock.tau)},
        {"C", 0, {{6, 80, 80}}, Unsigned, 1, GET(r.sv.health)},
        {"tau n", 0, {{6, 63, 72}}, SignMagnitude, TwoTo(-18), GET(r.sv.TauN)},
        {"lambda", 0, {{6, 42, 62}}, SignMagnitude, TwoTo(-20), GET(r.sv.Lambda.SemiCircles())},
        {"delta i", 0, {{6, 24, 41}}, SignMagnitude, TwoTo(-20), GET(r.sv.Di.SemiCircles())},
        {"e", 0, {{6, 9, 23}}, Unsigned, TwoTo(-20), GET(r.sv.Eccent)},
        {"omega", 0, {{7, 65, 80}}, SignMagnitude, TwoTo(-15), GET(r.sv.W.SemiCircles())},
        {"t lambda", 0, {{7, 44, 64}}, Unsigned, TwoTo(-5), GET(r.sv.TLambda)},
        {"delta T", 0, {{7, 22, 43}}, SignMagnitude, TwoTo(-9), GET(r.sv.DDrac)},
        {"delta T dot", 0, {{7, 15, 21}}, SignMagnitude, TwoTo(-14), GET(r.sv.DDracDot)},
        {"H", 0, {{7, 10, 14}}, Unsigned, 1, GET(r.sv.channel < 0 ? r.sv.channel + 32 : r.sv.channel)},
        {"NA", 0, {{5, 70, 80}}, Unsigned, 1, GET(r.sv.day)},
    };
}

TEST(ICDGlonass, EveryFieldComesBackAmidRandomBits) {
    auto random = tests::MakeRandom();
    Corvane::Clock::SetTo({Corvane::Date(2023, 6, 28), Corvane::TimeOfDay(15, 0, 0.0)});
    auto rows = Fields();
    for (int round = 0; round < 200; ++round) {
        const int slot = 1 + round % 24;
        const int frame = 1 + (slot - 1) / 5;
        const int even = 6 + (slot - 1) % 5 * 2;
        for (Row& row : rows) row.Draw(random);
        ICDGlonass icd;
        for (int unit = 1; unit <= 7; ++unit) {
            ICDGlonass::String string;
            for (int n = 0; n < ICDGlonass::String::NmrBytes; ++n) string[n] = static_cast<unsigned char>(random());
            tests::Encode(string, 81, 4, static_cast<std::uint64_t>(unit < 6 ? unit : even + unit - 6));
            if (unit == 6) tests::Encode(string, 73, 5, static_cast<std::uint64_t>(slot));
            for (const Row& row : rows) {
                if (row.parts[0].unit == unit)
                    tests::Encode(string, row.parts[0].first, row.parts[0].Width(), row.bits);
            }
            icd.AddString(frame, string);
        }
        Records records;
        records.eph.slot = records.sv.slot = slot;
        records.eph.reference = GPSTime(2268, 1.0);
        records.eph.accuracy = 1.0;
        ASSERT_TRUE(icd.GetEphemeride(records.eph, frame));
        const bool isUsable = icd.GetAlmanac(records.sv);
        EXPECT_EQ(isUsable, records.sv.channel != 0 || records.sv.health == 1);
        for (const Row& row : rows) row.Expect(records);
        EXPECT_EQ(records.eph.posn.frameTime,
                  static_cast<double>(rows[0].bits * 3600 + rows[1].bits * 60 + rows[2].bits * 30));
        EXPECT_EQ(records.eph.m.isM, rows[3].bits == 1);
        EXPECT_EQ(records.eph.accuracy, 1000001.0);
        EXPECT_EQ(records.eph.status.Get(Status::Present), 31);
        EXPECT_EQ(records.eph.posn.sequence, -1);
        EXPECT_EQ(records.eph.reference, GPSTime(2268, 1.0));
        EXPECT_EQ(records.sv.time, GPSTime(Corvane::Now));
        EXPECT_TRUE(records.sv.channel >= -7 && records.sv.channel <= 24) << records.sv.channel;
    }
    Corvane::Clock::UseSystem();
}

TEST(ICDGlonass, AlmanacIsFoundWhereverItStands) {
    struct Case {
        const char* what;
        int slot;
        std::vector<std::array<int, 3>> strings;  // frame, number, slot that it names
        int day;  // of the string 5 that goes with it, the frame's number; 0 = not found
    };
    const std::vector<Case> cases = {
        {"none", 3, {{1, 10, 4}}, 0},
        {"in its place", 3, {{1, 10, 3}, {1, 6, 3}, {2, 6, 3}}, 1},
        {"elsewhere in its frame", 3, {{1, 12, 3}, {2, 10, 3}}, 1},
        {"a second string that seems to name it comes first", 3, {{1, 7, 3}, {1, 8, 3}}, 1},
        {"strings before the almanac do not count", 3, {{1, 4, 3}}, 0},
        {"in another frame, the first of them", 3, {{5, 6, 3}, {4, 14, 3}}, 4},
        {"last slot", 24, {{5, 12, 24}}, 5},
        {"nothing follows string 15", 3, {{1, 15, 3}}, 0},
        {"a null slot", 0, {{1, 6, 0}}, 0},
    };
    for (const Case& c : cases) {
        ICDGlonass icd;
        for (int frame = 1; frame <= 5; ++frame) {
            ICDGlonass::String fifth = MakeString(5);
            tests::Encode(fifth, 70, 11, static_cast<std::uint64_t>(frame));
            icd.AddString(frame, fifth);
        }
        for (const auto& [frame, number, slot] : c.strings) {
            ICDGlonass::String string = MakeString(number, slot);
            tests::Encode(string, 80, 1, 1);
            icd.AddString(frame, string);
        }
        Almanac sv;
        if (c.slot != 0) sv.slot = c.slot;
        sv.day = -5;
        EXPECT_EQ(icd.GetAlmanac(sv), c.day != 0) << c.what;
        EXPECT_EQ(sv.day, c.day == 0 ? -5 : c.day) << c.what;
    }
    ICDGlonass::Frame frame;
    frame.SetString(MakeString(15, 3));
    frame.SetString(MakeString(7, 31));
    frame.SetString(MakeString(5, 30));
    int index = -1;
    EXPECT_FALSE(frame.FindIndex(0, index) || frame.FindIndex(INT32_MIN, index) || frame.FindIndex(INT32_MAX, index));
    EXPECT_TRUE(index == -1 && frame.FindIndex(3, index) && index == 14);
    EXPECT_TRUE(frame.FindIndex(31, index) && index == 6 && !frame.FindIndex(30, index));
}

TEST(ICDGlonass, IgnoresWhatDoesNotExist) {
    ICDGlonass icd;
    icd.AddString(1, MakeString(0, 9));
    for (const int n : {0, 6, INT32_MIN, INT32_MAX}) icd.AddString(n, MakeString(1, 9));
    EXPECT_EQ(icd, ICDGlonass());
    Ephemeride eph;
    eph.accuracy = 2.0;
    EXPECT_FALSE(icd.GetEphemeride(eph, 1)) << "null slot";
    eph.slot = 1;
    EXPECT_FALSE(icd.GetEphemeride(eph, 0) || icd.GetEphemeride(eph, 6));
    EXPECT_EQ(eph.accuracy, 2.0);
    EXPECT_TRUE(icd.GetEphemeride(eph, 5));
}

}  // namespace
