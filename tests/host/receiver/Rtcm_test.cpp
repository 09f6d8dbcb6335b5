// RTCM 3: hand-made frames for what no log at hand holds.
#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

#include <gtest/gtest.h>

#include "gnss/platform/Number.h"
#include "gnss/time/Constants.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RtcmDecoder.h"
#include "tests/host/receiver/ReceiverRecording.h"
#include "tests/host/receiver/RtcmFrames.h"
#include "tests/support/Random.h"

using GNSS::GPSTime;
using tests::Bits;
using tests::GlonassDateFrame;
using tests::GlonassFrame;
using tests::GPSFrame;
using tests::MakeFrame;
using tests::ReceiverRecording;
using Glonass = GNSS::Glonass::Measurement;

namespace {

constexpr double LightMs = GNSS::LightSpeed / 1000.0;
constexpr std::int64_t Day = 86'400'000;

std::string StationFrame(int station) {
    Bits bits;
    bits.Put(1006, 12).Put(station, 12).Put(0, 10).Put(-38692975138, 38).Put(0, 2).Put(34365713345, 38).Put(0, 2);
    return MakeFrame(bits.Put(37173693757, 38).Put(15000, 16).Payload());
}

// A decoder with its sink, fed once.
struct Session : tests::Run<Host::RtcmDecoder> {
    explicit Session(const std::string& stream, std::optional<GPSTime> approximate = {})
        : Run(stream, std::string::npos, approximate) {}
    [[nodiscard]] const GNSS::GPSMeas& GetGPS(std::size_t epoch) const {
        return said.sets.at(epoch).GetGPS().GetSV(0).GetMeas(0);
    }
};

// What an MSM says of a satellite and of a cell, as the raw numbers of its fields.
struct Satellite {
    int number, ms, info, part, rate;
};
struct Cell {
    std::size_t satellite, signal;
    int range, phase, lock, half, snr, rate;
};

std::string MsmFrame(int kind, std::int64_t epoch, const std::vector<Satellite>& satellites,
                     const std::vector<int>& signals, const std::vector<Cell>& cells) {
    const int form = kind % 10;
    Bits bits;
    bits.Put(kind, 12).Put(7, 12).Put(epoch, 30).Put(0, 19);
    for (int n = 1; n <= 64; ++n)
        bits.Put(std::count_if(satellites.begin(), satellites.end(), [&](const auto& s) { return s.number == n; }), 1);
    for (int n = 1; n <= 32; ++n) bits.Put(std::count(signals.begin(), signals.end(), n), 1);
    for (std::size_t s = 0; s < satellites.size(); ++s) {
        for (std::size_t g = 0; g < signals.size(); ++g)
            bits.Put(std::count_if(cells.begin(), cells.end(),
                                   [&](const Cell& c) { return c.satellite == s && c.signal == g; }),
                     1);
    }
    const auto put = [&](const auto& rows, auto field, int width) {
        for (const auto& row : rows) bits.Put(row.*field, width);
    };
    const bool isLong = form == 7;
    put(satellites, &Satellite::ms, 8);
    if (form != 4) put(satellites, &Satellite::info, 4);
    put(satellites, &Satellite::part, 10);
    if (form != 4) put(satellites, &Satellite::rate, 14);
    put(cells, &Cell::range, isLong ? 20 : 15);
    put(cells, &Cell::phase, isLong ? 24 : 22);
    put(cells, &Cell::lock, isLong ? 10 : 4);
    put(cells, &Cell::half, 1);
    put(cells, &Cell::snr, isLong ? 10 : 6);
    if (form != 4) put(cells, &Cell::rate, 15);
    return MakeFrame(bits.Payload());
}

}  // namespace

