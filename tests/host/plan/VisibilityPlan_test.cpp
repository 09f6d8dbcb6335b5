// Visibility plans: passes, gaps and windows against every second of real and made skies.
#include "host/plan/VisibilityPlan.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <numbers>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "gnss/position/Constellation.h"
#include "host/cli/OrbitFiles.h"
#include "host/fix/OrbitSource.h"
#include "host/receiver/LeapRule.h"
#include "tests/support/TestData.h"

namespace {

using Corvane::Angle;
using Corvane::Time;
using GNSS::DopArt;
using GNSS::GPSTime;
using Host::MakePlan;
using Host::PlanGap;
using Host::PlanPass;
using Host::PlanSatellite;
using Host::PlanSettings;
using Host::PlanSight;
using Host::VisibilityPlan;

const GPSTime Start(2111, 4.0 * 86400.0);  // 2020-06-25

std::vector<PlanSatellite> AllSatellites() {
    std::vector<PlanSatellite> all;
    for (int prn = 1; prn <= 32; ++prn) all.push_back({'G', prn});
    for (int slot = 1; slot <= 24; ++slot) all.push_back({'R', slot});
    return all;
}

// The sky of real files over a place.
class Sky {
public:
    Sky(const std::vector<std::string>& files, double latitude, double longitude, const GPSTime& t) {
        isRead_ = Host::ReadOrbits(files, {}, source_, leaps_);
        leaps_.SetFor(t);
        place_.Set(GNSS::Geog(Angle::FromDegrees(latitude), Angle::FromDegrees(longitude), 0.0), GNSS::Spheroid::WGS84);
    }
    [[nodiscard]] bool IsRead() const { return isRead_; }
    // By ephemerides and almanac, or by the almanac alone.
    PlanSight operator()(const PlanSatellite& satellite, const GPSTime& t) const {
        PlanSight sight;
        Host::OrbitState state;
        const auto line = source_.Look(satellite.system, satellite.number, place_, t, state);
        if (!line) return sight;
        sight.orbit =
            state.origin == Host::OrbitOrigin::Almanac ? PlanSight::Orbit::Almanac : PlanSight::Orbit::Ephemeris;
        sight.isHealthy = state.isHealthy;
        sight.elevation = line->direction.GetElevation();
        sight.azimuth = line->direction.GetAzimuth();
        return sight;
    }
    [[nodiscard]] const Host::OrbitSource& Source() const { return source_; }

private:
    Host::OrbitSource source_;
    Host::LeapRule leaps_;
    GNSS::LocalGrid place_;
    bool isRead_ = false;
};

// Where the answer of `is` changes from one second to the next, in seconds from the start: to true at k + 1, to false
// after k.
template <typename Is>
std::vector<int> ChangesBySecond(int seconds, const Is& is) {
    std::vector<int> changes;
    bool was = is(0);
    for (int k = 1; k <= seconds; ++k) {
        const bool now = is(k);
        if (now != was) changes.push_back(k);
        was = now;
    }
    return changes;
}

TEST(VisibilityPlan, FindsEveryRiseAndSetOfARealDay) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const Sky sky({path}, 55.4936, 8.4568, Start);
    ASSERT_TRUE(sky.IsRead());
    const auto look = [&sky](const PlanSatellite& satellite, const GPSTime& t) { return sky(satellite, t); };
    PlanSettings settings;
    settings.from = Start;
    settings.span = Time(86400.0);
    settings.step = Time(3600.0);
    // The lowest peak of a satellite, and a mask just below it: a pass of seconds between two scans.
    const std::vector<PlanSatellite> satellites{{'R', 14}, {'G', 16}};
    Angle peak = Angle::Right;
    for (const PlanPass& pass : MakePlan(settings, {satellites[0]}, look).passes) peak = std::min(peak, pass.highest);
    settings.mask = peak - Angle::FromDegrees(2e-4);
    const VisibilityPlan plan = MakePlan(settings, satellites, look);
    ASSERT_EQ(plan.epochs.size(), 25U);
    double shortest = 86400.0;
    for (const PlanSatellite& satellite : satellites) {
        const auto changes = ChangesBySecond(86400, [&](int k) {
            const PlanSight sight = sky(satellite, Start + Time(k));
            return sight.orbit != PlanSight::Orbit::None && sight.isHealthy && sight.elevation >= settings.mask;
        });
        std::vector<double> found;
        for (const PlanPass& pass : plan.passes) {
            if (pass.satellite != satellite) continue;
            if (pass.rise.end != PlanPass::End::Plan) found.push_back((pass.rise.time - Start).Seconds());
            if (pass.set.end != PlanPass::End::Plan) found.push_back((pass.set.time - Start).Seconds());
            EXPECT_EQ(pass.rise.end == PlanPass::End::Plan, pass.rise.time == Start);
            shortest = std::min(shortest, (pass.set.time - pass.rise.time).Seconds());
            double highest = 0.0;
            for (double s = 0.0; s <= (pass.set.time - pass.rise.time).Seconds(); s += 1.0)
                highest = std::max(highest, sky(satellite, pass.rise.time + Time(s)).elevation.Degrees());
            EXPECT_NEAR(pass.highest.Degrees(), highest, 0.01);
        }
        ASSERT_EQ(found.size(), changes.size()) << satellite.system << satellite.number;
        for (std::size_t i = 0; i < found.size(); ++i) EXPECT_NEAR(found[i], changes[i] - 0.5, 0.76);
    }
    EXPECT_LT(shortest, 60.0);
}

