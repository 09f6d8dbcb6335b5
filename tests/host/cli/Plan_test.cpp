// gnss plan: what it prints of a day, and what it refuses.
#include <string>

#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"
#include "tests/support/TestData.h"

namespace {

using Plan = tests::CommandRun;

TEST_F(Plan, TellsADayOfRealEphemerides) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const std::string plan = "$GNSS plan '" + path + "' --at 55.4936,8.4568,60 --from 2020-06-25 ";
    ASSERT_EQ(Run(plan + "--mode gps --mask 15 --disable G01"), 0) << err_;
    for (const char* text : {"1441 steps", "\n PDOP ", "Bad geometry (HDOP above 2, PDOP above 3", "\n   1 ",
                             "\n G02  05:4", "24:00:00*", "\n no orbit for G23 at any time\n", "\n no orbit for G0"})
        EXPECT_NE(out_.find(text), std::string::npos) << text << "\n" << out_;
    for (const char* text : {"\n G01 ", "R01", "almanac:"}) EXPECT_EQ(out_.find(text), std::string::npos) << text;

    ASSERT_EQ(Run(plan + "--to 2020-06-25T01 --step 30min --form csv --plot a.svg --output rows && wc -l <rows; "
                         "grep -c 'no fix' rows; head -c 5 a.svg"),
              0)
        << err_;
    EXPECT_EQ(out_, "4\n0\n<?xml");
    EXPECT_NE(err_.find("no orbit for G04 G23"), std::string::npos) << err_;
    ASSERT_EQ(Run(plan + "--form ndjson --rows passes | grep '\"R05\"' | head -1"), 0) << err_;
    EXPECT_EQ(out_.find("{\"sat\":\"R05\",\"rise\":\"2020-06-25 04:14:"), 0U) << out_;
}

TEST_F(Plan, FillsGapsFromAnAlmanac) {
    GNSS_REQUIRE_TEST_DATA(path, "data/16dBatt_no_interference_coldstart.ubx.gz");
    ASSERT_EQ(Run("mkdir dir && $GNSS store dir '" + path + "'"), 0) << err_;
    const std::string where = " --at 47.2513,5.9934,300 --from 2025-04-26 --mode gps";
    ASSERT_EQ(Run("$GNSS plan dir/almanac.alm" + where), 0) << err_;
    for (const char* text : {"by almanac: G01", "unhealthy: G05 all the time", "\n G30 "})
        EXPECT_NE(out_.find(text), std::string::npos) << text << "\n" << out_;
}

TEST_F(Plan, RefusesWhatItCannotPlan) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    struct Row {
        const char* options;
        int exitCode;
        const char* inMessage;
    };
    for (const Row& row : {
             Row{"--at 55,8,0 --from 2010-07-02 --to 2010-07-01", 2, "--to lies before --from"},
             Row{"--at 55,8,0 --from 2010-07-01 --step 0s", 2, "--step: "},
             Row{"--at 55,8,0 --from 2010-07-01 --to 2014-07-01", 2, "more than 100000 times"},
             Row{"--at 55,8,0 --from 2010-07-01 --step 100ms", 2, "--step: "},
             Row{"--at 55,8,-50000 --from 2010-07-01", 2, "--at: "},
             Row{"--at nan,8,0 --from 2010-07-01", 2, "--at: "},
             Row{"--at 55,8,0 --from nan", 2, "--from: "},
             Row{"--at 55,8,0 --from 2010-07-01 --mask 90", 2, "--mask: "},
             Row{"--at 55,8,0 --from 2010-07-01 --mask nan", 2, "--mask: "},
             Row{"--at 55,8,0 --from 2010-07-01 --hdop-limit 0", 2, "--hdop-limit"},
             Row{"--at 55,8,0 --from 2010-07-01 --mode galileo", 2, "--mode is"},
             Row{"--at 55,8,0 --from 2010-07-01 --disable X1", 2, "--disable: "},
             Row{"--at 55,8,0 --from 2010-07-01 --plot x.jpg", 2, "x.jpg"},
             Row{"--at 55,8,0 --from 2010-07-01 --mode glonass", 1, "no orbits of GLONASS"},
             Row{"--at 55,8,0 --from 2010-07-01 --disable G --mode gps", 1, "all satellites are disabled"},
             Row{"--at 55,8,0 --from 2015-07-01", 1, "no satellite has an orbit between 2015-07-01"},
             // With a system that is missing the other is planned.
             Row{"--at 55,8,0 --from 2010-07-01 --to 2010-07-01", 0, "no orbits of GLONASS"},
         }) {
        EXPECT_EQ(Run("$GNSS plan '" + path + "' " + row.options), row.exitCode) << row.options << err_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.options << "\n" << err_;
    }
}

}  // namespace
