// MSAdjust on made epochs of both systems: a clock that drifts and jumps, ranges modulo a millisecond, and both.
#include "gnss/measurement/MSAdjust.h"

#include <cmath>
#include <optional>
#include <random>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using GNSS::GPSFreqy;
using GNSS::GPSMeas;
using GNSS::GPSTime;
using GNSS::MeasSet;
using GNSS::MSAdjust;
using GNSS::PRN;
namespace Glonass = GNSS::Glonass;

constexpr double MS = MSAdjust::MSRange;

// Six GPS and five GLONASS satellites, and a receiver whose clock the test moves.
class Sky {
public:
    explicit Sky(std::mt19937_64& random) {
        std::uniform_real_distribution<double> range(1.9e7, 2.6e7), rate(-800.0, 800.0), error(-6e3, 6e3);
        for (int i = 0; i < NmrSVs; ++i) svs_.push_back({range(random), rate(random), error(random), range(random)});
    }

    static constexpr int NmrGPS = 6;
    static constexpr int NmrSVs = 11;
    static int FrequencyChannel(int i) { return i - NmrGPS - 3; }

    [[nodiscard]] double Range(int i, double t) const { return At(i).range + At(i).rate * t; }

    // `clock` and `phaseClock` in ms; without ms of travel when `modulo`.
    [[nodiscard]] MeasSet Measure(double t, double clock, double phaseClock, bool modulo) const {
        const GPSTime time(2000, 1000.0 + t);
        GPSMeas::Set gps(time);
        Glonass::Measurement::Set glonass(time);
        for (int i = 0; i < NmrSVs; ++i) {
            const auto add = [&](auto& set, const auto& id, auto freqy, double frequency, double delay) {
                typename std::decay_t<decltype(set)>::Record meas(freqy);
                const double range = Range(i, t) + delay + clock * MS;
                meas.SetRange({modulo ? std::fmod(range, MS) : range, 1.0});
                meas.SetSmoothRange({modulo ? std::fmod(range - 1.0, MS) : range - 1.0, 0.5});
                const double phase = (Range(i, t) - delay + phaseClock * MS) / GNSS::LightSpeed * frequency;
                meas.SetPhase({phase - At(i).phase, 0.01});
                set.AddMeas(id, meas);
            };
            if (i < NmrGPS) {
                add(gps, PRN(3 * i + 1), GPSFreqy::CA, 1575.42e6, 5.0);
                add(gps, PRN(3 * i + 1), GPSFreqy::L2, 1227.60e6, 8.0);
            } else {
                const double f = 1602e6 + FrequencyChannel(i) * 562.5e3;
                add(glonass, Glonass::Slot(2 * i), Glonass::Frequency::L1, f, 5.0);
            }
        }
        return {gps, glonass};
    }

    // What the ranges should be, wrong by the position's errors.
    void Compute(double t, std::vector<MSAdjust::GPSRange>& gps, std::vector<MSAdjust::GlonassRange>& glonass) const {
        gps.clear();
        glonass.clear();
        for (int i = 0; i < NmrSVs; ++i) {
            const double range = Range(i, t) + At(i).error;
            if (i < NmrGPS) {
                gps.push_back({PRN(3 * i + 1), range});
            } else {
                glonass.push_back({Glonass::Slot(2 * i), range, FrequencyChannel(i)});
            }
        }
    }

    // The record of a satellite's signal in a set, as GPS, whatever it is: values and flags are alike.
    struct Values {
        double range, smooth, phaseRange;
        bool slip;
    };
    [[nodiscard]] static std::vector<Values> Signals(const MeasSet& set) {
        std::vector<Values> values;
        const auto take = [&](const auto& meas, double frequency) {
            values.push_back({meas.GetRange(), meas.GetSmoothRange(), meas.GetPhase() * GNSS::LightSpeed / frequency,
                              meas.IsCycleSlip()});
        };
        for (int i = 0; i < set.GetGPS().NmrSV(); ++i) {
            take(set.GetGPS().GetSV(i).GetMeas(0), 1575.42e6);
            take(set.GetGPS().GetSV(i).GetMeas(1), 1227.60e6);
        }
        for (int i = 0; i < set.GetGlonass().NmrSV(); ++i) {
            take(set.GetGlonass().GetSV(i).GetMeas(0), 1602e6 + FrequencyChannel(i + NmrGPS) * 562.5e3);
        }
        return values;
    }

private:
    struct SV {
        double range, rate, error, phase;
    };
    [[nodiscard]] const SV& At(int i) const { return svs_[static_cast<std::size_t>(i)]; }
    std::vector<SV> svs_;
};

