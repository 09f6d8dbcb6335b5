#include "host/receiver/RinexNavigation.h"

#include <string>

#include <gtest/gtest.h>

#include "host/receiver/LeapSeconds.h"
#include "tests/host/receiver/RinexText.h"

using GNSS::GPSTime;
using Host::RinexNavigation;
using namespace rinex;

TEST(RinexNavigation, FillsAGPSRecord) {
    const RinexNavigation navigation = Parsed(Mixed + End + G07);
    EXPECT_EQ(AllWarnings(navigation), "");
    EXPECT_EQ(navigation.version, 304);
    ASSERT_EQ(navigation.gps.size(), 1U);
    const RinexNavigation::GPSRecord& record = navigation.gps[0];
    const GNSS::GPSEphemeride& eph = record.ephemeride;
    EXPECT_EQ(record.line, 3);
    EXPECT_EQ(eph.prn, 7);
    EXPECT_EQ(eph.reference, GPSTime(2147, 367200.0));
    EXPECT_EQ(eph.GetTOC(), GPSTime(2147, 367200.0));
    EXPECT_EQ(record.transmission, GPSTime(2147, 360006.0));
    EXPECT_EQ(eph.posn.IODE, 17);
    EXPECT_EQ(eph.posn.Crs, 120.0);
    EXPECT_EQ(eph.posn.deltaN.Radians(), 4.5e-9);
    EXPECT_EQ(eph.posn.M0.Radians(), 1.0);
    EXPECT_EQ(eph.posn.Cuc.Radians(), -5e-6);
    EXPECT_EQ(eph.posn.e, 0.01);
    EXPECT_EQ(eph.posn.Cus.Radians(), 6e-6);
    EXPECT_EQ(eph.posn.sqrtA, 5153.6);
    EXPECT_EQ(eph.posn.Cic.Radians(), -1e-7);
    EXPECT_EQ(eph.posn.Omega0.Radians(), 2.0);
    EXPECT_EQ(eph.posn.Cis.Radians(), 1.5e-7);
    EXPECT_EQ(eph.posn.i0.Radians(), 0.96);
    EXPECT_EQ(eph.posn.Crc, 210.0);
    EXPECT_EQ(eph.posn.omega.Radians(), -0.75);
    EXPECT_EQ(eph.posn.OmegaDot.Radians(), -8e-9);
    EXPECT_EQ(eph.posn.IDOT.Radians(), 1e-10);
    EXPECT_EQ(eph.clock.IODC, 17);
    EXPECT_EQ(eph.clock.Tgd, -1.1e-8);
    EXPECT_EQ(eph.clock.af0, 1.25e-4);
    EXPECT_EQ(eph.clock.af1, -2.5e-12);
    EXPECT_EQ(eph.status.GetURA(), 1);
    EXPECT_EQ(eph.status.GetCurveFit(), 4);
    EXPECT_EQ(eph.status.GetL2Codes(), 1);
    EXPECT_TRUE(eph.status.IsHealthy());
    EXPECT_TRUE(eph.status.IsValid(1 | 2 | 4 | 8 | 16));
    EXPECT_FALSE(eph.status.IsValid(GNSS::GPSEphemeride::Status::ASFlag));
}

TEST(RinexNavigation, FillsAGlonassRecord) {
    // With 18 leap seconds 06:15 UTC is 09:15 in Moscow and second 368118 of the GPS week; 2021 began day 367.
    const RinexNavigation navigation = Parsed(Mixed + Labelled("    18", "LEAP SECONDS") + End + R05);
    EXPECT_EQ(AllWarnings(navigation), "");
    ASSERT_EQ(navigation.glonass.size(), 1U);
    const RinexNavigation::GlonassRecord& record = navigation.glonass[0];
    const GNSS::Glonass::Ephemeride& eph = record.ephemeride;
    EXPECT_EQ(eph.slot, 5);
    EXPECT_EQ(eph.posn.day, 366 + 31 + 28 + 4);
    EXPECT_EQ(eph.posn.tb, 9 * 3600.0 + 900.0);
    EXPECT_EQ(eph.posn.frameTime, 9 * 3600.0 + 30.0);
    EXPECT_EQ(record.tb, GPSTime(2147, 368118.0));
    EXPECT_EQ(record.transmission, GPSTime(2147, 367248.0));
    EXPECT_EQ(eph.reference, GPSTime(2147, 367248.0));
    EXPECT_EQ(eph.posn.posn, GNSS::ECEF(1e4, -2e4, 1.2e4));
    EXPECT_EQ(eph.posn.vely.GetY(), -0.5);
    EXPECT_EQ(eph.posn.accel.GetZ(), -1.862645149231e-9);
    EXPECT_EQ(eph.clock.tau, -3e-5);
    EXPECT_EQ(eph.clock.gamma, 1.818989403546e-12);
    EXPECT_TRUE(eph.status.IsHealthy());
    EXPECT_EQ(eph.m.age, 1);
    EXPECT_FALSE(eph.m.isM);
    EXPECT_EQ(eph.accuracy, GNSS::Glonass::Ephemeride::UnknownAccuracy);
    EXPECT_EQ(record.channel, -4);
    EXPECT_FALSE(record.groupDelay);
}

