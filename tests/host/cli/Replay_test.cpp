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

TEST_F(Replay, IsNotAskedForWhatItCannotDoAndEndsAsARunDoes) {
    GNSS_REQUIRE_TEST_DATA(obs, "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(nav, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    ASSERT_EQ(0, Run("gzip -dc " + obs + " | awk '/^>/ && ++n > 5 { exit } { print }' >obs.rnx && cp " + nav +
                     " nav.gz && (umask 077; echo short >token) && printf '[live]\nduration = 1\n[output]\nfolder = "
                     "\"made\"\npositions = \"rows\"\nform = \"csv\"\n' >run.toml"));
    struct Row {
        const char* options;
        int code;
        const char* said;  // on standard error
        const char* rows;  // on standard output
    };
    for (const Row& row : {
             Row{"obs.rnx nav.gz --speed max", 0, "mean of 5 positions", "passed"},
             Row{"obs.rnx nav.gz --speed max --config run.toml --quiet", 0, "", "utc,"},
             Row{"obs.rnx --speed max", 1, "no epoch has a position; the notes and events say why\n", "no fix"},
             Row{"nav.gz --speed max", 1, "a receiver's log or a RINEX observation file is needed", ""},
             Row{"none --mask 7 --print-config", 0, "", "mask = 7\n"},
             Row{"obs.rnx --record there", 2, "--record", ""},
             Row{"obs.rnx --output there", 2, "--output", ""},
             Row{"- --speed max", 2, "gnss: standard input cannot be read twice", ""},
             Row{"obs.rnx --speed 0", 2, "gnss: --speed: '0' is not a factor from 0.001", ""},
             Row{"--console obs.rnx", 2, "gnss: --console is ADDRESS:PORT, ADDRESS or PORT, and no source", ""},
             Row{"obs.rnx --console 127.0.0.1:0 --console-steer-token-file token", 2,
                 "gnss: --console-steer-token-file: a token has 16 to 256", ""},
             Row{"obs.rnx --console 127.0.0.1:0 --console-view-token-file obs.rnx", 2,
                 "gnss: --console-view-token-file: obs.rnx: holds a token, and others", ""},
         }) {
        SCOPED_TRACE(row.options);
        EXPECT_EQ(Run("$GNSS replay " + std::string(row.options)), row.code) << err_;
        EXPECT_NE(err_.find(row.said), std::string::npos) << err_;
        EXPECT_NE(out_.find(row.rows), std::string::npos) << out_;
    }
    EXPECT_EQ(Run("ls -d made rows there"), 2) << out_;
}

}  // namespace
