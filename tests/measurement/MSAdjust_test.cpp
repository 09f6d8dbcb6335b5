// MSAdjust on made epochs of both systems: clocks that drift and jump, ranges modulo a millisecond, what is in doubt.
#include "gnss/measurement/MSAdjust.h"

#include <cmath>
#include <iomanip>
#include <locale>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
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

// What is fed in an epoch, to be changed by the tests.
struct Epoch {
    MeasSet set;
    std::vector<MSAdjust::GPSRange> gps{};
    std::vector<MSAdjust::GlonassRange> glonass{};

    GPSMeas& Meas(int i, int k = 0) { return *set.GetGPS().ChangeSV(i)->ChangeMeas(k); }
    void MoveRange(int i, double ms) { Meas(i).SetRange({Meas(i).GetRange() + ms * MS, 1.0}); }
    void MovePhase(int i, double ms) { Meas(i).SetPhase({Meas(i).GetPhase() + ms * 1575420.0, 0.01}); }
};

// GPS satellites 1, 2, ... and GLONASS slots 1, 2, ... on the channels -7, -6, ...
struct Receiver {
    int nmrGPS;
    int nmrGlonass;
    bool modulo = false;     // ranges
    bool hasL2 = false;      // and smoothed ranges
    double posnError = 0.0;  // m

    static double Range(int i, double t) { return 2.0e7 + 3.17e5 * i + (i % 2 == 0 ? 700.0 : -300.0) * t; }

    // `clock` and `phaseClock` in ms.
    [[nodiscard]] Epoch Measure(double t, double clock, double phaseClock) const {
        const GPSTime time(2000, 1000.0 + t);
        GPSMeas::Set gps(time);
        Glonass::Measurement::Set glonass(time);
        Epoch epoch;
        for (int i = 0; i < nmrGPS + nmrGlonass; ++i) {
            const auto add = [&](auto& set, const auto& id, auto freqy, double frequency, double delay) {
                typename std::decay_t<decltype(set)>::Record meas(freqy);
                const double range = Range(i, t) + delay + clock * MS;
                meas.SetRange({modulo ? std::fmod(range, MS) : range, 1.0});
                if (hasL2) meas.SetSmoothRange({modulo ? std::fmod(range - 1.0, MS) : range - 1.0, 0.5});
                meas.SetPhase({(Range(i, t) - delay + phaseClock * MS) / GNSS::LightSpeed * frequency, 0.01});
                set.AddMeas(id, meas);
            };
            const double computed = Range(i, t) + (i % 3 - 1) * posnError;
            if (i < nmrGPS) {
                add(gps, PRN(i + 1), GPSFreqy::CA, 1575.42e6, 5.0);
                if (hasL2) add(gps, PRN(i + 1), GPSFreqy::L2, 1227.60e6, 8.0);
                epoch.gps.push_back({PRN(i + 1), computed});
            } else {
                const int number = i - nmrGPS + 1;
                const double frequency = 1602e6 + (number - 8) * 562.5e3;
                add(glonass, Glonass::Slot(number), Glonass::Frequency::L1, frequency, 5.0);
                epoch.glonass.push_back({Glonass::Slot(number), computed, number - 8});
            }
        }
        epoch.set = {gps, glonass};
        return epoch;
    }

    // By satellite and signal.
    struct Values {
        double range, smooth, phaseRange;  // m, beyond the true range
        bool slip;
    };
    [[nodiscard]] std::map<int, Values> Beyond(const MeasSet& set, double t) const {
        std::map<int, Values> values;
        const auto take = [&](int i, const auto& meas, double frequency) {
            if (!meas.IsValid(GPSMeas::Phase)) return;
            const double phase = meas.GetPhase() * GNSS::LightSpeed / frequency;
            values[i * 10 + meas.GetFreqy().GetIdent()] = {meas.GetRange() - Range(i, t),
                                                           meas.GetSmoothRange() - Range(i, t), phase - Range(i, t),
                                                           meas.IsCycleSlip()};
        };
        for (int k = 0; k < set.GetGPS().NmrSV(); ++k) {
            const auto& sv = set.GetGPS().GetSV(k);
            for (int m = 0; m < sv.NmrMeas(); ++m) {
                take(int{sv.GetId()} - 1, sv.GetMeas(m), sv.GetMeas(m).GetFreqy().GetFrequency());
            }
        }
        for (int k = 0; k < set.GetGlonass().NmrSV(); ++k) {
            const auto& sv = set.GetGlonass().GetSV(k);
            const int number = int{sv.GetId()};
            take(nmrGPS + number - 1, sv.GetMeas(0), 1602e6 + (number - 8) * 562.5e3);
        }
        return values;
    }
};

