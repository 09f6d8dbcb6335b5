// gnss store: what it prints of the stores, what it leaves in the folder, and what it refuses.
#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"
#include "tests/support/TestData.h"

namespace {

using Store = tests::CommandRun;

TEST_F(Store, PrintsWhatTheStoresHoldAndKeepsTheAlmanac) {
    GNSS_REQUIRE_TEST_DATA(gps, "data/16dBatt_no_interference_coldstart.ubx.gz");
    GNSS_REQUIRE_TEST_DATA(glonass, "data/ublox-glo.ubx");
    GNSS_REQUIRE_TEST_DATA(navigation, "data/brdc1820.10n");
    ASSERT_EQ(Run("mkdir dir && $GNSS store --form csv dir '" + gps + "'"), 0) << err_;
    EXPECT_EQ(err_, "");
    // The almanac and the ephemerides by the values of independent programs for this log.
    for (const char* line :
         {"GPS almanac,G14,0,2025-04-25 06:46:54,2025-04-26 19:50:24,0.0056982,54.1013,5153.6704",
          "GPS almanac,G05,255,", "ephemeris,G06,68,2025-04-25 06:38:12,2025-04-25 08:00:00,-4351.0,0,",
          "data age,G11,215,\n", "health,G05,1,,255,0\n", "health,G06,1,0,0,1\n"}) {
        EXPECT_NE(out_.find(line), std::string::npos) << line << "\n" << out_;
    }
    // A second run begins with the almanac of the first; the same log through a pipe adds nothing to it.
    ASSERT_EQ(Run("cp dir/almanac.alm first && cat '" + gps +
                  "' | $GNSS store --watch --form csv dir - "
                  "| grep -c 'almanac update,,all$' && cmp first dir/almanac.alm"),
              0)
        << out_ << err_;
    EXPECT_EQ(out_, "1\n");
    ASSERT_EQ(Run("$GNSS store dir '" + glonass + "' '" + navigation + "' --output x && cat x"), 0) << err_;
    for (const char* text : {"\n G14 ", "\n R24 ", "\n G06 ", "healthy depth"})
        EXPECT_NE(out_.find(text), std::string::npos) << text << "\n" << out_;
    EXPECT_EQ(Run("ls dir"), 0);
    EXPECT_EQ(out_, "almanac.alm\n");
}

TEST_F(Store, WatchesChangesAsTheyArePublished) {
    GNSS_REQUIRE_TEST_DATA(path, "data/testglo.rtcm3");
    ASSERT_EQ(Run("mkdir dir && $GNSS store --watch --form ndjson dir '" + path + "' | grep '\"change\"'"), 0) << err_;
    std::vector<std::string> lines;
    for (std::istringstream text(out_); std::getline(text, lines.emplace_back());) {
    }
    // Four lines for each of 15 GPS and 18 GLONASS ephemerides, the times never going back.
    ASSERT_EQ(lines.size(), 4U * 33 + 1);
    const char* const order[] = {"\"health\"", " history\"", " calculator\"", " data age\""};
    for (std::size_t i = 0; i + 1 < lines.size(); ++i)
        EXPECT_NE(lines[i].find(order[i % 4]), std::string::npos) << i << ": " << lines[i];
    const auto time = [](const std::string& line) { return line.substr(0, line.find("\"change\":")); };
    EXPECT_TRUE(std::ranges::is_sorted(lines.begin(), lines.end() - 1, {}, time));
}

TEST_F(Store, RefusesWhatItCannotUse) {
    ASSERT_EQ(Run("mkdir dir locked && seq 100000 >noise"), 0);
    struct Row {
        const char* command;
        int exitCode;
        const char* inMessage;
    };
    for (const Row& row : {
             Row{"$GNSS store nowhere noise", 1, "nowhere: no such folder; mkdir"},
             Row{"$GNSS store noise noise", 1, "noise: not a folder"},
             Row{"$GNSS store dir", 2, "FILE"},
             Row{"$GNSS store dir noise", 1, "noise: no messages"},
             Row{"$GNSS store dir none", 1, "none: "},
             Row{"$GNSS store dir - -", 2, "only once"},
             Row{"$GNSS store dir noise --form xml", 2, "--form"},
             // A lock file without a holder is taken over, one that another process holds is not.
             Row{"echo 1 >dir/almanac.alm.lock; $GNSS store dir noise", 1, "noise: no messages"},
             Row{"flock locked/almanac.alm.lock sh -c 'echo $$ >locked/almanac.alm.lock; echo $$; \"$0\" store locked "
                 "noise' $GNSS",
                 1, "keeps this almanac"},
             // What was damaged stands beside what is kept now.
             Row{"head -c 1000 noise >dir/almanac.alm; $GNSS store dir noise; test -e dir/almanac.alm.refused-*", 0,
                 "is damaged: nothing was loaded"},
         }) {
        EXPECT_EQ(Run(row.command), row.exitCode) << row.command << err_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.command << "\n" << err_;
    }
    ASSERT_EQ(
        Run("flock locked/almanac.alm.lock sh -c 'echo $$ | tee locked/almanac.alm.lock; \"$0\" store locked x' $GNSS"),
        1);
    EXPECT_NE(err_.find("process " + out_.substr(0, out_.find('\n')) + " keeps"), std::string::npos) << err_;
}

}  // namespace