TEST(Rtcm, MsmSaysWhatWasEncoded) {
    auto random = tests::MakeRandom();
    const auto draw = [&](int low, int high) { return std::uniform_int_distribution(low, high)(random); };
    for (int round = 0; round < 60; ++round) {
        const std::array kinds{1074, 1075, 1077, 1084, 1085, 1087};
        const int kind = kinds[static_cast<std::size_t>(round) % kinds.size()];
        const bool isGlonass = kind > 1080;
        const bool isLong = kind % 10 == 7;
        const std::vector<int> codes = isGlonass ? std::vector{2, 3, 9} : std::vector{2, 4, 10, 24};
        std::vector<Satellite> satellites;
        for (int n = draw(1, 6); n <= 24 && satellites.size() < 12; n += draw(1, 4))
            satellites.push_back({n, draw(60, 90), draw(0, 13), draw(0, 1023), draw(-8191, 8191)});
        std::vector<Cell> cells;
        for (std::size_t s = 0; s < satellites.size(); ++s) {
            for (std::size_t g = 0; g < codes.size(); ++g) {
                if (draw(0, 3) == 0) continue;
                const int range = isLong ? 1 << 19 : 1 << 14;
                const int phase = isLong ? 1 << 23 : 1 << 21;
                cells.push_back({s, g, draw(1 - range, range - 1), draw(1 - phase, phase - 1),
                                 draw(0, isLong ? 704 : 15), draw(0, 1), draw(1, isLong ? 1023 : 63),
                                 draw(-16383, 16383)});
            }
        }
        // GLONASS: Monday 02:59:52 of Moscow is Sunday 23:59:52 of UTC, 10 s into Monday of GPS time.
        const std::int64_t epoch = isGlonass ? (std::int64_t{1} << 27) + 3 * 3'600'000 - 8'000 : Day + 10'000;
        const Session session(MsmFrame(kind, epoch, satellites, codes, cells), GPSTime(2200, 10.0));
        const ReceiverRecording& sink = session.said;
        ASSERT_EQ(sink.sets.size(), 1U) << kind;
        EXPECT_EQ(sink.sets[0].GetGPSTime(), GPSTime(2200, 86410.0)) << kind;
        int nmrMeas = 0;
        const auto check = [&](const auto& set, const auto& signals) {
            using Record = typename std::decay_t<decltype(set)>::Record;
            for (int k = 0; k < set.NmrSV(); ++k) nmrMeas += set.GetSV(k).NmrMeas();
            for (const Cell& c : cells) {
                if (c.signal >= signals.size()) continue;  // L5
                const Satellite& s = satellites[c.satellite];
                const auto freqy = signals[c.signal];
                const auto& sv = set.GetSV(set.FindSV(typename Record::Id(s.number)));
                const Record& record = sv.GetMeas(sv.FindFreqy(freqy));
                const double rough = s.ms + s.part / 1024.0;
                const double fine = c.range * std::exp2(isLong ? -29 : -24);
                ASSERT_TRUE(record.IsValid(Record::Range | Record::SNR)) << kind;
                EXPECT_NEAR(record.GetRange(), (rough + fine) * LightMs, 1e-6) << kind;
                EXPECT_EQ(record.GetSNR(), isLong ? c.snr / 16.0 : c.snr) << kind;
                EXPECT_FALSE(record.IsValid(Record::SlipKnown));
                const bool hasChannel = !isGlonass || kind != 1084;
                EXPECT_EQ(record.IsValid(Record::Phase | Record::LockTime), hasChannel) << kind;
                EXPECT_EQ(record.IsValid(Record::Doppler), kind % 10 != 4) << kind;
                if (!hasChannel) continue;
                double frequency = freqy.GetFrequency();
                if constexpr (std::is_same_v<Record, Glonass>) frequency = freqy.GetChannelFrequency(s.info - 7);
                const double finePhase = c.phase * std::exp2(isLong ? -31 : -29);
                EXPECT_NEAR(record.GetPhase(), (rough + finePhase) * 1e-3 * frequency, 1e-5) << kind;
                EXPECT_EQ(record.IsPhaseWarn(), c.half != 0);
                if (kind % 10 != 4) {
                    EXPECT_NEAR(record.GetDoppler(), -(s.rate + c.rate * 1e-4) * frequency / GNSS::LightSpeed, 1e-8)
                        << kind;
                }
            }
            EXPECT_EQ(nmrMeas, std::count_if(cells.begin(), cells.end(),
                                             [&](const Cell& c) { return c.signal < signals.size(); }));
        };
        using G = GNSS::GPSFreqy;
        using R = GNSS::Glonass::Frequency;
        if (isGlonass)
            check(sink.sets[0].GetGlonass(), std::array{R::CA, R::L1, R::L2});
        else
            check(sink.sets[0].GetGPS(), std::array{G::CA, G::L1, G::L2});
    }
}