// Whatever the receiver does, what comes out are the plain ranges with one continuous clock, and phases that run on.
TEST(MSAdjust, MakesRangesCompleteAndContinuous) {
    std::mt19937_64 random = tests::MakeRandom();
    for (int round = 0; round < 16; ++round) {
        const Receiver receiver{6, 5, (round & 1) != 0, true, 6e3};
        const bool steers = (round & 2) != 0;
        const bool phaseJumps = steers && (round & 4) != 0;
        SCOPED_TRACE(testing::Message() << "modulo " << receiver.modulo << " steers " << steers << phaseJumps);
        const double start = std::uniform_real_distribution<double>(-0.46, 0.46)(random);
        const double drift = std::uniform_real_distribution<double>(-0.02, 0.02)(random);  // ms a second
        MSAdjust adjust;
        std::map<int, Receiver::Values> first;
        int before = 0;
        for (int k = 0; k < 150; ++k) {
            const double t = k;
            const double clock = start + drift * t;
            const int taken = steers ? static_cast<int>(std::round(clock)) : 0;
            Epoch epoch = receiver.Measure(t, clock - taken, clock - (phaseJumps ? taken : 0));
            const MSAdjust::Report report = adjust.Adjust(epoch.set, epoch.gps, epoch.glonass);
            ASSERT_EQ(report.nmrAgree, 11);
            // Modulo a millisecond, a jump by a whole one does not show in the ranges.
            ASSERT_EQ(report.jump, receiver.modulo ? 0 : before - taken) << k;
            ASSERT_EQ(report.phaseJumped, report.jump != 0 && phaseJumps) << k;
            before = taken;
            const auto values = receiver.Beyond(epoch.set, t);
            if (k == 0) first = values;
            for (const auto& [signal, value] : values) {
                ASSERT_NEAR(value.range, (signal % 10 == 3 ? 8.0 : 5.0) + clock * MS, 1e-3) << k;
                ASSERT_NEAR(value.range - value.smooth, 1.0, 1e-3);
                if (!(receiver.modulo && phaseJumps)) {
                    ASSERT_NEAR(value.phaseRange - first[signal].phaseRange, drift * t * MS, 1e-3) << k;
                }
                ASSERT_FALSE(value.slip);
            }
        }
    }
}

// "5 at 0.20": satellites that agree and the clock in ms; then what is not as usual.
std::string Summary(const MSAdjust::Report& report, int slips) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << report.nmrAgree << " at " << std::fixed << std::setprecision(2) << report.clockOffset * 1e3;
    std::string summary = report.adjusted ? text.str() : "refused";
    const auto add = [&](const char* name, int value) {
        if (value != 0) summary += name + std::to_string(value);
    };
    if (report.adjusted && !report.counted) summary += " uncounted";
    if (report.started) summary += " started";
    add(" common ", report.common);
    for (int i = 1; i <= 9; ++i) {
        add((" G" + std::to_string(i) + ":").c_str(), report.gps[static_cast<std::size_t>(i)].value_or(0));
    }
    add(report.phaseJumped ? " all jump " : " jump ", report.jump);
    add(" phase ", report.phase);
    add(" slips ", slips);
    return summary;
}

struct Step {
    double t, clock, phase;  // s, ms, ms
    const char* summary;
    void (*change)(Epoch&) = [](Epoch&) {};
};