TEST(RinexNavigation, FillsTheFlagsOfVersion305) {
    // Flags: M = 1, P4 = 1, P3 = 0, P2 = 1, P1 = 01: binary 0 1101 0100.
    const std::string fourth = "     2.120000000000D+02-2.793967723846D-09 2.000000000000D+00 0.000000000000D+00\n";
    const std::string header = Replaced(Mixed, "3.04", "3.05") + End;
    const RinexNavigation navigation = Parsed(header + R05 + fourth + R05 + "  \n" + Replaced(R05, "R05", "R06"));
    EXPECT_EQ(AllWarnings(navigation), "");
    ASSERT_EQ(navigation.glonass.size(), 3U);  // the second lacks the flags and so is no repeat
    using Status = GNSS::Glonass::Ephemeride::Status;
    const GNSS::Glonass::Ephemeride& eph = navigation.glonass[0].ephemeride;
    EXPECT_EQ(eph.status.Get(Status::P1), 30);
    EXPECT_EQ(eph.status.Get(Status::P2), 1);
    EXPECT_EQ(eph.status.Get(Status::P3), 0);
    EXPECT_EQ(eph.status.Get(Status::P4), 1);
    EXPECT_EQ(eph.status.Get(Status::Present), 31);
    EXPECT_TRUE(eph.m.isM);
    EXPECT_EQ(eph.m.accuracyIndex, 2);
    EXPECT_EQ(eph.accuracy, 2.5);
    EXPECT_EQ(navigation.glonass[0].groupDelay, -2.793967723846e-9);
    EXPECT_EQ(navigation.glonass[1].ephemeride.status.Get(Status::Present), 1);
}

TEST(RinexNavigation, ReadsTheHeaderOfBothVersions) {
    const std::string v3 = Mixed +
                           Labelled("GPSA    .2000D-07   .1000D-07  -.1000D-06   .2000D-06", "IONOSPHERIC CORR") +
                           Labelled("GPSB    .1000D+06   .2000D+06  -.3000D+06   .4000D+06", "IONOSPHERIC CORR") +
                           Labelled("GAL     .1288D+03   .2578D+00   .1581D-01", "IONOSPHERIC CORR") +
                           Labelled("GPUT  1.8626451492E-09 5.329070518E-15 589824 2147", "TIME SYSTEM CORR") +
                           Labelled("    18    19  2190     7", "LEAP SECONDS") + End + G07;
    const RinexNavigation mixed = Parsed(v3);
    EXPECT_EQ(AllWarnings(mixed), "");
    ASSERT_TRUE(mixed.iono && mixed.utc && mixed.leapSeconds && mixed.leapSeconds->event);
    EXPECT_EQ(mixed.iono->alpha0, 2e-8);
    EXPECT_EQ(mixed.iono->beta3, 4e5);
    EXPECT_EQ(mixed.iono->time, GPSTime(2147, 367200.0));
    EXPECT_EQ(mixed.utc->A0, 1.8626451492e-9);
    EXPECT_EQ(mixed.utc->A1, 5.329070518e-15);
    EXPECT_EQ(mixed.utc->Tot, 589824.0);
    EXPECT_EQ(mixed.utc->WNt, 2147);
    EXPECT_EQ(mixed.utc->DtLS, 18);
    EXPECT_EQ(mixed.utc->DtLSF, 19);
    EXPECT_EQ(mixed.utc->WNLSF, 2190);
    EXPECT_EQ(mixed.utc->DN, 7);
    EXPECT_EQ(mixed.utc->time, GPSTime(2147, 367200.0));

    // UTC week modulo 1024, as the message counts; without a leap-second line the built-in count with its event.
    const std::string v2 =
        GPS2 + Labelled("    .2000D-07   .1000D-07  -.1000D-06   .2000D-06", "ION ALPHA") +
        Labelled("    .1000D+06   .2000D+06  -.3000D+06   .4000D+06", "ION BETA") +
        Labelled("    .186264514923D-08  .532907051820D-14   589824       99", "DELTA-UTC: A0,A1,T,W") + End +
        AsVersion2(G07);
    const RinexNavigation old = Parsed(v2);
    ASSERT_TRUE(old.iono && old.utc);
    EXPECT_FALSE(old.leapSeconds);
    EXPECT_EQ(old.iono->alpha2, -1e-7);
    EXPECT_EQ(old.utc->WNt, 2147);
    EXPECT_EQ(old.utc->DtLS, 18);
    EXPECT_EQ(old.utc->DtLSF, 18);
    EXPECT_EQ(old.utc->WNLSF, 1929);
    EXPECT_EQ(old.utc->DN, 7);
    EXPECT_NE(AllWarnings(old).find("file:4: UTC reference week 99 instead of 2147"), std::string::npos);
}