TEST(Rtcm, MsmLeavesOutWhatIsNotMeasured) {
    const auto decode = [](const Satellite& s, const Cell& c, int kind) {
        const Session session(MsmFrame(kind, 0, {s}, {2}, {c}), GPSTime(2200, 0.0));
        return session.said.sets.empty() ? 0U : session.GetGPS(0).GetFlags();
    };
    using M = GNSS::GPSMeas;
    constexpr std::uint32_t All = M::SNR | M::Range | M::Phase | M::Doppler | M::LockTime;
    const Satellite s{5, 70, 0, 100, 300};
    const Cell c{0, 0, 10, 10, 10, 0, 40, 10};
    EXPECT_EQ(decode(s, c, 1077), All);
    EXPECT_EQ(decode(s, {0, 0, -(1 << 19), 10, 10, 0, 40, 10}, 1077), All & ~M::Range);
    EXPECT_EQ(decode(s, {0, 0, 10, -(1 << 21), 10, 0, 40, 10}, 1075), All & ~(M::Phase | M::LockTime));
    EXPECT_EQ(decode(s, {0, 0, 10, 10, 10, 0, 0, -(1 << 14)}, 1077), All & ~(M::SNR | M::Doppler));
    EXPECT_EQ(decode({5, 255, 0, 100, 300}, c, 1077), M::SNR | M::Doppler);
    EXPECT_EQ(decode({5, 70, 0, 100, -8192}, c, 1077), All & ~M::Doppler);
    EXPECT_EQ(decode({40, 70, 0, 100, 300}, c, 1077), 0U);  // no GPS satellite
    EXPECT_EQ(decode(s, {0, 0, 10, 10, 705, 0, 40, 10}, 1077), 0U);
    // A reserved lock time of L5, and reserved information of no GLONASS satellite, say nothing of the others.
    const Session l5(MsmFrame(1077, 0, {s}, {2, 24}, {c, {0, 1, 10, 10, 705, 0, 40, 10}}), GPSTime(2200, 0.0));
    EXPECT_EQ(l5.said.sets.size(), 1U);
    const Session slot(MsmFrame(1087, 0, {{3, 70, 9, 0, 0}, {30, 70, 14, 0, 0}}, {2}, {c, {1, 0, 1, 1, 1, 0, 1, 1}}),
                       GPSTime(2200, 0.0));
    EXPECT_EQ(slot.said.sets.size(), 1U);
}

TEST(Rtcm, GlonassMsm4TakesTheChannelFromOtherMessages) {
    const std::string msm =
        MsmFrame(1084, (std::int64_t{7} << 27) + 5000, {{3, 70, 0, 0, 0}}, {2}, {{0, 0, 0, 0, 5, 0, 40, 0}});
    for (const std::string& before : {std::string(), GlonassDateFrame{}.Make(), GlonassFrame{.ms = 4000}.Make()}) {
        const Session session(before + msm, GPSTime(1562, 504000.0));
        ASSERT_FALSE(session.said.sets.empty());
        const Glonass& record = session.said.sets.back().GetGlonass().GetSV(0).GetMeas(0);
        EXPECT_EQ(record.IsValid(Glonass::Phase), !before.empty());
        if (!before.empty()) {
            EXPECT_NEAR(record.GetPhase(), 0.070 * (1602e6 + 2 * 562500.0), 1e-5);
        }
    }
}