TEST(MSAdjust, TellsWhatItDidAndMarksWhatIsInDoubt) {
    constexpr auto OneRange = [](Epoch& e) { e.gps.resize(1); };
    constexpr auto NoPhase = [](Epoch& e) {
        for (int i = 0; i < 5; ++i) e.Meas(i).Clear(GPSMeas::Phase);
    };
    constexpr auto ThreeStay = [](Epoch& e) {
        for (int i = 0; i < 3; ++i) e.MovePhase(i, -1.0);
    };
    constexpr auto WrongPosition = [](Epoch& e) {
        for (int i = 0; i < 6; ++i) e.MoveRange(i, 0.13 * i);
    };
    constexpr auto NoChannel = [](Epoch& e) {
        for (int i = 0; i < 3; ++i) e.glonass[static_cast<std::size_t>(i)].frequencyChannel.reset();
        e.glonass[0].frequencyChannel = 25;
    };
    // The first epoch, at time 0 with the clock at 0.2 ms, is left out where it has nothing to tell.
    const struct {
        const char* name;
        Receiver receiver;
        std::vector<Step> steps;
    } rows[] = {
        {"phases jump, too",
         {5, 3},
         {{1, 2.2, 2.2, "8 at 0.20 common 2 all jump 2 phase 2"},
          {2, 2.2, 2.2, "8 at 0.20 common 2 phase 2"},
          {3, .2, .2, "8 at 0.20 all jump -2"}}},
        {"far, GLONASS alone", {0, 4}, {{1, 200.2, 200.2, "4 at 0.20 common 200 all jump 200 phase 200"}}},
        {"drift of 0.3 ms an epoch",
         {5, 0},
         {{15, .5, .5, "5 at 0.50"},
          {30, 1.8, 1.8, "5 at 0.80 common 1 all jump 1 phase 1"},
          {45, 1.1, 2.1, "5 at 1.10 jump -1 phase 1"}}},
        {"three of five phases stay",
         {5, 0},
         {{1, 1.2, 1.2, "5 at 0.20 common 1 jump 1 slips 2", ThreeStay},
          {2, 1.2, 1.2, "5 at 0.20 common 1", ThreeStay}}},
        {"two of four",
         {4, 0},
         {{1, 1.2, 1.2, "4 at 0.20 common 1 jump 1 slips 4",
           [](Epoch& e) { e.MovePhase(0, -1.0), e.MovePhase(1, -1.0); }}}},
        {"those with slip or lost lock do not vote",
         {6, 0},
         {{1, 1.2, 1.2, "6 at 0.20 common 1 all jump 1 phase 1 slips 4",
           [](Epoch& e) {
               for (int i = 0; i < 4; ++i) e.MovePhase(i, -1.0);
               for (int i = 0; i < 2; ++i) e.Meas(i).SetCycleSlip(GPSMeas::Slip), e.Meas(i + 2).SetLostLock();
           }}}},
        {"nor does one that was away",
         {5, 0},
         {{1, .2, .2, "5 at 0.20", NoPhase}, {2, 1.2, 1.2, "5 at 0.20 common 1 jump 1 slips 5"}}},
        {"nor one without a computed range",
         {5, 0},
         {{1, 1.2, 1.2, "4 at 0.20 common 1 all jump 1 phase 1 slips 1", [](Epoch& e) { e.gps.pop_back(); }}}},
        {"no phases at the jump",
         {5, 0},
         {{1, 1.2, 1.2, "5 at 0.20 common 1 jump 1", NoPhase},
          {2, 1.2, 1.2, "5 at 0.20 common 1 slips 5"},
          {3, 1.2, 1.2, "5 at 0.20 common 1"}}},
        {"refused, before and after a jump",
         {5, 0},
         {{1, .2, .2, "refused", OneRange},
          {2, .2, .2, "5 at 0.20"},
          {3, 1.2, 1.2, "5 at 0.20 common 1 all jump 1 phase 1"},
          {4, 1.2, 1.2, "refused slips 5", OneRange},
          {5, 1.2, 1.2, "5 at 0.20 common 1 phase 1 slips 5"},
          {6, .2, 1.2, "5 at 0.20 jump -1 phase 1"}}},
        {"refused between",
         {5, 0},
         {{1, .2, .2, "refused", OneRange}, {2, 1.2, 1.2, "5 at 0.20 common 1 all jump 1 phase 1 slips 5"}}},
        {"wrong position",
         {8, 0},
         {{1, .3, .3, "3 at 0.30 uncounted", WrongPosition},
          {2, 1.4, 1.4, "8 at 0.40 common 1 all jump 1 phase 1 slips 8"},
          {3, 2.4, 2.4, "3 at 0.40 uncounted common 2 phase 1", WrongPosition},
          {40, 1.4, 1.4, "3 at 0.40 uncounted started common 1 slips 8", WrongPosition},
          {41, 1.4, 1.4, "8 at 0.40 started common 1 slips 8"}}},
        {"two against two, the closer ones",
         {4, 0},
         {{0, .2, .2, "2 at 0.40 uncounted started G1:-3",
           [](Epoch& e) { e.MoveRange(0, -2.8), e.MoveRange(1, 0.2), e.MoveRange(2, 0.02); }},
          {1, .2, .2, "4 at 0.20 started slips 4"}}},
        {"computed ranges that come twice",
         {2, 0},
         {{0, .2, .2, "2 at 0.20 started G2:1",
           [](Epoch& e) {
               e.gps[1].range -= MS;
               e.gps.push_back({PRN(2), e.gps[1].range + 3 * MS});
               e.gps.insert(e.gps.begin(), {PRN(1), std::nan("")});
           }}}},
        {"a range that is not a number, a smoothed one",
         {2, 0, false, true},
         {{0, .2, .2, "2 at 0.20 started",
           [](Epoch& e) {
               e.Meas(0).SetRange({std::nan(""), 1.0});
               e.Meas(1).SetRange({HUGE_VAL, 1.0}), e.Meas(1).SetSmoothRange({std::nan(""), 1.0});
               e.Meas(1, 1).Clear(GPSMeas::Range);
           }}}},
        {"a satellite's own is that of its first range",
         {2, 0, false, true},
         {{0, .2, .2, "2 at 0.20 started",
           [](Epoch& e) {
               e.Meas(0, 1).SetRange({e.Meas(0).GetRange() + 3 * MS, 1.0}), e.Meas(0, 1).Clear(GPSMeas::SmoothRange);
           }}}},
        {"a slot on two channels is one satellite",
         {0, 1},
         {{0, .2, .2, "refused",
           [](Epoch& e) {
               Glonass::Measurement::Set& set = e.set.GetGlonass();
               set.ChangeSV(set.AddSV(Glonass::Slot(1), 7))->UpdateMeas(set.GetSV(0));
           }}}},
        {"just near enough", {2, 0}, {{0, .2, .2, "2 at 0.22 started", [](Epoch& e) { e.MoveRange(0, 0.049); }}}},
        {"just too far", {2, 0}, {{0, .2, .2, "refused", [](Epoch& e) { e.MoveRange(0, 0.051); }}}},
        {"too far for a satellite", {3, 0}, {{0, .2, .2, "2 at 0.20 started", [](Epoch& e) { e.MoveRange(0, 1e5); }}}},
        {"of equals the one nearest zero",
         {4, 0},
         {{0, -.2, -.2, "4 at -0.20 started common -1 G1:3 G2:3",
           [](Epoch& e) { e.MoveRange(0, 2.0), e.MoveRange(1, 2.0), e.MoveRange(2, -1.0), e.MoveRange(3, -1.0); }}}},
        {"then the greater",
         {2, 0},
         {{0, -.2, -.2, "2 at -0.20 started common 1 G1:-2",
           [](Epoch& e) { e.MoveRange(0, -1.0), e.MoveRange(1, 1.0); }}}},
        {"a satellite alone passes a millisecond",
         {5, 0},
         {{1, .2, .2, "5 at 0.20 G1:-1", [](Epoch& e) { e.MoveRange(0, -1.0); }}}},
        {"one of two", {2, 0}, {{1, .2, .2, "2 at 0.20 G1:-1 slips 2", [](Epoch& e) { e.MoveRange(0, -1.0); }}}},
        {"two of four change",
         {4, 0},
         {{1, .2, .2, "4 at 0.20 G1:1 G2:1 slips 4", [](Epoch& e) { e.MoveRange(0, 1.0), e.MoveRange(1, 1.0); }}}},
        {"one in both epochs",
         {3, 0},
         {{0, .2, .2, "2 at 0.20 started", [](Epoch& e) { e.gps.pop_back(); }},
          {1, 1.2, 1.2, "2 at 0.20 common 1 slips 3", [](Epoch& e) { e.gps.erase(e.gps.begin()); }}}},
        {"gaps",
         {5, 0},
         {{0, .45, .45, "5 at 0.45 started"},
          {30, .45, .45, "5 at 0.45"},
          {60.001, .55, .55, "5 at -0.45 started common 1 slips 5"}}},
        {"times again and back",
         {5, 0},
         {{9, .2, .2, "5 at 0.20"},
          {9, .2, .2, "5 at 0.20 started slips 5"},
          {8, .2, .2, "5 at 0.20 started slips 5"},
          {NAN, .2, .2, "refused"},
          {9, .2, .2, "5 at 0.20"}}},
        {"channels, none or wrong",
         {3, 3},
         {{0, .2, .2, "6 at 0.20 started", NoChannel},
          {1, 2.2, 2.2, "6 at 0.20 common 2 all jump 2 phase 2 slips 3", NoChannel},
          {2, 2.2, 2.2, "6 at 0.20 common 2 phase 2 slips 3"},
          {3, 2.2, 2.2, "6 at 0.20 common 2 phase 2", NoChannel},
          {4, 2.2, 2.2, "3 at 0.20 common 2 phase 2", [](Epoch& e) { e.glonass.clear(); }}}},
    };
    for (const auto& row : rows) {
        MSAdjust adjust;
        if (row.steps.front().t != 0.0) {
            Epoch epoch = row.receiver.Measure(0.0, .2, .2);
            EXPECT_TRUE(adjust.Adjust(epoch.set, epoch.gps, epoch.glonass).started);
        }
        for (const Step& step : row.steps) {
            Epoch epoch = row.receiver.Measure(step.t, step.clock, step.phase);
            step.change(epoch);
            const MeasSet before = epoch.set;
            const MSAdjust::Report report = adjust.Adjust(epoch.set, epoch.gps, epoch.glonass);
            int slips = 0;
            for (const auto& [signal, value] : row.receiver.Beyond(epoch.set, step.t)) slips += value.slip ? 1 : 0;
            EXPECT_EQ(Summary(report, slips), step.summary) << row.name << " at " << step.t;
            // What has nothing to be changed keeps its body.
            EXPECT_TRUE(report.adjusted || slips != 0 || epoch.set.GetGPS().SharesWith(before.GetGPS())) << row.name;
        }
    }
    // The sum of the jumps starts again before it grows without bounds.
    MSAdjust adjust;
    for (int k = 0; k <= 12; ++k) {
        const int clock = k % 2 == 0 ? -99000 : 99000;
        Epoch epoch = Receiver{4, 0}.Measure(k, clock, 198000.0 * ((k + 1) / 2));
        const MSAdjust::Report report = adjust.Adjust(epoch.set, epoch.gps, {});
        EXPECT_EQ(report.phase, k < 11 ? 198000 * ((k + 1) / 2) : 0) << k;
        EXPECT_EQ(epoch.Meas(0).IsCycleSlip(), k == 11);
        EXPECT_EQ(epoch.Meas(0).GetPhaseQ().Quality(), 0.01);
    }
}

