// The simulated receiver, heard by the decoder and computed with by the library.
#include "host/simulate/Simulator.h"

#include <array>
#include <cmath>
#include <map>

#include <gtest/gtest.h>

#include "gnss/almanac/GlonassAlmanacModel.h"
#include "gnss/time/GloTime.h"
#include "host/receiver/LeapRule.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/UbxDecoder.h"
#include "host/simulate/ControlSegment.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/simulate/SimulatedReception.h"

namespace {

using GNSS::GPSTime;
using Host::SimulatedFault;
using Host::Simulator;
using Host::SimulatorSettings;

// Everything that a stream of the simulator makes.
struct Heard : Host::RecordSink {
    using RecordSink::OnRecord;
    std::vector<GNSS::GPSEphemeride> gps;
    std::vector<GNSS::Glonass::Ephemeride> glonass;
    std::map<int, GNSS::Almanac::SV> gpsAlmanac;
    std::map<int, GNSS::Almanac::GlonassSV> glonassAlmanac;
    std::vector<GNSS::Almanac::UTC> utcs;
    std::vector<GNSS::Almanac::Iono> ionos;
    Host::RecordMaker maker{*this};
    Host::UbxDecoder decoder{maker};

    void OnRecord(const GNSS::GPSEphemeride& record) override {
        // Its satellite says the same every 30 s.
        for (auto i = gps.rbegin(); i != gps.rend(); ++i) {
            if (i->prn != record.prn) continue;
            if (i->clock.IODC == record.clock.IODC && i->status.GetHealth() == record.status.GetHealth()) return;
            break;
        }
        gps.push_back(record);
    }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> /*channel*/) override {
        for (auto i = glonass.rbegin(); i != glonass.rend(); ++i) {
            if (i->slot != record.slot) continue;
            if (i->HasTheSameBody(record) && i->status == record.status) return;
            break;
        }
        glonass.push_back(record);
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { gpsAlmanac[record.prn] = record; }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override { glonassAlmanac[record.slot] = record; }
    void OnRecord(const GNSS::Almanac::Iono& record) override { ionos.push_back(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { utcs.push_back(record); }

    // Hours or less of a simulation; nothing may be lost on the way.
    void Listen(Simulator& simulator, double seconds) {
        const auto epochs = std::llround(seconds / simulator.GetSettings().interval);
        for (std::int64_t i = 0; i < epochs; ++i) {
            std::string bytes;
            static_cast<void>(simulator.Next(bytes));
            decoder.Feed(bytes);
        }
        EXPECT_EQ(decoder.GetCounts().checksumFailures, 0);
        EXPECT_EQ(maker.GetNmrUndatable(), 0);
    }
};

SimulatorSettings Quiet(double interval) {
    SimulatorSettings settings;
    settings.interval = interval;
    settings.noise = 0.0;
    settings.warmUp = 30.0;
    return settings;
}

struct Errors {
    double most = 0.0, sum = 0.0;
    int nmr = 0;
    void Add(double error) {
        most = std::max(most, error);
        sum += error * error;
        ++nmr;
    }
    [[nodiscard]] double Rms() const { return std::sqrt(sum / nmr); }
};

// Twelve hours: six issues of each GPS satellite's ephemerides, over the two hours in which each is broadcast.
TEST(Simulator, BroadcastsWhereTheSatellitesAre) {
    Simulator simulator(Quiet(30.0));
    Heard heard;
    heard.Listen(simulator, 12.0 * 3600.0);
    EXPECT_EQ(heard.maker.GetNmrParityFailures() + heard.maker.GetNmrHammingFailures() + heard.maker.GetNmrRefused(),
              0);
    Host::LeapRule leaps;
    leaps.SetFor(simulator.GetSettings().start);
    Errors posn, vely, clock;
    for (const GNSS::GPSEphemeride& record : heard.gps) {
        for (double tk = -7200.0; tk <= 0.0; tk += 450.0) {
            const GPSTime t = record.GetTOE() + Corvane::Time(tk);
            Simulator::Satellite truth;
            GNSS::GPSEphemeride::Result result;
            ASSERT_TRUE(simulator.GetTruth('G', record.prn, t, truth));
            ASSERT_TRUE(record.CalculatePosn(t, result) && result.valid);
            posn.Add((result.posn - truth.posn).Magnitude());
            vely.Add((record.CalculateVely(t) - truth.vely).Magnitude());
            clock.Add(std::abs(result.clockCorrection - truth.clock) * 3e8);
        }
    }
    // Metres, m/s, metres: what the fit and the rounding leave.
    EXPECT_GT(posn.nmr, 1000);
    EXPECT_LT(posn.most, 0.5);
    EXPECT_LT(posn.Rms(), 0.15);
    EXPECT_LT(vely.most, 1e-3);
    EXPECT_LT(clock.most, 0.05);

    Errors glonass, glonassVely, glonassClock;
    for (const GNSS::Glonass::Ephemeride& record : heard.glonass) {
        const double toTb = record.GetReferenceTime() - GNSS::GloTime(record.reference);
        for (double tk = -900.0; tk <= 900.0; tk += 150.0) {
            const GPSTime t = record.reference + Corvane::Time(toTb + tk);
            Simulator::Satellite truth;
            GNSS::Glonass::Ephemeride::Result result;
            ASSERT_TRUE(simulator.GetTruth('R', record.slot, t, truth));
            ASSERT_TRUE(record.CalculatePosn(t, result, false) && result.valid);
            glonass.Add((result.posn - truth.posn).Magnitude());
            glonassVely.Add((result.vely - (GNSS::ECEF() + truth.vely)).Magnitude());
            glonassClock.Add(std::abs(Host::ControlSegment::GlonassOffset - result.clockCorrection - truth.clock) *
                             3e8);
        }
    }
    // Units of 0.5 m, 1 mm/s and 1 um/s2 do not say it better.
    EXPECT_GT(glonass.nmr, 2000);
    EXPECT_LT(glonass.most, 1.5);
    EXPECT_LT(glonass.Rms(), 0.5);
    EXPECT_LT(glonassVely.most, 2e-3);
    EXPECT_LT(glonassClock.most, 0.15);
}

// An almanac is of the whole sky, and as good as real ones are (0.5 to 3.7 km).
TEST(Simulator, BroadcastsAnAlmanac) {
    Simulator simulator(Quiet(30.0));
    Heard heard;
    heard.Listen(simulator, 800.0);
    ASSERT_EQ(heard.gpsAlmanac.size(), 32U);
    ASSERT_EQ(heard.glonassAlmanac.size(), 24U);
    ASSERT_FALSE(heard.ionos.empty() || heard.utcs.empty());
    const GNSS::Almanac::Iono fresh;
    EXPECT_EQ(heard.ionos[0].alpha3, fresh.alpha3);
    EXPECT_EQ(heard.ionos[0].beta3, fresh.beta3);
    EXPECT_EQ(heard.utcs[0].DtLS, 18);
    EXPECT_EQ(heard.utcs[0].DtLSF, 18);
    Host::LeapRule leaps;
    leaps.SetFor(simulator.GetSettings().start);
    for (double hours = 0.0; hours <= 10.0; hours += 1.0) {
        const GPSTime t = simulator.GetSettings().start + Corvane::Time(hours * 3600.0);
        Simulator::Satellite truth;
        GNSS::ECEF posn;
        for (const auto& [prn, sv] : heard.gpsAlmanac) {
            ASSERT_TRUE(simulator.GetTruth('G', prn, t, truth) && sv.CalculatePosn(t, posn));
            EXPECT_LT((posn - truth.posn).Magnitude(), 2000.0) << prn;
        }
        for (const auto& [slot, sv] : heard.glonassAlmanac) {
            // Without the record's own earth rate.
            GNSS::ECEF::Delta vely;
            constexpr double Rate = GNSS::Glonass::Orbit::EarthRate;
            GNSS::GlonassAlmanacModel::GermanCalc(sv, GNSS::GloTime(t) - sv.GetEpoch(), Rate, posn, vely);
            ASSERT_TRUE(simulator.GetTruth('R', slot, t, truth));
            EXPECT_LT((posn - truth.posn).Magnitude(), 5000.0) << slot;
        }
    }
}

std::string Stream(const SimulatorSettings& settings, int epochs) {
    Simulator simulator(settings);
    std::string bytes;
    for (int i = 0; i < epochs; ++i) static_cast<void>(simulator.Next(bytes));
    return bytes;
}

TEST(Simulator, TheSameSeedGivesTheSameBytes) {
    SimulatorSettings settings;
    const std::string first = Stream(settings, 40);
    EXPECT_EQ(first, Stream(settings, 40));
    settings.seed = 2;
    EXPECT_NE(first, Stream(settings, 40));
}

// Through ends of weeks, of the four years and of days with a leap second, at 20 Hz, and moving: the fix follows.
TEST(Simulator, TheFixFollowsTheTruth) {
    struct Case {
        const char* name;
        GPSTime start;
        double interval;
        const char* motion;
        const char* fault;
        double most = 1.5, mostVely = 0.02;  // m, m/s
    };
    const std::array cases{
        Case{"20 Hz on a circle", GPSTime(2369, 302400.0), 0.05, "circle,100,10", ""},
        Case{"on a line", GPSTime(2369, 302400.0), 1.0, "line,45,200", ""},
        Case{"end of a week, and of 1024", GPSTime(3071, 604680.0), 1.0, "still", ""},
        Case{"day 1461 to day 1", GPSTime(2294, 593938.0), 30.0, "still", ""},  // 2023-12-31 20:58:40 UTC
        // The GLONASS records from before it are a second off until new ones have come.
        Case{"leap second", GPSTime(2369, 345538.0), 1.0, "still", "leap", 5.0, 0.1},  // 23:58:40 UTC
    };
    for (const Case& c : cases) {
        SimulatorSettings settings = Quiet(c.interval);
        settings.start = c.start;
        ASSERT_TRUE(Host::ParseMotion(c.motion, settings.motion));
        std::string wrong;
        if (*c.fault != 0) settings.faults.push_back(*Host::ParseFault(c.fault, wrong));
        tests::SimulatedReception reception(settings, {});
        double worst = 0.0, worstVely = 0.0;
        int nmrFixes = 0;
        for (int epoch = 0; epoch < 200; ++epoch) {
            const Host::FixResult& result = reception.Next();
            if (!result.valid) continue;
            ++nmrFixes;
            const GNSS::LocalGrid grid(reception.GetTruth().posn, GNSS::Spheroid::WGS84);
            worst = std::max(worst, (result.ecef - reception.GetTruth().posn).Magnitude());
            const auto vely = grid.GetECEFDelta(result.velocity.vely) - reception.GetTruth().vely;
            worstVely = std::max(worstVely, vely.Magnitude());
        }
        EXPECT_EQ(nmrFixes, 200) << c.name;
        EXPECT_LT(worst, c.most) << c.name;
        EXPECT_LT(worstVely, c.mostVely) << c.name;
    }
}

TEST(Simulator, FaultsDoWhatTheySay) {
    SimulatorSettings settings = Quiet(1.0);
    settings.start += Corvane::Time(600.0);  // from when the satellites begin nothing new by themselves
    const std::string quiet = Stream(settings, 100);
    tests::Run<Host::UbxDecoder> before(quiet);
    const auto with = [&](const char* text) {
        std::string wrong;
        SimulatorSettings faulty = settings;
        faulty.faults.push_back(*Host::ParseFault(text, wrong));
        return Stream(faulty, 100);
    };
    ASSERT_EQ(before.said.sets.size(), 100U);
    const GNSS::PRN prn = before.said.sets[0].GetGPS().GetInner().GetSV(0).GetId();
    const std::string name = "G" + std::string(prn < 10 ? "0" : "") + std::to_string(int{prn});
    const auto rangeOf = [&](const tests::Run<Host::UbxDecoder>& run, std::size_t epoch) {
        const auto& inner = run.said.sets[epoch].GetGPS().GetInner();
        for (int i = 0; i < inner.NmrSV(); ++i) {
            if (inner.GetSV(i).GetId() == prn) return inner.GetSV(i).GetMeas(0).GetRange();
        }
        return 0.0;
    };
    struct Case {
        std::string fault;
        double at50;  // what the range is longer by at second 50
    };
    for (const Case& c :
         {Case{"step," + name + ",at=40,for=20,size=20", 20.0}, Case{"ramp,G,at=40,for=20,size=0.5", 5.0},
          Case{"clock," + name + ",at=30,for=30,size=2", 40.0}}) {
        tests::Run<Host::UbxDecoder> run(with(c.fault.c_str()));
        EXPECT_NEAR(rangeOf(run, 50) - rangeOf(before, 50), c.at50, 0.01) << c.fault;
        EXPECT_NEAR(rangeOf(run, 20), rangeOf(before, 20), 1e-6) << c.fault;
        EXPECT_NEAR(rangeOf(run, 70), rangeOf(before, 70), 1e-6) << c.fault;
    }
    tests::Run<Host::UbxDecoder> outage(with(("outage," + name + ",at=40,for=20").c_str()));
    EXPECT_EQ(rangeOf(outage, 50), 0.0);
    EXPECT_NE(rangeOf(outage, 70), 0.0);

    // What changes the messages: the ephemerides of the satellite before the fault, in it and after it.
    for (const char* kind : {"unhealthy", "orbit", "mixed"}) {
        Heard heard;
        SimulatorSettings faulty = settings;
        std::string wrong, text = std::string(kind) + "," + name + ",at=30,for=30";
        if (*kind == 'o') text += ",size=500";
        if (*kind == 'm') text += prn == 1 ? ",with=G02" : ",with=G01";
        faulty.faults.push_back(*Host::ParseFault(text, wrong));
        Simulator simulator(faulty);
        heard.Listen(simulator, 120.0);
        std::vector<GNSS::GPSEphemeride> records;
        for (const auto& record : heard.gps) {
            if (record.prn == prn) records.push_back(record);
        }
        ASSERT_EQ(records.size(), 3U) << kind;
        EXPECT_EQ(records[1].status.IsHealthy(), *kind != 'u');
        records[1].status.SetHealth(0);
        GNSS::GPSEphemeride::Result usual, faulted;
        const GPSTime t = settings.start;
        ASSERT_TRUE(records[0].CalculatePosn(t, usual) && records[1].CalculatePosn(t, faulted));
        const double apart = (usual.posn - faulted.posn).Magnitude();
        if (*kind == 'u') {
            EXPECT_EQ(apart, 0.0);
        }
        if (*kind == 'o') {
            EXPECT_NEAR(apart, 500.0, 10.0);
        }
        if (*kind == 'm') {
            EXPECT_GT(apart, 1e5);
        }
    }
    Heard noisy;
    SimulatorSettings bits = settings;
    std::string wrong;
    bits.faults.push_back(*Host::ParseFault("bits,all,size=0.01", wrong));
    Simulator simulator(bits);
    noisy.Listen(simulator, 60.0);
    EXPECT_GT(noisy.maker.GetNmrParityFailures(), 20);
    EXPECT_GT(noisy.maker.GetNmrHammingFailures(), 20);
}

TEST(SimulatedFault, TextThatIsNoneSaysWhy) {
    for (const char* text : {"", "steps,G05", "step", "step,G05", "step,G33,size=1", "step,G05,size=x", "mixed,G05",
                             "mixed,G05,with=R01", "mixed,G,with=G01", "bits,all,size=2", "leap,G05",
                             "outage,all,for=0", "step,G05,size=1,when=3", "outage,all,at=-1", "step,G05,size=1,"}) {
        std::string wrong;
        EXPECT_FALSE(Host::ParseFault(text, wrong)) << text;
        EXPECT_FALSE(wrong.empty()) << text;
    }
    std::string wrong;
    const auto fault = Host::ParseFault("step,G05,at=600,for=120,size=20", wrong);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->number, 5);
    EXPECT_TRUE(fault->IsActive(600.0) && fault->IsActive(719.9) && !fault->IsActive(720.0));
}

}  // namespace