TEST(Rtcm, PhasesStayContinuous) {
    // A range that grows by 5 km a second through its milliseconds; the phase runs away from it by 80 cycles a second,
    // through the 20 bits of the difference. A slip at second 90: the lock time starts anew.
    const double wavelength = GNSS::GPSFreqy::CA.GetWaveLength();
    for (const bool extended : {true, false}) {
        ReceiverRecording sink;
        Host::RtcmDecoder decoder(sink);
        decoder.SetApproximateTime(GPSTime(2000, 0.0));
        double rolled = 0.0;
        int nmrRolled = 0;
        std::vector<double> expected;
        for (int t = 0; t < 120; ++t) {
            const double range = 150'000.0 + 5000.0 * t;
            double diff = 80.0 * t;
            while ((diff - rolled) * wavelength > 262.0) {
                rolled += 1500.0;
                ++nmrRolled;
            }
            const double ms = extended ? 0.0 : std::floor(range / LightMs);
            expected.push_back(range / wavelength + diff);
            // The message 1002 of GPSFrame has 70 ms: the range here is what is beyond them.
            const double part = range - ms * LightMs;
            if (extended && part >= LightMs) break;
            decoder.Feed(GPSFrame{.ms = t * 1000,
                                  .range = Corvane::ToInt(std::round(part / 0.02)),
                                  .diff = Corvane::ToInt(std::round((diff - rolled) * wavelength / 0.0005)),
                                  .lock = t < 90 ? 100 : 1,
                                  .extended = extended}
                             .Make());
        }
        EXPECT_GT(nmrRolled, 0);
        ASSERT_GE(sink.sets.size(), 30U);
        const GNSS::GPSMeas& first = sink.sets[0].GetGPS().GetSV(0).GetMeas(0);
        for (std::size_t t = 0; t < sink.sets.size() && t < 90; ++t) {
            const GNSS::GPSMeas& record = sink.sets[t].GetGPS().GetSV(0).GetMeas(0);
            // Half a last bit of range and difference.
            EXPECT_NEAR(record.GetPhase() - first.GetPhase(), expected[t] - expected[0], 0.12) << t;
            EXPECT_EQ(record.IsValid(GNSS::GPSMeas::SlipKnown), t > 0) << t;
            EXPECT_FALSE(record.IsCycleSlip() || record.IsLostLock()) << t;
        }
        if (!extended) {
            EXPECT_TRUE(sink.sets.at(90).GetGPS().GetSV(0).GetMeas(0).IsCycleSlip());
        }
    }
}

TEST(Rtcm, LockTimesTellSlips) {
    struct Case {
        int lockBefore, lock, seconds;
        double lockTime;
        std::optional<bool> slipped;
    };
    for (const Case& c : {Case{30, 30, 1, 36.0, false},
                          {30, 31, 1, 38.0, false},
                          {31, 30, 1, 36.0, true},
                          {30, 30, 40, 36.0, true},
                          {127, 127, 3000, 937.0, false},
                          {127, 127, 3601, 937.0, {}},
                          {0, 0, 1, 0.0, true},
                          {60, 95, 1, 352.0, false}}) {
        const Session session(GPSFrame{.ms = 7 * Day - 1000, .lock = c.lockBefore}.Make() +
                                  GPSFrame{.ms = (c.seconds - 1) * 1000, .lock = c.lock}.Make(),
                              GPSTime(2000, 604799.0));
        const GNSS::GPSMeas& record = session.GetGPS(1);
        EXPECT_EQ(record.GetLockTime(), c.lockTime) << c.lock;
        EXPECT_EQ(record.IsValid(GNSS::GPSMeas::SlipKnown), c.slipped.has_value()) << c.lock;
        EXPECT_EQ(record.IsCycleSlip(), c.slipped.value_or(false)) << c.lock;
    }
}

