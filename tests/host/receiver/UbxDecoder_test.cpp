// UBX messages made by hand: what the logs do not hold, and what a noisy line makes of them.
#include "host/receiver/UbxDecoder.h"

#include <cmath>
#include <limits>
#include <string>

#include <gtest/gtest.h>

#include "host/receiver/UbxKinds.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/UbxFrames.h"

namespace {

using GNSS::GPSMeas;
using GNSS::GPSTime;
using tests::Bytes;
using tests::UbxFrame;
using UbxRun = tests::Run<Host::UbxDecoder>;
namespace UbxKinds = Host::UbxKinds;

// 0x7: time of week, week and leap seconds valid.
std::string TimeGPS(int week, std::uint32_t ms, unsigned valid = 0x7, int leap = 18) {
    Bytes payload(16);
    payload.Put(0, ms).Put(8, static_cast<std::int16_t>(week)).Put(10, static_cast<std::int8_t>(leap));
    return UbxFrame(UbxKinds::NavTIMEGPS, payload.Put(11, static_cast<std::uint8_t>(valid)));
}

std::string DOP(std::uint32_t ms) {
    return UbxFrame(UbxKinds::NavDOP, Bytes(18).Put(0, ms).Put(4, std::uint16_t{123}));
}

struct Signal {
    int system = 0, number = 5, signal = 0;
    double range = 2.1e7, phase = 1.1e8;
    float doppler = 1500.0F;
    int lockTime = 10000;      // ms
    unsigned tracking = 0x07;  // range, phase and half cycle valid
};

std::string RAWX(double seconds, const std::vector<Signal>& signals, int week = 2300) {
    Bytes payload(16 + 32 * signals.size());
    payload.Put(0, seconds).Put(8, static_cast<std::uint16_t>(week));
    payload.Put(11, static_cast<std::uint8_t>(signals.size())).Put(13, std::uint8_t{1});
    std::size_t at = 16;
    for (const Signal& s : signals) {
        payload.Put(at, s.range).Put(at + 8, s.phase).Put(at + 16, s.doppler);
        payload.Put(at + 20, static_cast<std::uint8_t>(s.system)).Put(at + 21, static_cast<std::uint8_t>(s.number));
        payload.Put(at + 22, static_cast<std::uint8_t>(s.signal)).Put(at + 23, std::uint8_t{9});
        payload.Put(at + 24, static_cast<std::uint16_t>(s.lockTime)).Put(at + 26, std::uint8_t{44});
        payload.Put(at + 27, std::uint8_t{5}).Put(at + 28, std::uint8_t{3}).Put(at + 29, std::uint8_t{7});
        payload.Put(at + 30, static_cast<std::uint8_t>(s.tracking));
        at += 32;
    }
    return UbxFrame(UbxKinds::RxmRAWX, payload);
}

std::string SFRBX(int system, int number, std::size_t nmrWords, int signal = 0, int words = -1) {
    Bytes payload(8 + 4 * nmrWords);
    payload.Put(0, static_cast<std::uint8_t>(system)).Put(1, static_cast<std::uint8_t>(number));
    payload.Put(2, static_cast<std::uint8_t>(signal)).Put(3, std::uint8_t{9});
    payload.Put(4, static_cast<std::uint8_t>(words < 0 ? nmrWords : static_cast<std::size_t>(words)));
    for (std::size_t i = 0; i < nmrWords; ++i) payload.Put(8 + 4 * i, 0x22C00000U + static_cast<std::uint32_t>(i));
    return UbxFrame(UbxKinds::RxmSFRBX, payload);
}

TEST(UbxDecoder, AcceptsRefusesOrCountsOnly) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const struct {
        const char* what;
        std::string message;
        bool accepted;
        const char* calls;
    } cases[] = {
        {"GPS subframe", SFRBX(0, 32, 10), true, "g"},
        {"GPS 33", SFRBX(0, 33, 10), false, ""},
        {"GPS 0", SFRBX(0, 0, 10), false, ""},
        {"GPS of nine words", SFRBX(0, 5, 9), false, ""},
        {"number of words lies", SFRBX(0, 5, 10, 0, 9), false, ""},
        {"GPS L2C", SFRBX(0, 5, 10, 4), true, ""},
        {"Galileo", SFRBX(2, 5, 8), true, ""},
        {"GLONASS string", SFRBX(6, 24, 4), true, "r"},
        {"GLONASS slot not known", SFRBX(6, 255, 4), true, ""},
        {"GLONASS 26", SFRBX(6, 26, 4), true, ""},
        {"GLONASS 33", SFRBX(6, 33, 4), false, ""},
        {"GLONASS of three words", SFRBX(6, 2, 3), false, ""},
        {"empty epoch", RAWX(100.0, {}), true, "tm"},
        {"no week", RAWX(100.0, {{}}, 0), true, ""},
        {"week of another age", RAWX(100.0, {{}}, 65535), false, ""},
        {"seconds beyond the week", RAWX(700000.0, {{}}), false, ""},
        {"seconds not a number", RAWX(std::nan(""), {{}}), false, ""},
        {"range infinite", RAWX(100.0, {{.range = inf}}), false, ""},
        {"range infinite, not valid", RAWX(100.0, {{.range = inf, .tracking = 0x6}}), true, "tm"},
        {"Doppler not a number", RAWX(100.0, {{}, {.number = 6, .doppler = nan}}), false, ""},
        {"Doppler of L5 not a number", RAWX(100.0, {{}, {.signal = 7, .doppler = nan}}), true, "tm"},
        {"Doppler of Galileo not a number", RAWX(100.0, {{.system = 2, .doppler = nan}}), true, "tm"},
        {"GPS 40 measured", RAWX(100.0, {{.number = 40}}), false, ""},
        {"time", TimeGPS(2300, 1000), true, "tl"},
        {"time of no week", TimeGPS(0, 1000, 0), true, ""},
        {"time of no week, said to be valid", TimeGPS(0, 1000), false, ""},
        {"time of week beyond", TimeGPS(2300, 604800000), false, ""},
        {"DOP without a week", DOP(1000), true, "f"},
        {"too short", UbxFrame(UbxKinds::NavDOP, Bytes(17)), false, ""},
        {"empty", UbxFrame(UbxKinds::NavPVT, Bytes(0)), false, ""},
        {"unknown", UbxFrame(0x0A3F, Bytes(3)), true, ""},
    };
    for (const auto& c : cases) {
        const UbxRun run(c.message);
        EXPECT_EQ(run.Counts().GetNmrMessages(), 1) << c.what;
        EXPECT_EQ(run.Counts().GetNmrRefused(), c.accepted ? 0 : 1) << c.what;
        EXPECT_EQ(run.said.order, c.calls) << c.what;
    }
    EXPECT_EQ(UbxKinds::Name(0x0A3F), "0x0A 0x3F");
    EXPECT_EQ(UbxKinds::Name(0x2710), "SEC-SIGLOG");
}

