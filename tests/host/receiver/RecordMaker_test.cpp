// Records completed from made streams: dates, weeks, and what must give no record.
#include "host/receiver/RecordMaker.h"

#include <cmath>
#include <functional>
#include <map>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "host/receiver/LeapSeconds.h"
#include "tests/host/receiver/NavigationBits.h"
#include "tests/host/receiver/ReceiverRecording.h"

namespace {

using GNSS::Almanac;
using GNSS::GPSEphemeride;
using GNSS::GPSTime;
using GNSS::ICD;
using Host::RecordMaker;

class RecordMakerTest : public ::testing::Test {
protected:
    // A subframe with its preamble, its ID, and the count of the one that follows it.
    static Host::GPSSubframe Subframe(int id, unsigned next, int prn = 5) {
        Host::GPSSubframe subframe{prn, {}, Host::GPSSubframe::Parity::Checked};
        bits::Put(subframe.words, 1, 1, 8, ICD::Subframe::Preamble);
        bits::Put(subframe.words, 2, 1, 17, next);
        bits::Put(subframe.words, 2, 20, 3, static_cast<unsigned>(id));
        return subframe;
    }
    // Of an almanac with a true orbit, where the SV ID is a satellite's.
    static Host::GPSSubframe Page(int id, unsigned next, unsigned svId, int prn = 5) {
        Host::GPSSubframe page = Subframe(id, next, prn);
        bits::Put(page.words, 3, 1, 2, 1);
        bits::Put(page.words, 3, 3, 6, svId);
        if (svId <= 32) bits::Put(page.words, 6, 1, 24, 5152U << 11U);
        return page;
    }
    // Page 18 of subframe 4 with these leap seconds.
    static Host::GPSSubframe UTCPage(unsigned next, unsigned leapSeconds) {
        Host::GPSSubframe page = Page(4, next, 56);
        bits::Put(page.words, 9, 1, 8, leapSeconds);
        bits::Put(page.words, 9, 17, 8, 7);
        bits::Put(page.words, 10, 1, 8, leapSeconds);
        return page;
    }
    // Subframes 1 to 3 whose issues and reference times are these, of week_ modulo 1024.
    void SendEphemeride(unsigned next, unsigned iodc, unsigned iode2, unsigned iode3, unsigned toe = 7200) {
        Host::GPSSubframe one = Subframe(1, next);
        bits::Put(one.words, 3, 1, 10, static_cast<unsigned>(week_) % 1024);
        bits::Put(one.words, 3, 23, 2, iodc >> 8U);
        bits::Put(one.words, 8, 1, 8, iodc & 0xFFU);
        bits::Put(one.words, 8, 9, 16, toe / 16);
        Host::GPSSubframe two = Subframe(2, next + 1);
        bits::Put(two.words, 3, 1, 8, iode2);
        bits::Put(two.words, 8, 17, 8, sqrtA_ >> 5U);
        bits::Put(two.words, 10, 1, 16, toe / 16);
        Host::GPSSubframe three = Subframe(3, next + 2);
        bits::Put(three.words, 10, 1, 8, iode3);
        for (const Host::GPSSubframe& subframe : {one, two, three}) maker_.OnSubframe(subframe);
    }
    void SendString(int slot, int number, const std::function<void(GNSS::ICDGlonass::String&)>& fill, int frame = 0) {
        Host::GlonassString string;
        string.slot = slot;
        string.channel = -2;
        string.frame = frame;
        bits::Put(string.bits, 81, 4, static_cast<unsigned>(number));
        fill(string.bits);
        maker_.OnString(string);
    }
    // String 1 to 4 of a frame at a Moscow time of a day of the four-year interval, with tb in quarters of an hour.
    void SendEphemerideString(int number, unsigned hour, unsigned minute, unsigned half, unsigned day = 1275,
                              unsigned tb = 71, int slot = 7) {
        SendString(slot, number, [&](auto& s) {
            if (number == 1) bits::Put(s, 65, 12, hour << 7U | minute << 1U | half);
            if (number == 2) bits::Put(s, 70, 7, tb);
            if (number == 4) {
                bits::Put(s, 16, 11, day);
                bits::Put(s, 30, 4, 4);                            // F_T: 5 m
                bits::Put(s, 9, 2, 1);                             // GLONASS-M
                bits::Put(s, 11, 5, static_cast<unsigned>(slot));  // and its slot
            }
        });
    }