TEST(Rtcm, MakesOneSetOfAnEpoch) {
    // The message numbers in order, '+' where more of the epoch is announced; GLONASS is 15 s and 3 h from GPS.
    struct Case {
        const char* name;
        std::string stream;
        std::vector<std::pair<int, int>> sets;  // satellites of both systems
    };
    const auto gps = [](int t, bool more, int prn = 5) {
        return GPSFrame{.ms = t * 1000, .prn = prn, .more = more}.Make();
    };
    const auto glonass = [](int t, bool more) {
        return GlonassFrame{.ms = (t - 15 + 10800) % 86400 * 1000, .more = more}.Make();
    };
    for (const Case& c : {Case{"pair", gps(100, true) + glonass(100, false), {{1, 1}}},
                          {"pair the other way round", glonass(100, true) + gps(100, false), {{1, 1}}},
                          {"no announcement", gps(100, false) + glonass(100, false), {{1, 0}, {0, 1}}},
                          {"partner lost", gps(100, true) + glonass(101, true) + gps(101, false), {{1, 0}, {1, 1}}},
                          {"end of the stream", gps(100, true), {{1, 0}}},
                          {"one system in two messages", gps(100, true) + gps(100, false, 6), {{2, 0}}}}) {
        const Session session(c.stream, GPSTime(1562, 0.0));
        const ReceiverRecording& sink = session.said;
        ASSERT_EQ(sink.sets.size(), c.sets.size()) << c.name;
        for (std::size_t n = 0; n < c.sets.size(); ++n) {
            EXPECT_EQ(sink.sets[n].GetGPS().NmrSV(), c.sets[n].first) << c.name;
            EXPECT_EQ(sink.sets[n].GetGlonass().NmrSV(), c.sets[n].second) << c.name;
        }
        EXPECT_EQ(sink.sets[0].GetGPSTime(), GPSTime(1562, 100.0)) << c.name;
    }
}

