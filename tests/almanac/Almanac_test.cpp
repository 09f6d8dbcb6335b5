// The almanac: which updates it takes, and what it and its calculator compute.
#include "gnss/almanac/Almanac.h"

#include <cmath>

#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacCalculator.h"
#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"

namespace {

using Corvane::Angle;
using Corvane::Date;
using Corvane::Event;
using Corvane::TimeOfDay;
using GNSS::Almanac;
using GNSS::ECEF;
using GNSS::GPSTime;
using GNSS::PRN;
using GNSS::Glonass::Slot;

Almanac::SV Satellite(int prn) {
    Almanac::SV sv;
    sv.prn = prn;
    sv.sqrtA = 5153.7;
    sv.af0 = 1e-5 * prn;
    return sv;
}

// A record of a node crossing on a Moscow date, dated that day.
Almanac::GlonassSV Crossing(int slot, const Date& date, double TLambda) {
    Almanac::GlonassSV sv;
    sv.slot = slot;
    sv.time.SetFromUTC({date, TimeOfDay(0.0)});
    sv.day = Almanac::GlonassSV::CalcDayNumber(date);
    sv.TLambda = TLambda;
    return sv;
}

TEST(Almanac, TakesWhatIsDatedLater) {
    const struct {
        GPSTime time;
        bool taken;
    } rows[] = {
        {{2000, 100.0}, true},          {{2000, 100.0}, false},          {{2000, 100.0 + 1e-8}, false},
        {{2000, 99.0}, false},          {{1999, 604799.0}, false},       {{2000, 100.0 + 9e-8}, false},
        {{2000, 100.0 + 1.1e-7}, true}, {{2000, 604799.99999999}, true}, {{2001, 0.0}, true},
    };
    const auto expect = [&rows](auto record, auto update, auto held) {
        Almanac almanac;
        for (const auto& row : rows) {
            record.time = row.time;
            const Almanac before = almanac;
            EXPECT_EQ((almanac.*update)(record), row.taken) << row.time.Print(9, false);
            EXPECT_EQ(Almanac::Calculator(before).RefersTo(almanac), !row.taken);
            EXPECT_EQ(held(almanac), row.taken ? row.time : held(before));
        }
        almanac.Reset();
        EXPECT_TRUE((almanac.*update)(record));
    };
    expect(Satellite(7), &Almanac::UpdateSV, [](const Almanac& a) { return a.GetSV(a.Find(PRN(7))).time; });
    expect(Almanac::Iono(), &Almanac::UpdateIono, [](const Almanac& a) { return a.GetIono().time; });
    expect(Almanac::UTC(), &Almanac::UpdateUTC, [](const Almanac& a) { return a.GetUTC().time; });
    Almanac almanac;
    EXPECT_FALSE(almanac.UpdateIono(Almanac::Iono()) || almanac.UpdateUTC(Almanac::UTC())) << "the defaults again";
    EXPECT_FALSE(almanac.UpdateSV(Almanac::SV())) << "of no satellite";
}

// 32767 is the last week of the file; what is refused changes nothing, and what is taken can be saved.
TEST(Almanac, RefusesWhatItsFileCannotHold) {
    for (const int week : {32767, 32768, 40000}) {
        const bool fits = week == 32767;
        const GPSTime time(week, 1.0);
        Almanac almanac;
        Almanac::SV sv = Satellite(3);
        sv.time = time;
        EXPECT_EQ(almanac.UpdateSV(sv), fits);
        sv = Satellite(4);
        sv.toa = time;
        EXPECT_EQ(almanac.UpdateSV(sv), fits);
        Almanac::Iono iono;
        iono.time = time;
        EXPECT_EQ(almanac.UpdateIono(iono), fits);
        Almanac::UTC utc;
        utc.time = time;
        EXPECT_EQ(almanac.UpdateUTC(utc), fits);
        Almanac::GlonassSV glonass;
        glonass.slot = 5;
        glonass.time = time;
        glonass.day = GNSS::GloTime(time).GetDay();
        ASSERT_TRUE(glonass.IsTimeConsistentWithToI());
        EXPECT_EQ(almanac.UpdateGlonassSV(glonass), fits);
        EXPECT_EQ(almanac.NmrSV() + almanac.NmrGlonassSV(), fits ? 3 : 0);
        Corvane::Stream::MemoryOutput output;
        EXPECT_TRUE(almanac.Write(output));
    }
}

TEST(Almanac, TakesALaterNodeCrossingByTheIntervalOfToday) {
    const Date newYear(2004, 1, 10);
    const struct {
        Date date;
        double TLambda;
        Date today;
        bool taken;
    } rows[] = {
        {{2003, 12, 31}, 40000.0, newYear, true},
        {{2003, 12, 31}, 40000.0, newYear, false},
        {{2004, 1, 1}, 10.0, newYear, true},
        {{2003, 12, 31}, 50000.0, newYear, false},
        {{2004, 1, 1}, 10.5, newYear, true},
        // On that day the first day of an interval is nearest in 2004, the twentieth in 2000.
        {{2004, 1, 20}, 0.0, {2002, 1, 10}, false},
        {{2004, 1, 20}, 0.0, {2004, 1, 21}, true},
    };
    Event::Clear();
    Almanac almanac;
    for (const auto& row : rows) {
        Corvane::Clock::SetTo({row.today, TimeOfDay(0.0)});
        const double before = almanac.GetGlonassSV(0).TLambda;
        EXPECT_EQ(almanac.UpdateGlonassSV(Crossing(7, row.date, row.TLambda)), row.taken) << row.TLambda;
        EXPECT_EQ(almanac.GetGlonassSV(0).TLambda, row.taken ? row.TLambda : before);
    }
    Corvane::Clock::UseSystem();
    EXPECT_FALSE(almanac.UpdateGlonassSV(Crossing(0, newYear, 0.0))) << "of no slot";
    EXPECT_TRUE(Event::GetKept().empty());

    Almanac::GlonassSV sv = Crossing(7, newYear, 0.0);
    sv.day = 900;
    EXPECT_FALSE(almanac.UpdateGlonassSV(sv));
    ASSERT_EQ(Event::GetKept().size(), 1U);
    EXPECT_EQ(Event::GetKept()[0].GetSource(), "Glonass Almanac");
    EXPECT_EQ(Event::GetKept()[0].GetText(),
              "Almanac update for Glonass Slot 07 is rejected due to an inconsistent day number 900.");
}

TEST(Almanac, KeepsSatellitesInOrderAndSharesThemWithItsCopies) {
    Almanac almanac;
    for (int i = 0; i < 32; ++i) {
        const int number = i * 5 % 32 + 1;
        const Almanac copy = almanac;
        ASSERT_TRUE(almanac.UpdateSV(Satellite(number)));
        EXPECT_EQ(almanac.UpdateGlonassSV(Crossing(number, Date(2020, 6, 25), 1.0)), number <= 24);
        ASSERT_TRUE(copy.NmrSV() == i && almanac.NmrSV() == i + 1 && copy.Find(PRN(number)) == -1);
        for (int k = 0; k < i; ++k) {
            const PRN prn = copy.GetSV(k).prn;
            EXPECT_EQ(almanac.Find(prn), k + (prn > number ? 1 : 0));
            EXPECT_EQ(&almanac.GetSV(almanac.Find(prn)), &copy.GetSV(k));
        }
    }
    for (int i = 0; i < 24; ++i) EXPECT_TRUE(almanac.GetGlonassSV(i).slot == i + 1 && almanac.Find(Slot(i + 1)) == i);
    EXPECT_TRUE(almanac.GetGlonassSV(24).slot.IsNull() && almanac.GetSV(-1).prn.IsNull());
}

TEST(AlmanacCalculator, AnswersAsTheRecordsDo) {
    const Almanac::SV sv = Satellite(4);
    Almanac::GlonassSV glonass = Crossing(9, Date(2020, 6, 25), 1.0);
    glonass.channel = -7;
    Almanac almanac;
    Almanac::Calculator calculator(almanac);
    ASSERT_TRUE(almanac.UpdateSV(sv) && almanac.UpdateGlonassSV(glonass));
    const Almanac::Calculator empty = calculator;
    EXPECT_FALSE(calculator.RefersTo(almanac));
    calculator.SetAlmanac(almanac);
    EXPECT_TRUE(calculator.RefersTo(almanac));

    const GPSTime t = glonass.time + Corvane::Time(1000.0);
    const ECEF start(1.0, 2.0, 3.0);
    ECEF posn = start;
    double offset = 5.0;
    EXPECT_FALSE(empty.CalculatePosn(sv.prn, t, posn, offset) || empty.CalculatePosn(glonass.slot, t, posn, offset));
    EXPECT_FALSE(empty.GetGlonassIonoSF(glonass.slot, offset));
    EXPECT_TRUE(posn == start && offset == 5.0) << "nothing is set for unknown satellites";

    ECEF expected;
    double expectedOffset = 0.0;
    glonass.CalculatePosn(t, expected);
    EXPECT_TRUE(calculator.CalculatePosn(glonass.slot, t, posn, offset) && posn == expected && offset == 5.0);
    EXPECT_TRUE(calculator.CalculatePosn(glonass.slot, t, posn = start) && posn == expected);
    sv.CalculatePosn(t, expected, expectedOffset);
    EXPECT_TRUE(calculator.CalculatePosn(sv.prn, t, posn, offset) && posn == expected && offset == expectedOffset);
    EXPECT_TRUE(calculator.CalculatePosn(sv.prn, t, posn = start) && posn == expected);
    ASSERT_TRUE(calculator.GetGlonassIonoSF(glonass.slot, offset));
    EXPECT_NEAR(offset, std::pow(1575.42 / 1598.0625, 2.0), 1e-12);

    const GNSS::Latitude lat(47.0);
    const GNSS::Longitude lon(6.0);
    EXPECT_TRUE(calculator.CalculateIonoDelay(t, lat, lon, Angle(0.5), Angle(), offset));
    EXPECT_EQ(offset, Almanac::Iono().CalculateDelay(t, lat, lon, Angle(0.5), Angle()));
    Corvane::TimeDate utc;
    EXPECT_TRUE(calculator.CalcUTC(t, utc) && utc == Almanac::UTC().CalcUTC(t));
    EXPECT_TRUE(calculator.CalcUTCShort(t, utc) && utc == Almanac::UTC().CalcUTCShort(t));

    struct Replaced final : Almanac::Calculator {
        bool SVPosn(const PRN& prn, const GPSTime&, ECEF& posn, double&) const override {
            posn = ECEF(prn, 0.0, 0.0);
            return true;
        }
    };
    EXPECT_TRUE(Replaced().CalculatePosn(PRN(4), t, posn) && posn == ECEF(4.0, 0.0, 0.0));
}

TEST(AlmanacUpdate, HoldsOneRecordOfItsType) {
    using Update = Almanac::Update;
    const struct {
        Update update;
        int type;  // 1 to 5: SV, Iono, UTC, Full, GlonassSV
        bool hasData;
    } rows[] = {{Update(Satellite(9)), 1, true},         {Update(Almanac::Iono()), 2, true},
                {Update(Almanac::UTC()), 3, true},       {Update(Update::Full), 4, false},
                {Update(Almanac::GlonassSV()), 5, true}, {Update(PRN(9)), 1, false}};
    for (const auto& [u, type, hasData] : rows) {
        const bool is[] = {u.IsSV(), u.IsIono(), u.IsUTC(), u.IsFull(), u.IsGlonassSV()};
        const bool has[] = {u.GetSV() != nullptr, u.GetIono() != nullptr, u.GetUTC() != nullptr, false,
                            u.GetGlonassSV() != nullptr};
        for (int i = 0; i < 5; ++i) EXPECT_TRUE(is[i] == (type == i + 1) && has[i] == (is[i] && hasData)) << type << i;
        EXPECT_TRUE(u.HasData() == hasData && u.GetPRN() == (type == 1 ? 9 : 0)) << type;
    }
}

}  // namespace