TEST(RinexNavigation, PlacesToeOfTheNextWeek) {
    // Sent on Saturday, of Sunday 0 h.
    std::string record = Replaced(G07, "2021 03 04 06 00 00", "2021 03 06 23 59 44");
    record = Replaced(record, "3.672000000000D+05", "0.000000000000D+00");
    record = Replaced(record, "3.600060000000D+05", "5.976060000000D+05");
    const RinexNavigation navigation = Parsed(Mixed + End + record);
    ASSERT_EQ(navigation.gps.size(), 1U);
    EXPECT_EQ(navigation.gps[0].ephemeride.GetTOE(), GPSTime(2148, 0.0));
    EXPECT_EQ(navigation.gps[0].ephemeride.GetTOC(), GPSTime(2147, 604784.0));
    EXPECT_EQ(navigation.gps[0].transmission, GPSTime(2147, 597606.0));
    EXPECT_NE(AllWarnings(navigation).find("week 2147 instead of 2148, repaired"), std::string::npos);
}

TEST(RinexNavigation, SettlesGlonassTimes) {
    struct Case {
        const char* epoch;
        const char* frame;
        int day;
        double tb, frameTime;
        GPSTime transmission;
        bool isWarned;
    };
    const Case cases[] = {
        // Midnight in Moscow is 21 h UTC; frame times of the day and of the week mean the same.
        {"2021 03 04 21 00 00", " 4.206000000000D+05", 430, 0.0, 85800.0, {2147, 420618.0}, false},
        {"2021 03 04 21 00 00", " 7.500000000000D+04", 430, 0.0, 85800.0, {2147, 420618.0}, false},
        {"2021 03 04 20 59 59", " 7.500000000000D+04", 430, 0.0, 85800.0, {2147, 420618.0}, true},
        {"2021 03 04 20 59 42", " 7.500000000000D+04", 430, 0.0, 85800.0, {2147, 420618.0}, true},
        {"2021 03 04 21 00 18", " 7.500000000000D+04", 430, 0.0, 85800.0, {2147, 420618.0}, true},
        // Midnight UTC, with the frame of the day before; the first day of a four-year interval.
        {"2021 03 04 00 00 00", " 8.610000000000D+04", 429, 10800.0, 10500.0, {2147, 345318.0}, false},
        {"2019 12 31 21 00 00", " 7.500000000000D+04", 1, 0.0, 85800.0, {2086, 247818.0}, false},
        // Before and after the leap second at the end of 2016.
        {"2016 12 31 23 45 00", " 8.550000000000D+04", 367, 9900.0, 9900.0, {1929, 603917.0}, false},
        {"2017 01 01 00 15 00", " 9.000000000000D+02", 367, 11700.0, 11700.0, {1930, 918.0}, false},
        // Unknown: that of tb.
        {"2021 03 04 21 00 00", "                   ", 430, 0.0, 0.0, {2147, 421218.0}, false},
        {"2021 03 04 21 00 00", " 9.999999999990D+08", 430, 0.0, 0.0, {2147, 421218.0}, false},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.epoch) + c.frame);
        const RinexNavigation navigation = Parsed(
            Mixed + End + Replaced(Replaced(R05, "2021 03 04 06 15 00", c.epoch), " 3.672300000000D+05", c.frame));
        ASSERT_EQ(navigation.glonass.size(), 1U);
        const GNSS::Glonass::Ephemeride& eph = navigation.glonass[0].ephemeride;
        EXPECT_EQ(eph.posn.day, c.day);
        EXPECT_EQ(eph.posn.tb, c.tb);
        EXPECT_EQ(eph.posn.frameTime, c.frameTime);
        EXPECT_EQ(eph.reference, c.transmission);
        EXPECT_EQ(navigation.warnings.GetCount() > 0, c.isWarned) << AllWarnings(navigation);
    }
}

