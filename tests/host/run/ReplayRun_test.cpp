// A replay that is paused, hurried and sent to and fro is at every time in the state of one that just plays.
#include "host/run/ReplayRun.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/almanac/Almanac.h"
#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/platform/Clock.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Stream.h"
#include "gnss/store/GNSSLink.h"
#include "host/report/FixRows.h"
#include "host/simulate/Simulator.h"
#include "tests/support/Random.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::GPSTime;
using Host::ReplayRun;
using State = ReplayRun::State;

// Asks what the stores keep.
class Stores : public Corvane::Component {
public:
    Stores()
        : Component(Corvane::Ident("Replay Test"), 100),
          gps_(*this, GNSS::GNSSLink::GPSEphemerisType, &Stores::Ignore<GNSS::GPSEphemeris>),
          glonass_(*this, GNSS::GNSSLink::GlonassEphemerisType, &Stores::Ignore<GNSS::Glonass::Ephemeris>),
          almanac_(*this, GNSS::GNSSLink::AlmanacType, &Stores::Ignore<GNSS::Almanac>) {}

    [[nodiscard]] std::string Print() const {
        Corvane::Stream::MemoryOutput output;
        const auto write = [&](const auto& value) {
            if (value) {
                EXPECT_TRUE(value->Write(output));
            }
        };
        write(gps_.Get());
        write(glonass_.Get());
        write(almanac_.Get());
        return {reinterpret_cast<const char*>(output.Bytes().data()), output.Bytes().size()};
    }

private:
    template <typename T>
    void Ignore(const T& /*value*/) {}
    Corvane::Response<GNSS::GPSEphemeris> gps_;
    Corvane::Response<GNSS::Glonass::Ephemeris> glonass_;
    Corvane::Response<GNSS::Almanac> almanac_;
};

// Of every time, before the data go on to it: what all the outputs have heard since the beginning, what the stores
// keep, the clock and the rule of leap seconds.
class Witness : public Host::RunOutput {
public:
    struct Seen {
        std::size_t heard = 0;
        std::size_t stored = 0;
        std::string clock;
        std::array<double, 3> leap{};
        friend bool operator==(const Seen&, const Seen&) = default;
    };
    using Book = std::map<double, Seen>;  // by s of GPS time

    void Join(Host::RunCore& core) {
        stores_ = std::make_shared<Stores>();
        EXPECT_TRUE(core.GetTree().Join(stores_));
    }
    void Begin(const Host::RunFacts& /*facts*/) override {
        heard_ = 0;
        isFirst_ = true;
        ++nmrRuns;
    }
    void OnTime(const GPSTime& time) override {
        Seen seen{heard_, std::hash<std::string>{}(stores_->Print()), "", {}};
        // Before the data have told a time these are the process's.
        if (!std::exchange(isFirst_, false)) {
            seen.clock = Corvane::Clock::Now().Print(6).str();
            const GPSTime::UTCConverter rule = GPSTime::GetUTCConverter();
            seen.leap = {SecondsOf(rule.GetLeapTime()), rule.GetBefore().Seconds(), rule.GetAfter().Seconds()};
        }
        const auto [place, isNew] = book.emplace(SecondsOf(time), seen);
        if (!isNew && !(place->second == seen)) ++nmrDifferences;
    }
    void OnFix(const Host::PublishedFix& fix) override {
        ++nmrFixes;
        for (const Host::Cell& cell : row_.Fill(fix, Host::FiguresOf(fix.result))) std::visit(*this, cell);
        for (int i = 0; i < fix.notes.NmrNote(); ++i) (*this)(std::string_view(fix.notes[i].GetText().str()));
        if (onFix) onFix(fix.result.time);
    }
    void OnEvent(const Host::RunEvent& event) override { (*this)(std::string_view(event.text)); }

    template <typename T>
    void operator()(const T& value) {
        heard_ = heard_ * 31 + std::hash<T>{}(value);
    }
    static double SecondsOf(const GPSTime& time) { return (time - GPSTime::Zero).Seconds(); }

    Book book;
    int nmrDifferences = 0;
    int nmrFixes = 0;
    int nmrRuns = 0;
    std::function<void(const GPSTime&)> onFix;

private:
    std::shared_ptr<Stores> stores_;
    std::size_t heard_ = 0;
    bool isFirst_ = true;
    Host::FixRow row_;
};

