// Identifiers of both systems, their lists and signals.
#include <concepts>
#include <sstream>
#include <type_traits>

#include <gtest/gtest.h>

#include "gnss/time/GPSFreqy.h"
#include "gnss/time/GlonassFrequency.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace {

using GNSS::GPSFreqy;
using GNSS::PRN;
using GNSS::Glonass::Frequency;
using GNSS::Glonass::Slot;

// Identifiers of different systems neither compare nor convert nor mix in a list.
template <typename A, typename B>
concept Mix = requires(A a, B b) {
    a == b;
}
|| requires(A a, B b) {
    a != b;
}
|| requires(A a, B b) {
    a < b;
}
|| requires(A a, B b) {
    a >= b;
}
|| requires(A a, B b) {
    a.Compare(b);
}
|| requires(A a, B b) {
    a = b;
}
|| std::constructible_from<A, B> || requires(typename A::List list, B b) {
    list.Add(b);
};
static_assert(!Mix<PRN, Slot> && !Mix<Slot, PRN>);
static_assert(Mix<PRN, PRN> && Mix<PRN, int> && Mix<Slot, int>, "the check itself sees what does compile");

template <typename Id>
concept HasFiveBitForm = requires(Id id) {
    id.SetFrom5Bit(0);
};
static_assert(HasFiveBitForm<PRN> && !HasFiveBitForm<Slot>);
static_assert(sizeof(PRN) == 1 && std::is_trivially_copyable_v<PRN>);

// -1 stands for null, which has no number of its own to be set from.
constexpr int Null = -1;

int Number(auto id) {
    return id.IsNull() ? Null : int{id};
}

TEST(SatelliteId, SetsFromAnyNumber) {
    const struct {
        int number, prn, slot;
        const char* why;
    } rows[] = {
        {0, 32, Null, "only GPS writes its last satellite as 0"},
        {1, 1, 1, "lower end"},
        {24, 24, 24, "last slot"},
        {25, 25, Null, "beyond the slots"},
        {32, 32, Null, "last satellite"},
        {33, Null, Null, "beyond both"},
        {-1, Null, Null, "below"},
        {256, Null, Null, "0 in the low byte"},
        {257, Null, Null, "1 in the low byte"},
        {-255, Null, Null, "1 in the low byte of a negative number"},
        {INT32_MIN, Null, Null, "0 in the low byte of the smallest"},
        {INT32_MAX, Null, Null, "the largest"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Number(PRN(row.number)), row.prn) << row.number << ": " << row.why;
        EXPECT_EQ(Number(Slot(row.number)), row.slot) << row.number << ": " << row.why;
        PRN assigned = 7;
        assigned = row.number;
        EXPECT_EQ(Number(assigned), row.prn) << row.number;
    }
    EXPECT_TRUE(PRN().IsNull());
    PRN braces = 7;
    braces = {};
    EXPECT_TRUE(braces.IsNull()) << "nothing is null, not the number 0";
}

TEST(SatelliteId, StepsThroughSet) {
    // Every start, null included (number 0): what Set makes of the neighbour.
    for (int n = 0; n <= PRN::Max; ++n) {
        const PRN from = n == 0 ? PRN() : PRN(n);
        PRN up = from;
        PRN down = from;
        EXPECT_EQ(up++, from);
        EXPECT_EQ(down--, from);
        EXPECT_EQ(Number(up), n == 32 ? Null : n + 1);
        EXPECT_EQ(Number(down), n == 0 ? Null : (n == 1 ? 32 : n - 1));
    }
    for (int n = 0; n <= Slot::Max; ++n) {
        Slot up = n;
        Slot down = n;
        EXPECT_EQ(Number(++up), n == 24 ? Null : n + 1);
        EXPECT_EQ(Number(--down), n <= 1 ? Null : n - 1);
    }
}

TEST(SatelliteId, FiveBitFormOfEveryNumber) {
    for (int value = -64; value <= 64; ++value) {
        PRN prn;
        prn.SetFrom5Bit(value);
        EXPECT_EQ(prn, (value + 64) % 32 == 0 ? 32 : (value + 64) % 32) << value;
        EXPECT_EQ(prn.Get5Bit(), (value + 64) % 32) << value;
    }
    EXPECT_EQ(PRN().Get5Bit(), 0);
}

