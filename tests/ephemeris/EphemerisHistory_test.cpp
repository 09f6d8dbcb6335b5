// The histories of both systems and their calculators: what is taken and refused, which record answers, what is shared.
#include "gnss/ephemeris/EphemerisHistory.h"

#include <complex>
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"
#include "tests/ephemeris/Records.h"

namespace {

using Corvane::Time;
using GNSS::ECEF;
using GNSS::GPSEphemeride;
using GNSS::GPSEphemeris;
using GNSS::GPSEphemerisCalc;
using GNSS::Glonass::Ephemeride;
using GNSS::Glonass::Ephemeris;
using tests::SampleGlonass;
using tests::SampleGPS;
using tests::SampleTime;

// An orbit of its own for every issue; the reference time in seconds after the sample's.
GPSEphemeride Issue(int iode, double toe = 302400.0, double reference = 0.0) {
    GPSEphemeride record = SampleGPS();
    record.posn.IODE = iode;
    record.posn.toe = toe;
    record.posn.sqrtA += 1e-3 * iode;
    record.reference += Time(reference);
    return record;
}

Ephemeride AtTb(double tb, double reference, double x = 0.0, int day = 0) {
    Ephemeride record = SampleGlonass();
    record.posn.day += day;
    record.posn.tb = tb;
    record.posn.frameTime = tb + reference;
    record.posn.posn.SetX(record.posn.posn.GetX() + x);
    record.reference += Time(reference);
    return record;
}

TEST(GPSEphemeris, TakesWhatIsNewAndInOrder) {
    struct Case {
        int iode;
        double toe;
        double reference;
        bool isTaken;
        std::vector<int> held;  // IODEs afterwards
    };
    const Case cases[] = {
        {10, 302400.0, 0.0, true, {10}},
        {10, 302400.0, 30.0, false, {10}},
        {10, 302400.05, 30.0, false, {10}},
        {10, 302400.2, 30.0, true, {10, 10}},
        {11, 302400.2, 29.9, false, {10, 10}},
        {11, 302400.2, 30.0, true, {11, 10, 10}},  // not earlier
        {12, 309600.0, 7200.0, true, {12, 11, 10}},
        {11, 302400.2, 7200.0, true, {11, 12, 11}},  // a repeat of another than the newest
    };
    GPSEphemeris history;
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.iode << " toe " << c.toe << " at " << c.reference);
        EXPECT_EQ(history.Update(Issue(c.iode, c.toe, c.reference)), c.isTaken);
        const GPSEphemeris::SV& sv = *history.FindSV(17);
        std::vector<int> held;
        for (int i = 0; i < sv.NmrEphem(); ++i) held.push_back(sv.GetEphem(i)->posn.IODE);
        EXPECT_EQ(held, c.held);
        EXPECT_TRUE(sv.GetEphem(-1) == nullptr && sv.GetEphem(3) == nullptr);
    }
    EXPECT_TRUE(history.NmrSV() == 1 && history.FindSV(16) == nullptr);
    GPSEphemeride nobody = Issue(20, 316800.0, 20000.0);
    nobody.prn = GNSS::PRN::Null;
    EXPECT_FALSE(history.Update(nobody));
}

