// A replay gives the same bytes whatever the computer's date, time zone and language, and wherever the logs are.
#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"
#include "tests/support/TestData.h"

namespace {

class Replay : public tests::CommandRun {
protected:
    // Plays the logs into a folder: all that the program makes of them, and what it says. `computer` is what comes
    // before the program, `logs` before the logs' names.
    void Play(const std::string& to, const std::string& computer, const std::string& logs = "./") {
        const std::string gnss = " && " + computer + " \"$GNSS\" run ";
        int run = 0;
        for (const std::string& what : {logs + "hour.rnx " + logs + "nav.gz", logs + "oem.gps --png --palette dark",
                                        logs + "glo.rtcm3 --as-received"}) {
            const auto file = [&](const char* name) { return to + "/" + name + std::to_string(run); };
            ++run;
            ASSERT_EQ(
                0, Run("mkdir -p " + to + gnss + what + " --overwrite --output " + file("run") + " >" + file("said") +
                       " 2>&1" + gnss + what + " --form csv >" + file("positions") + " 2>" + file("events")))
                << Read(file("said")) << Read(file("events"));
        }
    }
    void ExpectAlike(const std::string& a, const std::string& b) {
        EXPECT_EQ(0, Run("diff -rq " + a + " " + b)) << out_;
    }
};

TEST_F(Replay, HangsOnNothingButTheInput) {
    GNSS_REQUIRE_TEST_DATA(obs, "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(nav, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(oem, "data/oemv_200911218.gps");
    GNSS_REQUIRE_TEST_DATA(rtcm, "data/testglo.rtcm3");
    ASSERT_EQ(0, Run("gzip -dc " + obs + " | awk '/^>/ && ++n > 120 { exit } { print }' >hour.rnx && cp " + nav +
                     " nav.gz && cp " + oem + " oem.gps && cp " + rtcm + " glo.rtcm3"));
    Play("here", "env TZ=UTC LC_ALL=C");
    ASSERT_EQ(0, Run("cat here/positions* | wc -l && ls here/run1/report.html here/run2/sky.png"));
    EXPECT_TRUE(Says(std::to_string(120 + 46 + 186 + 3))) << out_;

    Play("elsewhere", "env TZ='<+0545>-5:45'");
    ExpectAlike("here", "elsewhere");
    // The logs are named in what is said of them, and nothing else tells where they are.
    const std::string path = folder_.string() + "/";
    Play("by-other-names", "env", path);
    ASSERT_EQ(0, Run("grep -rlF " + path + " by-other-names | xargs sed -i 's|" + path + "|./|g'"));
    ExpectAlike("here", "by-other-names");

    if (Run("command -v faketime") != 0) GTEST_SKIP() << "skipped: no faketime, so only the date of today";
    // A sanitizer wants to be the first library that the program loads, and works as the second.
    const std::string fake = "env ASAN_OPTIONS=verify_asan_link_order=0 TZ='<-11>11' FAKETIME_FMT=%s faketime -f @";
    // 1999-01-01; two seconds before 2038-01-19 03:14:08, when 32 bits with a sign are full, and 2106-02-07 06:28:16,
    // when those without are.
    for (const std::string date : {"915148800", "2147483646", "4294967294"}) {
        SCOPED_TRACE(date);
        ASSERT_EQ(0, Run(fake + date + " date +%s"));
        EXPECT_EQ(out_.substr(0, 7), date.substr(0, 7));
        Play("then", fake + date);
        ExpectAlike("here", "then");
    }
}

}  // namespace