TEST(SatelliteId, Constants) {
    EXPECT_TRUE(PRN::First == 1 && PRN::Last == 32 && PRN::Null.IsNull());
    EXPECT_TRUE(Slot::First == Slot::Min && Slot::Last == Slot::Max && Slot::Max == 24 && Slot::Null.IsNull());
}

TEST(SatelliteId, ComparesByNumber) {
    EXPECT_EQ(PRN(5).Compare(PRN(12)), -7);
    EXPECT_LT(PRN(5), PRN(12));
    EXPECT_GT(Slot(5), Slot());
    EXPECT_TRUE(5 < PRN(6) && PRN(6) >= 6 && PRN(6) != 5);
    EXPECT_TRUE(PRN() == 0 && PRN() != PRN(0)) << "an int is compared by value, not turned into an identifier";
}

TEST(SatelliteId, Prints) {
    EXPECT_EQ(PRN(5).Print(true, false), "G05");
    EXPECT_EQ(PRN(5).Print(false, true), "G5");
    EXPECT_EQ(Slot(17).Print(), "R17");
    EXPECT_EQ(PRN().Print(), "G00");
    std::ostringstream text;
    PRN(7).PrintTo(text);
    EXPECT_EQ(text.str(), "7");
}

TEST(SatelliteIdList, KeepsOrderAndRepeats) {
    PRN::List list;
    EXPECT_EQ(list.Print(), "");
    for (const int n : {3, 14, 22, 14}) list.Add(n);
    EXPECT_EQ(list.Print(), "03, 14, 22, 14");
    EXPECT_EQ(list.Find(14), 1);
    EXPECT_EQ(list.Find(5), -1);
    const PRN::List copy = list;
    list.Remove(14);
    list.Remove(5);
    EXPECT_EQ(list.Print(), "03, 22, 14");
    EXPECT_NE(list, copy);
    EXPECT_EQ(list[2], 14);
    EXPECT_TRUE(list[-1].IsNull() && list[3].IsNull());
    PRN::List turned;
    for (const int n : {22, 3, 14}) turned.Add(n);
    EXPECT_FALSE(list.IsTheSame(turned)) << "same elements in another order";
    list.Reset();
    EXPECT_EQ(list, PRN::List());
}

TEST(SignalFrequency, FiguresOfTheInterfaceDocuments) {
    EXPECT_EQ(GPSFreqy(), GPSFreqy::L1);
    EXPECT_EQ(Frequency().GetIdent(), 2);
    EXPECT_EQ(GPSFreqy::L2.GetFrequency(), 1.2276e9);
    EXPECT_NE(GPSFreqy::CA, GPSFreqy::L1) << "same carrier, another signal";
    EXPECT_EQ(GPSFreqy::CA.GetName(), "CA");
    // Wavelengths as IS-GPS-200 users know them, to the millimetre.
    EXPECT_NEAR(GPSFreqy::L1.GetWaveLength(), 0.190, 5e-4);
    EXPECT_NEAR(GPSFreqy::L2.GetWaveLength(), 0.244, 5e-4);
    EXPECT_NEAR(GPSFreqy::Gamma, (77.0 * 77.0) / (60.0 * 60.0), 1e-15);
    EXPECT_NEAR(GPSFreqy::GammaDivisor * (1.0 - GPSFreqy::Gamma), 1.0, 1e-14);

    // Channels as listed in GLONASS ICD 5.1, table 3.1, in MHz.
    const struct {
        int channel;
        double l1, l2;
    } rows[] = {{-7, 1598.0625, 1242.9375}, {0, 1602.0, 1246.0}, {6, 1605.375, 1248.625}, {13, 1609.3125, 1251.6875}};
    for (const auto& row : rows) {
        EXPECT_EQ(Frequency::L1.GetChannelFrequency(row.channel), row.l1 * 1e6) << row.channel;
        EXPECT_EQ(Frequency::CA.GetChannelFrequency(row.channel), row.l1 * 1e6) << row.channel;
        EXPECT_EQ(Frequency::L2.GetChannelFrequency(row.channel), row.l2 * 1e6) << row.channel;
        EXPECT_DOUBLE_EQ(Frequency::L2.GetChannelWavelength(row.channel) * row.l2 * 1e6, 299792458.0) << row.channel;
    }
    EXPECT_EQ(Frequency::L2.GetFrequency(), 1.246e9);
    EXPECT_EQ(Frequency::L2.GetWaveLength(), Frequency::Description::L2.GetChannelWavelength(0));
}

}  // namespace
