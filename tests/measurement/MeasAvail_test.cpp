// MeasAvail: switches, text, stream, and what they take from a set.
#include "gnss/measurement/MeasAvail.h"

#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using GNSS::GPSFreqy;
using GNSS::GPSMeas;
using GNSS::MeasAvail;
using GNSS::MeasSet;
using GNSS::PRN;
namespace Glonass = GNSS::Glonass;

TEST(MeasAvail, TextAndStream) {
    std::mt19937_64 random = tests::MakeRandom();
    for (int round = 0; round < 100; ++round) {
        MeasAvail avail = MeasAvail::Nothing();
        for (const auto& freqy : {GPSFreqy::CA, GPSFreqy::L1, GPSFreqy::L2}) {
            avail.Set(freqy, static_cast<std::uint32_t>(random()));
        }
        for (const auto& freqy : {Glonass::Frequency::CA, Glonass::Frequency::L1, Glonass::Frequency::L2}) {
            avail.Set(freqy, static_cast<std::uint32_t>(random()));
        }
        MeasAvail parsed;
        EXPECT_TRUE(parsed.Parse(avail.Print()));
        EXPECT_EQ(parsed, avail);
        Corvane::Stream::MemoryOutput output;
        ASSERT_TRUE(avail.Write(output));
        MeasAvail read;
        Corvane::Stream::MemoryInput input(output.Bytes());
        EXPECT_TRUE(read.Read(input));
        EXPECT_EQ(read, avail);
        Corvane::Stream::MemoryInput shorter({output.Bytes().data(), 5});
        EXPECT_FALSE(read.Read(shorter));
        EXPECT_EQ(read, avail);
        std::vector<std::byte> foreign = output.Bytes();
        foreign[static_cast<std::size_t>(round) % 6] |= std::byte{0x20};
        Corvane::Stream::MemoryInput other(foreign);
        EXPECT_FALSE(read.Read(other));
        EXPECT_EQ(read, avail);
    }
    EXPECT_EQ(MeasAvail().Print(), "GPS CA NRPDS, L1 NRPDS, L2 NRPDS; GLONASS CA NRPDS, L1 NRPDS, L2 NRPDS");
    struct {
        const char* text;
        const char* printed;  // null: refused
    } const rows[] = {
        {"", "GPS CA -, L1 -, L2 -; GLONASS CA -, L1 -, L2 -"},
        {" GLONASS  L2 SR ;GPS L1 P,CA - ", "GPS CA -, L1 P, L2 -; GLONASS CA -, L1 -, L2 RS"},
        {"GPS", nullptr},
        {"GPS ", nullptr},
        {"GPS CA", nullptr},
        {"GPS CA ,L1 R", nullptr},
        {"GPS CA R,", nullptr},
        {"GPS CA R;", nullptr},
        {"; GPS CA R", nullptr},
        {"GPS CA RR", nullptr},
        {"GPS CA R-", nullptr},
        {"GPS CA r", nullptr},
        {"GPS CA R P", nullptr},
        {"GPS L5 R", nullptr},
        {"GPS CA R, CA P", nullptr},
        {"GPS CA R; GPS L1 P", nullptr},
        {"Galileo CA R", nullptr},
    };
    for (const auto& row : rows) {
        MeasAvail avail;
        EXPECT_EQ(avail.Parse(row.text), row.printed != nullptr) << row.text;
        EXPECT_EQ(avail.Print(), row.printed != nullptr ? Corvane::String(row.printed) : MeasAvail().Print());
    }
}

TEST(MeasAvail, TakesFromASet) {
    GPSMeas::Set gps;
    for (const auto& freqy : {GPSFreqy::CA, GPSFreqy::L2}) {
        GPSMeas meas(freqy);
        meas.SetRange({2e7, 1.0});
        meas.SetPhase({1e8, 1.0});
        meas.SetLockTime(5.0);
        gps.AddMeas(PRN(3), meas);
    }
    Glonass::Measurement l1;
    l1.SetDoppler({1.0, 1.0});
    Glonass::Measurement::Set glonass;
    glonass.AddMeas(Glonass::Slot(3), l1);
    MeasSet set(gps, glonass);
    MeasAvail avail;
    avail.Apply(set);
    EXPECT_TRUE(set.GetGPS().SharesWith(gps) && set.GetGlonass().SharesWith(glonass));

    avail.Set(GPSFreqy::CA, MeasAvail::Phase, false);
    avail.Set(GPSFreqy::L2, MeasAvail::Range | MeasAvail::Phase, false);
    EXPECT_TRUE(avail.IsInUse(GPSFreqy::CA, MeasAvail::Range | MeasAvail::SNR));
    EXPECT_FALSE(avail.IsInUse(GPSFreqy::CA, MeasAvail::Range | MeasAvail::Phase));
    EXPECT_TRUE(avail.IsInUse(Glonass::Frequency::CA, MeasAvail::All));
    avail.Apply(set);
    ASSERT_EQ(set.GetGPS().GetSV(0).NmrMeas(), 1);
    EXPECT_EQ(set.GetGPS().GetSV(0).GetMeas(0).GetFlags(), std::uint32_t{GPSMeas::Range | GPSMeas::LockTime});
    EXPECT_EQ(gps.GetSV(0).NmrMeas(), 2);
    MeasAvail::Nothing().Apply(set);
    EXPECT_EQ(set.GetGPS().NmrSV(), 1);
    EXPECT_FALSE(set.GetGPS().HasMeas() || set.GetGlonass().HasMeas());
}

}  // namespace
