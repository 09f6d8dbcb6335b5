// gnss decode: what it says of every log, however the bytes come, and what it refuses.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"
#include "tests/support/TestData.h"

namespace {

using Decode = tests::CommandRun;

TEST_F(Decode, CountsWhatEveryLogHolds) {
    struct Row {
        const char* file;
        std::vector<const char*> lines;  // of the CSV, behind its row and file
    };
    for (const Row& row : {
             Row{"data/16dBatt_no_interference_coldstart.ubx.gz",
                 {"UBX,3000000,6,0,31176,0,2025-04-25 06:38:07,2025-04-25 06:47:28.996,562,0,0,0,0,0,0",
                  "NAV-PVT,582,0", "NAV-TIMELS,582,0", "RXM-RAWX,582,0", "RXM-SFRBX,3843,0", "RXM-MEASX,612,0",
                  "G06,95,0,562,19,9", "GPS ephemeris,171,9", "GPS almanac,225,50"}},
             Row{"data/ubx_20080526.ubx",
                 {"UBX,262144,152284,0,1084,0,2008-05-26 05:59:24.999,2008-05-26 06:03:25.999,242,0,0,0,0,0,0",
                  "RXM-RAW,242,0", "RXM-SFRB,842,0", "GPS ephemeris,72,18", "GPS almanac,99,22"}},
             Row{"data/ublox-glo.ubx",
                 {"UBX,168595,695,0,2982,0,2023-06-28 14:52:30,2023-06-28 14:57:28,0,0,0,0,0,0,0", "RXM-SFRBX,584,0",
                  "NAV-SAT,300,0", "NAV-SIG,300,0", "NAV-DOP,300,0", "NAV-TIMEGPS,300,0", "NAV-EOE,300,0",
                  "NAV-PVT,299,0", "NAV-POSECEF,299,0", "NAV-VELECEF,299,0", "GLONASS ephemeris,38,4",
                  "R02,0,150,0,10,8"}},
             Row{"data/oemv_200911218.gps",
                 {"NovAtel OEM,262144,78,0,317,0,2009-12-18 23:07:00,2009-12-18 23:07:45,46,0,0,0,0,0,0",
                  "RAWEPHEM,25,0", "RANGECMP,46,0", "GLOEPHEMERIS,8,0", "BESTPOS,49,0", "SATVIS,49,0", "TRACKSTAT,50,0",
                  "RAWWAASFRAME,90,0", "GPS ephemeris,25,9", "GLONASS ephemeris,8,5"}},
             Row{"data/testglo.rtcm3",
                 {"RTCM 3,57931,58,0,429,0,2009-12-18 23:05:45,2009-12-18 23:10:05,186,0,0,0,0,0,0", "1004,186,0",
                  "1012,186,0", "1005,19,0", "1019,19,0", "1020,19,0", "GPS ephemeris,19,15",
                  "GLONASS ephemeris,19,6"}},
         }) {
        GNSS_REQUIRE_TEST_DATA(path, row.file);
        ASSERT_EQ(Run("$GNSS decode --form csv '" + path + "'"), 0) << err_;
        EXPECT_EQ(err_, "");
        for (const char* line : row.lines) EXPECT_TRUE(Says("," + path + "," + line)) << line << "\n" << out_;
        // The same through a pipe, in NDJSON and as a table.
        const std::string csv = out_;
        ASSERT_EQ(Run("cat '" + path + "' | $GNSS decode --form csv - | sed 's#,-,#," + path + ",#'"), 0) << err_;
        EXPECT_EQ(out_, csv) << row.file;
        EXPECT_EQ(Run("$GNSS decode --records --form ndjson '" + path + "' --output x && grep -c row x"), 0) << err_;
        EXPECT_EQ(Run("$GNSS decode --records '" + path + "'"), 0) << err_;
        EXPECT_NE(out_.find("ephemeris"), std::string::npos);
    }
}

TEST_F(Decode, PrintsRecordsWithNamesAndUnits) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    ASSERT_EQ(Run("$GNSS decode --records --form ndjson '" + path + "' | grep GPS.ephemeris | grep G11"), 0) << err_;
    // By the reference's RINEX file of the same log.
    for (const char* value :
         {"\"row\":\"record\"", "\"sat\":\"G11\"", "\"IODE\":110", "\"toe_week\":1562", "\"toe_s\":5.184000000000e+05",
          "\"af0_s\":-3.499211743474e-05", "\"sqrtA_m^0.5\":5.153702384949e+03", "\"Crc_m\":2.543125000000e+02"})
        EXPECT_NE(out_.find(value), std::string::npos) << value << "\n" << out_;
}