    int week_ = 2300;
    unsigned sqrtA_ = 5152;  // a multiple of 32
    tests::RecordRecording records_;
    RecordMaker maker_{records_};
};

TEST_F(RecordMakerTest, DatesSubframesByTheStreamsWeek) {
    struct Row {
        GPSTime now;
        unsigned next;  // count of the subframe after the third
        GPSTime start;  // of the third
    };
    for (const Row& row : {
             Row{{1023, 604000.0}, 100001, {1023, 600000.0}},
             Row{{1023, 604799.5}, 1, {1024, 0.0}},  // the stream's time lags behind the turn of the week
             Row{{1024, 5.5}, 100799, {1023, 604788.0}},
             Row{{1024, 10000.0}, 1667, {1024, 9996.0}},
             Row{{2047, 604799.5}, 2, {2048, 6.0}},
             Row{{2048, 2.5}, 100799, {2047, 604788.0}},
             Row{{2048, 70000.0}, 11668, {2048, 70002.0}},
         }) {
        maker_.OnTime(row.now);
        // The count of subframe 1 before a week's turn stays below it, so the set is whole.
        const unsigned first = row.next >= 2 ? row.next - 2 : 0;
        week_ = first == 0 ? row.now.GetClosest(604794.0).GetWeek() : row.start.GetWeek();
        SendEphemeride(first, 0x2AB, 0xAB, 0xAB);
        const GPSTime start = row.next >= 2 ? row.start : row.start + Corvane::Time(6.0);
        ASSERT_FALSE(records_.gps.empty()) << row.next;
        const GPSEphemeride& made = records_.gps.back();
        EXPECT_EQ(made.prn, 5);
        EXPECT_EQ(made.clock.IODC, 0x2AB);
        EXPECT_EQ(made.reference, start) << row.next;
        records_.gps.clear();
        // The page that ends the week says that the next subframe has the count 0.
        maker_.OnSubframe(Page(5, 0, 1));
        EXPECT_EQ(records_.almanac.back().time, row.now.GetClosest(604794.0));
    }
}

TEST_F(RecordMakerTest, MakesNoMixedEphemeride) {
    maker_.OnTime({2300, 1000.0});
    SendEphemeride(100, 0x17, 0x17, 0x18);  // the issue changes before subframe 3
    SendEphemeride(105, 0x17, 0x18, 0x18);  // before subframe 2
    SendEphemeride(110, 0x17, 0x17, 0x17, 604800);
    EXPECT_EQ(maker_.GetNmrRefused(), 3);
    // Half of one set and half of the next; one out of order.
    for (const auto& [id, next] : {std::pair{1, 120U}, {2, 121U}, {3, 127U}, {2, 126U}, {3, 128U}})
        maker_.OnSubframe(Subframe(id, next));
    // A damaged word.
    Host::GPSSubframe damaged = Page(5, 130, 3);
    damaged.parity = Host::GPSSubframe::Parity::Present;
    bits::AddParity(damaged.words);
    maker_.OnSubframe(damaged);
    damaged.words[6] ^= 1UL << 20U;
    maker_.OnSubframe(damaged);
    EXPECT_TRUE(records_.gps.empty());
    EXPECT_EQ(records_.almanac.size(), 1U);
    EXPECT_EQ(maker_.GetNmrParityFailures(), 1);
    EXPECT_EQ(maker_.GetNmrRefused(), 3);
    SendEphemeride(140, 0x317, 0x17, 0x17);
    EXPECT_EQ(records_.gps.size(), 1U);
}

TEST_F(RecordMakerTest, ResolvesWeeksOfEightBits) {
    // Either side of the turns of 10 and 8 bits, and the farthest that eight bits can tell.
    for (const int week : {1023, 1024, 2047, 2048, 2363}) {
        const int leapSeconds = Host::GPSMinusUTC(GPSTime(week, 302400.0));
        for (const int ahead : {-128, -127, -1, 0, 1, 127, 128}) {
            Almanac::UTC utc;
            utc.WNLSF = (week + ahead) % 256;
            utc.WNt = (week - ahead) % 256;
            utc.DN = 7;
            utc.DtLS = utc.DtLSF = leapSeconds;
            maker_.OnTime({week, 302400.0});
            maker_.OnUTC(utc);
            EXPECT_EQ(records_.utc.back().WNLSF, week + (ahead == 128 ? -128 : ahead)) << week;
            EXPECT_EQ(records_.utc.back().WNt, week - (ahead == -128 ? 128 : ahead)) << week << " " << ahead;
        }
    }
    // A page says the ionosphere as well, both dated by its own time.
    Host::GPSSubframe page = UTCPage(50401, 18);
    bits::Put(page.words, 3, 9, 8, 11);
    bits::Put(page.words, 8, 17, 8, 2363 % 256);
    maker_.OnSubframe(page);
    EXPECT_EQ(records_.iono.back().alpha0, 11 * ICD::IonoUTCSF::Alpha0);
    EXPECT_EQ(records_.iono.back().time, GPSTime(2363, 302400.0));
    EXPECT_EQ(records_.utc.back().time, GPSTime(2363, 302400.0));
    EXPECT_EQ(records_.utc.back().WNt, 2363);
    // A page that has never been filled would take all leap seconds away.
    maker_.OnSubframe(Page(4, 50403, 56));
    EXPECT_EQ(records_.utc.back().time, GPSTime(2363, 302400.0));
    EXPECT_EQ(records_.iono.size(), 1U);
    EXPECT_EQ(maker_.GetNmrRefused(), 1);
}

TEST_F(RecordMakerTest, PlacesToaByPage51) {
    const auto send = [this](int prn, unsigned next, unsigned toa) {
        Host::GPSSubframe page = Page(5, next, 9, prn);
        bits::Put(page.words, 4, 1, 8, toa);
        maker_.OnSubframe(page);
        return records_.almanac.back();
    };
    maker_.OnTime({2048, 1000.0});
    // Without page 51 the nearest: 147 x 4096 s ends the week before.
    const Almanac::SV nearest = send(5, 200, 147);
    EXPECT_EQ(nearest.toa, GPSTime(2047, 147 * 4096.0));
    EXPECT_EQ(send(6, 200, 147).time, nearest.time) << "the same from all satellites";
    Host::GPSSubframe page51 = Page(5, 205, 51);
    bits::Put(page51.words, 3, 9, 8, 147);
    bits::Put(page51.words, 3, 17, 8, 2048 % 256);
    maker_.OnSubframe(page51);
    EXPECT_EQ(send(5, 210, 147).toa, GPSTime(2048, 147 * 4096.0));
    EXPECT_EQ(send(5, 215, 146).toa, GPSTime(2047, 146 * 4096.0)) << "another toa than page 51 tells";
    maker_.OnTime({2048, 100000.0});
    EXPECT_EQ(send(5, 16668, 147).toa, GPSTime(2047, 147 * 4096.0)) << "page 51 was more than a day ago";
    const std::size_t before = records_.almanac.size();
    Host::GPSSubframe page = Page(5, 16700, 9);
    bits::Put(page.words, 4, 1, 8, 148);
    maker_.OnSubframe(page);
    EXPECT_EQ(records_.almanac.size(), before) << "no week has that second";
}

TEST_F(RecordMakerTest, DatesDecodedEphemerides) {
    struct Row {
        GPSTime now;
        int week;
        int modulus;
        double toe;
        std::optional<GPSTime> sent;
        GPSTime reference;
    };
    for (const Row& row : {
             Row{{1023, 604790.0}, 1023, 1024, 597600.0, {}, {1023, 604790.0}},
             Row{{1023, 604790.0}, 0, 1024, 0.0, {}, {1023, 604790.0}},
             Row{{1023, 604790.0}, 1023, 1024, 0.0, {}, {1023, 604790.0}},  // the week in which it was sent
             Row{{2048, 100.0}, 1023, 1024, 597600.0, {}, {2048, 100.0}},
             Row{{2048, 100.0}, 0, 1024, 597600.0, {}, {2048, 100.0}},
             Row{{2048, 100.0}, 0, 1024, 7200.0, {}, {2048, 100.0}},
             Row{{2048, 100.0}, 0, 1024, 90000.0, {}, {2048, 90000.0}},
             Row{{2048, 100.0}, 511, 1024, 300000.0, {}, {2559, 300000.0}},
             Row{{2048, 100.0}, 512, 1024, 300000.0, {}, {1536, 300000.0}},
             Row{{2048, 100.0}, 1562, 0, 7200.0, {}, {1562, 7200.0}},
             // The stream's week is not the record's.
             Row{{2047, 7300.0}, 1024, 1024, 7200.0, {}, {2048, 7200.0}},
             Row{{2055, 7300.0}, 1024, 1024, 7200.0, {}, {2048, 7200.0}},
             Row{{2048, 100.0}, 1562, 0, 7200.0, GPSTime(1561, 604000.0), {1561, 604000.0}},
             Row{{2048, 100.0}, 1562, 0, 7200.0, GPSTime(1562, 100000.0), {1562, 7200.0}},
         }) {
        Host::GPSDecodedEphemeride record;
        record.ephemeride.prn = 3;
        record.ephemeride.posn.toe = record.ephemeride.clock.toc = row.toe;
        record.week = row.week;
        record.weekModulus = row.modulus;
        record.transmission = row.sent;
        maker_.OnTime(row.now);
        maker_.OnEphemeride(record);
        EXPECT_EQ(records_.gps.back().reference, row.reference) << row.week << " " << row.toe;
        EXPECT_LE(std::abs((records_.gps.back().GetTOE() - row.reference).Seconds()), GPSTime::SecsInDay);
    }
}

TEST_F(RecordMakerTest, KeepsTheNewestUntilTheTimeIsKnown) {
    SendEphemeride(100, 0x17, 0x17, 0x17);
    SendEphemeride(105, 0x18, 0x18, 0x18);
    maker_.OnSubframe(Page(5, 106, 1));
    maker_.OnSubframe(UTCPage(107, 18));
    SendEphemerideString(1, 0, 0, 0);
    Host::GlonassDecodedEphemeride decoded;
    decoded.ephemeride.slot = 4;
    decoded.ephemeride.posn.frameTime = 3600.0;
    decoded.ephemeride.posn.tb = 4500.0;
    maker_.OnEphemeride(decoded);
    EXPECT_EQ(maker_.GetNmrWaiting(), 5);
    EXPECT_EQ(maker_.GetNmrUndatable(), 2);
    EXPECT_TRUE(records_.gps.empty() && records_.almanac.empty() && records_.utc.empty() && records_.glonass.empty());

    maker_.OnTime({2300, 650.0});
    EXPECT_EQ(maker_.GetNmrWaiting(), 0);
    ASSERT_EQ(records_.gps.size(), 1U);
    EXPECT_EQ(records_.gps[0].clock.IODC, 0x18);
    EXPECT_EQ(records_.gps[0].reference, GPSTime(2300, 636.0));
    ASSERT_EQ(records_.almanac.size(), 1U);
    EXPECT_EQ(records_.almanac[0].time, GPSTime(2300, 630.0));
    EXPECT_EQ(records_.utc.size(), 1U);
    EXPECT_EQ(records_.iono.size(), 1U);
    // A GLONASS record gets its day, and the day's frame that lies nearest: 4 February 2024, 01:00 in Moscow.
    ASSERT_EQ(records_.glonass.size(), 1U);
    EXPECT_EQ(records_.glonass[0].posn.day, 35);
    EXPECT_EQ(records_.glonass[0].reference, GPSTime(2299, 604800.0 - 7200.0 + 18.0));
    // One that tells its four-year interval needs no stream: day 1275 of the eighth from 1996 on, 28 June 2027.
    RecordMaker other(records_);
    decoded.fourYears = 8;
    decoded.ephemeride.posn.day = 1275;
    other.OnEphemeride(decoded);
    EXPECT_EQ(records_.glonass[1].reference.GetDate(), Corvane::Date(2027, 6, 27));
}

TEST_F(RecordMakerTest, MakesGlonassEphemeridesOfOneFrame) {
    Corvane::Clock::SetTo(Corvane::TimeDate(Corvane::Date(2000, 1, 1), Corvane::TimeOfDay(0.0)));
    // 28 June 2023, 17:52:00 in Moscow, 18 leap seconds.
    const GPSTime start(2268, 3 * 86400.0 + 14 * 3600.0 + 52 * 60.0 + 18.0);
    const auto at = [&](double seconds) { maker_.OnTime(start + Corvane::Time(seconds)); };
    const auto send = [&](int number, double seconds, unsigned half) {
        at(seconds);
        SendEphemerideString(number, 17, 52, half);
    };
    send(1, 2.0, 0), send(2, 4.0, 0);    // half of a frame
    send(3, 36.0, 1), send(4, 38.0, 1);  // and half of the next
    send(1, 62.0, 1), send(2, 64.0, 1);  // strings whose t_k is not the frame's
    send(3, 66.0, 1), send(4, 68.0, 1);
    EXPECT_TRUE(records_.glonass.empty());
    EXPECT_EQ(maker_.GetNmrRefused(), 1);
    // Late or early by half a second, out of order, and twice.
    maker_.OnTimeLost();
    for (const int number : {4, 1, 3, 2, 4}) {
        at(2.0 * number + (number % 2 == 0 ? 0.5 : -0.5));
        SendEphemerideString(number, 17, 52, 0);
    }
    ASSERT_EQ(records_.glonass.size(), 1U);
    EXPECT_EQ(records_.glonass[0].reference, start);
    EXPECT_EQ(records_.glonass[0].posn.day, 1275);
    EXPECT_EQ(records_.glonass[0].posn.tb, 71 * 900.0);
    EXPECT_EQ(records_.glonass[0].accuracy, 5.0);
    Corvane::Clock::UseSystem();
}

// The day sent is that of the frame, the record's that of tb, from strings and decoded records alike.
TEST_F(RecordMakerTest, TbMayLieInAnotherDayThanTheFrame) {
    const auto midnight = [](int year, int month, int day) {
        return GPSTime(0, (Corvane::Date(year, month, day) - GPSTime::Start) * 86400.0 - 10800.0 + 18.0);
    };
    const struct {
        GPSTime midnight;  // the start of a Moscow day
        double frame;      // s after it
        int fourYears, frameDay;
        int tb;   // quarters of an hour
        int day;  // of tb
    } cases[] = {
        {midnight(2023, 6, 29), -30.0, 7, 1275, 95, 1275},  {midnight(2023, 6, 29), -30.0, 7, 1275, 1, 1276},
        {midnight(2023, 6, 29), -1800.0, 7, 1275, 0, 1276}, {midnight(2023, 6, 29), 0.0, 7, 1276, 1, 1276},
        {midnight(2023, 6, 29), 0.0, 7, 1276, 95, 1275},    {midnight(2024, 1, 1), -30.0, 7, 1461, 95, 1461},
        {midnight(2024, 1, 1), -30.0, 7, 1461, 1, 1},       {midnight(2024, 1, 1), 0.0, 8, 1, 1, 1},
        {midnight(2024, 1, 1), 0.0, 8, 1, 95, 1461},        {midnight(2025, 1, 1), -30.0, 8, 366, 1, 367},
    };
    int slot = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.frameDay) + " " + std::to_string(c.tb));
        maker_.OnTimeLost();
        const GPSTime frame = c.midnight + Corvane::Time(c.frame);
        ++slot;
        const auto halfMinutes = static_cast<unsigned>(c.frame < 0.0 ? 2880.0 + c.frame / 30.0 : c.frame / 30.0);
        const auto check = [&] {
            ASSERT_FALSE(records_.glonass.empty());
            EXPECT_EQ(records_.glonass.back().posn.day, c.day);
            EXPECT_EQ(records_.glonass.back().posn.tb, c.tb * 900.0);
            EXPECT_EQ(records_.glonass.back().reference, frame);
            records_.glonass.clear();
        };
        for (const int number : {1, 2, 3, 4}) {
            maker_.OnTime(frame + Corvane::Time(2.0 * number));
            SendEphemerideString(number, halfMinutes / 120, halfMinutes / 2 % 60, halfMinutes % 2,
                                 static_cast<unsigned>(c.frameDay), static_cast<unsigned>(c.tb), slot);
        }
        check();
        // Decoded: by the stream's time, by the message's own date, and with tb in full.
        Host::GlonassDecodedEphemeride record;
        record.ephemeride.slot = 4;
        record.ephemeride.posn.tb = c.tb * 900.0;
        record.ephemeride.posn.frameTime = halfMinutes * 30.0;
        for (const bool hasDay : {false, true}) {
            record.ephemeride.posn.day = hasDay ? c.frameDay : 0;
            RecordMaker dated(records_);
            dated.OnTime(frame + Corvane::Time(40.0));
            dated.OnEphemeride(record);
            check();
        }
        for (const int how : {0, 1}) {
            RecordMaker undated(records_);
            record.fourYears = c.fourYears;
            const double tb = Corvane::modulo(c.tb * 900.0 - 10800.0 + 18.0, 86400.0);
            if (how == 1) record.reference = frame.ResolveTo(Corvane::Time(tb), Corvane::Time(86400.0));
            undated.OnEphemeride(record);
            check();
        }
    }
    // A frame of another day than the stream's is nobody's, and so is a record.
    maker_.OnTimeLost();
    const GPSTime frame = midnight(2023, 6, 29);
    for (const int number : {1, 2, 3, 4}) {
        maker_.OnTime(frame + Corvane::Time(2.0 * number));
        SendEphemerideString(number, 0, 0, 0, 1275, 1);
    }
    Host::GlonassDecodedEphemeride record;
    record.ephemeride.slot = 4;
    for (const int day : {1278, 100}) {
        record.ephemeride.posn.day = day;
        maker_.OnEphemeride(record);
        record.fourYears = 7;
        maker_.OnEphemeride(record);
        record.fourYears.reset();
        record.reference = frame;
        maker_.OnEphemeride(record);
        record.reference.reset();
    }
    EXPECT_TRUE(records_.glonass.empty());
    EXPECT_EQ(maker_.GetNmrRefused(), 7);
}