TEST(GlonassEphemeris, CountsTheBodiesOfOneTb) {
    Corvane::Clock::SetTo(SampleTime.GetUTC());
    const char* const Itself = "itself";
    struct Case {
        const char* what;
        Ephemeride record;
        bool isTaken;
        int nmrEphem;
        int sequence;  // of the newest
    };
    const Case cases[] = {
        {"the first", AtTb(54000.0, 0.0), true, 1, -1},
        {Itself, AtTb(54000.0, 0.0), false, 1, -1},
        {"its next frame", AtTb(54000.0, 30.0), true, 1, -1},
        {"an earlier frame", AtTb(54000.0, 29.0), false, 1, -1},
        {"another body of the first tb", AtTb(54000.0, 60.0, 0.002), true, 2, -1},
        {"the next tb", AtTb(55800.0, 1800.0), true, 3, 0},
        {"a body of it that differs by rounding", AtTb(55800.0, 1830.0, 0.0005), true, 3, 0},
        {"another body", AtTb(55800.0, 1860.0, 0.1), true, 4, 1},
        {"the former body", AtTb(55800.0, 1890.0), true, 4, 2},
        {"its next frame", AtTb(55800.0, 1920.0), true, 4, 2},
        {"an earlier day", AtTb(55800.0, 1950.0, 0.0, -1), false, 4, 2},
        {"less than 3 h later", AtTb(66599.0, 10799.0), true, 4, 0},
        {"just 3 h later", AtTb(77399.0, 21599.0), true, 4, -1},
        {"within the tolerance of 3 h", AtTb(88198.9999999, 32399.0), true, 4, -1},
        {"the same tb a day later", AtTb(88198.9999999, 118799.0, 0.0, 1), true, 4, -1},
        {"an earlier tb", AtTb(80000.0, 118829.0, 0.0, 1), true, 4, 0},
    };
    Ephemeris::SV sv;
    for (const Case& c : cases) {
        EXPECT_EQ(sv.Update(c.record), c.isTaken) << c.what;
        ASSERT_EQ(sv.NmrEphem(), c.nmrEphem) << c.what;
        EXPECT_EQ(sv.GetEphem(0)->posn.sequence, c.sequence) << c.what;
        EXPECT_EQ(sv.GetEphem(0)->posn.frameTime == c.record.posn.frameTime, c.isTaken || c.what == Itself) << c.what;
    }
    EXPECT_EQ(sv.GetEphem(3)->posn.tb, 77399.0);

    // The turn of the four-year interval: refused until the history is cleared.
    Ephemeride last = AtTb(82800.0, 0.0);
    last.posn.day = GNSS::GloTime::DaysInInterval;
    Ephemeride first = AtTb(900.0, 4500.0);
    first.posn.day = 1;
    sv = Ephemeris::SV();
    EXPECT_TRUE(sv.Update(last));
    EXPECT_FALSE(sv.Update(first));
    Corvane::Clock::UseSystem();
}

TEST(GlonassEphemeris, RefusesTheImplausible) {
    Ephemeris history;
    EXPECT_TRUE(history.Update(AtTb(54000.0, 0.0)));
    Corvane::Event::Clear();
    EXPECT_FALSE(history.Update(AtTb(55800.0, 1800.0, 9e4)));
    EXPECT_EQ(Corvane::Event::GetKept().size(), 1U);
    Ephemeride nobody = AtTb(55800.0, 1800.0);
    nobody.slot.Reset();
    EXPECT_FALSE(history.Update(nobody));
    EXPECT_TRUE(history.FindSV(7)->NmrEphem() == 1 && history.NmrSV() == 1);
}

TEST(GlonassEphemeris, AnswersWithTheSequenceItKnows) {
    Ephemeris history;
    EXPECT_TRUE(history.Update(AtTb(54000.0, 0.0)));
    Ephemeride::Result result;
    EXPECT_FALSE(history.CalculateSecondPosn(7, SampleTime, result));
    EXPECT_TRUE(history.Update(AtTb(55800.0, 1800.0)));
    EXPECT_TRUE(history.Update(AtTb(55800.0, 1830.0, 0.1)));
    EXPECT_TRUE(history.Update(AtTb(57600.0, 3600.0)));
    struct Case {
        int nmrEphem;  // asked after so many records
        double t;      // s after the sample time
        int first;     // sequences; NoAnswer
        int second;
    };
    constexpr int NoAnswer = -2;
    const Case cases[] = {
        {1, 0.0, -1, NoAnswer},  {1, 1201.0, NoAnswer, NoAnswer}, {2, 1800.0, 0, -1}, {2, 2101.0, 0, NoAnswer},
        {3, 1900.0, 1, 0},       {3, 3001.0, NoAnswer, 0},        {4, 3600.0, 0, 1},  {4, 3900.0, 0, 1},
        {4, 3901.0, 0, NoAnswer}};
    for (const Case& c : cases) {
        Ephemeris::SV sv;
        for (int i = 3; i > 3 - c.nmrEphem; --i) EXPECT_TRUE(sv.Update(*history.FindSV(7)->GetEphem(i)));
        const GNSS::GPSTime t = SampleTime + Time(c.t);
        const auto sequence = [&](bool isAnswer) { return isAnswer ? result.sequence : NoAnswer; };
        EXPECT_EQ(sequence(sv.CalculatePosn(t, result)), c.first) << c.nmrEphem << " at " << c.t;
        EXPECT_EQ(sequence(sv.CalculateSecondPosn(t, result)), c.second) << c.nmrEphem << " at " << c.t;
    }
}