TEST(UbxDecoder, DatesBySecondsOfTheWeek) {
    // A full time late in a week, then one of the next week that says its second only, then the start of the receiver:
    // nothing is dated until it knows the time again.
    const UbxRun run(TimeGPS(2300, 604799000) + DOP(500) + DOP(1500) + TimeGPS(0, 19000, 0) + DOP(19000) +
                     TimeGPS(2301, 2000) + DOP(2000));
    ASSERT_EQ(run.said.fixes.size(), 4U);
    EXPECT_EQ(run.said.fixes[0].time, GPSTime(2301, 0.5));
    EXPECT_EQ(run.said.fixes[1].time, GPSTime(2301, 1.5));
    EXPECT_FALSE(run.said.fixes[2].time);
    EXPECT_EQ(run.said.fixes[3].time, GPSTime(2301, 2.0));
    EXPECT_EQ(run.said.order, "tltftfxftf");
    // The same time again, after the receiver had lost it.
    EXPECT_EQ(UbxRun(TimeGPS(2300, 0) + TimeGPS(0, 0, 0) + TimeGPS(0, 0, 0) + TimeGPS(2300, 0)).said.order, "tlxt");

    // The date of UTC across the end of the GPS week, which comes 18 s before midnight.
    Bytes pvt(92);
    pvt.Put(0, std::uint32_t{5000}).Put(4, std::uint16_t{2024}).Put(6, std::uint8_t{2}).Put(7, std::uint8_t{3});
    pvt.Put(8, std::uint8_t{23}).Put(9, std::uint8_t{59}).Put(10, std::uint8_t{47}).Put(11, std::uint8_t{0x3});
    pvt.Put(20, std::uint8_t{4}).Put(28, std::int32_t{-900000000});
    const UbxRun dated(UbxFrame(UbxKinds::NavPVT, pvt));
    ASSERT_EQ(dated.said.fixes.size(), 1U);
    EXPECT_EQ(dated.said.fixes[0].time, GPSTime(2300, 5.0));
    EXPECT_EQ(dated.said.fixes[0].type, 3);
    EXPECT_EQ(dated.said.fixes[0].latitude, -90.0);
    for (const auto& wrong : {Bytes(pvt).Put(7, std::uint8_t{30}), Bytes(pvt).Put(8, std::uint8_t{24}),
                              Bytes(pvt).Put(20, std::uint8_t{6}), Bytes(pvt).Put(28, -900000001)}) {
        EXPECT_EQ(UbxRun(UbxFrame(UbxKinds::NavPVT, wrong)).said.order, "");
    }
}

