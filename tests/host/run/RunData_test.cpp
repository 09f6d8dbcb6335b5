// The pipeline on real logs, against the positions of an independent program and of the receivers.
#include <cmath>
#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/host/receiver/Table.h"
#include "tests/host/run/RunRecording.h"
#include "tests/support/TestData.h"

namespace {

using tests::Number;

// Milliseconds of GPS time, by which epochs are found.
std::int64_t Key(int week, double seconds) {
    return std::llround((week * GNSS::GPSTime::SecsInWeek + seconds) * 1000.0);
}

struct Log {
    const char* name;
    std::vector<std::string> inputs;
    const char* reference;
    int nmrFixes;        // at least
    double most, usual;  // from the reference: of any epoch, root mean square, m
    GNSS::GPSTime date;
    bool ionosphere = true;
};

TEST(RunData, AgreesWithAnIndependentProgram) {
    const GNSS::GPSTime of2009(1562, 500000.0);
    const std::vector<Log> logs{
        {"ESBC",
         {"data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz", "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz"},
         "reference/spp_esbc_2020177_gpsglo.csv",
         2880,
         6.0,
         1.5,
         {}},
        {"2008", {"data/ubx_20080526.ubx"}, "reference/spp_ubx_20080526_gps.csv", 242, 25.0, 12.0, {}},
        {"OEM", {"data/oemv_200911218.gps"}, "reference/spp_oemv_gpsglo.csv", 46, 6.0, 3.0, {}, false},
        {"RTCM", {"data/testglo.rtcm3"}, "reference/spp_testglo_gpsglo.csv", 186, 6.0, 3.0, of2009, false},
        // Two receivers' inputs of the same seconds: measurements from one, ephemerides from the other's file.
        {"merged",
         {"reference/decoded_oemv_200911218.nav", "reference/decoded_testglo.obs.gz"},
         "reference/spp_testglo_gpsglo.csv",
         186,
         6.0,
         3.0,
         {},
         false},
        // One without its week beside one that tells it.
        {"two streams",
         {"data/testglo.rtcm3", "data/oemv_200911218.gps"},
         "reference/spp_testglo_gpsglo.csv",
         186,
         6.0,
         3.0,
         {},
         false},
    };
    for (const Log& log : logs) {
        Host::RunRequest request;
        for (const std::string& name : log.inputs) {
            GNSS_REQUIRE_TEST_DATA(path, name);
            request.inputs.push_back(path);
        }
        if (log.date.GetWeek() > 0) request.date = log.date;
        if (!log.ionosphere) request.settings.ionosphere = Host::FixSettings::Ionosphere::Off;
        tests::RunRecording run;
        ASSERT_TRUE(run.Run(request)) << log.name << ": " << run.reason;
        EXPECT_GE(run.NmrValid(), log.nmrFixes) << log.name << "\n" << run.Events();

        GNSS_REQUIRE_TEST_DATA(reference, log.reference);
        std::map<std::int64_t, GNSS::ECEF> expected;
        for (const auto& row : tests::ReadTable(reference)) {
            const int week = static_cast<int>(Number(row.at("gps_week")));
            expected[Key(week, Number(row.at("tow_s_GPST")))] =
                GNSS::ECEF(Number(row.at("x_m")), Number(row.at("y_m")), Number(row.at("z_m")));
        }
        double most = 0.0;
        double sum = 0.0;
        int nmr = 0;
        for (const auto& fix : run.fixes) {
            const auto found = expected.find(Key(fix.time.GetWeek(), fix.time.GetSeconds()));
            if (!fix.valid || found == expected.end()) continue;
            const double apart = (fix.posn - found->second).Magnitude();
            most = std::max(most, apart);
            sum += apart * apart;
            ++nmr;
        }
        EXPECT_EQ(nmr, static_cast<int>(expected.size())) << log.name;
        EXPECT_LT(most, log.most) << log.name;
        EXPECT_LT(std::sqrt(sum / nmr), log.usual) << log.name;
    }
}

TEST(RunData, FollowsTheReceiverFromItsColdStart) {
    GNSS_REQUIRE_TEST_DATA(path, "data/16dBatt_no_interference_coldstart.ubx.gz");
    GNSS_REQUIRE_TEST_DATA(reference, "reference/ubx_16dbatt_fixes.csv");
    Host::RunRequest request;
    request.inputs = {path};
    // Live, the first position waits for the messages; from a file it does not.
    tests::RunRecording live, run;
    request.asReceived = true;
    ASSERT_TRUE(live.Run(request)) << live.reason;
    EXPECT_EQ(live.NmrValid(), 551);
    request.asReceived = false;
    ASSERT_TRUE(run.Run(request)) << run.reason;
    EXPECT_EQ(run.NmrValid(), 562);
    EXPECT_GT(run.nmrReceiverFixes, 500);
    std::map<std::int64_t, GNSS::ECEF> expected;
    for (const auto& row : tests::ReadTable(reference)) {
        if (row.at("fix_type") != "3") continue;
        expected[static_cast<std::int64_t>(Number(row.at("iTOW_ms_GPST")))] =
            GNSS::ECEF(Number(row.at("ecef_x_m")), Number(row.at("ecef_y_m")), Number(row.at("ecef_z_m")));
    }
    std::vector<double> apart;
    for (const auto& fix : run.fixes) {
        const auto found = expected.find(std::llround(fix.time.GetSeconds()) * 1000);
        if (fix.valid && found != expected.end()) apart.push_back((fix.posn - found->second).Magnitude());
    }
    ASSERT_GT(apart.size(), 500U);
    std::sort(apart.begin(), apart.end());
    EXPECT_LT(apart[apart.size() / 2], 30.0);
    EXPECT_LT(apart[apart.size() * 95 / 100], 100.0);
}

}  // namespace