TEST_F(RecordMakerTest, MakesGlonassAlmanacsOfOneFrame) {
    // 17:52:30, the first of a superframe: 64350 s is 429 times 150 s. In the fifth frame the last two strings are
    // nobody's almanac.
    const GPSTime start(2268, 3 * 86400.0 + 14 * 3600.0 + 52 * 60.0 + 30.0 + 18.0);
    const auto send = [&](int number, double frame, unsigned slot, unsigned day = 1275) {
        maker_.OnTime(start + Corvane::Time(frame + 2.0 * number));
        SendString(3, number, [&](auto& s) {
            if (number == 4) bits::Put(s, 16, 11, day);
            if (number == 5) bits::Put(s, 70, 11, day);
            if (number >= 6 && number % 2 == 0) bits::Put(s, 73, 5, slot), bits::Put(s, 80, 1, 1);
            if (number >= 7 && number % 2 == 1) bits::Put(s, 10, 5, 31);
        });
    };
    send(7, 0.0, 1);                                         // no even string
    send(6, 30.0, 6), send(7, 30.0, 6);                      // no string 5
    send(5, 60.0, 0), send(6, 60.0, 11), send(7, 90.0, 11);  // the odd string of another frame
    send(5, 90.0, 0), send(6, 90.0, 25), send(7, 90.0, 25);  // no such slot
    send(5, 120.0, 0), send(14, 120.0, 2), send(15, 120.0, 2);
    EXPECT_TRUE(records_.glonassAlmanac.empty());
    maker_.OnTimeLost();
    send(5, 0.0, 0, 0), send(8, 0.0, 2), send(9, 0.0, 2);                                // no such day
    send(5, 30.0, 0, 1255), send(8, 30.0, 2), send(9, 30.0, 2);                          // of weeks ago
    send(4, 60.0, 0, 1274), send(5, 60.0, 0, 1274), send(8, 60.0, 2), send(9, 60.0, 2);  // the stream's day is wrong
    EXPECT_TRUE(records_.glonassAlmanac.empty());
    EXPECT_EQ(maker_.GetNmrRefused(), 3);
    // Another almanac of slot 2 in its own place, from the superframe before, is not what is told now.
    send(5, 150.0, 0), send(14, 150.0, 2), send(15, 150.0, 2);
    ASSERT_EQ(records_.glonassAlmanac.size(), 1U);
    EXPECT_EQ(records_.glonassAlmanac[0].slot, 2);
    EXPECT_EQ(records_.glonassAlmanac[0].channel, -1);
    EXPECT_EQ(records_.glonassAlmanac[0].day, 1275);
    EXPECT_EQ(records_.glonassAlmanac[0].time, start + Corvane::Time(150.0 + 26.0));
}

