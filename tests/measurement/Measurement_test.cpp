// Measurement records, satellites and sets: stream forms, identities, shared bodies, the dual-frequency delay.
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"
#include "gnss/measurement/MeasSet.h"
#include "tests/support/Random.h"

namespace {

using Corvane::Angle;
using Corvane::QValue;
using Corvane::Stream::MemoryInput;
using Corvane::Stream::MemoryOutput;
using GNSS::GPSFreqy;
using GNSS::GPSMeas;
using GNSS::GPSTime;
using GNSS::MeasSet;
using GNSS::PRN;
namespace Glonass = GNSS::Glonass;

std::vector<std::byte> Bytes(const std::string& hex) {
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        if (hex[i] == ' ') ++i;
        bytes.push_back(static_cast<std::byte>(std::stoi(hex.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

template <typename T>
std::vector<std::byte> Written(const T& object) {
    MemoryOutput output;
    EXPECT_TRUE(object.Write(output));
    return output.Bytes();
}

// Reads back as written; every shorter form is refused and changes nothing.
template <typename T>
void CheckStream(const T& object, const T& other) {
    const std::vector<std::byte> bytes = Written(object);
    T read = other;
    MemoryInput whole(bytes);
    ASSERT_TRUE(read.Read(whole));
    EXPECT_EQ(whole.NmrLeft(), 0U);
    EXPECT_TRUE(read == object);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        T cut = other;
        MemoryInput input({bytes.data(), length});
        ASSERT_FALSE(cut.Read(input)) << length;
        ASSERT_TRUE(cut == other) << length;
    }
}

// A record with a random choice of values; qualities as a float holds them.
template <typename Meas>
Meas MakeRecord(const typename Meas::Freqy& freqy, std::mt19937_64& random) {
    std::uniform_real_distribution<double> value(-1e9, 1e9);
    const std::uint64_t choice = random();
    const auto quantity = [&] { return QValue(value(random), std::ldexp(static_cast<double>(choice % 1000), -3)); };
    Meas meas(freqy);
    if ((choice & 1) != 0) meas.SetSNR(value(random));
    if ((choice & 2) != 0) meas.SetRange(quantity());
    if ((choice & 4) != 0) meas.SetPhase(quantity());
    if ((choice & 8) != 0) meas.SetDoppler(quantity());
    if ((choice & 16) != 0) meas.SetSmoothRange(quantity());
    if ((choice & 32) != 0) meas.SetLockTime(value(random));
    if ((choice & 64) != 0) meas.SetCycleSlip((choice & 128) != 0 ? Meas::Slip : Meas::NoSlip);
    if ((choice & 256) != 0) meas.SetPhaseWarn();
    return meas;
}

TEST(Measurement, RecordStreamBytes) {
    // By hand: IEEE 754 little-endian; 45.5 = 0x4046C00000000000, 2e7 = 0x417312D000000000, 0.25f = 0x3E800000,
    // -3 = 0xC008000000000000, 1.5f = 0x3FC00000, 10 = 0x4024000000000000.
    GPSMeas empty(GPSFreqy::L2);
    EXPECT_EQ(Written(empty), Bytes("32 00000000 01"));
    GPSMeas full(GPSFreqy::CA);
    full.SetSNR(45.5);
    full.SetRange({2e7, 0.25});
    full.SetPhase({-3.0, 1.5});
    full.SetCycleSlip(GPSMeas::Slip);
    full.SetDoppler({10.0, 0.25});
    full.SetSmoothRange({2e7, 1.5});
    full.SetLockTime(10.0);
    full.SetCodeWarn();
    const std::vector<std::byte> bytes = Bytes(
        "43 7F040000 0000000000C04640 00000000D0127341 0000803E 00000000000008C0 0000C03F 00"
        "0000000000002440 0000803E 00000000D0127341 0000C03F 0000000000002440");
    EXPECT_EQ(Written(full), bytes);
    CheckStream(full, empty);

    // The other system reads the same bytes; no system reads another code, nor an unknown signal's.
    Glonass::Measurement glonass;
    MemoryInput same(bytes);
    EXPECT_TRUE(glonass.Read(same));
    EXPECT_EQ(glonass.GetFreqy(), Glonass::Frequency::CA);
    for (const char* code : {"00", "4C", "63", "31"}) {
        std::vector<std::byte> wrong = bytes;
        wrong[0] = Bytes(code)[0];
        MemoryInput input(wrong);
        EXPECT_EQ(empty.Read(input), std::string(code) == "31") << code;
        EXPECT_EQ(empty.GetFreqy() == GPSFreqy::L1, std::string(code) == "31") << code;
    }
    static constexpr GPSFreqy::Description L5{5, "L5", 1.17645e9, 0.0};
    MemoryOutput output;
    EXPECT_FALSE(GPSMeas(GPSFreqy(L5)).Write(output));
    EXPECT_TRUE(output.Bytes().empty());
    // A quality beyond a float is infinite.
    full.SetRange({1.0, 1e300});
    GPSMeas read;
    MemoryOutput huge;
    ASSERT_TRUE(full.Write(huge));
    MemoryInput input(huge.Bytes());
    ASSERT_TRUE(read.Read(input));
    EXPECT_EQ(read.GetRangeQ().Quality(), std::numeric_limits<double>::infinity());
}

TEST(Measurement, FlagsAndSlips) {
    GPSMeas meas(GPSFreqy::L2);
    EXPECT_FALSE(meas.IsCycleSlip());
    EXPECT_EQ(meas.GetCycleSlip(), GPSMeas::NoSlip);
    meas.SetCycleSlip(GPSMeas::Slip);
    meas.SetPhase({7.0, 0.5});
    EXPECT_TRUE(meas.IsCycleSlip());
    EXPECT_TRUE(meas.IsValid(GPSMeas::Phase | GPSMeas::SlipKnown));
    EXPECT_FALSE(meas.IsValid(GPSMeas::Phase | GPSMeas::Range));
    meas.Clear(GPSMeas::SlipKnown | GPSMeas::Phase);
    EXPECT_FALSE(meas.IsCycleSlip());
    EXPECT_EQ(meas.GetPhase(), 7.0);
    meas.SetLostLock();
    EXPECT_EQ(meas.GetFlags(), 0x100U);
    meas.Reset();
    EXPECT_EQ(meas, GPSMeas(GPSFreqy::L2));
}

TEST(Measurement, SetStreams) {
    std::mt19937_64 random = tests::MakeRandom();
    for (int round = 0; round < 20; ++round) {
        const auto info = [&](auto* sv) { sv->SetInfo(Angle(0.25), Angle::FromDegrees(round)); };
        GPSMeas::Set gps(GPSTime(2111, 345600.25));
        Glonass::Measurement::Set glonass(GPSTime(2111, 1.0));
        for (int i = 0; i < round % 5; ++i) {
            const int prn = static_cast<int>(random() % 32) + 1;
            gps.AddMeas(prn, MakeRecord<GPSMeas>(GPSFreqy::CA, random));
            gps.AddMeas(prn, MakeRecord<GPSMeas>(GPSFreqy::L2, random));
            if (i == 1) info(gps.ChangeSV(1 % gps.NmrSV()));
            const int sv = glonass.AddSV(Glonass::Slot(i % 3), i);
            ASSERT_EQ(sv, i);
            glonass.ChangeSV(sv)->AddMeas(MakeRecord<Glonass::Measurement>(Glonass::Frequency::L1, random));
            if (i == 2) info(glonass.ChangeSV(sv));
        }
        CheckStream(gps, GPSMeas::Set(GPSTime(1, 2.0)));
        CheckStream(glonass, Glonass::Measurement::Set(GPSTime(1, 2.0)));
    }
    struct {
        const char* name;
        const char* hex;
        bool gps, glonass;
    } const rows[] = {
        {"one satellite", "0000000000000000 00000000 0100 05 00 00 00", true, true},  // GLONASS reads a channel flag
        {"32767 satellites", "0000000000000000 00000000 FF7F 05 00 00 00", false, false},
        {"-1 satellites", "0000000000000000 00000000 FFFF 05 00 00 00", false, false},
        {"null satellite", "0000000000000000 00000000 0100 00 00 00 00", false, false},
        {"null slot on channel 7", "0000000000000000 00000000 0100 00 01 07000000 00 00", false, true},
        {"satellite 33", "0000000000000000 00000000 0100 21 00 00 00", false, false},
        {"satellite 25", "0000000000000000 00000000 0100 19 00 00 00", true, false},
        {"satellite twice", "0000000000000000 00000000 0200 05 00 00 05 00 00 00 00", false, false},
        {"L1 twice", "0000000000000000 00000000 0100 05 00 02 31 00000000 01 31 00000000 01", false, false},
    };
    for (const auto& row : rows) {
        const std::vector<std::byte> bytes = Bytes(row.hex);
        MemoryInput forGPS(bytes), forGlonass(bytes);
        GPSMeas::Set gps;
        Glonass::Measurement::Set glonass;
        EXPECT_EQ(gps.Read(forGPS), row.gps) << row.name;
        EXPECT_EQ(glonass.Read(forGlonass), row.glonass) << row.name;
    }
}

TEST(Measurement, Satellites) {
    GPSMeas::Set gps;
    EXPECT_EQ(gps.FindSV(PRN(7)), -1);
    EXPECT_EQ(gps.AddSV(PRN(7)), 0);
    EXPECT_EQ(gps.AddSV(PRN(9), Angle(1.0), Angle(0.5)), 1);
    EXPECT_EQ(gps.AddFreq(PRN(7), GPSFreqy::L2), 0);
    EXPECT_EQ(gps.AddSV(PRN(9)), 1);
    EXPECT_TRUE(gps.GetSV(1).HasInfo());  // adding it again did not replace it
    EXPECT_EQ(gps.AddSV(PRN()), -1);
    EXPECT_EQ(gps.ChangeSV(2), nullptr);
    EXPECT_TRUE(gps.GetSV(2).GetId().IsNull());
    EXPECT_EQ(gps.GetSV(0).FindFreqy(GPSFreqy::CA), -1);
    EXPECT_EQ(gps.GetSV(0).FindFreqy(GPSFreqy::L2), 0);
    EXPECT_TRUE(gps.HasMeas());
    EXPECT_FALSE(gps.HasMeas(PRN(9)));
    gps.AddSV(GPSMeas::SV(PRN(9)));  // a copy does
    EXPECT_FALSE(gps.GetSV(1).HasInfo());

    Glonass::Measurement::Set glonass;
    const Glonass::Slot unknown;
    EXPECT_EQ(glonass.AddSV(unknown), -1);
    EXPECT_EQ(glonass.AddSV(unknown, 3), 0);
    EXPECT_EQ(glonass.AddSV(unknown, 4), 1);
    EXPECT_EQ(glonass.AddSV(unknown, 3), 0);
    EXPECT_EQ(glonass.AddSV(Glonass::Slot(3), 3), 2);
    EXPECT_EQ(glonass.FindSV(Glonass::Slot(3)), 2);
    EXPECT_EQ(glonass.FindSV(Glonass::Slot(3), 4), -1);
    EXPECT_EQ(glonass.FindSV(unknown), -1);
    EXPECT_EQ(glonass.AddSV(Glonass::Slot(3)), 2);  // by slot, on whatever channel
    // With the parts of an epoch in each order, a slot with and without channel stays two, and the set reads back.
    const auto setOf = [](const Glonass::Measurement::SV& sv) {
        Glonass::Measurement::Set one;
        one.AddSV(sv);
        return one;
    };
    const auto plain = setOf(Glonass::Measurement::SV(Glonass::Slot(3)));
    const auto onFour = setOf(Glonass::Measurement::SV(Glonass::Slot(3), 4));
    for (const auto* second : {&plain, &onFour}) {
        Glonass::Measurement::Set merged = second == &plain ? onFour : plain;
        for (int times = 0; times < 2; ++times) merged.UpdateMeasSet(*second);
        EXPECT_EQ(merged.NmrSV(), 2);
        EXPECT_EQ(merged.AddSV(onFour.GetSV(0)), second == &plain ? 0 : 1);
        CheckStream(merged, plain);
    }
    for (int channel = 10; channel < 400; ++channel) glonass.AddSV(unknown, channel);
    EXPECT_EQ(glonass.NmrSV(), Glonass::Measurement::Inner::MaxSV);

    // Another part of the epoch.
    GPSMeas::Set part(GPSTime(1000, 5.0));
    GPSMeas l2(GPSFreqy::L2);
    l2.SetRange({5.0, 1.0});
    part.AddMeas(PRN(7), l2);
    part.AddSV(PRN(3), Angle(1.0), Angle(0.5));
    part.AddSV(PRN(9), Angle(2.0), Angle(0.25));
    gps.UpdateMeasSet(part);
    EXPECT_EQ(gps.GetSV(1).GetAzi(), Angle(2.0));
    EXPECT_EQ(gps.NmrSV(), 3);
    EXPECT_EQ(gps.GetSV(0).GetMeas(0), l2);
    EXPECT_TRUE(gps.GetSV(2).HasInfo());
    EXPECT_EQ(gps.GetTime(), part.GetTime());
    part.SetTime(GPSTime(1000, 6.0));
    gps.UpdateMeasSet(part);
    EXPECT_EQ(gps.GetTime(), GPSTime(1000, 5.0));
}

TEST(Measurement, CopiesShareUntilChanged) {
    GPSMeas::Set original(GPSTime(1, 1.0));
    original.AddFreq(PRN(1), GPSFreqy::L1);
    const std::vector<std::byte> bytes = Written(original);
    GPSMeas::Set other(GPSTime(2, 2.0));
    other.AddFreq(PRN(2), GPSFreqy::L2);
    const std::vector<void (*)(GPSMeas::Set&, const GPSMeas::Set&)> changes = {
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.SetTime(GPSTime(3, 3.0)); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.ChangeSV(0)->ResetMeas(); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.AddSV(PRN(5)); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.AddSV(PRN(1), Angle(1.0), Angle(1.0)); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.AddSV(GPSMeas::SV(PRN(1))); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.AddMeas(PRN(1), GPSMeas(GPSFreqy::CA)); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.AddFreq(PRN(1), GPSFreqy::CA); },
        [](GPSMeas::Set& s, const GPSMeas::Set& o) { s.UpdateMeasSet(o); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.ResetSVs(); },
        [](GPSMeas::Set& s, const GPSMeas::Set&) { s.Reset(); },
        [](GPSMeas::Set& s, const GPSMeas::Set& o) {
            const std::vector<std::byte> bytesOfOther = Written(o);
            MemoryInput input(bytesOfOther);
            EXPECT_TRUE(s.Read(input));
        },
    };
    for (std::size_t i = 0; i < changes.size(); ++i) {
        GPSMeas::Set copy = original;
        EXPECT_TRUE(copy.SharesWith(original));
        changes[i](copy, other);
        EXPECT_FALSE(copy.SharesWith(original)) << i;
        EXPECT_FALSE(copy == original) << i;
        EXPECT_EQ(Written(original), bytes) << i;
    }
    const MeasSet both(GPSMeas::Set(GPSTime(1, 1.0)), Glonass::Measurement::Set(GPSTime(2, 2.0)));
    EXPECT_EQ(both.GetGPSTime(), GPSTime(1, 1.0));
    EXPECT_EQ(MeasSet(both.GetGlonass()).GetGPSTime(), GPSTime(2, 2.0));
    EXPECT_EQ(MeasSet::Type, Corvane::Type("MeasSet"));
}

TEST(Measurement, IonoDelay) {
    GPSMeas::SV sv(PRN(4));
    QValue delay(1.0, 2.0);
    const double gamma = (1575.42 / 1227.6) * (1575.42 / 1227.6);
    for (const bool smoothed : {false, true}) {
        for (const bool useCA : {false, true}) {
            const double p1 = 2.2e7 + (smoothed ? 10.0 : 0.0) + (useCA ? 3.0 : 0.0);
            const double p2 = p1 + 7.5;
            GPSMeas first(useCA ? GPSFreqy::CA : GPSFreqy::L1);
            GPSMeas second(GPSFreqy::L2);
            smoothed ? first.SetSmoothRange({p1, 0.3}) : first.SetRange({p1, 0.3});
            sv.ResetMeas();
            sv.AddMeas(first);
            sv.AddMeas(second);
            EXPECT_FALSE(sv.CalcIonoDelay(delay, smoothed, useCA));
            EXPECT_EQ(delay, QValue(1.0, 2.0));
            smoothed ? second.SetSmoothRange({p2, 0.4}) : second.SetRange({p2, 0.4});
            sv.UpdateMeas(GPSMeas::SV(sv));
            sv.AddMeas(second);
            EXPECT_FALSE(sv.CalcIonoDelay(delay, !smoothed, useCA));
            EXPECT_FALSE(sv.CalcIonoDelay(delay, smoothed, !useCA));
            QValue found;
            EXPECT_TRUE(sv.CalcIonoDelay(found, smoothed, useCA));
            EXPECT_NEAR(found.Value(), (p2 - p1) / (gamma - 1.0), 1e-6);
            // P1 counts twice, as if the two were not the same measurement.
            const double k = 1.0 / (gamma - 1.0);
            EXPECT_NEAR(found.Quality(), std::hypot(0.3, k * std::hypot(0.4, gamma * 0.3)), 1e-9);
        }
    }
    Glonass::Measurement::SV none{Glonass::Slot(1)};
    for (const auto& freqy : {Glonass::Frequency::CA, Glonass::Frequency::L1, Glonass::Frequency::L2}) {
        none.ObtainFreq(freqy).SetRange({2e7, 1.0});
    }
    EXPECT_FALSE(none.CalcIonoDelay(delay, false, true));
}

}  // namespace
