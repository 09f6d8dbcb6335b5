// The GLONASS navigation message: strings, where an almanac is found, every field, and a receiver's own strings.
#include "gnss/icd/ICDGlonass.h"

#include <map>
#include <set>
#include <string>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/platform/Clock.h"
#include "tests/almanac/Reference.h"
#include "tests/icd/Messages.h"
#include "tests/support/Random.h"

namespace {

using Corvane::TimeDate;
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
    for (int round = 0; round < 5; ++round) {
        ICDGlonass::String string;
        for (int n = 0; n < 12; ++n) string[n] = static_cast<unsigned char>(random());
        std::array<unsigned, 256> bit{};
        for (unsigned n = 1; n <= 88; ++n) {
            bit[n] = (static_cast<unsigned>(string[static_cast<int>(88 - n) / 8]) >> ((n - 1) % 8)) & 1U;
            ASSERT_EQ(string.GetBit(static_cast<int>(n)), static_cast<int>(bit[n]));
        }
        for (unsigned first = 0; first < 92; ++first) {
            std::uint64_t bits = 0;  // those below first + count, at most 32
            for (unsigned count = 0; count < 100; ++count) {
                ASSERT_EQ(string.GetUnsigned(first, count), bits) << first << ' ' << count;
                if (count < 32) {
                    const std::int64_t magnitude = static_cast<std::int64_t>(bits);
                    ASSERT_EQ(string.GetSigned(first, count + 1), bit[first + count] != 0 ? -magnitude : magnitude);
                    bits += std::uint64_t{bit[first + count]} << count;
                }
            }
        }
        EXPECT_EQ(string.GetUnsigned(0xFFFFFFFFU, 0xFFFFFFFFU), 0U);
        EXPECT_EQ(string.GetSigned(88, 0xFFFFFFFFU), static_cast<int>(bit[88]));
        EXPECT_EQ(string.GetBit(0) + string.GetBit(INT32_MIN) + string.GetBit(89) + string.GetBit(INT32_MAX), 0);
        EXPECT_EQ(string.GetSigned(5, 0), 0);
    }
}

struct Records {
    Ephemeride eph;
    Almanac sv;
};
using Row = tests::Row<Records>;
constexpr int Immediate = 1;
constexpr int Coarse = 2;  // almanac strings: 1 and 2, and 3 for string 5
double TwoTo(int exponent) {
    return std::ldexp(1.0, exponent);
}
#define GET(expression) [](const Records& r) -> double { return expression; }