TEST(Rtcm, CarriesTheTimeOn) {
    // Across a week of GPS, a day of Moscow, and the leap second before 2017.
    struct Case {
        GPSTime approximate;
        std::string stream;
        std::vector<GPSTime> times;
    };
    const auto gps = [](std::int64_t ms) { return GPSFrame{.ms = ms}.Make(); };
    const auto glonass = [](std::int64_t ms) { return GlonassFrame{.ms = ms}.Make(); };
    for (const Case& c :
         {Case{{2000, 310000.0}, gps(604799000) + gps(0) + gps(500), {{2000, 604799.0}, {2001, 0.0}, {2001, 0.5}}},
          {{2001, 0.0}, gps(604799000) + gps(0), {{2000, 604799.0}, {2001, 0.0}}},
          {{2200, 75618.0}, glonass(Day - 1000) + glonass(0), {{2200, 75617.0}, {2200, 75618.0}}},
          {{1930, 17.0}, glonass(10'799'000) + glonass(10'801'000), {{1930, 16.0}, {1930, 19.0}}},
          {{1930, 17.0}, gps(18'000) + glonass(10'800'000), {{1930, 18.0}}}}) {
        const Session session(c.stream, c.approximate);
        std::vector<GPSTime> times;
        for (const auto& set : session.said.sets) {
            if (times.empty() || times.back() != set.GetGPSTime()) times.push_back(set.GetGPSTime());
        }
        EXPECT_EQ(times, c.times) << c.approximate.Print(1, true).str();
    }
}

TEST(Rtcm, KnowsWhichTimeToBelieve) {
    // 2009-12-18 23:07:15 in all of these but where a case says otherwise: 1013, 1020, an epoch.
    const GPSTime said(1562, 515235.0);
    const std::string station = tests::MakeSystemFrame(55183, 83220, 15);
    const std::string lost = tests::MakeSystemFrame(54183, 83220, 14);
    const auto satellite = [](int slot, int day, bool unhealthy = false) {
        return GlonassDateFrame{.slot = slot, .day = day, .unhealthy = unhealthy}.Make();
    };
    const auto week = [](int prn, int week10, int toe = 515'232, int health = 0) {
        return tests::WeekFrame{.prn = prn, .week = week10, .toe = toe, .health = health}.Make();
    };
    const std::string epoch = GPSFrame{.ms = 515'235'000}.Make();
    const std::string late = GPSFrame{.ms = 604'790'000}.Make();
    struct Case {
        const char* name;
        std::optional<GPSTime> approximate;
        std::string stream;
        std::vector<int> weeks;
        int nmrUndated = 0;
    };
    for (const Case& c :
         {Case{"nothing known", {}, epoch + epoch, {}, 2},
          {"outside", GPSTime(1600, 515000.0), epoch, {1600}},
          {"satellite", {}, epoch + satellite(3, 719) + epoch, {1562}, 1},
          {"unhealthy satellite, then another",
           {},
           satellite(3, 719, true) + epoch + satellite(4, 719, true) + epoch,
           {1562},
           1},
          {"a satellite against outside", GPSTime(1600, 515000.0), satellite(3, 719) + epoch, {1562}},
          {"an unhealthy one", GPSTime(1600, 515000.0), satellite(3, 719, true) + epoch, {1600}},
          {"one satellite against another",
           {},
           satellite(3, 719) + satellite(4, 26) + satellite(4, 26) + epoch,
           {1562}},
          {"two satellites against another",
           {},
           satellite(3, 719) + satellite(4, 26) + satellite(5, 26) + epoch,
           {1463}},
          {"two satellites at odds", {}, satellite(3, 719) + satellite(4, 26) + satellite(5, 90) + epoch, {1562}},
          {"weeks of one satellite", GPSTime(1563, 515000.0), week(3, 538) + week(3, 538) + epoch, {1563}},
          {"weeks of two satellites", GPSTime(1563, 515000.0), week(3, 538) + week(4, 538) + epoch, {1562}},
          {"weeks at odds", GPSTime(1563, 515000.0), week(3, 538) + week(4, 540) + epoch, {1563}},
          {"weeks apart", GPSTime(1563, 515000.0), week(3, 538) + week(5, 539) + week(4, 538) + epoch, {1563}},
          {"weeks of unhealthy satellites",
           GPSTime(1563, 515000.0),
           week(3, 538, 515'232, 63) + week(4, 538, 515'232, 63) + epoch,
           {1563}},
          {"five days before", GPSTime(1562, 90000.0), week(3, 538) + week(4, 538) + epoch, {1562}},
          {"weeks after a jump", {}, satellite(3, 719) + epoch + week(3, 546) + week(4, 546) + epoch, {1562, 1570}},
          {"toe of the next week",
           GPSTime(1562, 604000.0),
           late + week(3, 538, 0) + week(4, 538, 0) + late,
           {1562, 1562}},
          {"weeks against the station", {}, station + week(3, 546) + week(4, 546) + epoch, {1562}},
          {"weeks alone", {}, week(3, 538) + week(4, 538) + epoch, {}, 1},
          {"station", GPSTime(1600, 515000.0), station + epoch, {1562}},
          {"satellites against the station", {}, station + satellite(3, 26) + satellite(4, 26) + epoch, {1562}},
          {"station against satellites", {}, satellite(3, 719) + lost + epoch, {1419}},
          {"old satellites without a day", {}, GlonassDateFrame{.day = 0, .isM = false}.Make() + epoch, {}, 1}}) {
        const Session session(c.stream, c.approximate);
        std::vector<int> weeks;
        for (const auto& set : session.said.sets) weeks.push_back(set.GetGPSTime().GetWeek());
        EXPECT_EQ(weeks, c.weeks) << c.name;
        EXPECT_EQ(session.decoder.GetNmrUndated(), c.nmrUndated) << c.name;
        EXPECT_EQ(session.decoder.GetCounts().GetNmrRefused(), 0) << c.name;
    }
    const Session session(station + GlonassFrame{.ms = 7'620'000, .more = true}.Make());
    EXPECT_EQ(session.said.leaps, std::vector{15});
    EXPECT_EQ(session.said.times, std::vector{said});
    // A pair that nothing dates is one epoch.
    ReceiverRecording undated;
    Host::RtcmDecoder other(undated);
    for (int t = 0; t < 3; ++t)
        other.Feed(GPSFrame{.ms = t * 1000, .more = true}.Make() + GlonassFrame{.ms = t * 1000}.Make());
    EXPECT_EQ(other.GetNmrUndated(), 3);
}

// What comes of records that contradict the time from outside, or the stream's own.
TEST(Rtcm, DatesNoRecordByAClockThatItContradicts) {
    const std::string epoch = GPSFrame{.ms = 515'235'000}.Make();
    const auto satellite = [](int slot, int day) { return GlonassDateFrame{.slot = slot, .day = day}.Make(); };
    const struct {
        const char* what;
        GPSTime approximate;
        std::string stream;
        std::vector<int> days;
    } cases[] = {
        {"outside is two days late", {1563, 90000.0}, epoch + satellite(3, 719) + satellite(4, 719), {719, 719}},
        {"and so were the epochs", {1600, 0.0}, satellite(3, 719) + epoch + satellite(4, 719), {719, 719}},
        // The first satellite that says so is refused, the second is believed.
        {"a jump", {1562, 0.0}, satellite(3, 719) + epoch + satellite(3, 775) + satellite(4, 775), {719, 775}},
    };
    for (const auto& c : cases) {
        tests::RecordRecording records;
        Host::RecordMaker maker(records);
        Host::RtcmDecoder decoder(maker);
        decoder.SetApproximateTime(c.approximate);
        decoder.Feed(c.stream);
        decoder.Finish();
        std::vector<int> days;
        for (const auto& record : records.glonass) days.push_back(record.posn.day);
        EXPECT_EQ(days, c.days) << c.what;
    }
}

TEST(Rtcm, FollowsOneStation) {
    const auto epoch = [](int seconds, int station) {
        return GPSFrame{.ms = seconds * 1000, .station = station}.Make();
    };
    const struct {
        std::string stream;
        std::vector<double> epochs;
        int others;
    } cases[] = {{epoch(1, 7) + epoch(1, 8) + epoch(2, 7) + epoch(2, 8), {1.0, 2.0}, 2},
                 {epoch(1, 7) + epoch(31, 8) + epoch(32, 8) + epoch(33, 7), {1.0, 32.0}, 2},
                 {epoch(100, 7) + epoch(1, 8) + epoch(2, 8), {100.0, 1.0, 2.0}, 0}};
    for (const auto& c : cases) {
        const Session session(c.stream, GPSTime(2200, 0.0));
        std::vector<double> epochs;
        for (const auto& set : session.said.sets) {
            epochs.push_back(set.GetGPSTime().GetSeconds());
            // A track is of one station.
            const bool isFirst = epochs.size() == 1 || epochs.back() == 32.0 || epochs.back() == 1.0;
            EXPECT_EQ(set.GetGPS().GetSV(0).GetMeas(0).IsValid(GNSS::GPSMeas::SlipKnown), !isFirst);
        }
        EXPECT_EQ(epochs, c.epochs);
        EXPECT_EQ(session.decoder.GetNmrOfOthers(), c.others);
        EXPECT_EQ(session.decoder.GetCounts().GetNmrRefused(), 0);
    }
}

TEST(Rtcm, GlonassReferenceIsNearTheFrame) {
    // Frame at 23:52:30 of day 719, tb the first of the next day; and an old satellite, dated by the stream.
    ReceiverRecording sink;
    Host::RtcmDecoder decoder(sink);
    decoder.Feed(GlonassDateFrame{.hours = 23, .minutes = 52, .tb = 1}.Make() +
                 GlonassDateFrame{.day = 0, .fourYears = 0, .hours = 23, .minutes = 52, .tb = 1, .isM = false}.Make());
    ASSERT_EQ(sink.glonass.size(), 2U);
    for (const auto& record : sink.glonass) {
        EXPECT_EQ(record.reference, GPSTime(1562, 518400.0 + 75600.0 + 900.0 + 15.0));
        EXPECT_EQ(record.ephemeride.posn.frameTime, 85950.0);
    }
    EXPECT_EQ(sink.glonass[0].fourYears, 4);
    EXPECT_EQ(sink.glonass[0].ephemeride.posn.day, 719);
}

TEST(Rtcm, DamageCostsOneMessage) {
    tests::ExpectDamageCostsOneMessage<Host::RtcmDecoder>(StationFrame(1), StationFrame(2), StationFrame(3));
    const Session session(StationFrame(1));
    EXPECT_NEAR(session.said.stations.at(0).posn.GetY(), 3436571.3345, 1e-7);
    EXPECT_EQ(session.said.stations[0].antennaHeight, 1.5);
}

TEST(Rtcm, RefusesWhatIsTooShortOrCannotBe) {
    // Whole frames whose contents end early: 31 satellites, or all that a mask can name, are announced.
    ReceiverRecording sink;
    Host::RtcmDecoder decoder(sink);
    decoder.SetApproximateTime(GPSTime(2200, 0.0));
    std::int64_t nmr = 0;
    for (const int kind : {1001, 1002, 1003, 1004, 1005, 1006, 1009, 1010, 1011, 1012, 1013, 1019, 1020, 1074, 1075,
                           1077, 1084, 1085, 1087}) {
        for (std::size_t length = 2; length < 8; ++length) {
            std::string payload = Bits().Put(kind, 12).Put(0xFFF, 12).Payload();
            payload.resize(length, '\x03');
            decoder.Feed(MakeFrame(payload));
            EXPECT_EQ(decoder.GetCounts().GetNmrRefused(), ++nmr) << kind << ' ' << length;
        }
    }
    for (const std::string& frame :
         {GPSFrame{.ms = 7 * Day}.Make(), GPSFrame{.range = 15'000'000}.Make(), GlonassFrame{.ms = Day + 1000}.Make(),
          GlonassFrame{.channel = 14}.Make(), GlonassDateFrame{.slot = 25}.Make(), GlonassDateFrame{.day = 1462}.Make(),
          GlonassDateFrame{.hours = 24}.Make(), GlonassDateFrame{.tb = 96}.Make(), tests::MakeSystemFrame(44243, 0, 0),
          tests::MakeSystemFrame(55000, 86401, 0),
          MsmFrame(1087, 0, {{3, 70, 14, 0, 0}}, {2}, {{0, 0, 0, 0, 5, 0, 40, 0}}), MakeFrame("\x3E"),
          tests::WeekFrame{.iode = 34}.Make(), tests::WeekFrame{.sqrtA = 2000}.Make(),
          tests::WeekFrame{.toe = 604'800}.Make()}) {
        decoder.Feed(frame);
        EXPECT_EQ(decoder.GetCounts().GetNmrRefused(), ++nmr);
    }
    EXPECT_EQ(sink.order, "");
    // Not refused: fillers, unknown messages, satellites of other systems.
    decoder.Feed(MakeFrame("") + MakeFrame(Bits().Put(4072, 12).Payload()) + GPSFrame{.prn = 40}.Make() +
                 GlonassFrame{.slot = 0}.Make());
    EXPECT_EQ(decoder.GetCounts().GetNmrRefused(), nmr);
    EXPECT_EQ(decoder.GetCounts().kinds.at(4072).nmr, 1);
    EXPECT_TRUE(sink.sets.empty());
}