TEST(VisibilityPlan, RowsAreTheDopOfWhatIsInView) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    const Sky sky({path}, 55.4936, 8.4568, Start);
    const auto look = [&sky](const PlanSatellite& satellite, const GPSTime& t) { return sky(satellite, t); };
    int nmrValid = 0;
    int nmrEnds = 0;
    for (const DopArt::Mode mode : {DopArt::GPSOnly, DopArt::GlonassOnly, DopArt::Both}) {
        PlanSettings settings;
        settings.from = Start + Time(7.0);
        settings.span = Time(86399.0);
        settings.step = Time(600.0);
        settings.mask = Angle::FromDegrees(15.0);
        settings.mode = mode;
        settings.isHeightAided = mode == DopArt::GlonassOnly;
        const VisibilityPlan plan = MakePlan(settings, AllSatellites(), look);
        ASSERT_EQ(plan.epochs.size(), 144U);
        for (const Host::PlanEpoch& epoch : plan.epochs) {
            GNSS::Constellation constellation;
            for (const PlanSatellite& satellite : AllSatellites()) {
                const PlanSight sight = sky(satellite, epoch.time);
                if (sight.orbit == PlanSight::Orbit::None || !sight.isHealthy) continue;
                if (sight.elevation < settings.mask) continue;
                if (satellite.system == 'G' && DopArt::ShowsGPS(mode))
                    constellation.Add(GNSS::PRN(satellite.number), sight.elevation, sight.azimuth, 1, false);
                if (satellite.system == 'R' && DopArt::ShowsGlonass(mode))
                    constellation.Add(GNSS::Glonass::Slot(satellite.number), sight.elevation, sight.azimuth, 2);
            }
            EXPECT_EQ(epoch.nmrGPS, constellation.NmrSV());
            EXPECT_EQ(epoch.nmrGlonass, constellation.NmrGlonassSV());
            const GNSS::DOP dop(constellation, mode != DopArt::GPSOnly, settings.isHeightAided);
            EXPECT_EQ(plan.DopOf(epoch), dop);
            nmrValid += dop.IsValid();
            if (mode == DopArt::GlonassOnly) {
                EXPECT_FALSE(epoch.dops[DopArt::GPSOnly].IsValid());
            }
        }
        // Every second about their ends is bad inside of the windows and not outside.
        for (const Host::PlanWindow& window : plan.windows) {
            EXPECT_GT(window.faults, 0);
            for (const GPSTime& end : {window.from, window.to}) {
                if (window.isFromStart || window.isToEnd) continue;
                ++nmrEnds;
                PlanSettings fine = settings;
                fine.step = Time(1.0);
                fine.from = end - Time(5.5);
                fine.span = Time(11.0);
                for (const Host::PlanEpoch& epoch : MakePlan(fine, AllSatellites(), look).epochs) {
                    const bool isInside = window.from <= epoch.time && epoch.time <= window.to;
                    EXPECT_EQ(epoch.faults != 0, isInside) << epoch.time.PrintRound(1).str();
                }
            }
        }
    }
    EXPECT_GT(nmrValid, 400);
    EXPECT_GT(nmrEnds, 10);
}