// Whatever the receiver does, what comes out are the plain ranges with one continuous clock, and phases that run on.
TEST(MSAdjust, MakesRangesCompleteAndContinuous) {
    std::mt19937_64 random = tests::MakeRandom();
    for (int round = 0; round < 40; ++round) {
        const bool modulo = (round & 1) != 0;
        const bool steers = (round & 2) != 0;
        const bool phaseJumps = steers && (round & 4) != 0;
        SCOPED_TRACE(testing::Message() << "modulo " << modulo << " steers " << steers << " phase " << phaseJumps);
        const Sky sky(random);
        const double start = std::uniform_real_distribution<double>(-0.99, 0.99)(random);
        const double drift = std::uniform_real_distribution<double>(-0.02, 0.02)(random);  // ms a second
        MSAdjust adjust;
        std::vector<MSAdjust::GPSRange> gps;
        std::vector<MSAdjust::GlonassRange> glonass;
        std::vector<Sky::Values> first;
        int nmrJumps = 0, before = 0, nmrPhaseJumps = 0;
        for (int k = 0; k < 150; ++k) {
            const double t = k;
            const double clock = start + drift * t;
            const int taken = steers ? static_cast<int>(std::round(clock)) : 0;
            MeasSet set = sky.Measure(t, clock - taken, clock - (phaseJumps ? taken : 0), modulo);
            sky.Compute(t, gps, glonass);
            const MSAdjust::Report report = adjust.Adjust(set, gps, glonass);
            ASSERT_TRUE(report.adjusted);
            ASSERT_EQ(report.nmrAgree, Sky::NmrSVs);
            ASSERT_EQ(report.started, k == 0);
            if (k > 0 && taken != before) ++nmrJumps;
            // Modulo a millisecond, a jump by a whole one does not show in the ranges.
            ASSERT_EQ(report.jump, modulo || k == 0 ? 0 : before - taken) << k;
            ASSERT_EQ(report.phaseJumped, report.jump != 0 && phaseJumps) << k;
            nmrPhaseJumps += report.phaseJumped ? 1 : 0;
            before = taken;
            const std::vector<Sky::Values> values = Sky::Signals(set);
            if (k == 0) first = values;
            for (std::size_t i = 0; i < values.size(); ++i) {
                const int sv = i < 12 ? static_cast<int>(i) / 2 : static_cast<int>(i) - 6;
                const double delay = i < 12 && i % 2 == 1 ? 8.0 : 5.0;
                // Within half a millisecond of zero at the start; the position's errors may turn the scale near half.
                const double whole = std::round(start);
                if (std::abs(start - whole) < 0.47) {
                    ASSERT_NEAR(values[i].range, sky.Range(sv, t) + delay + (clock - whole) * MS, 1e-3) << k;
                }
                ASSERT_NEAR(values[i].range - values[i].smooth, 1.0, 1e-3);
                // Continuous against the first epoch; phases as well, unless only the ranges could be seen to jump.
                const double moved = sky.Range(sv, t) - sky.Range(sv, 0.0) + drift * t * MS;
                ASSERT_NEAR(values[i].range - first[i].range, moved, 1e-3) << k;
                if (!(modulo && phaseJumps)) {
                    ASSERT_NEAR(values[i].phaseRange - first[i].phaseRange, moved, 1e-3) << k;
                }
                ASSERT_FALSE(values[i].slip);
            }
        }
        EXPECT_EQ(nmrPhaseJumps, modulo || !phaseJumps ? 0 : nmrJumps);
    }
}