// Interface control document, edition 5.1, 4.4 and 4.5: string, lowest and highest bit, coding, scale.
std::vector<Row> Fields() {
    return {
        {"P1",
         Immediate,
         {{1, 77, 78}},
         Unsigned,
         1,
         [](const Records& r) {
             static const std::map<int, int> Codes = {{0, 0}, {30, 1}, {45, 2}, {60, 3}};
             return static_cast<double>(Codes.at(r.eph.status.Get(Status::P1)));
         }},
        {"x", Immediate, {{1, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetX())},
        {"vx", Immediate, {{1, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetX())},
        {"ax", Immediate, {{1, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetX())},
        {"y", Immediate, {{2, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetY())},
        {"vy", Immediate, {{2, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetY())},
        {"ay", Immediate, {{2, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetY())},
        {"tb", Immediate, {{2, 70, 76}}, Unsigned, 900, GET(r.eph.posn.tb)},
        {"P2", Immediate, {{2, 77, 77}}, Unsigned, 1, GET(r.eph.status.Get(Status::P2))},
        {"B", Immediate, {{2, 80, 80}}, Unsigned, 1, GET(r.eph.status.IsUnhealthy() ? 1 : 0)},
        {"z", Immediate, {{3, 9, 35}}, SignMagnitude, TwoTo(-11), GET(r.eph.posn.posn.GetZ())},
        {"vz", Immediate, {{3, 41, 64}}, SignMagnitude, TwoTo(-20), GET(r.eph.posn.vely.GetZ())},
        {"az", Immediate, {{3, 36, 40}}, SignMagnitude, TwoTo(-30), GET(r.eph.posn.accel.GetZ())},
        {"gamma", Immediate, {{3, 69, 79}}, SignMagnitude, TwoTo(-40), GET(r.eph.clock.gamma)},
        {"P3", Immediate, {{3, 80, 80}}, Unsigned, 1, GET(r.eph.status.Get(Status::P3))},
        {"NT", Immediate, {{4, 16, 26}}, Unsigned, 1, GET(r.eph.posn.day)},
        {"P4", Immediate, {{4, 34, 34}}, Unsigned, 1, GET(r.eph.status.Get(Status::P4))},
        {"E", Immediate, {{4, 49, 53}}, SignMagnitude, 1, GET(r.eph.m.age)},
        {"tau", Immediate, {{4, 59, 80}}, SignMagnitude, TwoTo(-30), GET(r.eph.clock.tau)},
        {"C", Coarse, {{1, 80, 80}}, Unsigned, 1, GET(r.sv.health)},
        {"tau n", Coarse, {{1, 63, 72}}, SignMagnitude, TwoTo(-18), GET(r.sv.TauN)},
        {"lambda", Coarse, {{1, 42, 62}}, SignMagnitude, TwoTo(-20), GET(r.sv.Lambda.SemiCircles())},
        {"delta i", Coarse, {{1, 24, 41}}, SignMagnitude, TwoTo(-20), GET(r.sv.Di.SemiCircles())},
        {"e", Coarse, {{1, 9, 23}}, Unsigned, TwoTo(-20), GET(r.sv.Eccent)},
        {"omega", Coarse, {{2, 65, 80}}, SignMagnitude, TwoTo(-15), GET(r.sv.W.SemiCircles())},
        {"t lambda", Coarse, {{2, 44, 64}}, Unsigned, TwoTo(-5), GET(r.sv.TLambda)},
        {"delta T", Coarse, {{2, 22, 43}}, SignMagnitude, TwoTo(-9), GET(r.sv.DDrac)},
        {"delta T dot", Coarse, {{2, 15, 21}}, SignMagnitude, TwoTo(-14), GET(r.sv.DDracDot)},
        {"H", Coarse, {{2, 10, 14}}, Unsigned, 1, GET(r.sv.channel < 0 ? r.sv.channel + 32 : r.sv.channel)},
        {"NA", Coarse, {{3, 70, 80}}, Unsigned, 1, GET(r.sv.day)},
    };
}

TEST(ICDGlonass, EveryFieldComesBackAmidRandomBits) {
    auto random = tests::MakeRandom();
    const TimeDate now(Corvane::Date(2023, 6, 28), Corvane::TimeOfDay(15, 0, 0.0));
    Corvane::Clock::SetTo(now);
    auto rows = Fields();
    const auto randomString = [&](int number) {
        ICDGlonass::String string;
        for (int n = 0; n < ICDGlonass::String::NmrBytes; ++n) string[n] = static_cast<unsigned char>(random());
        tests::Encode(string, 81, 4, static_cast<std::uint64_t>(number));
        return string;
    };
    for (int round = 0; round < 200; ++round) {
        const int slot = 1 + round % 24;
        const int frame = 1 + (slot - 1) / 5;
        const int even = 6 + (slot - 1) % 5 * 2;
        for (Row& row : rows) row.Draw(random);
        const int hours = static_cast<int>(random() % 32);
        const int minutes = static_cast<int>(random() % 64);
        const int half = round % 2;
        const int typeM = round % 4;
        ICDGlonass icd;
        for (const auto& [number, message, unit] : std::vector<std::array<int, 3>>{{1, Immediate, 1},
                                                                                   {2, Immediate, 2},
                                                                                   {3, Immediate, 3},
                                                                                   {4, Immediate, 4},
                                                                                   {even, Coarse, 1},
                                                                                   {even + 1, Coarse, 2},
                                                                                   {5, Coarse, 3}}) {
            ICDGlonass::String string = randomString(number);
            for (const Row& row : rows) {
                if (row.message != message || row.parts[0].unit != unit) continue;
                tests::Encode(string, row.parts[0].first, row.parts[0].Width(), row.bits);
            }
            if (number == 1) {
                tests::Encode(string, 72, 5, static_cast<std::uint64_t>(hours));
                tests::Encode(string, 66, 6, static_cast<std::uint64_t>(minutes));
                tests::Encode(string, 65, 1, static_cast<std::uint64_t>(half));
            }
            if (number == 4) tests::Encode(string, 9, 2, static_cast<std::uint64_t>(typeM));
            if (number == even) tests::Encode(string, 73, 5, static_cast<std::uint64_t>(slot));
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
        EXPECT_EQ(records.eph.posn.frameTime, hours * 3600.0 + minutes * 60.0 + half * 30.0);
        EXPECT_EQ(records.eph.m.isM, typeM == 1);
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
        {"strings before the almanac do not count", 3, {{1, 4, 3}, {1, 5, 3}}, 0},
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
            if (number == 5) continue;
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
    int index = -1;
    EXPECT_FALSE(frame.FindIndex(0, index) || frame.FindIndex(INT32_MIN, index) || frame.FindIndex(INT32_MAX, index));
    EXPECT_TRUE(index == -1 && frame.FindIndex(3, index) && index == 14);
    EXPECT_TRUE(frame.FindIndex(31, index) && index == 6);

    // Dropped: string number 0, frames that do not exist.
    ICDGlonass icd;
    ICDGlonass::String none = MakeString(0, 9);
    icd.AddString(1, none);
    for (const int n : {0, 6, INT32_MIN, INT32_MAX}) icd.AddString(n, MakeString(1, 9));
    EXPECT_EQ(icd, ICDGlonass());
    Ephemeride eph;
    eph.accuracy = 2.0;
    EXPECT_FALSE(icd.GetEphemeride(eph, 1));  // null slot
    eph.slot = 1;
    EXPECT_FALSE(icd.GetEphemeride(eph, 0) || icd.GetEphemeride(eph, 6));
    EXPECT_EQ(eph.accuracy, 2.0);
    EXPECT_TRUE(icd.GetEphemeride(eph, 5));
}

// The strings of four satellites during five minutes of 28 June 2023, from the log of a u-blox receiver.
class ReceiverStrings {
public:
    explicit ReceiverStrings(const std::string& path) : table_(path) {}

    // Calls visit(satellite, seconds of the week, frame, string number, what the satellite has sent so far).
    template <typename Visit>
    void Replay(const Visit& visit) const {
        std::map<int, ICDGlonass> satellites;
        for (std::size_t row = 0; row < table_.NmrRows(); ++row) {
            // 88 bits in hexadecimal, the first of which is bit 85: three places further to the left than in a String.
            const std::string& hex = table_.Text(row, "bits85_to_1_hex_left_aligned");
            ICDGlonass::String string;
            for (int bit = 85; bit >= 1; --bit) {
                const auto place = static_cast<std::size_t>(85 - bit);
                const auto digit = static_cast<unsigned>(std::stoi(hex.substr(place / 4, 1), nullptr, 16));
                tests::Encode(string, bit, 1, (digit >> (3 - place % 4)) & 1U);
            }
            const int slot = static_cast<int>(table_.Get(row, "svid_slot"));
            const int frame = std::stoi(table_.Text(row, "superframe_word_frame_hex").substr(4), nullptr, 16);
            ASSERT_EQ(string.GetNumber(), static_cast<int>(table_.Get(row, "string_no")));
            satellites[slot].AddString(frame, string);
            visit(slot, table_.Get(row, "approx_tow_s_GPST"), frame, string.GetNumber(), satellites[slot]);
        }
    }

private:
    tests::Table table_;
};

TEST(ICDGlonassData, EphemeridesEqualThoseOfAnIndependentDecoder) {
    GNSS_REQUIRE_TEST_DATA(stringsPath, "reference/glo_strings_ublox_2023179.csv");
    GNSS_REQUIRE_TEST_DATA(path, "reference/glo_eph_ublox_2023179.csv");
    const tests::Table reference(path);  // RTKLIB 2.4.3 b34, decode_glostr
    std::size_t nmrCompared = 0;
    ReceiverStrings(stringsPath).Replay([&](int slot, double tow, int frame, int number, const ICDGlonass& icd) {
        if (number != 4) return;
        for (std::size_t row = 0; row < reference.NmrRows(); ++row) {
            if (reference.Get(row, "approx_tow_s_GPST") != tow) continue;
            if (std::stoi(reference.Text(row, "sat").substr(1)) != slot) continue;
            Ephemeride eph;
            eph.slot = slot;
            ASSERT_TRUE(icd.GetEphemeride(eph, frame));
            const auto expectNear = [&](double value, const char* column, double factor, double lastBit) {
                EXPECT_NEAR(value, reference.Get(row, column) * factor, lastBit / 2.0) << column << " of row " << row;
            };
            using SF = ICDGlonass::EphemerisSF;
            expectNear(eph.posn.posn.GetX(), "x_m_PZ90", 1e-3, SF::Posn);
            expectNear(eph.posn.posn.GetY(), "y_m_PZ90", 1e-3, SF::Posn);
            expectNear(eph.posn.posn.GetZ(), "z_m_PZ90", 1e-3, SF::Posn);
            expectNear(eph.posn.vely.GetX(), "vx_mps", 1e-3, SF::Vely);
            expectNear(eph.posn.vely.GetY(), "vy_mps", 1e-3, SF::Vely);
            expectNear(eph.posn.vely.GetZ(), "vz_mps", 1e-3, SF::Vely);
            expectNear(eph.posn.accel.GetX(), "ax_mps2", 1e-3, SF::Accl);
            expectNear(eph.posn.accel.GetY(), "ay_mps2", 1e-3, SF::Accl);
            expectNear(eph.posn.accel.GetZ(), "az_mps2", 1e-3, SF::Accl);
            expectNear(eph.clock.tau, "minus_tau_n_s", -1.0, SF::Tau);
            expectNear(eph.clock.gamma, "gamma_n", 1.0, SF::Gamma);
            expectNear(eph.posn.tb, "tb_15min_MoscowTime", 900.0, 900.0);
            expectNear(eph.m.age, "En_age_days", 1.0, 1.0);
            expectNear(eph.status.IsUnhealthy() ? 1.0 : 0.0, "Bn_msb", 1.0, 1.0);
            // 28 June is day 1275 of the years from 2020 on; the frame began within half a minute of these Moscow
            // seconds of the day; number 71 of tb is odd; every satellite of that year is of type M or newer.
            EXPECT_EQ(eph.posn.day, 1275);
            EXPECT_NEAR(eph.posn.frameTime, std::fmod(tow - 18.0 + 10800.0, 86400.0) - 15.0, 15.0);
            EXPECT_EQ(eph.status.Get(Status::P2), 1);
            EXPECT_TRUE(eph.m.isM && eph.HasReasonablePosn() && eph.HasReasonableVely());
            ++nmrCompared;
        }
    });
    EXPECT_EQ(nmrCompared, reference.NmrRows());
    EXPECT_EQ(nmrCompared, 38U);
}

TEST(ICDGlonassData, AlmanacsEqualThoseOfAnIndependentDecoder) {
    GNSS_REQUIRE_TEST_DATA(stringsPath, "reference/glo_strings_ublox_2023179.csv");
    GNSS_REQUIRE_TEST_DATA(path, "reference/glo_alm_ublox_2023179.csv");
    const tests::Table reference(path);  // a separate small decoder after the interface control document
    std::set<std::size_t> seen;
    std::set<int> slots;
    const auto equals = [&](std::size_t row, const Almanac& sv) {
        using SF = ICDGlonass::AlmanacSF;
        const auto isNear = [&](double value, const char* column, double lastBit) {
            return std::abs(value - reference.Get(row, column)) <= lastBit / 2.0;
        };
        return isNear(sv.slot, "slot", 1.0) && isNear(sv.day, "N_A_day", 1.0) && isNear(sv.health, "health_C", 1.0) &&
               isNear(sv.channel, "freq_no", 1.0) && isNear(sv.TauN, "tau_s", SF::TauN) &&
               isNear(sv.Lambda.SemiCircles(), "lambda_semicycle", SF::Lambda) &&
               isNear(sv.Di.SemiCircles(), "delta_i_semicycle", SF::Di) && isNear(sv.Eccent, "ecc", SF::Eccent) &&
               isNear(sv.W.SemiCircles(), "omega_semicycle", SF::W) && isNear(sv.TLambda, "t_lambda_s", SF::TLambda) &&
               isNear(sv.DDrac, "delta_T_s_per_orbit", SF::DDrac) &&
               isNear(sv.DDracDot, "delta_T_dot_s_per_orbit2", SF::DDracDot);
    };
    ReceiverStrings(stringsPath).Replay([&](int, double tow, int frame, int number, const ICDGlonass& icd) {
        // When the second string of an almanac comes, and the others have been received.
        if (number < 7 || number % 2 == 0) return;
        if (icd[frame - 1][4].GetNumber() != 5 || icd[frame - 1][number - 2].GetNumber() != number - 1) return;
        const int slot = 5 * (frame - 1) + (number - 5) / 2;
        if (slot > 24) return;
        Almanac sv;
        sv.slot = slot;
        EXPECT_TRUE(icd.GetAlmanac(sv)) << slot;
        bool isFound = false;
        for (std::size_t row = 0; row < reference.NmrRows(); ++row) {
            if (!equals(row, sv)) continue;
            isFound = true;
            seen.insert(row);
            slots.insert(slot);
        }
        EXPECT_TRUE(isFound) << "slot " << slot << " at " << tow;
    });
    EXPECT_EQ(slots.size(), 24U);
    EXPECT_EQ(seen.size(), reference.NmrRows());
}

}  // namespace
