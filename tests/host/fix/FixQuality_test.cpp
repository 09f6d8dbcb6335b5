// The tests of a fix's quality: that they find what they promise to find, reject the right range, and say what they
// cannot tell.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/position/UKOOAResid.h"
#include "host/fix/FixNotes.h"
#include "host/fix/PositionFix.h"
#include "tests/host/fix/MadeSky.h"

namespace {

using Host::FixNote;
using Host::FixResult;
using Host::FixSettings;
using Host::FixTest;
using Host::PositionFix;
using Host::SatelliteUse;
using tests::MadeSky;

FixSettings Plain(bool rejects = true) {
    FixSettings settings;
    settings.troposphere = FixSettings::Troposphere::Off;
    settings.ionosphere = FixSettings::Ionosphere::Off;
    settings.rejects = rejects;
    return settings;
}

FixResult Compute(const MadeSky& sky, const FixSettings& settings = Plain()) {
    PositionFix fix(settings);
    return fix.Compute(sky.Measure(MadeSky::Start), sky.Inputs());
}

double Error(const FixResult& fix, const MadeSky& sky) {
    return (fix.ecef - sky.place.GetOriginECEF()).Magnitude();
}

bool HasNote(const FixResult& fix, const FixSettings& settings, FixNote id) {
    const GNSS::Notes notes = MakeNotes(fix, settings);
    return std::any_of(notes.begin(), notes.end(),
                       [id](const auto& note) { return note.GetId() == static_cast<int>(id); });
}

std::vector<int> RejectedOf(const FixResult& fix) {
    std::vector<int> rejected;
    for (const auto& satellite : fix.satellites) {
        if (satellite.use == SatelliteUse::Rejected)
            rejected.push_back(satellite.number + (satellite.glonass ? 100 : 0));
    }
    return rejected;
}

// One bad range among many, in every place, in a first fix and in one that follows another.
TEST(FixQuality, PlacesOneGrossError) {
    int nmrPlaced = 0;
    for (const auto& [nmrGPS, nmrGlonass] : {std::pair{6, 0}, {7, 0}, {8, 0}, {10, 0}, {5, 4}, {0, 7}}) {
        MadeSky sky;
        sky.AddMany(nmrGPS, nmrGlonass);
        const FixResult good = Compute(sky);
        ASSERT_TRUE(good.valid);
        PositionFix series(Plain());
        ASSERT_TRUE(series.Compute(sky.Measure(MadeSky::Start), sky.Inputs()).valid);
        for (const auto& satellite : good.satellites) {
            const MadeSky::Name name{satellite.glonass, satellite.number};
            for (const double fault : {30.0, -30.0, 1e4, -1e4, 1e6, -1e6}) {
                // Below its minimal detectable bias a fault may stay.
                if (std::abs(fault) < satellite.resid.GetMDB()) continue;
                sky.faults = {{name, fault}};
                const GNSS::MeasSet set = sky.Measure(MadeSky::Start);
                PositionFix first(Plain());
                for (PositionFix* fix : {&first, &series}) {
                    const FixResult& result = fix->Compute(set, sky.Inputs());
                    SCOPED_TRACE(testing::Message() << nmrGPS << "+" << nmrGlonass << ": " << satellite.number << " by "
                                                    << fault << (fix == &first ? " first" : ""));
                    ASSERT_TRUE(result.valid) << Describe(result.failure);
                    EXPECT_EQ(RejectedOf(result), std::vector{name.second + (name.first ? 100 : 0)});
                    EXPECT_LT(Error(result, sky), 1e-3);
                    EXPECT_NE(result.test, FixTest::Failed);
                    EXPECT_TRUE(HasNote(result, Plain(), FixNote::RejectedSatellite));
                    ++nmrPlaced;
                }
            }
        }
    }
    EXPECT_GT(nmrPlaced, 400);
}

TEST(FixQuality, SaysWhatItCannotPlace) {
    MadeSky sky;
    sky.AddMany(4, 0);
    sky.faults = {{{false, 2}, 100.0}};
    EXPECT_EQ(Compute(sky).test, FixTest::NotTestable);
    EXPECT_EQ(Compute(sky).maxWRow, -1);

    sky.Add(false, 5, 35.0, 250.0);
    FixResult fix = Compute(sky);
    ASSERT_TRUE(fix.valid);
    EXPECT_EQ(fix.test, FixTest::Failed);
    EXPECT_TRUE(HasNote(fix, Plain(), FixNote::FaultNotPlaced));
    EXPECT_EQ(fix.NmrRejected(), 0);
    EXPECT_GT(fix.ukooa.UnitVariance(), fix.fLimit);

    sky.AddMany(10, 4);
    fix = Compute(sky, Plain(false));
    EXPECT_EQ(fix.test, FixTest::Failed);
    EXPECT_TRUE(HasNote(fix, Plain(false), FixNote::NotRejected));
    EXPECT_FALSE(HasNote(fix, Plain(false), FixNote::FaultNotPlaced));
    EXPECT_EQ(fix.NmrRejected(), 0);

    sky.faults = {{{false, 2}, 200.0}, {{true, 3}, -40e3}, {{false, 5}, 5000.0}};
    fix = Compute(sky);
    EXPECT_EQ(RejectedOf(fix), (std::vector{2, 5, 103}));
    EXPECT_LT(Error(fix, sky), 1e-3);
    EXPECT_EQ(fix.test, FixTest::Passed);

    // Ranges that are all worse than they should be, none of them by much.
    sky.faults.clear();
    const FixResult clean = Compute(sky);
    std::mt19937_64 random(5);
    std::normal_distribution<double> normal;
    for (int attempt = 0; attempt < 100; ++attempt) {
        for (const auto& satellite : clean.satellites) {
            sky.faults[{satellite.glonass, satellite.number}] = normal(random) * satellite.sd;
        }
        const double scale = 2.5 / std::abs(Compute(sky, Plain(false)).maxW);
        for (auto& [name, fault] : sky.faults) fault *= scale;
        fix = Compute(sky);
        if (fix.ukooa.FTestFailed()) break;
    }
    EXPECT_EQ(fix.test, FixTest::Failed);
    EXPECT_TRUE(HasNote(fix, Plain(), FixNote::FTestFailed));
    EXPECT_LT(std::abs(fix.maxW), fix.wLimit);

    for (const FixNote note : {FixNote::NoFix, FixNote::FaultNotPlaced, FixNote::NotTestable, FixNote::NotIdentifiable,
                               FixNote::NotRejected}) {
        EXPECT_TRUE(IsAlarm(note));
    }
    for (const FixNote note : {FixNote::RejectedSatellite, FixNote::FTestFailed}) EXPECT_FALSE(IsAlarm(note));
    EXPECT_EQ(Host::SatelliteName(5) + Host::SatelliteName(Host::GlonassParam + 14), "G05R14");
}

TEST(FixQuality, RejectsAWrongHeight) {
    MadeSky sky;
    sky.AddMany(8, 0);
    FixSettings settings = Plain();
    settings.heightAid = true;
    settings.height = 60.0;
    FixResult fix = Compute(sky, settings);
    EXPECT_FALSE(fix.heightRejected);
    const double aided = fix.covar.GetVarianceHeight();
    settings.height = 560.0;
    fix = Compute(sky, settings);
    EXPECT_TRUE(fix.heightRejected);
    EXPECT_TRUE(HasNote(fix, settings, FixNote::RejectedHeight));
    EXPECT_LT(Error(fix, sky), 1e-3);
    EXPECT_EQ(fix.NmrRejected(), 0);
    EXPECT_GT(fix.covar.GetVarianceHeight(), aided);
    EXPECT_FALSE(fix.FindRow(8));
}

TEST(FixQuality, RejectsAWrongRangeRate) {
    MadeSky sky;
    sky.AddMany(8, 0);
    sky.velocity = {3.0, 2.0, 1.0};
    GNSS::MeasSet set = sky.Measure(MadeSky::Start);
    const auto change = [&](int i) { return set.GetGPS().ChangeSV(i)->ChangeMeas(0); };
    change(2)->SetDoppler({change(2)->GetDoppler() + 50.0, 0.0});
    PositionFix fix(Plain());
    const FixResult& result = fix.Compute(set, sky.Inputs());
    EXPECT_EQ(result.velocity.nmrRejected, 1);
    EXPECT_EQ(result.velocity.nmrUsed, 7);
    EXPECT_NEAR(
        std::hypot(result.velocity.vely.GetEast(), result.velocity.vely.GetNorth(), result.velocity.vely.GetHeight()),
        sky.velocity.Magnitude(), 1e-3);
    EXPECT_FALSE(result.velocity.suspect);
    for (const int i : {0, 1, 5}) change(i)->Clear(GNSS::GPSMeas::Doppler);
    EXPECT_TRUE(HasNote(fix.Compute(set, sky.Inputs()), Plain(), FixNote::SuspectVelocity));
    for (const int i : {3, 4}) change(i)->Clear(GNSS::GPSMeas::Doppler);
    EXPECT_FALSE(fix.Compute(set, sky.Inputs()).velocity.valid);
    EXPECT_TRUE(HasNote(fix.Compute(set, sky.Inputs()), Plain(), FixNote::NoVelocity));
}

// Ranges with errors as large as the weights promise. The seed is fixed: the bounds are three to four standard
// deviations of what the number of epochs leaves to chance.
TEST(FixQuality, KeepsItsPromises) {
    constexpr int NmrEpochs = 2000;
    MadeSky sky;
    sky.AddMany(9, 7);
    const FixResult clean = Compute(sky);
    std::map<MadeSky::Name, double> sds;
    for (const auto& satellite : clean.satellites) sds[{satellite.glonass, satellite.number}] = satellite.sd;
    std::mt19937_64 random(20200625);
    std::normal_distribution<double> normal;
    sky.noise = [&](const MadeSky::Name& name) { return normal(random) * sds[name]; };

    const Host::FixInputs inputs = sky.Inputs();
    PositionFix keeping(Plain(false));
    PositionFix rejecting(Plain());
    int nmrObs = 0, nmrBeyond = 0, nmrRejected = 0, nmrFFailed = 0, nmrInside = 0, nmrFound = 0;
    GNSS::Grid::Delta sum;
    for (int epoch = 0; epoch < NmrEpochs; ++epoch) {
        sky.faults.clear();
        const GNSS::MeasSet set = sky.Measure(MadeSky::Start);
        const FixResult& kept = keeping.Compute(set, inputs);
        ASSERT_TRUE(kept.valid);
        for (int i = 0; i < kept.ukooa.NmrResid(); ++i) {
            ++nmrObs;
            nmrBeyond += std::abs(kept.ukooa.GetResid(i).GetStandardised()) > 2.5758 ? 1 : 0;
        }
        nmrFFailed += kept.ukooa.FTestFailed() ? 1 : 0;
        const GNSS::Grid::Delta error = sky.place.GetGridDelta(kept.ecef);
        sum += error;
        // Inside the error ellipse times 2.4477?
        const double ee = kept.covar.GetVarianceEast();
        const double nn = kept.covar.GetVarianceNorth();
        const double en = kept.covar.GetCovarEastNorth();
        const double e = error.GetEast();
        const double n = error.GetNorth();
        nmrInside += (nn * e * e - 2.0 * en * e * n + ee * n * n) / (ee * nn - en * en) < 2.4477 * 2.4477 ? 1 : 0;
        nmrRejected += rejecting.Compute(set, inputs).NmrRejected();

        // A step of the size of the minimal detectable bias in one range, in one after the other.
        const auto& hit = clean.satellites[static_cast<std::size_t>(epoch) % clean.satellites.size()];
        sky.faults = {{{hit.glonass, hit.number}, hit.resid.GetMDB()}};
        const FixResult& biased = keeping.Compute(sky.Measure(MadeSky::Start), inputs);
        nmrFound += std::abs(biased.ukooa.GetResid(hit.row).GetStandardised()) > biased.wLimit ? 1 : 0;
    }
    const auto percent = [](int part, int whole) { return 100.0 * part / whole; };
    std::printf(
        "w-test failed %.2f %%, rejected %.2f %% of ranges; F-test failed %.1f %% of fixes; inside the 95 %% "
        "ellipse %.1f %%; bias found %.1f %%\n",
        percent(nmrBeyond, nmrObs), percent(nmrRejected, nmrObs), percent(nmrFFailed, NmrEpochs),
        percent(nmrInside, NmrEpochs), percent(nmrFound, NmrEpochs));
    EXPECT_NEAR(percent(nmrBeyond, nmrObs), 1.0, 0.2);
    EXPECT_NEAR(percent(nmrRejected, nmrObs), 1.0, 0.3);
    EXPECT_NEAR(percent(nmrInside, NmrEpochs), 95.0, 1.6);
    EXPECT_NEAR(percent(nmrFound, NmrEpochs), 80.0, 3.0);
    const double root = std::sqrt(NmrEpochs);
    EXPECT_LT(std::abs(sum.GetEast() / NmrEpochs), 4.0 * std::sqrt(clean.covar.GetVarianceEast()) / root);
    EXPECT_LT(std::abs(sum.GetNorth() / NmrEpochs), 4.0 * std::sqrt(clean.covar.GetVarianceNorth()) / root);
    EXPECT_LT(std::abs(sum.GetHeight() / NmrEpochs), 4.0 * std::sqrt(clean.covar.GetVarianceHeight()) / root);
}

}  // namespace
