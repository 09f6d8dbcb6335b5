// Runs of live sources through all the trouble that a connection can make, against the simulated receiver's bytes.
#include "host/run/LiveRun.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <sys/eventfd.h>

#include "host/run/DailyFolders.h"
#include "host/run/PositionRows.h"
#include "host/simulate/SimulatedSource.h"
#include "host/simulate/Simulator.h"
#include "tests/host/live/LiveBench.h"
#include "tests/host/run/RunRecording.h"
#include "tests/support/Random.h"

namespace {

using GNSS::GPSTime;
using Host::LiveRun;
using std::chrono::hours;
using std::chrono::seconds;

// What the receiver sends, epoch by epoch, and where in that its measurements lie.
struct Sent {
    struct Epoch {
        std::size_t begin = 0;  // of the message of measurements
        std::size_t end = 0;
        GPSTime time;
        GNSS::ECEF posn;  // the true one
    };

    Sent(int nmrEpochs, double interval, std::optional<GPSTime> start = std::nullopt) {
        Host::SimulatorSettings settings;
        settings.interval = interval;
        settings.warmUp = 30.0;
        if (start) settings.start = *start;
        Host::Simulator simulator(settings);
        for (int i = 0; i < nmrEpochs; ++i) {
            Epoch epoch;
            const std::size_t before = bytes.size();
            const Host::SimulatedTruth truth = simulator.Next(bytes);
            epoch.begin = bytes.find("\xB5\x62\x02\x15", before);
            EXPECT_NE(epoch.begin, std::string::npos);
            epoch.end = epoch.begin + 8 + static_cast<std::uint8_t>(bytes[epoch.begin + 4]) +
                        256U * static_cast<std::uint8_t>(bytes[epoch.begin + 5]);
            epoch.time = truth.time;
            epoch.posn = truth.posn;
            epochs.push_back(epoch);
        }
    }
    std::string bytes;
    std::vector<Epoch> epochs;
};

// A live run in this thread whose server works in another one. The clock of the sources goes only when the server says
// so: no machine is too slow for it.
class Line : public ::testing::Test {
public:
    using Serve = std::function<void(Line&)>;

    void SetUp() override {
        folder_ = std::filesystem::temp_directory_path() / ("gnss_live_test_" + std::to_string(::getpid()));
        std::filesystem::remove_all(folder_);
        std::filesystem::create_directories(folder_);
        settings_.live.clock = [this] { return Host::SteadyTime(hours(1)) + seconds(passed_.load()); };
        settings_.live.random = [] { return 0.5; };
        settings_.live.silence = hours(2);
        settings_.live.connectTimeout = hours(2);
        request_.inputs = {"tcp://127.0.0.1:" + std::to_string(server_.GetPort())};
    }
    void TearDown() override { std::filesystem::remove_all(folder_); }
    [[nodiscard]] std::string Path(const std::string& name) const { return (folder_ / name).string(); }
    [[nodiscard]] static std::string ReadFile(const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    }

