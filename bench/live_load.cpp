// A live run over TCP on the loopback interface, as a receiver of the simulated sky would feed it:
//   live_load latency [EPOCHS]  from the last byte of an epoch to its published Position
//   live_load load [SECONDS]    processor time of 20 epochs a second with 40 satellites
//   live_load trouble [HOURS]   as fast as it goes, with connections that break anywhere: each epoch that came whole is
//                               fixed once, and memory does not grow. The second argument is the interval in s.
// Ends with 1 when the figure is not what is promised: 5 ms, 5 % of a core, no epoch lost.
#include <algorithm>
#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <poll.h>
#include <random>
#include <string>
#include <string_view>
#include <thread>
#include <unistd.h>
#include <vector>

#include <sys/eventfd.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include "gnss/platform/Component.h"
#include "gnss/platform/Response.h"
#include "host/live/BoundSocket.h"
#include "host/run/LiveRun.h"
#include "host/simulate/Simulator.h"

namespace {

using Host::Descriptor;
using std::chrono::steady_clock;

double SecondsOf(steady_clock::duration span) {
    return std::chrono::duration<double>(span).count();
}

double ThreadSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_THREAD, &usage);
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double ResidentMB() {
    long pages = 0;
    long resident = 0;
    if (std::FILE* file = std::fopen("/proc/self/statm", "r"); file != nullptr) {
        if (std::fscanf(file, "%ld %ld", &pages, &resident) != 2) resident = 0;
        std::fclose(file);
    }
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1048576.0;
}

struct Fixes : Host::RunOutput {
    void OnFix(const Host::PublishedFix& fix) override {
        ++nmr;
        nmrValid += fix.result.valid ? 1 : 0;
        nmrUsed += fix.result.NmrUsed();
    }
    std::int64_t nmr = 0;
    std::int64_t nmrValid = 0;
    std::int64_t nmrUsed = 0;
};

// Hears the published positions, as any component of a program may.
class Listener : public Corvane::Component {
public:
    explicit Listener(std::vector<steady_clock::time_point>& times)
        : Component(Corvane::Ident("Bench Listener"), 100),
          times_(times),
          positions_(*this, Host::FixComponent::PositionType(), &Listener::OnPosition, Host::FixComponent::Name) {}

private:
    void OnPosition(const GNSS::Position& /*position*/) { times_.push_back(steady_clock::now()); }
    std::vector<steady_clock::time_point>& times_;
    Corvane::Response<GNSS::Position> positions_;
};

class Line {
public:
    explicit Line(const Host::SimulatorSettings& settings) : simulator(settings) {
        int error = 0;
        listener_ = Host::BindSocket("127.0.0.1", 0, SOCK_STREAM, error);
        request.inputs = {"tcp://127.0.0.1:" + std::to_string(Host::GetBoundPort(listener_.Get()))};
        live.connectTimeout = std::chrono::hours(2);
        live.silence = std::chrono::hours(2);
        // The waits before another try pass when the server wants the next connection.
        live.clock = [this] { return steady_clock::now() + std::chrono::seconds(passed_.load()); };
    }