// A receiver's log over a leap second, with damaged messages and a range that steps.
class Log {
public:
    Log() {
        using Kind = Host::SimulatedFault::Kind;
        Host::SimulatorSettings settings;
        settings.start = GPSTime(2369, 3.0 * GPSTime::SecsInDay - 180.0);
        Host::SimulatedFault leap;
        leap.kind = Kind::Leap;
        Host::SimulatedFault bits;
        bits.kind = Kind::BitErrors;
        bits.size = 1e-4;
        Host::SimulatedFault step;
        step.kind = Kind::Step;
        step.system = 'G';
        step.start = 60.0;
        step.length = 100.0;
        step.size = 30.0;
        settings.faults = {leap, bits, step};
        Host::Simulator simulator(settings);
        std::string bytes;
        for (int i = 0; i < NmrEpochs; ++i) static_cast<void>(simulator.Next(bytes));
        std::ofstream(path_, std::ios::binary) << bytes;
        first = settings.start;
    }
    Log(const Log&) = delete;
    Log& operator=(const Log&) = delete;
    ~Log() { std::filesystem::remove(path_); }

    [[nodiscard]] Host::RunRequest GetRequest() const {
        Host::RunRequest request;
        request.inputs = {path_.string()};
        request.asReceived = true;
        return request;
    }
    static constexpr int NmrEpochs = 400;
    GPSTime first;

private:
    std::filesystem::path path_ =
        std::filesystem::temp_directory_path() / ("gnss_replay_" + std::to_string(::getpid()) + ".ubx");
};

// Plays to the end.
Witness::Book PlayThrough(const Host::RunRequest& request, const std::function<void(ReplayRun&)>& before = {}) {
    Witness witness;
    ReplayRun replay(request, {&witness}, 0.0);
    replay.SetPrepare([&](Host::RunCore& core) { witness.Join(core); });
    std::string reason;
    EXPECT_TRUE(replay.Open(reason)) << reason;
    if (before) before(replay);
    EXPECT_EQ(replay.Run([&] { return replay.GetStatus().state == State::Ended; }), "");
    return witness.book;
}

// Sends a replay to and fro; every time that it comes to is as in the book.
void CheckSeeks(const Host::RunRequest& request, int nmrSeeks) {
    const Witness::Book book = PlayThrough(request);
    ASSERT_GT(book.size(), 300U);
    Witness witness;
    witness.book = book;
    ReplayRun replay(request, {&witness}, 0.0);
    replay.SetPrepare([&](Host::RunCore& core) { witness.Join(core); });
    std::string reason;
    ASSERT_TRUE(replay.Open(reason)) << reason;
    const auto span = replay.GetStatus().span;
    ASSERT_TRUE(span);
    const double first = book.begin()->first;
    const double last = book.rbegin()->first;
    EXPECT_NEAR(Witness::SecondsOf(span->first), first, 1e-3);
    EXPECT_NEAR(Witness::SecondsOf(span->last), last, 1e-3);

    std::mt19937_64 random = tests::MakeRandom();
    std::uniform_real_distribution<double> anywhere(first - 2.0, last + 2.0);
    std::vector<GPSTime> targets;
    while (std::ssize(targets) < nmrSeeks)
        targets.push_back(GPSTime::Zero + Corvane::Time(std::floor(anywhere(random) * 4.0) / 4.0));
    std::size_t next = 0;
    replay.Pause();
    replay.Seek(targets[next]);
    const auto onReached = [&] {
        const ReplayRun::Status status = replay.GetStatus();
        if (status.isSeeking || next >= targets.size()) return;
        // The last epoch that is not later, or the first there is.
        const double target = Witness::SecondsOf(targets[next]);
        auto place = book.upper_bound(target);
        if (place != book.begin()) --place;
        ASSERT_TRUE(status.now);
        EXPECT_NEAR(Witness::SecondsOf(*status.now), place->first, 1e-3);
        EXPECT_EQ(status.state, target < last ? State::Paused : State::Ended);
        if (++next < targets.size()) replay.Seek(targets[next]);
    };
    EXPECT_EQ(replay.Run([&] { return next >= targets.size(); }, onReached), "");
    EXPECT_EQ(next, targets.size());
    EXPECT_EQ(witness.nmrDifferences, 0);
    EXPECT_EQ(witness.book.size(), book.size());
}

TEST(ReplayRun, ComesToTheSameStateByAnyWay) {
    const Log log;
    CheckSeeks(log.GetRequest(), 6);
}