    // Until the server has nothing more to do.
    void Run(const Serve& serve, std::vector<Host::RunOutput*> outputs = {}) {
        outputs.push_back(&run_);
        LiveRun live(request_, outputs, settings_);
        ASSERT_TRUE(live.Open(run_.reason)) << run_.reason;
        live_ = &live;
        std::atomic<bool> isDone = false;
        std::thread server([&] {
            serve(*this);
            isDone = true;
            Wake();
        });
        run_.reason = live.Run([&] { return isDone.load(); });
        server.join();
        counts_ = live.GetSources().front().counts;
        run_.facts = live.GetFacts();
        EXPECT_EQ(run_.reason, "");
    }
    // Of the server.
    void Wake() const { static_cast<void>(::eventfd_write(live_->GetWakeFile(), 1)); }
    void Pass(seconds span) {
        passed_ += span.count();
        Wake();
    }
    // The next connection, the wait before which passes at once.
    tests::Peer Accept() {
        while (!server_.IsWaitedFor(20)) Pass(seconds(310));
        return server_.Accept();
    }
    // Ends the connection when everything has been taken.
    static void End(tests::Peer& peer) {
        peer.Finish();
        static_cast<void>(peer.Receive());
        peer.Close();
    }
    // The connection is silent for too long.
    void Stall(tests::Peer& peer) {
        while (!peer.IsEnded()) {
            Pass(hours(3));
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        peer.Close();
    }
    [[nodiscard]] std::map<std::int64_t, int> CountFixes() const {
        std::map<std::int64_t, int> nmr;
        for (const auto& fix : run_.fixes) ++nmr[std::llround((fix.time - GPSTime(2000, 0.0)).Seconds() * 1e3)];
        return nmr;
    }
    [[nodiscard]] static std::int64_t KeyOf(const GPSTime& time) {
        return std::llround((time - GPSTime(2000, 0.0)).Seconds() * 1e3);
    }

    std::filesystem::path folder_;
    tests::Server server_;
    std::atomic<std::int64_t> passed_ = 0;  // s
    Host::RunRequest request_;
    Host::LiveRunSettings settings_;
    LiveRun* live_ = nullptr;
    tests::RunRecording run_;
    Host::LiveCounts counts_;
};

// Every epoch that lies whole within what was sent in one go is fixed, and once; no other is; each where it is true.
TEST_F(Line, FixesOnceEachEpochThatIsReceivedWhole) {
    const Sent sent(1000, 10.0);
    std::vector<int> whole(sent.epochs.size(), 0);
    std::string delivered;
    std::map<int, int> nmrTroubles;
    settings_.recordings = Path("raw");
    settings_.almanac = Path("kept");
    const std::string raw = Path("raw/tcp_127.0.0.1_" + std::to_string(server_.GetPort()) + ".raw");
    std::mt19937_64 random = tests::MakeRandom();
    const auto draw = [&random](int low, int high) {
        return static_cast<std::size_t>(std::uniform_int_distribution<int>(low, high)(random));
    };
    Run([&](Line& line) {
        tests::Peer peer = line.Accept();
        std::size_t at = 0;
        std::size_t from = 0;  // what came since then came in one go
        const auto send = [&](std::size_t end) {
            for (std::size_t i = 0; i < whole.size(); ++i)
                if (sent.epochs[i].begin >= from && sent.epochs[i].end <= end) whole[i] = 1;
            peer.Send(std::string_view(sent.bytes).substr(at, end - at));
            delivered += sent.bytes.substr(at, end - at);
            at = end;
        };
        const auto garbage = [&] {
            std::string text(draw(1, 3000), ' ');
            for (char& c : text) c = static_cast<char>(draw(0, 255));
            // As if a long message began, which holds up what follows.
            if (draw(0, 1) == 1) text += std::string("\xB5\x62\x02\x15\x00\x18", 6);
            peer.Send(text);
            delivered += text;
        };
        send(sent.epochs[0].end + 10);  // with every ephemeris
        while (at < sent.bytes.size()) {
            send(std::min(sent.bytes.size(), at + draw(1, 20000)));
            const int trouble = static_cast<int>(draw(0, 5));
            ++nmrTroubles[trouble];
            if (trouble == 0) {  // breaks, in the middle of a message mostly
                End(peer);
                peer = line.Accept();
            } else if (trouble == 1) {  // stalls, and has been sending meanwhile
                while (!std::filesystem::exists(raw) || std::filesystem::file_size(raw) < delivered.size())
                    std::this_thread::yield();
                line.Stall(peer);
                at = std::min(sent.bytes.size(), at + draw(0, 5000));
                peer = line.Accept();
            } else if (trouble == 2) {
                garbage();
            } else if (trouble == 3) {  // repeats itself
                at -= std::min(at, draw(1, 3000));
            } else if (trouble == 4) {  // leaves out, and so jumps ahead
                at = std::min(sent.bytes.size(), at + draw(1, 10000));
            }
            // What was cut off is not to be completed by chance, from the middle of another message.
            while (trouble > 1 && trouble < 5 && at > 0 && at < sent.bytes.size() &&
                   sent.bytes[at - 1] == delivered.back())
                ++at;
            if (trouble != 5) from = at;
        }
        End(peer);
    });
    std::map<std::int64_t, int> fixed = CountFixes();
    int nmrWhole = 0;
    for (std::size_t i = 0; i < whole.size(); ++i) {
        EXPECT_EQ(fixed[KeyOf(sent.epochs[i].time)], whole[i]) << "epoch " << i;
        nmrWhole += whole[i];
    }
    EXPECT_EQ(static_cast<int>(run_.fixes.size()), nmrWhole);
    EXPECT_GT(nmrWhole, 350);
    for (const auto& [trouble, nmr] : nmrTroubles) EXPECT_GT(nmr, 5) << trouble;
    EXPECT_EQ(run_.NmrValid(), nmrWhole);
    std::size_t next = 0;
    for (const auto& fix : run_.fixes) {
        while (next < sent.epochs.size() && sent.epochs[next].time < fix.time) ++next;
        EXPECT_LT((fix.posn - sent.epochs[next].posn).Magnitude(), 60.0) << next;
    }
    // What was received is kept as it came, and counted once.
    EXPECT_EQ(ReadFile(raw), delivered);
    EXPECT_EQ(run_.facts.inputs[0].bytes, static_cast<std::int64_t>(delivered.size()));
    EXPECT_EQ(counts_.bytes, static_cast<std::int64_t>(delivered.size()));
    EXPECT_EQ(run_.facts.inputs[0].refused, 0);
    EXPECT_EQ(run_.facts.inputs[0].epochs, nmrWhole + run_.facts.counts.repeated + run_.facts.counts.outOfOrder);
    EXPECT_EQ(counts_.drops, nmrTroubles[0] + nmrTroubles[1] + 1);
    EXPECT_GT(std::filesystem::file_size(Path("kept.alm")), 1000U);
    for (const char* part : {"connected to", "dropped: silent for 2 h", "dropped: the other end has closed it",
                             "next try in 10 s", "sends UBX", "bytes belong to no message", "repeated"})
        EXPECT_TRUE(run_.HasEvent(part)) << part << "\n" << run_.Events();
}

// The data jump: days ahead, and back again, where the ephemerides of later are of no use any more.
TEST_F(Line, FollowsTimeWhereverItJumps) {
    const Sent first(20, 1.0);
    const Sent later(20, 1.0, first.epochs[0].time + Corvane::Time(3.0 * 86400.0));
    Run([&](Line& line) {
        tests::Peer peer = line.Accept();
        for (const Sent* sent : {&first, &later, &first}) peer.Send(sent->bytes);
        End(peer);
    });
    std::map<std::int64_t, int> fixed = CountFixes();
    for (const auto& epoch : later.epochs) EXPECT_EQ(fixed[KeyOf(epoch.time)], 1);
    int nmrFirst = 0;
    for (const auto& epoch : first.epochs) nmrFirst += fixed[KeyOf(epoch.time)];
    // A single time behind is taken for a wrong one.
    EXPECT_GE(nmrFirst, 39) << run_.Events();
    EXPECT_GE(run_.NmrValid(), 59) << run_.Events();
    EXPECT_TRUE(run_.HasEvent("go back in time")) << run_.Events();
}

// Two clocks in one stream, as of two receivers of which one tells another year: folders for some of the jumps, and
// none of the epochs lost. One that cannot be written is told of at once.
TEST_F(Line, JumpsToAndFroMakeFewFolders) {
    const Sent now(60, 1.0);
    const Sent other(60, 1.0, now.epochs[0].time - Corvane::Time(900.0 * 86400.0));
    Host::RunFolderOptions options;
    options.folder = Path("days");
    options.pictures = false;
    Host::DailyFolders days(options);
    Run(
        [&](Line& line) {
            tests::Peer peer = line.Accept();
            for (std::size_t i = 0; i + 1 < now.epochs.size(); ++i) {
                for (const Sent* sent : {&now, &other})
                    peer.Send(sent->bytes.substr(sent->epochs[i].end, sent->epochs[i + 1].end - sent->epochs[i].end));
            }
            End(peer);
        },
        {&days});
    const auto all = std::filesystem::directory_iterator(Path("days"));
    std::ptrdiff_t rows = 0;
    int nmrFolders = 0;
    for (const auto& folder : all) {
        const std::string positions = ReadFile(folder.path() / "positions.csv");
        rows += std::count(positions.begin(), positions.end(), '\n') - 1;
        ++nmrFolders;
    }
    EXPECT_LE(nmrFolders, 12);
    EXPECT_EQ(rows, static_cast<std::ptrdiff_t>(run_.fixes.size()));
    EXPECT_GT(rows, 50);
}

// A short connection has little, and the first bytes are no message; then there is another format.
TEST_F(Line, FindsTheFormatInLittleAndWhenItChanges) {
    const Sent sent(3, 1.0);
    const Sent later(2, 1.0, sent.epochs[2].time + Corvane::Time(10.0));
    const std::string text = "HTTP/1.0 200 OK\r\n\r\n";
    // An RTCM message without content, with its checksum.
    const std::string rtcm("\xD3\x00\x00\x47\xEA\x4B", 6);
    Run([&](Line& line) {
        for (const std::string& piece : {text, text + sent.bytes.substr(sent.epochs[0].begin, sent.epochs[0].end),
                                         sent.bytes.substr(sent.epochs[0].end)}) {
            tests::Peer peer = line.Accept();
            peer.Send(piece);
            End(peer);
        }
        tests::Peer peer = line.Accept();
        for (std::size_t i = 0; i <= Host::LiveStream::MaxGarbage / rtcm.size(); ++i) peer.Send(rtcm);
        End(peer);
        // Less than it takes to look for another one.
        peer = line.Accept();
        peer.Send(later.bytes.substr(later.epochs[0].end));
        End(peer);
    });
    EXPECT_EQ(run_.fixes.size(), 4U) << run_.Events();
    EXPECT_TRUE(run_.HasEvent("sends UBX") && run_.HasEvent("sends RTCM 3")) << run_.Events();
    EXPECT_EQ(run_.facts.inputs[0].bytes, counts_.bytes);
    EXPECT_EQ(run_.facts.inputs[0].skipped, 2 * static_cast<std::int64_t>(text.size()));
}

// Who asks a caster again says where and when the last position was, in UTC.
TEST_F(Line, TellsTheCasterItsPosition) {
    const Sent sent(2, 1.0);  // from noon, GPS time
    request_.inputs = {"ntrip1://127.0.0.1:" + std::to_string(server_.GetPort()) + "/MOUNT?gga=10"};
    std::string request;
    std::string first;
    Run([&](Line& line) {
        tests::Peer peer = line.Accept();
        first = peer.Receive();
        peer.Send("ICY 200 OK\r\n\r\n" + sent.bytes);
        End(peer);
        peer = line.Accept();
        static_cast<void>(peer.Receive());
        peer.Send("ICY 200 OK\r\n\r\n");
        request = peer.Receive();
        peer.Close();
    });
    EXPECT_EQ(first.find("GGA"), std::string::npos) << first;
    EXPECT_NE(request.find("$GPGGA,115943.00,5529."), std::string::npos) << request;
}

// Midnight ends a folder; a program that is started again begins another one; rows are there at once.
TEST_F(Line, HasAFolderForEachDayAndRowsAtOnce) {
    const Sent sent(40, 1.0, GPSTime(2369, 4.0 * 86400.0 - 20.0));
    std::string seen;
    std::int64_t nmrRows = 1;
    // As a run leaves it that was killed.
    std::filesystem::create_directories(Path("days/.2025-06-04.0123456789abcdef.run"));
    std::ofstream(Path("days/.2025-06-04.0123456789abcdef.run/positions.csv")) << "row\n";
    const auto run = [&] {
        Host::RunFolderOptions options;
        options.folder = Path("days");
        options.pictures = false;
        Host::DailyFolders days(options);
        ASSERT_EQ(days.GetFailure(), "");
        EXPECT_NE(Host::DailyFolders(options).GetFailure().find("another run"), std::string::npos);
        Host::PositionRows rows(Host::Form::Csv, Path("rows.csv"), Host::PositionRows::Following);
        nmrRows += 40;
        Run(
            [&](Line& line) {
                tests::Peer peer = line.Accept();
                peer.Send(sent.bytes);
                while (std::count(seen.begin(), seen.end(), '\n') < nmrRows) seen = ReadFile(Path("rows.csv"));
                End(peer);
            },
            {&days, &rows});
    };
    run();
    run();
    EXPECT_EQ(ReadFile(Path("rows.csv")), seen);
    EXPECT_EQ(seen.find("gps_week", 1), std::string::npos) << "one heading";
    EXPECT_EQ(ReadFile(Path("days/2025-06-04_interrupted/positions.csv")), "row\n");
    for (const char* name : {"2025-06-04", "2025-06-05", "2025-06-04_2", "2025-06-05_2"}) {
        const std::string positions = ReadFile(Path(std::string("days/") + name + "/positions.csv"));
        EXPECT_EQ(std::count(positions.begin(), positions.end(), '\n'), 21) << name;
        const std::string summary = ReadFile(Path(std::string("days/") + name + "/summary.json"));
        EXPECT_NE(summary.find("\"epochs\":20,\"records\""), std::string::npos) << name << summary;
    }
    const auto all = std::filesystem::directory_iterator(Path("days"));
    EXPECT_EQ(std::distance(begin(all), end(all)), 5);
}

// The receiver that is built in; slower than a silence is long, it is not silent.
TEST_F(Line, RunsTheSimulatedReceiver) {
    request_.inputs = {Host::SimulatedSource::Address};
    settings_.duration = 50.0;
    settings_.recordings = Path("raw");
    settings_.speed = 1000.0;
    tests::RunRecording whole;
    LiveRun live(request_, {&whole}, settings_);
    std::string reason;
    ASSERT_TRUE(live.Open(reason)) << reason;
    EXPECT_EQ(live.Run([&] {
        passed_ += 3600;
        return false;
    }),
              "");
    EXPECT_EQ(whole.fixes.size(), 51U) << whole.Events();
    EXPECT_EQ(whole.NmrValid(), 51);
    EXPECT_FALSE(whole.HasEvent("silent")) << whole.Events();
    EXPECT_EQ(static_cast<std::int64_t>(std::filesystem::file_size(Path("raw/simulator.raw"))),
              live.GetSources().front().counts.bytes);
}

}  // namespace