    // Leads a run in this thread while `serve` sends in another.
    void Run(const std::function<void()>& serve, std::vector<steady_clock::time_point>* times = nullptr) {
        Host::LiveRunSettings settings;
        settings.live = live;
        settings.live.random = [] { return 0.5; };
        Host::LiveRun run(request, {&fixes}, settings);
        std::string reason;
        if (!run.Open(reason)) {
            std::fprintf(stderr, "%s\n", reason.c_str());
            return;
        }
        if (times != nullptr) run.GetCore().GetTree().Join(std::make_shared<Listener>(*times));
        wake_ = run.GetWakeFile();
        std::atomic<bool> isDone = false;
        std::thread server([&] {
            serve();
            isDone = true;
            ::eventfd_write(wake_, 1);
        });
        const double before = ThreadSeconds();
        const auto begin = steady_clock::now();
        static_cast<void>(run.Run([&] { return isDone.load(); }));
        elapsed = SecondsOf(steady_clock::now() - begin);
        used = ThreadSeconds() - before;
        server.join();
        counts = run.GetSources().front().counts;
    }
    void Accept() {
        pollfd wanted{listener_.Get(), POLLIN, 0};
        while (::poll(&wanted, 1, 20) != 1) {
            passed_ += 310;
            ::eventfd_write(wake_, 1);
        }
        peer_ = Descriptor(::accept4(listener_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    }
    void Send(std::string_view bytes) const {
        while (!bytes.empty()) {
            const ssize_t sent = ::send(peer_.Get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
            if (sent <= 0) return;
            bytes.remove_prefix(static_cast<std::size_t>(sent));
        }
    }
    // When all of it has been taken.
    void End() {
        ::shutdown(peer_.Get(), SHUT_WR);
        char c = 0;
        while (::recv(peer_.Get(), &c, 1, 0) > 0) {
        }
        peer_.Close();
    }

    Host::Simulator simulator;
    Host::RunRequest request;
    Host::LiveSettings live;
    Host::LiveCounts counts;
    Fixes fixes;
    double elapsed = 0.0;
    double used = 0.0;

private:
    Descriptor listener_;
    Descriptor peer_;
    std::atomic<std::int64_t> passed_ = 0;
    std::atomic<int> wake_ = -1;
};

int Latency(int nmrEpochs) {
    Host::SimulatorSettings settings;
    settings.warmUp = 30.0;
    Line line(settings);
    std::vector<std::string> epochs(static_cast<std::size_t>(nmrEpochs));
    for (std::string& epoch : epochs) line.simulator.Next(epoch);
    std::vector<steady_clock::time_point> sent;
    std::vector<steady_clock::time_point> published;
    line.Run(
        [&] {
            line.Accept();
            for (const std::string& epoch : epochs) {
                // The last byte comes on its own, when the decoder has had all others.
                line.Send(std::string_view(epoch).substr(0, epoch.size() - 1));
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
                sent.push_back(steady_clock::now());
                line.Send(std::string_view(epoch).substr(epoch.size() - 1));
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
            }
            line.End();
        },
        &published);
    if (published.size() != sent.size()) {
        std::printf("%zu epochs sent, %zu published\n", sent.size(), published.size());
        return 1;
    }
    std::vector<double> spans;
    for (std::size_t i = 0; i < sent.size(); ++i) spans.push_back(1e3 * SecondsOf(published[i] - sent[i]));
    std::ranges::sort(spans);
    const auto at = [&](double share) {
        return spans[static_cast<std::size_t>(share * static_cast<double>(spans.size() - 1))];
    };
    std::printf(
        "from the last byte to the published position, %zu epochs of %.1f satellites: "
        "median %.3f ms, 99 %% %.3f ms, largest %.3f ms\n",
        spans.size(), static_cast<double>(line.fixes.nmrUsed) / static_cast<double>(line.fixes.nmr), at(0.5), at(0.99),
        spans.back());
    return at(0.99) < 5.0 ? 0 : 1;
}

int Load(int seconds) {
    Host::SimulatorSettings settings;
    settings.warmUp = 30.0;
    settings.interval = 0.05;
    // Through the earth, or there would not be as many.
    settings.mask = -45.0;
    Line line(settings);
    line.request.settings.elevationMask = settings.mask;
    std::vector<std::string> epochs(static_cast<std::size_t>(20 * seconds));
    std::int64_t measured = 0;
    for (std::string& epoch : epochs) {
        const Host::SimulatedTruth truth = line.simulator.Next(epoch);
        measured += truth.nmrGPS + truth.nmrGlonass;
    }
    line.Run([&] {
        line.Accept();
        auto due = steady_clock::now();
        for (const std::string& epoch : epochs) {
            std::this_thread::sleep_until(due += std::chrono::milliseconds(50));
            line.Send(epoch);
        }
        line.End();
    });
    const auto per = [&](std::int64_t sum) { return static_cast<double>(sum) / static_cast<double>(line.fixes.nmr); };
    const double share = 100.0 * line.used / line.elapsed;
    std::printf(
        "%lld epochs in %.1f s, %.1f satellites measured, %.1f used, %lld valid: %.2f %% of a core, "
        "%.3f ms an epoch\n",
        static_cast<long long>(line.fixes.nmr), line.elapsed, per(measured), per(line.fixes.nmrUsed),
        static_cast<long long>(line.fixes.nmrValid), share, 1e3 * line.used / static_cast<double>(line.fixes.nmr));
    return share < 5.0 && per(measured) >= 40.0 && line.fixes.nmr == 20 * seconds ? 0 : 1;
}

int Trouble(int hours, int interval) {
    Host::SimulatorSettings settings;
    settings.warmUp = 30.0;
    settings.interval = interval;
    Line line(settings);
    std::int64_t whole = 0;
    std::int64_t breaks = 0;
    const std::int64_t nmrEpochs = std::int64_t{hours} * 3600 / interval;
    std::mt19937_64 random(1);
    std::uniform_int_distribution<int> draw(0, 99);
    std::atomic<double> early = 0.0;
    line.Run([&] {
        line.Accept();
        for (std::int64_t i = 0; i < nmrEpochs; ++i) {
            std::string bytes;
            static_cast<void>(line.simulator.Next(bytes));
            if (i == nmrEpochs / 8) early = ResidentMB();
            const std::size_t at = bytes.find("\xB5\x62\x02\x15");
            const std::size_t end =
                at + 8 + static_cast<std::uint8_t>(bytes[at + 4]) + 256U * static_cast<std::uint8_t>(bytes[at + 5]);
            if (i == 0 || draw(random) > 0) {
                line.Send(bytes);
                ++whole;
                continue;
            }
            // What was on its way when the line broke does not come any more.
            std::uniform_int_distribution<std::size_t> cut(0, bytes.size());
            const std::size_t broken = cut(random);
            const std::size_t again = std::max(broken, cut(random));
            line.Send(std::string_view(bytes).substr(0, broken));
            line.End();
            line.Accept();
            line.Send(std::string_view(bytes).substr(again));
            ++breaks;
            whole += broken >= end || again <= at ? 1 : 0;
        }
        line.End();
    });
    const double late = ResidentMB();
    std::printf(
        "%d hours, an epoch each %d s, in %.0f s: %lld breaks, %lld epochs whole, %lld fixed, %lld with a "
        "position; resident %.1f MB after an eighth, %.1f MB at the end\n",
        hours, interval, line.elapsed, static_cast<long long>(breaks), static_cast<long long>(whole),
        static_cast<long long>(line.fixes.nmr), static_cast<long long>(line.fixes.nmrValid), early.load(), late);
    return line.fixes.nmr == whole && line.counts.drops == breaks + 1 ? 0 : 1;
}

int NumberOf(const char* text, int otherwise) {
    int number = otherwise;
    if (text != nullptr) std::from_chars(text, text + std::strlen(text), number);
    return std::clamp(number, 1, 1000000);
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view what = argc > 1 ? argv[1] : "";
    const char* first = argc > 2 ? argv[2] : nullptr;
    if (what == "latency") return Latency(NumberOf(first, 300));
    if (what == "load") return Load(NumberOf(first, 30));
    if (what == "trouble") return Trouble(NumberOf(first, 48), NumberOf(argc > 3 ? argv[3] : nullptr, 1));
    std::fprintf(stderr, "live_load latency|load|trouble\n");
    return 2;
}