// A made sky in which one satellite goes up and down like a sine, with an orbit and health of one's choice.
TEST(VisibilityPlan, TellsPassesBetweenStepsAndWhyTheyEnd) {
    constexpr double Minute = 60.0;
    struct Row {
        const char* why;
        double peak;          // degrees above the mask, at 30.5 minutes, falling by a degree in 5 minutes squared
        double orbitFrom;     // minutes
        double healthyUntil;  // minutes
        std::size_t nmrPasses;
        PlanPass::End rise;
        PlanPass::End set;
        std::size_t nmrGaps;
    };
    using End = PlanPass::End;
    for (const Row& row : {Row{"a pass of seconds between two steps", 1e-4, 0.0, 60.0, 1, End::Mask, End::Mask, 0},
                           Row{"just missed", -1e-4, 0.0, 60.0, 0, End::Mask, End::Mask, 0},
                           Row{"up all the time", 90.0, 0.0, 60.0, 1, End::Plan, End::Plan, 0},
                           Row{"orbit from 20.5 on", 90.0, 20.5, 60.0, 1, End::Orbit, End::Plan, 1},
                           Row{"health until 40.5", 90.0, 0.0, 40.5, 1, End::Plan, End::Health, 1},
                           Row{"never an orbit", 90.0, 99.0, 60.0, 0, End::Mask, End::Mask, 1}}) {
        const auto look = [&row](const PlanSatellite&, const GPSTime& t) {
            const double minute = (t - Start).Seconds() / Minute;
            const double off = (minute - 30.5) / 5.0;
            PlanSight sight;
            if (minute < row.orbitFrom) return sight;
            sight.orbit = PlanSight::Orbit::Ephemeris;
            sight.isHealthy = minute <= row.healthyUntil;
            sight.elevation = Angle::FromDegrees(10.0 + row.peak - off * off);
            return sight;
        };
        PlanSettings settings;
        settings.from = Start;
        settings.span = Time(60.0 * Minute);
        const VisibilityPlan plan = MakePlan(settings, {{'G', 1}}, look);
        ASSERT_EQ(plan.passes.size(), row.nmrPasses) << row.why;
        EXPECT_EQ(plan.gaps.size(), row.nmrGaps) << row.why;
        ASSERT_EQ(plan.windows.size(), 1U);
        EXPECT_TRUE(plan.windows[0].isFromStart && plan.windows[0].isToEnd);
        EXPECT_EQ(plan.windows[0].worstPDOP, 0.0);
        if (row.nmrPasses == 0) continue;
        const PlanPass& pass = plan.passes[0];
        EXPECT_EQ(pass.rise.end, row.rise) << row.why;
        EXPECT_EQ(pass.set.end, row.set) << row.why;
        const double half = 5.0 * std::sqrt(row.peak);
        const double rise = std::max({row.orbitFrom, 30.5 - half, 0.0}) * Minute;
        const double set = std::min({row.healthyUntil, 30.5 + half, 60.0}) * Minute;
        EXPECT_NEAR((pass.rise.time - Start).Seconds(), rise, 0.3) << row.why;
        EXPECT_NEAR((pass.set.time - Start).Seconds(), set, 0.3) << row.why;
        for (const PlanGap& gap : plan.gaps) {
            EXPECT_EQ(gap.isFromStart, row.orbitFrom > 0.0) << row.why;
            EXPECT_EQ(gap.isToEnd, row.healthyUntil < 60.0 || row.orbitFrom > 60.0) << row.why;
        }
    }
}