TEST(MSAdjust, CommonAndOwn) {
    std::mt19937_64 random = tests::MakeRandom();
    const Sky sky(random);
    std::vector<MSAdjust::GPSRange> gps;
    std::vector<MSAdjust::GlonassRange> glonass;
    sky.Compute(0.0, gps, glonass);
    MeasSet set = sky.Measure(0.0, 3.2, 0.0, false);
    // One satellite 7 ms short of the others, one that disagrees, one not to be adjusted.
    const auto shift = [&](int sv, double ms) {
        for (int k = 0; k < 2; ++k) {
            GPSMeas& meas = *set.GetGPS().ChangeSV(sv)->ChangeMeas(k);
            meas.SetRange({meas.GetRange() + ms * MS, 1.0});
            meas.SetSmoothRange({meas.GetSmoothRange() + ms * MS, 1.0});
        }
    };
    shift(0, -7.0);
    shift(1, 0.4);
    gps[2].range = std::nan("");
    glonass[0].frequencyChannel.reset();
    const MeasSet before = set;
    MSAdjust adjust;
    MSAdjust::Report report = adjust.Adjust(set, gps, glonass);
    EXPECT_EQ(report.nmrAgree, Sky::NmrSVs - 2);
    EXPECT_EQ(report.common, 3);
    EXPECT_EQ(report.gps[1], -7);
    EXPECT_EQ(report.gps[4], std::nullopt);
    EXPECT_EQ(report.gps[7], std::nullopt);
    EXPECT_EQ(report.gps[10], 0);
    EXPECT_EQ(report.glonass[12], 0);
    EXPECT_NEAR(report.clockOffset, 0.2e-3, 0.03e-3);
    EXPECT_EQ(set.GetGPS().GetSV(1), before.GetGPS().GetSV(1));
    EXPECT_EQ(set.GetGPS().GetSV(2), before.GetGPS().GetSV(2));

    // The clock jumps by 2 ms: without its frequency channel the phase can only be marked.
    set = sky.Measure(1.0, 5.2, 2.0, false);
    sky.Compute(1.0, gps, glonass);
    glonass[0].frequencyChannel.reset();
    const Glonass::Measurement unmarked = set.GetGlonass().GetSV(0).GetMeas(0);
    report = adjust.Adjust(set, gps, glonass);
    EXPECT_EQ(report.jump, 2);
    EXPECT_TRUE(report.phaseJumped);
    EXPECT_EQ(report.phase, 2);
    EXPECT_TRUE(set.GetGlonass().GetSV(0).GetMeas(0).IsCycleSlip());
    EXPECT_EQ(set.GetGlonass().GetSV(0).GetMeas(0).GetPhase(), unmarked.GetPhase());
    EXPECT_FALSE(set.GetGlonass().GetSV(1).GetMeas(0).IsCycleSlip());

    // After a gap, or back in time, all starts anew, and the phases say so.
    set = sky.Measure(1.0 + MSAdjust::MaxGap + 0.5, 5.2, 2.0, false);
    sky.Compute(1.0 + MSAdjust::MaxGap + 0.5, gps, glonass);
    report = adjust.Adjust(set, gps, glonass);
    EXPECT_TRUE(report.started);
    EXPECT_EQ(report.phase, 0);
    EXPECT_TRUE(set.GetGPS().GetSV(0).GetMeas(0).IsCycleSlip());
}

TEST(MSAdjust, Refuses) {
    std::mt19937_64 random = tests::MakeRandom();
    const Sky sky(random);
    std::vector<MSAdjust::GPSRange> gps;
    std::vector<MSAdjust::GlonassRange> glonass;
    sky.Compute(0.0, gps, glonass);
    const MeasSet measured = sky.Measure(0.0, 3.2, 3.2, true);
    struct {
        const char* name;
        double second;  // its computed range off, ms
        bool adjusted;
    } const rows[] = {{"agrees", 20.0, true},
                      {"half a millisecond off", 0.5, false},
                      {"infinite", HUGE_VAL, false},
                      {"not a number", std::nan(""), false},
                      {"absurd", 1e250, false}};
    for (const auto& row : rows) {
        MSAdjust adjust;
        MeasSet set = measured;
        const std::vector<MSAdjust::GPSRange> two = {gps[0], {gps[1].id, gps[1].range + row.second * MS}};
        const MSAdjust::Report report = adjust.Adjust(set, two, {});
        EXPECT_EQ(report.adjusted, row.adjusted) << row.name;
        EXPECT_EQ(set.GetGPS().SharesWith(measured.GetGPS()), !row.adjusted) << row.name;
        EXPECT_TRUE(set.GetGlonass().SharesWith(measured.GetGlonass())) << row.name;
    }
    MSAdjust adjust;
    MeasSet set;
    EXPECT_FALSE(adjust.Adjust(set, {}, {}).adjusted);
}

}  // namespace
