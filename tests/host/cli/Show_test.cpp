// gnss show: what it prints, draws and copies of real files, what it says that they lack, and what it refuses.
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/host/cli/CommandRun.h"
#include "tests/support/TestData.h"

namespace {

class Show : public tests::CommandRun {
protected:
    // The values of a row of tab-separated text, of the satellite of a heading.
    [[nodiscard]] std::string Value(const std::string& symbol, const std::string& heading) const {
        std::istringstream text(out_);
        std::size_t column = 0;
        for (std::string line; std::getline(text, line);) {
            std::vector<std::string> cells;
            std::istringstream row(line + "\t");
            for (std::string cell; std::getline(row, cell, '\t');) cells.push_back(cell);
            if (cells[0] == "Parameter") column = 0;
            for (std::size_t i = 3; i < cells.size() && cells[0] == "Parameter"; ++i)
                if (cells[i] == heading) column = i;
            if (column != 0 && column < cells.size() && (cells[1] == symbol || cells[0] == symbol))
                return cells[column];
        }
        return "none";
    }
    [[nodiscard]] bool Complains(const std::string& text) const { return err_.find(text) != std::string::npos; }
};

TEST_F(Show, ShowsLogsNavigationAndAlmanacFilesAlike) {
    GNSS_REQUIRE_TEST_DATA(gps, "data/16dBatt_no_interference_coldstart.ubx.gz");
    GNSS_REQUIRE_TEST_DATA(glonass, "data/ublox-glo.ubx");
    // By independent programs, as in the test of gnss store.
    ASSERT_EQ(Run("$GNSS show almanac --form tsv '" + gps + "'"), 0) << err_;
    EXPECT_EQ(Value("sqrt(A)", "G14"), "5153.6704");
    EXPECT_EQ(Value("i", "G14"), "54.1013");
    EXPECT_EQ(Value("Health", "G05"), "Unhealthy");
    EXPECT_EQ(Value("Health word", "G05"), "255");
    EXPECT_TRUE(Complains("the files hold no GLONASS almanac\n")) << err_;
    EXPECT_TRUE(Complains("the files hold no GPS almanac of G15 G16 G17 G18 G19 G20 G21\n")) << err_;
    // The almanac file that the store leaves behind says the same, whatever it is called.
    ASSERT_EQ(Run("mkdir dir && $GNSS store dir '" + gps + "' '" + glonass + "' && mv dir/almanac.alm x"), 0) << err_;
    ASSERT_EQ(Run("$GNSS show almanac --form tsv --at 2025-04-26 x"), 0) << err_;
    EXPECT_EQ(Value("sqrt(A)", "G14"), "5153.6704");
    EXPECT_EQ(Value("Age since reception", "G14"), "0.72");
    EXPECT_EQ(Value("Health", "R24"), "Healthy");
    const std::string whole = out_;
    ASSERT_EQ(Run("$GNSS show almanac --form tsv --at 2025-04-26 --no-glonass - <x"), 0) << err_;
    EXPECT_EQ(out_.find("GLONASS"), std::string::npos);
    EXPECT_FALSE(Complains("GLONASS")) << err_;
    // What cannot be read whole says what is missing, or is refused.
    ASSERT_EQ(Run("cp x long && echo more >>long && $GNSS show almanac long"), 0) << err_;
    EXPECT_TRUE(Complains("long: damaged; not read are 5 bytes at the end\n")) << err_;
    ASSERT_EQ(Run("head -c -100 x >cut && $GNSS show almanac cut"), 1);
    // The picture, and the same text as the copy.
    ASSERT_EQ(Run("for f in a.svg a.png a.pdf; do $GNSS show almanac x --output $f --palette dark; done; "
                  "$GNSS show almanac --at 2025-04-26 x --copy-to y >/dev/null && cat y && head -c 4 a.png >z && "
                  "head -c 4 a.pdf >>z; grep -c '<svg' a.svg >>z"),
              0)
        << err_;
    EXPECT_EQ(out_, whole);
    EXPECT_EQ(Read("z"), "\x89PNG%PDF1\n");
}

TEST_F(Show, ShowsEphemerides) {
    GNSS_REQUIRE_TEST_DATA(gps, "data/brdc1820.10n");
    GNSS_REQUIRE_TEST_DATA(glonass, "data/brdc0910.09g");
    ASSERT_EQ(Run("$GNSS show ephemeris --form tsv '" + gps + "'"), 0) << err_;
    // The file's last record of satellite 2: its numbers as they stand there.
    const std::string awk =
        "LC_ALL=C awk '/^ 2 10/ {n = NR; l0 = $0} n && NR == n + 1 {l1 = $0} n && NR == n + 2 {l2 = $0} "
        "END {gsub(/D/, \"e\", l1); gsub(/D/, \"e\", l2); print substr(l1, 4, 19) + 0; "
        "printf \"%.6f\\n%.10f\\n\", substr(l2, 61, 19), substr(l2, 23, 19)}' '" +
        gps + "' >expected";
    const std::string shown = Value("IODE", "G02") + "\n" + Value("sqrt(A)", "G02") + "\n" + Value("e", "G02") + "\n";
    ASSERT_EQ(Run(awk), 0);
    EXPECT_EQ(shown, Read("expected"));
    ASSERT_EQ(Run("$GNSS show glonass --form tsv --record 1 '" + glonass + "' && $GNSS show glonass '" + glonass + "'"),
              0)
        << err_;
    EXPECT_EQ(Value("Records held", "R07"), "4");
    EXPECT_TRUE(Complains("the files hold no GLONASS ephemeris of ")) << err_;
    // In 100 columns every line fits, and each satellite stands in one of the blocks.
    ASSERT_EQ(Run("COLUMNS=100 $GNSS show ephemeris '" + gps + "'"), 0) << err_;
    std::istringstream text(out_);
    std::string headings;
    for (std::string line; std::getline(text, line);) {
        EXPECT_LE(line.size(), 100U) << line;
        if (line.starts_with("Parameter")) headings += line;
    }
    for (int n = 1; n <= 32; ++n)
        EXPECT_NE(headings.find((n < 10 ? "G0" : "G") + std::to_string(n)), std::string::npos) << n;
}

TEST_F(Show, RefusesWhatItCannotUse) {
    struct Row {
        const char* command;
        int exitCode;
        const char* inMessage;
    };
    for (const Row& row : {
             Row{"$GNSS show moon noise", 2, "not 'moon'"},
             Row{"$GNSS show almanac", 2, "FILE"},
             Row{"$GNSS show almanac - -", 2, "only once"},
             Row{"$GNSS show almanac noise --at noon", 2, "--at"},
             Row{"$GNSS show almanac noise --form xml", 2, "--form"},
             Row{"$GNSS show almanac noise --width 0 --output a.svg", 2, "--width"},
             Row{"$GNSS show almanac noise --density 4 --width 19000 --output a.png", 2, "a.png"},
             Row{"$GNSS show glonass --no-glonass noise", 2, "nothing to show"},
             Row{"$GNSS show almanac noise", 1, "noise: no messages of UBX, NovAtel OEM or RTCM 3, and no almanac"},
             Row{"$GNSS show almanac zeros", 1, "zeros: no messages"},
             Row{": >empty; $GNSS show almanac empty", 1, "empty: is empty"},
             Row{"$GNSS show almanac none", 1, "none: "},
             Row{"$GNSS show ephemeris noise --record 3", 2, "0 to 2"},
             Row{"$GNSS show almanac noise --record 1", 2, "--record"},
         }) {
        ASSERT_EQ(Run("seq 10000 >noise; head -c 5000 /dev/zero >zeros"), 0);
        EXPECT_EQ(Run(row.command), row.exitCode) << row.command << err_;
        EXPECT_NE(err_.find(row.inMessage), std::string::npos) << row.command << "\n" << err_;
        EXPECT_EQ(err_.find("the files hold"), std::string::npos) << "of files that are not read\n" << err_;
    }
}

}  // namespace