TEST(ReplayRun, ComesToTheSameStateByAnyWayInADayOfAStation) {
    GNSS_REQUIRE_TEST_DATA(observations, "data/ESBC00DNK_R_20201770000_01D_30S_MO_GR.rnx.gz");
    GNSS_REQUIRE_TEST_DATA(navigation, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    Host::RunRequest request;
    request.inputs = {observations, navigation};
    CheckSeeks(request, 1);
}

// What the operator has done is done again, before the same epoch.
TEST(ReplayRun, RepeatsWhatTheOperatorDid) {
    const Log log;
    const Host::RunRequest request = log.GetRequest();
    std::vector<double> done;
    Witness witness;
    ReplayRun replay(request, {&witness}, 0.0);
    replay.SetPrepare([&](Host::RunCore& core) { witness.Join(core); });
    std::string reason;
    ASSERT_TRUE(replay.Open(reason)) << reason;
    int nmrSteered = 0;
    witness.onFix = [&](const GPSTime& time) {
        const double t = (time - log.first).Seconds();
        if (witness.nmrRuns == 1 && (t == 100.0 || t == 50.0)) {
            ++nmrSteered;
            replay.Steer([&](Host::RunCore& core) { done.push_back((*core.GetNow() - log.first).Seconds()); });
        }
        if (witness.nmrRuns == 1 && t == 150.0) replay.Seek(log.first + Corvane::Time(70.0));
    };
    ASSERT_EQ(replay.Run([&] { return replay.GetStatus().state == State::Ended; }), "");
    EXPECT_EQ(nmrSteered, 2);
    EXPECT_EQ(witness.nmrRuns, 2);
    EXPECT_EQ(done, (std::vector<double>{50.0, 100.0, 50.0, 100.0}));
    EXPECT_EQ(witness.nmrDifferences, 0);
}

// Sent to its end while it is paused, steered there and played: from the beginning, and steered there again.
TEST(ReplayRun, PlaysAgainAfterTheEnd) {
    const Log log;
    Witness witness;
    ReplayRun replay(log.GetRequest(), {&witness}, 0.0);
    replay.SetPrepare([&](Host::RunCore& core) { witness.Join(core); });
    std::string reason;
    ASSERT_TRUE(replay.Open(reason)) << reason;
    replay.Pause();
    replay.Seek(log.first + Corvane::Time(1e6));
    int nmrSteered = 0;
    int nmrEnds = 0;
    const auto begin = std::chrono::steady_clock::now();
    const auto isOver = [&] {
        return (witness.nmrRuns == 2 && nmrSteered == 4) ||
               std::chrono::steady_clock::now() - begin > std::chrono::minutes(1);
    };
    ASSERT_EQ(replay.Run(isOver,
                         [&] {
                             if (replay.GetStatus().state != State::Ended || witness.nmrRuns > 1) return;
                             // One that comes while another is done is not lost.
                             const auto steer = [&](Host::RunCore&) {
                                 if (++nmrSteered == 1) replay.Steer([&](Host::RunCore&) { ++nmrSteered; });
                             };
                             if (++nmrEnds == 1) replay.Steer(steer);
                             if (nmrEnds == 2) replay.Play();
                         }),
              "");
    EXPECT_EQ(nmrSteered, 4);
    EXPECT_EQ(witness.nmrFixes, 2 * Log::NmrEpochs);
    EXPECT_EQ(witness.nmrDifferences, 0);
}

TEST(ReplayRun, KeepsItsPace) {
    const Log log;
    Witness witness;
    ReplayRun replay(log.GetRequest(), {&witness}, 100.0);
    replay.SetPrepare([&](Host::RunCore& core) { witness.Join(core); });
    std::string reason;
    ASSERT_TRUE(replay.Open(reason)) << reason;
    const auto begin = std::chrono::steady_clock::now();
    const auto passed = [&] { return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count(); };
    double paused = 0.0;
    witness.onFix = [&](const GPSTime& time) {
        const double t = (time - log.first).Seconds();
        // Never early. (Late it may be on a busy machine.)
        EXPECT_GE(passed(), std::min(t, 50.0) / 100.0 - 0.001);
        if (t == 50.0) {
            replay.Pause();
            paused = passed();
        }
        EXPECT_GE(passed(), t > 50.0 ? paused + 0.3 : 0.0);
    };
    std::jthread operators([&] {
        while (replay.GetStatus().state != State::Paused) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        std::this_thread::sleep_for(std::chrono::milliseconds(350));
        replay.SetSpeed(std::nan(""));  // as fast as it goes
        replay.Play();
    });
    ASSERT_EQ(replay.Run([&] { return replay.GetStatus().state == State::Ended; }), "");
    EXPECT_GT(paused, 0.499);
    EXPECT_EQ(witness.nmrFixes, Log::NmrEpochs);
}

}  // namespace