TEST_F(RecordMakerTest, CountsLeapSecondsAsTheStreamTells) {
    const GPSTime t(2300, 1000.0);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(t), 18);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds({1562, 0.0}), 15);
    maker_.OnLeapSeconds(19);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(t), 19);
    maker_.OnTime(t);
    Almanac::UTC utc;
    utc.WNLSF = 2301 % 256;
    utc.DN = 7;
    utc.DtLS = 18;
    utc.DtLSF = 19;
    maker_.OnUTC(utc);
    const GPSTime leap(2302, 19.0);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(leap - Corvane::Time(0.5)), 18);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(leap), 19);
    // Moscow's day there and back on both sides.
    for (const double after : {-7200.0, -1.5, 0.0, 0.5, 7200.0}) {
        const GPSTime there = leap + Corvane::Time(after);
        EXPECT_EQ(maker_.GetClock().FromMoscow(maker_.GetClock().ToMoscow(there)), there) << after;
    }
    utc.DtLSF = 30;
    maker_.OnUTC(utc);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(leap), 19) << "no leap is that long";
    EXPECT_EQ(records_.utc.size(), 1U);
    // Neither what the table contradicts nor, once there is a time, what was told before it.
    for (const int wrong : {-128, 0, 15, 21, 127}) maker_.OnLeapSeconds(wrong);
    EXPECT_EQ(maker_.GetClock().GetLeapSeconds(leap), 19);
    EXPECT_EQ(maker_.GetNmrRefused(), 6);
    RecordMaker other(records_);
    other.OnLeapSeconds(15);
    other.OnTime(t);
    EXPECT_EQ(other.GetClock().GetLeapSeconds(t), 18);
    EXPECT_EQ(other.GetNmrRefused(), 1);
}

