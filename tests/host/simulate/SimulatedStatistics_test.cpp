// What the fixes say of their own quality, over many simulated epochs, and how surely they find a fault. With
// GNSS_TEST_RUNS in the environment so many of each, and the figures are printed.
#include <array>
#include <cmath>
#include <cstdlib>

#include <gtest/gtest.h>

#include "gnss/geodesy/LocalGrid.h"
#include "host/simulate/SimulatedNoise.h"
#include "tests/host/simulate/SimulatedReception.h"

namespace {

using Host::FixSettings;
using Host::SatelliteUse;
using Host::SimulatedFault;
using Host::SimulatorSettings;
using tests::SimulatedReception;

// The usual number, or what the environment wants.
int NmrRuns(int usual) {
    const char* wanted = std::getenv("GNSS_TEST_RUNS");
    return wanted != nullptr ? std::atoi(wanted) : usual;
}
bool IsLong() {
    return std::getenv("GNSS_TEST_RUNS") != nullptr;
}

struct Share {
    int nmr = 0, of = 0;
    void Count(bool is) {
        nmr += is ? 1 : 0;
        ++of;
    }
    [[nodiscard]] double Percent() const { return of == 0 ? 0.0 : 100.0 * nmr / of; }
    // Percent that the share may be off by chance, at four standard deviations, and what is allowed besides.
    [[nodiscard]] double Slack(double expected, double besides) const {
        return besides + 4.0 * std::sqrt(expected * (100.0 - expected) / std::max(of, 1));
    }
};

struct Mean {
    int nmr = 0;
    double sum = 0.0, squares = 0.0;
    void Add(double x) {
        ++nmr;
        sum += x;
        squares += x * x;
    }
    [[nodiscard]] double Get() const { return sum / nmr; }
    [[nodiscard]] double SD() const { return std::sqrt(squares / nmr - Get() * Get()); }
    [[nodiscard]] double StandardErrors() const { return Get() / (SD() / std::sqrt(nmr)); }
};

class SimulatedErrors : public ::testing::TestWithParam<bool> {};

// With rejections the shares hold for the epochs that had none. A range without a fault that is rejected had one of the
// greatest errors that chance makes, and what the others are then moved by is not in their variances.
TEST_P(SimulatedErrors, AreWhatTheyAreSaidToBe) {
    const int nmrEpochs = NmrRuns(10) * (IsLong() ? 10 : 40);
    SimulatorSettings settings;
    settings.interval = 30.0;
    settings.warmUp = 30.0;
    settings.motion.SetCircle(500.0, 5.0);
    FixSettings fix;
    fix.rejects = GetParam();
    SimulatedReception reception(settings, fix);
    std::array<Mean, 6> errors;
    Share inEllipse, inEllipseAll, rejections;
    std::array<Share, 3> inVelocity;
    for (int epoch = 0; epoch < nmrEpochs; ++epoch) {
        const Host::FixResult& result = reception.Next();
        ASSERT_TRUE(result.valid && result.velocity.valid) << epoch;
        const Host::SimulatedTruth& truth = reception.GetTruth();
        const GNSS::LocalGrid grid(truth.posn, GNSS::Spheroid::WGS84);
        const GNSS::Grid::Delta posn = grid.GetGridDelta(result.ecef);
        const GNSS::Grid moving = grid.GetGrid(truth.vely);
        const double e = posn.GetEast();
        const double n = posn.GetNorth();
        const std::array<double, 3> vely{result.velocity.vely.GetEast() - moving.GetEast(),
                                         result.velocity.vely.GetNorth() - moving.GetNorth(),
                                         result.velocity.vely.GetHeight() - moving.GetHeight()};
        const std::array<double, 3> sd{result.velocity.sd.GetEast(), result.velocity.sd.GetNorth(),
                                       result.velocity.sd.GetHeight()};
        for (const Host::FixSatellite& satellite : result.satellites) {
            if (satellite.row >= 0) rejections.Count(satellite.use == SatelliteUse::Rejected);
        }
        errors[0].Add(e);
        errors[1].Add(n);
        errors[2].Add(posn.GetHeight());
        for (std::size_t axis = 0; axis < 3; ++axis) {
            errors[3 + axis].Add(vely[axis]);
            if (result.velocity.nmrRejected == 0) inVelocity[axis].Count(std::abs(vely[axis]) < 1.959964 * sd[axis]);
        }
        // Within the ellipse that holds 95 % of a normal distribution of this covariance.
        const double ee = result.covar.GetVarianceEast();
        const double nn = result.covar.GetVarianceNorth();
        const double en = result.covar.GetCovarEastNorth();
        const bool isIn = (e * e * nn - 2.0 * e * n * en + n * n * ee) / (ee * nn - en * en) < 5.991465;
        inEllipseAll.Count(isIn);
        if (result.NmrRejected() == 0) inEllipse.Count(isIn);
    }
    const std::array names{"east", "north", "up", "velocity east", "velocity north", "velocity up"};
    for (std::size_t i = 0; i < errors.size(); ++i) {
        EXPECT_LT(std::abs(errors[i].StandardErrors()), IsLong() ? 3.0 : 4.0) << names[i];
        if (IsLong()) {
            std::printf("%-15s mean %8.4f  sd %7.4f  %5.2f standard errors\n", names[i], errors[i].Get(),
                        errors[i].SD(), errors[i].StandardErrors());
        }
    }
    EXPECT_NEAR(inEllipse.Percent(), 95.0, IsLong() ? 1.0 : inEllipse.Slack(95.0, 0.5));
    if (GetParam()) {
        EXPECT_NEAR(rejections.Percent(), 1.0, IsLong() ? 0.3 : rejections.Slack(1.0, 0.1));
    }
    for (const Share& share : inVelocity) EXPECT_NEAR(share.Percent(), 95.0, IsLong() ? 1.0 : share.Slack(95.0, 0.5));
    if (IsLong()) {
        std::printf("%d epochs without a rejection: %.2f %% within the ellipse; velocity %.2f %.2f %.2f %%\n",
                    inEllipse.of, inEllipse.Percent(), inVelocity[0].Percent(), inVelocity[1].Percent(),
                    inVelocity[2].Percent());
        std::printf("all %d: %.2f %%; %.2f %% of %d ranges rejected\n", inEllipseAll.of, inEllipseAll.Percent(),
                    rejections.Percent(), rejections.of);
    }
}

INSTANTIATE_TEST_SUITE_P(SimulatedStatistics, SimulatedErrors, ::testing::Bool());

// Of an epoch without a fault: the satellite that is to have one, and what the fix says of it.
struct Candidate {
    bool glonass = false;
    int number = 0;
    double mde = 0.0;
    int freedom = 0;
};

SimulatorSettings RunSettings(int part) {
    constexpr double Apart = 2.6 * 86400.0;
    SimulatorSettings settings;
    settings.start += Corvane::Time(part * Apart);
    settings.seed = static_cast<std::uint64_t>(part + 1);
    settings.interval = 120.0;
    settings.warmUp = 30.0;
    return settings;
}

// One fault for each epoch.
std::vector<SimulatedFault> StepsOf(const std::vector<Candidate>& candidates, double size) {
    std::vector<SimulatedFault> faults;
    for (std::size_t i = 0; i < candidates.size(); ++i) {
        SimulatedFault& fault = faults.emplace_back();
        fault.system = candidates[i].glonass ? 'R' : 'G';
        fault.number = candidates[i].number;
        fault.start = 120.0 * static_cast<double>(i) - 1.0;
        fault.length = 2.0;
        fault.size = size > 0.0 ? size : candidates[i].mde;
    }
    return faults;
}

const Host::FixSatellite* Find(const Host::FixResult& result, const Candidate& candidate) {
    for (const Host::FixSatellite& satellite : result.satellites) {
        if (satellite.glonass == candidate.glonass && satellite.number == candidate.number) return &satellite;
    }
    return nullptr;
}

TEST(SimulatedStatistics, FaultsAreFoundAsOftenAsPromised) {
    constexpr int MostOfPart = 100;
    const Host::SimulatedNoise choice(99);
    FixSettings keeps;
    keeps.rejects = false;
    const FixSettings rejects;
    Share falseAlarms, mdeFound, bigFound, placed;
    const int nmrRuns = NmrRuns(60);
    for (int part = 0; part * MostOfPart < nmrRuns; ++part) {
        const int nmrEpochs = std::min(MostOfPart, nmrRuns - part * MostOfPart);
        std::vector<Candidate> candidates;
        {
            SimulatedReception reception(RunSettings(part), keeps);
            for (int epoch = 0; epoch < nmrEpochs; ++epoch) {
                const Host::FixResult& result = reception.Next();
                ASSERT_TRUE(result.valid);
                std::vector<const Host::FixSatellite*> used;
                for (const Host::FixSatellite& satellite : result.satellites) {
                    if (satellite.row < 0) continue;
                    used.push_back(&satellite);
                    falseAlarms.Count(std::abs(satellite.resid.GetStandardised()) > result.wLimit);
                }
                const auto draw = choice.Bits({static_cast<std::uint64_t>(part), static_cast<std::uint64_t>(epoch)});
                const Host::FixSatellite& satellite = *used[draw % used.size()];
                const int unknowns = 3 + (result.gps.used > 0 ? 1 : 0) + (result.glonass.used > 0 ? 1 : 0);
                candidates.push_back({satellite.glonass, satellite.number, satellite.resid.GetMDB(),
                                      static_cast<int>(used.size()) - unknowns});
            }
        }
        for (const double size : {0.0, 20.0}) {
            SimulatorSettings settings = RunSettings(part);
            settings.faults = StepsOf(candidates, size);
            SimulatedReception reception(settings, size > 0.0 ? rejects : keeps);
            for (const Candidate& candidate : candidates) {
                const Host::FixResult& result = reception.Next();
                const Host::FixSatellite* satellite = Find(result, candidate);
                ASSERT_NE(satellite, nullptr);
                if (size == 0.0) {
                    mdeFound.Count(std::abs(satellite->resid.GetStandardised()) > result.wLimit);
                } else if (candidate.mde < 10.0) {
                    const bool isPlaced = satellite->use == SatelliteUse::Rejected;
                    bigFound.Count(isPlaced || result.NmrRejected() > 0 || result.test == Host::FixTest::Failed);
                    if (candidate.freedom >= 2) placed.Count(isPlaced);
                }
            }
        }
    }
    EXPECT_NEAR(falseAlarms.Percent(), 1.0, IsLong() ? 0.3 : falseAlarms.Slack(1.0, 0.1));
    EXPECT_NEAR(mdeFound.Percent(), 80.0, IsLong() ? 3.0 : mdeFound.Slack(80.0, 0.0));
    EXPECT_GE(bigFound.Percent(), 99.0);
    EXPECT_GE(placed.Percent(), 95.0);
    if (IsLong()) {
        std::printf("%d runs: MDE found %.1f %%, 20 m found %.2f %% (%d), placed %.2f %% (%d); false %.2f %% of %d\n",
                    mdeFound.of, mdeFound.Percent(), bigFound.Percent(), bigFound.of, placed.Percent(), placed.of,
                    falseAlarms.Percent(), falseAlarms.of);
    }
}

// Few satellites: GPS alone above 30 degrees, one with a step of 20 m. With a redundancy of 1 the fix must say that the
// fault cannot be placed; with 2 it is sometimes placed wrongly, for the residuals of most ranges then move nearly as
// another one's.
TEST(SimulatedStatistics, FaultsAmongFewSatellites) {
    constexpr int MostOfPart = 100;
    constexpr std::size_t Most = 4;  // redundancy, or more
    constexpr int NoSatellite = 33;
    const Host::SimulatedNoise choice(98);
    FixSettings keeps;
    keeps.rejects = false;
    std::array<Share, Most + 1> found, placed, misplaced;
    const int nmrRuns = NmrRuns(40);
    for (int part = 0, nmr = 0; nmr < nmrRuns; ++part) {
        SimulatorSettings settings = RunSettings(part);
        settings.glonass = false;
        settings.mask = 30.0;
        std::vector<Candidate> candidates;
        SimulatedReception quiet(settings, keeps);
        for (int epoch = 0; epoch < MostOfPart && nmr < nmrRuns; ++epoch) {
            const Host::FixResult& result = quiet.Next();
            Candidate& candidate = candidates.emplace_back();
            candidate.number = NoSatellite;
            const int freedom = result.gps.used - 4;
            if (!result.valid || freedom < 1) continue;
            const auto draw = choice.Bits({static_cast<std::uint64_t>(part), static_cast<std::uint64_t>(epoch)});
            const Host::FixSatellite& satellite =
                *result.FindRow(static_cast<int>(draw % static_cast<std::uint64_t>(result.gps.used)));
            if (!(satellite.resid.GetMDB() > 0.0 && satellite.resid.GetMDB() < 10.0)) continue;
            candidate = {false, satellite.number, satellite.resid.GetMDB(), freedom};
            ++nmr;
        }
        settings.faults = StepsOf(candidates, 20.0);
        SimulatedReception reception(settings, FixSettings());
        for (const Candidate& candidate : candidates) {
            const Host::FixResult& result = reception.Next();
            if (candidate.number == NoSatellite) continue;
            const std::size_t freedom = std::min(static_cast<std::size_t>(candidate.freedom), Most);
            const bool isPlaced = Find(result, candidate)->use == SatelliteUse::Rejected;
            const bool isRejected = result.valid && result.NmrRejected() > 0;
            // Without what is rejected the others may not determine a position.
            found[freedom].Count(!result.valid || isRejected || result.test == Host::FixTest::Failed);
            placed[freedom].Count(isPlaced);
            misplaced[freedom].Count(isRejected && !isPlaced);
        }
    }
    EXPECT_EQ(placed[1].nmr + misplaced[1].nmr, 0);
    for (std::size_t freedom = 1; freedom <= Most; ++freedom) {
        EXPECT_EQ(found[freedom].nmr, found[freedom].of) << freedom;
        if (freedom >= 3 && placed[freedom].of > 0) {
            EXPECT_GE(placed[freedom].Percent() + placed[freedom].Slack(95.0, 0.0), 95.0) << freedom;
        }
        if (IsLong()) {
            std::printf("redundancy %zu: of %d found %.1f %%, placed %.1f %%, wrongly %.1f %%\n", freedom,
                        found[freedom].of, found[freedom].Percent(), placed[freedom].Percent(),
                        misplaced[freedom].Percent());
        }
    }
}

}  // namespace