TEST_F(Decode, DatesAStreamWithoutAWeek) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    // Without the GLONASS ephemerides, which tell the date, nothing does.
    const std::string keepGPS =
        "python3 -c \"import sys\nd=open('" + path +
        "','rb').read();o=b'';i=d.find(0xd3)\nwhile i+6<=len(d):\n n=6+(d[i+1]%4*256+d[i+2])\n k=d[i+3]*16+d[i+4]//16\n"
        " o+=d[i:i+n] if k in(1004,1019) else b''\n i+=n\nopen('gps.rtcm3','wb').write(o)\"";
    ASSERT_EQ(Run(keepGPS), 0) << err_;
    ASSERT_EQ(Run("$GNSS decode --form csv gps.rtcm3"), 0);
    EXPECT_NE(err_.find("--date"), std::string::npos) << err_;
    // 186 epochs; 15 records wait, 4 gave way
    EXPECT_NE(out_.find(",,,0,186,15,4,0,0,0\n"), std::string::npos) << out_;
    ASSERT_EQ(Run("$GNSS decode --form csv --date 2009-12-20 gps.rtcm3"), 0);
    EXPECT_EQ(err_, "");
    EXPECT_NE(out_.find("2009-12-18 23:07:00,2009-12-18 23:10:05,186,0,0,0,0,0,0\n"), std::string::npos) << out_;
    EXPECT_TRUE(Says("records,gps.rtcm3,GPS ephemeris,19,15")) << out_;
}

TEST_F(Decode, TellsPeopleWhatWentWrong) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    // A byte of the 1012 at 10000 is damaged; the outside date is wrong, which the satellites put right.
    ASSERT_EQ(Run("cp '" + path + "' log && chmod u+w log && printf x | dd of=log bs=1 seek=10000 conv=notrunc"), 0);
    ASSERT_EQ(Run("$GNSS decode log"), 0) << err_;
    EXPECT_NE(out_.find("log\nRTCM 3, 57931 bytes, 428 messages\n2009-12-18 23:05:45 to"), std::string::npos) << out_;
    EXPECT_TRUE(Says("1 messages have a wrong checksum")) << out_;
    EXPECT_EQ(out_.find("refused:"), std::string::npos) << out_;
    EXPECT_EQ(out_.find(" \n"), std::string::npos) << "blanks at the end of a line";
    const std::string right = out_;
    ASSERT_EQ(Run("$GNSS decode --date 1995-01-01 log"), 0) << err_;
    EXPECT_EQ(out_, right);
    // A text stands before it, longer than what is looked at elsewhere.
    for (const char* input : {"far", "- <far"}) {
        ASSERT_EQ(Run(std::string("{ yes text | head -c 1500000; cat log; } >far; $GNSS decode --form csv ") + input),
                  0);
        EXPECT_NE(out_.find(",RTCM 3,1557931,1500244,1,428,0,2009"), std::string::npos) << out_.substr(0, 300);
    }
    // After the first epochs they come too late.
    ASSERT_EQ(Run("{ tail -c 13000 log | head -c 3000; cat log; } >late && $GNSS decode --date 1995-01-01 late"), 0);
    EXPECT_NE(err_.find("jumps from 1994-12-30"), std::string::npos) << err_;
}

TEST_F(Decode, PrintsRecordsOfRinexNavigation) {
    for (const auto& [file, line] : {std::pair{"data/brdc1820.10n", "GPS ephemeris,421,421"},
                                     {"data/brdc0910.09g", "GLONASS ephemeris,912,912"}}) {
        GNSS_REQUIRE_TEST_DATA(path, file);
        ASSERT_EQ(Run("$GNSS decode --records --form csv '" + path + "'"), 0) << err_;
        const std::string csv = out_;
        EXPECT_TRUE(Says("records," + path + "," + line)) << out_.substr(0, 500);
        for (const std::string pack : {"cat", "gzip -c"}) {
            ASSERT_EQ(Run(pack + " '" + path + "' | $GNSS decode --records --form csv - | sed 's#,-,#," + path + ",#'"),
                      0);
            EXPECT_EQ(out_, csv);
        }
    }
}

TEST_F(Decode, RefusesWhatItCannotRead) {
    ASSERT_EQ(Run("printf '     3.04           N: GNSS NAV DATA    M: Mixed            RINEX VERSION / TYPE\\n' >nav"
                  " && sed 's/N: GNSS NAV /OBSERVATION /' nav >obs && echo '#cP2010' >sp3 && seq 100000 >noise && : "
                  ">empty && gzip -c noise >noise.gz && head -c 100 noise.gz >cut.gz"),
              0);
    struct Row {
        const char* arguments;
        int exitCode;
        const char* inMessage;
    };
    for (const Row& row : {
             Row{"nav", 1, "nav:"},
             Row{"obs", 0, "tells no time"},
             Row{"sp3", 1, "gnss compare"},
             Row{"noise", 1, "no messages"},
             Row{"noise.gz", 1, "no messages"},
             Row{"cut.gz", 1, "no messages"},
             Row{"empty", 1, "empty"},
             Row{"/dev/null", 1, "empty"},
             Row{"none", 1, "none: "},
             Row{". ", 1, "gnss: .: "},
             Row{"- <noise", 1, "no messages"},
             Row{"- <noise.gz", 1, "no messages"},
             Row{"- <empty", 1, "empty"},
             Row{"- <&-", 1, "standard input"},
             Row{"- -", 2, "only once"},
             Row{"noise --form xml", 2, "--form"},
             Row{"noise --date yesterday", 2, "--date"},
         }) {
        EXPECT_EQ(Run(std::string("$GNSS decode ") + row.arguments), row.exitCode) << row.arguments << err_;
        EXPECT_EQ(out_.empty(), row.exitCode != 0) << row.arguments << out_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.arguments << "\n" << err_;
    }
}

}  // namespace