TEST(RinexNavigation, ReadsTheFormsThatAreMet) {
    const std::string other = Replaced(G07, "G07", "E11");
    std::string crlf;
    for (const char c : Mixed + End + G07 + R05) {
        if (c == '\n') crlf += '\r';
        crlf += c;
    }
    std::string lower = G07;
    for (char& c : lower) c = c == 'D' ? 'e' : c;
    struct Case {
        const char* name;
        std::string text;
        std::size_t gps, glonass;
        std::int64_t repeats, galileo, warnings;
    };
    const Case cases[] = {
        {"CR LF", crlf, 1, 1, 0, 0, 0},
        {"no end of the last line", Mixed + End + R05 + G07.substr(0, G07.size() - 1), 1, 1, 0, 0, 0},
        {"a byte order mark", "\xEF\xBB\xBF" + Mixed + End + G07, 1, 0, 0, 0, 0},
        {"exponents with e", Mixed + End + lower, 1, 0, 0, 0, 0},
        {"blank lines", Mixed + End + "\n" + G07 + "   \n\n" + R05, 1, 1, 0, 0, 0},
        {"other systems", Mixed + End + other + G07 + other + R05 + other, 1, 1, 0, 3, 0},
        {"a repeat", Mixed + End + G07 + R05 + G07 + R05, 1, 1, 2, 0, 0},
        {"a repeat sent later", Mixed + End + G07 + Replaced(G07, "3.600060000000D+05", "3.600360000000D+05"), 1, 0, 1,
         0, 0},
        {"not a repeat, since another came between", Mixed + End + G07 + Replaced(G07, "1.25", "1.24") + G07, 3, 0, 0,
         0, 0},
        {"older after newer", Mixed + End + Replaced(G07, "04 06 00 00", "04 08 00 00") + G07, 2, 0, 0, 0, 0},
        {"text between the records", Mixed + End + G07 + "# edited\n# by hand\n" + R05, 1, 1, 0, 0, 1},
        {"a record of too many lines", Mixed + End + G07 + "    0.0\n" + R05, 1, 1, 0, 0, 1},
        {"an unknown system", Mixed + End + Replaced(G07, "G07", "Q01") + R05, 0, 1, 0, 0, 1},
        {"another file behind", Mixed + End + G07 + Glonass2 + End + AsVersion2(R05), 1, 1, 0, 0, 0},
        {"another header that is none", Mixed + End + G07 + Replaced(Mixed, "3.04", "9.04") + End + R05, 1, 0, 0, 0, 1},
        {"cut inside a record", (Mixed + End + R05 + G07).substr(0, 162 + 324 + 300), 0, 1, 0, 0, 1},
        {"nothing but a header", Mixed + End, 0, 0, 0, 0, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        const RinexNavigation navigation = Parsed(c.text);
        EXPECT_EQ(navigation.gps.size(), c.gps);
        EXPECT_EQ(navigation.glonass.size(), c.glonass);
        EXPECT_EQ(navigation.nmrRepeats, c.repeats);
        EXPECT_EQ(navigation.GetSkipped('E'), c.galileo);
        EXPECT_EQ(navigation.warnings.GetCount(), c.warnings) << AllWarnings(navigation);
    }
}

TEST(LeapSeconds, CountsAroundALeap) {
    EXPECT_EQ(Host::GPSMinusUTC(Corvane::Date(1981, 6, 30)), 0);
    EXPECT_EQ(Host::GPSMinusUTC(Corvane::Date(1981, 7, 1)), 1);
    EXPECT_EQ(Host::GPSMinusUTC(Corvane::Date(2008, 12, 31)), 14);
    EXPECT_EQ(Host::GPSMinusUTC(Corvane::Date(2030, 1, 1)), 18);
    // 1 January 2017 00:00:00 UTC is second 18 of week 1930; the leap second is second 17.
    EXPECT_EQ(Host::GPSMinusUTC(GPSTime(1930, 16.9)), 17);
    EXPECT_EQ(Host::GPSMinusUTC(GPSTime(1930, 17.5)), 17);
    EXPECT_EQ(Host::GPSMinusUTC(GPSTime(1930, 18.0)), 18);
    EXPECT_EQ(Host::GPSMinusUTC(GPSTime(INT32_MIN, 0.0)), 0);
}