// Satellites, ranges, channels, phases and whole epochs come and go, clocks jump: a phase that is not marked never
// moved against the range by a millisecond.
TEST(MSAdjust, NoPhaseJumpsUnmarked) {
    std::mt19937_64 random = tests::MakeRandom();
    const auto one = [&](unsigned of) { return random() % of == 0; };
    int nmrJumps = 0, nmrSlips = 0, nmrPhases = 0;
    for (int round = 0; round < 100; ++round) {
        const Receiver receiver{4, 3};
        MSAdjust adjust;
        std::map<int, double> before;
        double t = 0.0, clock = 0.2, phase = 0.2;
        for (int k = 0; k < 60; ++k) {
            t += one(20) ? 40.0 : 1.0;
            const bool jumps = one(6);
            const int jump = static_cast<int>(random() % 41) - 20;
            clock += jumps ? jump : 0;
            phase += jumps && one(2) ? jump : 0;
            Epoch epoch = receiver.Measure(t, clock, phase);
            for (int i = 0; i < 4; ++i) {
                if (one(6)) epoch.Meas(i).Clear(GPSMeas::Phase);
            }
            for (auto& range : epoch.glonass) {
                if (one(4)) range.frequencyChannel.reset();
            }
            if (!jumps) {
                while (!epoch.gps.empty() && one(3)) epoch.gps.pop_back();
                if (one(3)) epoch.glonass.resize(random() % 3);
            }
            const MSAdjust::Report report = adjust.Adjust(epoch.set, epoch.gps, epoch.glonass);
            nmrJumps += report.phaseJumped ? 1 : 0;
            for (const auto& [signal, value] : receiver.Beyond(epoch.set, t)) {
                const auto found = before.find(signal);
                if (found != before.end() && !value.slip) {
                    ASSERT_NEAR(value.phaseRange, found->second, 0.1 * MS) << signal << " in epoch " << k;
                }
                before[signal] = value.phaseRange;
                ++nmrPhases;
                nmrSlips += value.slip ? 1 : 0;
            }
        }
    }
    // And not all are.
    EXPECT_GT(nmrJumps, 100);
    EXPECT_LT(nmrSlips, nmrPhases / 2);
}

}  // namespace
