// Least squares near singularity: what the statistics say where rounding is largest.
#include <algorithm>
#include <array>
#include <cmath>
#include <iostream>
#include <random>

#include <gtest/gtest.h>

#include "gnss/platform/LLSq.h"

namespace {

using Corvane::LLSq;

constexpr int Obs = 8;
constexpr int Unknowns = 4;
using Rows = std::array<std::array<double, Unknowns>, Obs>;

// One adjustment by two choices of its unknowns, which change nothing in the residuals. In the good one the fourth
// unknown is seen by the observation 'only', and by 'helper' with the factor help: without help nothing checks 'only',
// with little help its redundancy number is small but real, and no fault can be told apart between the two. In the weak
// one the column of the fourth unknown is the sum of the others but for 'nearness' times that. All elements are exact.
struct TwoBases {
    Rows good{};
    Rows weak{};
    std::array<double, Obs> values{};
    std::array<double, Obs> sds{};
    int only;
    int helper;

    TwoBases(std::mt19937_64& random, double nearness, double help) {
        std::uniform_int_distribution<int> quarters(-8, 8);
        std::uniform_int_distribution<int> which(0, Obs - 1);
        std::uniform_real_distribution<double> sizes(0.5, 2.0);
        std::normal_distribution<double> normal;
        only = which(random);
        do {
            helper = which(random);
        } while (helper == only);
        for (int i = 0; i < Obs; ++i) {
            const auto k = static_cast<std::size_t>(i);
            for (std::size_t j = 0; j < 3; ++j) good[k][j] = 0.25 * quarters(random);
            good[k][3] = i == only ? 1.0 : i == helper ? help : 0.0;
            weak[k] = good[k];
            weak[k][3] = good[k][0] + good[k][1] + good[k][2] + nearness * good[k][3];
            sds[k] = sizes(random);
            values[k] = sds[k] * normal(random);
        }
        const auto faulty = static_cast<std::size_t>(which(random));
        values[faulty] += 30.0 * sds[faulty];
    }
    [[nodiscard]] bool Solve(LLSq& llsq, const Rows& rows) const {
        llsq.Reset(Unknowns);
        for (std::size_t i = 0; i < Obs; ++i) EXPECT_TRUE(llsq.AddObs(rows[i], values[i], sds[i]));
        return llsq.Solve();
    }
};

TEST(LLSqWeakGeometry, RoundingNeitherChecksNorNamesAnObservation) {
    std::mt19937_64 random(20260);
    LLSq good;
    LLSq weak;
    int unchecked = 0;
    int littleChecked = 0;
    int named = 0;
    int refused = 0;
    double worstOfNone = 0.0;  // the largest redundancy number where the true one is 0
    double worstOfSmall = 0.0;
    double worstTwins = 0.0;  // the largest relative difference of two |w| that are truly equal
    for (const double help : {0.0, 0x1p-9, 0x1p-7, 0x1p-4}) {
        for (int power = -13; power >= -19; --power) {
            const double nearness = std::ldexp(1.0, power);  // 1.2e-4 to 1.9e-6
            for (int run = 0; run < 150; ++run) {
                const TwoBases problem(random, nearness, help);
                ASSERT_TRUE(problem.Solve(good, problem.good));
                if (!problem.Solve(weak, problem.weak)) {  // as singular, which many of the weakest are
                    ++refused;
                    continue;
                }
                for (int i = 0; i < Obs; ++i) {
                    const LLSq::Resid& truth = good.GetStats().GetResid(i);
                    const LLSq::Resid& resid = weak.GetStats().GetResid(i);
                    const double share = truth.GetRedundancy();
                    if (std::abs(share / LLSq::MinRedundancy - 1.0) < 1e-3) continue;  // either is right
                    ASSERT_EQ(resid.GetWTest(), truth.GetWTest()) << nearness << ' ' << share;
                    if (resid.GetWTest() == LLSq::WNotTestable) continue;
                    ASSERT_NEAR(resid.GetRedundancy() / share, 1.0, 1e-4) << nearness << ' ' << share;
                    ASSERT_NEAR(resid.GetStandardised(), truth.GetStandardised(), 1e-4) << nearness << ' ' << share;
                    ASSERT_NEAR(resid.GetMDB() / truth.GetMDB(), 1.0, 1e-4) << nearness << ' ' << share;
                }
                const LLSq::Resid& only = weak.GetStats().GetResid(problem.only);
                const LLSq::Resid& helper = weak.GetStats().GetResid(problem.helper);
                const int reject = weak.GetStats().IndexToReject();
                ASSERT_EQ(reject, good.GetStats().IndexToReject());
                if (reject >= 0) ++named;
                ASSERT_NE(reject, problem.only);
                if (help == 0.0) {
                    ASSERT_EQ(only.GetWTest(), LLSq::WNotTestable) << nearness;
                    worstOfNone = std::max(worstOfNone, only.GetRedundancy());
                    ++unchecked;
                } else if (only.GetWTest() != LLSq::WNotTestable) {
                    ASSERT_NE(reject, problem.helper);
                    const double share = good.GetStats().GetResid(problem.only).GetRedundancy();
                    worstOfSmall = std::max(worstOfSmall, std::abs(only.GetRedundancy() / share - 1.0));
                    if (helper.GetWTest() != LLSq::WNotTestable && std::abs(helper.GetStandardised()) > 0.1) {
                        const double ratio = only.GetStandardised() / helper.GetStandardised();
                        worstTwins = std::max(worstTwins, std::abs(std::abs(ratio) - 1.0));
                    }
                    if (share < 1e-3) ++littleChecked;
                }
            }
        }
    }
    EXPECT_LT(worstOfNone, 1e-14);
    EXPECT_GT(unchecked, 600);
    EXPECT_GT(littleChecked, 1000);
    EXPECT_GT(named, 1000);
    std::cout << "true redundancy 0 at most " << worstOfNone << ", small ones good to " << worstOfSmall
              << ", |w| of inseparable ones to " << worstTwins << "; " << littleChecked << " little checked, " << named
              << " named, " << refused << " refused\n";
}

}  // namespace