TEST(VisibilityPlan, RefusesWhatCannotBeScanned) {
    struct Row {
        double span;
        double step;
        std::int64_t nmrScans;
    };
    constexpr double Nothing = std::numeric_limits<double>::quiet_NaN();
    for (const Row& row : {Row{0.0, 60.0, 1}, Row{86400.0, 60.0, 1441}, Row{86400.0, 3600.0, 1441}, Row{90.0, 50.0, 3},
                           Row{10.0, 3600.0, 2}, Row{1e9, 60.0, 100'001}, Row{1e9, 1e9, 100'001},
                           Row{60.0, 0.0, 100'001}, Row{-1.0, 60.0, 100'001}, Row{Nothing, 60.0, 100'001},
                           Row{60.0, Nothing, 100'001}, Row{1e300, 1e-300, 100'001}}) {
        PlanSettings settings;
        settings.from = Start;
        settings.span = Time(row.span);
        settings.step = Time(row.step);
        EXPECT_EQ(settings.NmrScans(), row.nmrScans) << row.span << " by " << row.step;
        std::int64_t nmrLooks = 0;
        const VisibilityPlan plan = MakePlan(settings, {{'G', 1}}, [&](const PlanSatellite&, const GPSTime&) {
            ++nmrLooks;
            return PlanSight();
        });
        EXPECT_EQ(plan.epochs.empty(), row.nmrScans > 100'000);
        if (row.nmrScans <= 100'000) {
            EXPECT_GE(nmrLooks, row.nmrScans);
        }
    }
}

// The almanac of the Moscow log against the ephemerides of the four satellites in it, and that of the French one
// against its own.
TEST(VisibilityPlan, AlmanacAgreesWithEphemerides) {
    struct Row {
        const char* file;
        GPSTime from;
        double latitude;
        double longitude;
        double tolerance;  // s
    };
    // Almanacs of the day lie some kilometres, or hundredths of a degree, from the ephemerides; a satellite moves by
    // less than a hundredth of a degree in a second.
    for (const Row& row :
         {Row{"data/16dBatt_no_interference_coldstart.ubx.gz", GPSTime(2363, 5.0 * 86400 + 6.0 * 3600), 47.2513, 5.9934,
              20.0},
          Row{"data/ublox-glo.ubx", GPSTime(2268, 3.0 * 86400 + 14.5 * 3600), 55.6026, 37.5981, 2.0}}) {
        GNSS_REQUIRE_TEST_DATA(path, row.file);
        const Sky sky({path}, row.latitude, row.longitude, row.from);
        ASSERT_TRUE(sky.IsRead());
        Host::OrbitSource almanac;
        almanac.Add(sky.Source().GetAlmanac());
        almanac.Complete();
        GNSS::LocalGrid place(GNSS::Geog(Angle::FromDegrees(row.latitude), Angle::FromDegrees(row.longitude), 0.0),
                              GNSS::Spheroid::WGS84);
        // Where either has one, elevations at the same time, and the time that the difference makes at the rate of the
        // elevation.
        double worst = 0.0;
        int nmr = 0;
        for (const PlanSatellite& satellite : AllSatellites()) {
            for (int minute = 0; minute < 120; ++minute) {
                const GPSTime t = row.from + Time(60.0 * minute);
                const PlanSight mine = sky(satellite, t);
                const PlanSight next = sky(satellite, t + Time(1.0));
                Host::OrbitState state;
                const auto line = almanac.Look(satellite.system, satellite.number, place, t, state);
                if (mine.orbit != PlanSight::Orbit::Ephemeris || next.orbit != mine.orbit || !line) continue;
                const double rate = std::abs((next.elevation - mine.elevation).Degrees());
                const double off = std::abs((line->direction.GetElevation() - mine.elevation).Degrees());
                // Rises and sets are not grazing.
                if (std::abs(mine.elevation.Degrees() - 10.0) > 5.0 || rate < 0.002) continue;
                worst = std::max(worst, off / rate);
                ++nmr;
            }
        }
        EXPECT_GT(nmr, 20) << row.file;
        EXPECT_LT(worst, row.tolerance) << row.file;
        if (std::getenv("GNSS_PRINT_ACCURACY") != nullptr)
            std::printf("%s: rise and set by almanac and by ephemeris differ by up to %.1f s (%d minutes)\n", row.file,
                        worst, nmr);
    }
}

}  // namespace