TEST(GPSEphemeris, SharesWhatACopyDoesNotChange) {
    GPSEphemeris held;
    GPSEphemeride other = Issue(1);
    other.prn = 5;
    EXPECT_TRUE(held.Update(other) && held.Update(Issue(1)));
    const GPSEphemeris published = held;
    EXPECT_FALSE(held.Update(Issue(1)));
    EXPECT_EQ(held.FindSV(17), published.FindSV(17));
    EXPECT_TRUE(held.Update(Issue(2)));
    EXPECT_EQ(held.FindSV(5), published.FindSV(5));
    EXPECT_TRUE(held.FindSV(17)->NmrEphem() == 2 && published.FindSV(17)->NmrEphem() == 1);
    held.Reset();
    EXPECT_TRUE(held.NmrSV() == 0 && published.NmrSV() == 2);
}

TEST(EphemerisCalculator, AsksTheImplementationInForce) {
    const GPSEphemerisCalc calc;
    GPSEphemerisCalc store = calc;
    GPSEphemeride::Result result;
    result.IODE = 99;
    EXPECT_FALSE(calc.CalculateHealthyPosn(17, SampleTime, result));
    EXPECT_EQ(result.IODE, 99);
    EXPECT_FALSE(calc.CalculatePosn(17, SampleTime, result));
    EXPECT_EQ(result.IODE, -1);
    EXPECT_FALSE(calc.CalculateSecondPosn(17, SampleTime, result));

    GPSEphemeris history;
    for (int iode = 1; iode <= 2; ++iode) {
        EXPECT_TRUE(history.Update(Issue(iode)));
        store.SetImplementation(std::make_shared<const GPSEphemeris>(history));
    }
    EXPECT_TRUE(calc.CalculateHealthyPosn(17, SampleTime, result));
    EXPECT_EQ(result.IODE, 2);
    EXPECT_TRUE(calc.CalculateSecondPosn(17, SampleTime, result));
    GPSEphemeride::Result own;
    EXPECT_TRUE(Issue(1).CalculatePosn(SampleTime, own));
    EXPECT_EQ(result.IODE, 1);
    EXPECT_EQ((result.posn - own.posn).Magnitude(), 0.0);
    EXPECT_FALSE(calc.CalculatePosn(GNSS::PRN::Null, SampleTime, own) || own.valid);

    GPSEphemeride unhealthy = Issue(3);
    unhealthy.status.SetHealth(1);
    EXPECT_TRUE(history.Update(unhealthy));
    const auto former = calc.GetImplementation();
    store.SetImplementation(std::make_shared<const GPSEphemeris>(history));
    EXPECT_FALSE(calc.CalculateHealthyPosn(17, SampleTime, result));
    EXPECT_EQ(result.IODE, 1);
    EXPECT_TRUE(calc.CalculatePosn(17, SampleTime, result));
    EXPECT_FALSE(result.valid);
    // Who has taken an implementation keeps it.
    EXPECT_TRUE(former->CalculatePosn(17, SampleTime, result));
    EXPECT_EQ(result.IODE, 2);
    store.Reset();
    EXPECT_FALSE(calc.CalculatePosn(17, SampleTime, result));

    // One that only knows the newest.
    struct Newest : GPSEphemerisCalc::Implementation {
        bool CalculatePosn(const GNSS::PRN&, const GNSS::GPSTime&, GPSEphemeride::Result&) const override {
            return true;
        }
    };
    EXPECT_FALSE(GPSEphemerisCalc(std::make_shared<const Newest>()).CalculateSecondPosn(17, SampleTime, result));
}

TEST(EphemerisCalculator, TurnsWithTheEarth) {
    const double rate = 7.2921151467e-5;
    for (const double range : {0.0, 2.02e7, 2.6e7, -1e7}) {
        ECEF posn(1.5e7, -1.2e7, 1.9e7);
        const auto turned = std::complex(1.5e7, -1.2e7) * std::polar(1.0, -rate * range / 299792458.0);
        GPSEphemerisCalc::CalculateRotation(posn, range);
        EXPECT_NEAR(posn.GetX(), turned.real(), 1e-7);
        EXPECT_NEAR(posn.GetY(), turned.imag(), 1e-7);
        EXPECT_EQ(posn.GetZ(), 1.9e7);
    }
}

}  // namespace