TEST_F(RecordMakerTest, BelievesTheWeekOfSubframe1) {
    const struct {
        int stream, sent;
        std::optional<int> week;
    } cases[] = {{2363, 2363, 2363}, {2363, 2359, 2359}, {2363, 2367, 2367},
                 {2363, 2368, {}},   {2363, 2358, {}},   {2363, 2363 - 1024, 2363},
                 {1023, 1024, 1024}, {2048, 2046, 2046}, {2363, 2363 + 512, {}}};
    std::int64_t nmrRefused = 0;
    for (const auto& c : cases) {
        maker_.OnTime({c.stream, 1000.0});
        week_ = c.sent + 1024;
        records_.gps.clear();
        SendEphemeride(166, 0x17, 0x17, 0x17);
        EXPECT_EQ(records_.gps.size(), c.week ? 1U : 0U) << c.sent;
        nmrRefused += c.week ? 0 : 1;
        if (!records_.gps.empty()) {
            EXPECT_EQ(records_.gps[0].reference, GPSTime(*c.week, 1002.0)) << c.stream;
        }
    }
    EXPECT_EQ(maker_.GetNmrRefused(), nmrRefused);
}

TEST_F(RecordMakerTest, WaitsWhileTheStreamHasLostItsTime) {
    maker_.OnTime({2290, 1000.0});
    maker_.OnTimeLost();
    SendEphemeride(100, 0x17, 0x17, 0x17);
    // Page 51 before the first time is kept as well, and dates what comes with it.
    Host::GPSSubframe page51 = Page(5, 205, 51);
    bits::Put(page51.words, 3, 9, 8, 147);
    bits::Put(page51.words, 3, 17, 8, 2300 % 256);
    maker_.OnSubframe(page51);
    Host::GPSSubframe page = Page(5, 210, 9);
    bits::Put(page.words, 4, 1, 8, 147);
    maker_.OnSubframe(page);
    EXPECT_TRUE(records_.gps.empty() && records_.almanac.empty());
    EXPECT_EQ(maker_.GetNmrWaiting(), 2);
    maker_.OnTime({2300, 1500.0});
    ASSERT_EQ(records_.gps.size(), 1U);
    EXPECT_EQ(records_.gps[0].reference.GetWeek(), 2300);
    ASSERT_EQ(records_.almanac.size(), 1U);
    EXPECT_EQ(records_.almanac[0].toa, GPSTime(2300, 147 * 4096.0));
}