TEST(UbxDecoder, TellsSlipsByLockTimeAndHalfCycle) {
    const struct {
        double seconds;
        int lockTime;
        unsigned tracking;
        bool known, slip, lost, warned;
    } steps[] = {
        {100.0, 500, 0x7, false, false, false, false},    // the first phase
        {101.0, 1500, 0x7, true, false, false, false},    // tracked all along
        {102.0, 500, 0x7, true, true, true, false},       // lock began anew
        {104.0, 2500, 0x3, true, false, false, true},     // half cycle open again
        {105.0, 3500, 0xF, true, true, false, false},     // half a cycle taken off
        {106.0, 4500, 0xF, true, false, false, false},    // and kept off
        {106.999, 5500, 0xF, true, false, false, false},  // the receiver's clock was set back
        {107.999, 0, 0x1, false, false, false, false},    // no phase
        {109.0, 1000, 0xF, true, true, true, false},      // shorter than since the last phase
        {209.0, 64500, 0xF, false, false, false, false},  // the counter has stopped: it cannot tell
        {210.0, 64500, 0xF, true, false, false, false},
    };
    std::string stream;
    for (const auto& s : steps) {
        stream +=
            RAWX(s.seconds, {{.lockTime = s.lockTime, .tracking = s.tracking},
                             {.system = 6, .number = 7, .signal = 2, .lockTime = s.lockTime, .tracking = s.tracking}});
    }
    const UbxRun run(stream);
    ASSERT_EQ(run.said.sets.size(), std::size(steps));
    const auto check = [](const auto& record, const auto& step) {
        EXPECT_EQ(record.IsValid(GPSMeas::Phase), (step.tracking & 0x2U) != 0) << step.seconds;
        EXPECT_EQ(record.IsValid(GPSMeas::SlipKnown), step.known) << step.seconds;
        EXPECT_EQ(record.IsCycleSlip(), step.slip) << step.seconds;
        EXPECT_EQ(record.IsLostLock(), step.lost) << step.seconds;
        EXPECT_EQ(record.IsPhaseWarn(), step.warned) << step.seconds;
        EXPECT_EQ(record.GetLockTime(), step.lockTime * 1e-3);
    };
    for (std::size_t i = 0; i < std::size(steps); ++i) {
        const GNSS::MeasSet& set = run.said.sets[i];
        check(set.GetGPS().GetSV(0).GetMeas(0), steps[i]);
        check(set.GetGlonass().GetSV(0).GetMeas(0), steps[i]);
        EXPECT_EQ(set.GetGlonass().GetTime(), set.GetGPS().GetTime());
    }
    const GPSMeas& record = run.said.sets[0].GetGPS().GetSV(0).GetMeas(0);
    EXPECT_EQ(record.GetRangeQ(), Corvane::QValue(2.1e7, 0.32));
    EXPECT_EQ(record.GetPhaseQ(), Corvane::QValue(1.1e8, 0.012));
    EXPECT_EQ(record.GetDopplerQ(), Corvane::QValue(1500.0, 0.256));
}

TEST(UbxDecoder, OneSatelliteOfSeveralSignals) {
    const UbxRun run(RAWX(100.0, {{},
                                  {.signal = 4},
                                  {.signal = 7},
                                  {.system = 6, .number = 3},
                                  {.system = 2},
                                  {.system = 6, .number = 255},
                                  {.system = 6, .number = 27}}));
    ASSERT_EQ(run.said.sets.size(), 1U);
    const auto& gps = run.said.sets[0].GetGPS();
    ASSERT_EQ(gps.NmrSV(), 1);
    ASSERT_EQ(gps.GetSV(0).NmrMeas(), 2);
    EXPECT_GE(gps.GetSV(0).FindFreqy(GNSS::GPSFreqy::CA), 0);
    EXPECT_GE(gps.GetSV(0).FindFreqy(GNSS::GPSFreqy::L2), 0);
    ASSERT_EQ(run.said.sets[0].GetGlonass().NmrSV(), 1);
    EXPECT_EQ(run.said.sets[0].GetGlonass().GetSV(0).GetId(), 3);
}

TEST(UbxDecoder, LosesNothingButTheDamagedMessage) {
    const std::string before = TimeGPS(2300, 1000);
    tests::ExpectDamageCostsOneMessage<Host::UbxDecoder>(before, RAWX(2.0, {{}, {.number = 6}}),
                                                         SFRBX(0, 7, 10) + TimeGPS(2300, 3000));
    // Noise that looks like the start of a message longer than any holds nothing back.
    tests::ReceiverRecording said;
    Host::UbxDecoder decoder(said);
    decoder.Feed(std::string("\xB5\x62\x01\x07\xFF\xFF", 6) + before);
    EXPECT_EQ(said.order, "tl");
}

}  // namespace