TEST_F(RecordMakerTest, FollowsNoJitterBack) {
    const struct {
        double told, clock;  // s of week 2300
    } steps[] = {{1000.0, 1000.0},     {999.0, 1000.0},      {940.0, 1000.0},    {1001.0, 1001.0},
                 {2016.0, 2016.0},     {1002.0, 2016.0},     {2017.0, 2017.0},  // two receivers in one stream
                 {900.0, 2017.0},      {901.0, 901.0},       {902.0, 902.0},    // begun anew
                 {200000.0, 200000.0}, {100000.0, 100000.0}, {99999.0, 100000.0}};
    for (const auto& step : steps) {
        maker_.OnTime({2300, step.told});
        EXPECT_EQ(maker_.GetClock().GetTime(), GPSTime(2300, step.clock)) << step.told;
    }
}

TEST_F(RecordMakerTest, RefusesWhatNoSatelliteSends) {
    maker_.OnTime({2300, 1000.0});
    for (const unsigned sqrtA : {0U, 2496U}) {
        sqrtA_ = sqrtA;
        SendEphemeride(166, 0, 0, 0);
        Host::GPSSubframe almanac = Page(5, 170, 7);
        bits::Put(almanac.words, 6, 1, 24, sqrtA << 11U);
        maker_.OnSubframe(almanac);
    }
    // Of another system, which numbers its satellites from 1 as well.
    for (const auto& [id, svId] : {std::pair{5, 7U}, {4, 56U}, {5, 51U}}) {
        Host::GPSSubframe other = svId == 56 ? UTCPage(170, 18) : Page(id, 170, svId);
        bits::Put(other.words, 3, 1, 2, 3);
        maker_.OnSubframe(other);
    }
    EXPECT_TRUE(records_.gps.empty() && records_.almanac.empty() && records_.utc.empty() && records_.iono.empty());
    EXPECT_EQ(maker_.GetNmrRefused(), 7);
}

}  // namespace
