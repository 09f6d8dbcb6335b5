// What fifty browsers cost the console: its processor time while it sends each some 60 KiB of panels a second.
#include <array>
#include <chrono>
#include <csignal>
#include <memory>
#include <poll.h>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include "host/console/ConsoleServer.h"
#include "host/live/NameLookup.h"

namespace {

constexpr int NmrBrowsers = 50;
constexpr std::size_t NmrPanels = 10;
constexpr std::size_t PanelSize = 6144;

class NoBackend : public Host::ConsoleBackend {
public:
    Host::ConsoleAnswer Get(std::string_view /*path*/,
                            const std::map<std::string, std::string>& /*parameters*/) override {
        return {404, "application/json", "{}"};
    }
    Host::ConsoleAnswer Post(std::string_view /*command*/, std::string_view /*body*/,
                             std::string_view /*who*/) override {
        return {404, "application/json", "{}"};
    }
};

// The browsers are another process: their time is not the console's. Exits when a stream ends.
[[noreturn]] void Browse(int port) {
    Host::SocketAddress to;
    if (!Host::ParseSocketAddress("127.0.0.1", port, to)) ::_exit(1);
    const std::string request = "GET /api/stream HTTP/1.1\r\nHost: localhost:" + std::to_string(port) + "\r\n\r\n";
    std::vector<pollfd> streams;
    for (int i = 0; i < NmrBrowsers; ++i) {
        const int socket = ::socket(AF_INET, SOCK_STREAM, 0);
        if (::connect(socket, to.Get(), to.size) != 0) ::_exit(1);
        if (::send(socket, request.data(), request.size(), 0) < 0) ::_exit(1);
        streams.push_back({socket, POLLIN, 0});
    }
    std::array<char, 65536> room;
    while (true) {
        ::poll(streams.data(), streams.size(), -1);
        for (const pollfd& stream : streams)
            if (stream.revents != 0 && ::recv(stream.fd, room.data(), room.size(), 0) <= 0) ::_exit(0);
    }
}

double GetCpuSeconds() {
    rusage usage{};
    ::getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval& at) {
        return static_cast<double>(at.tv_sec) + 1e-6 * static_cast<double>(at.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// One iteration is one second at 1 Hz; core_percent is the processor time of the whole process in it.
void ConsoleStreams(benchmark::State& state) {
    Host::ConsoleHub hub;
    NoBackend backend;
    Host::ConsoleServerSettings settings;
    settings.port = 0;
    Host::ConsoleServer server(settings, hub, backend);
    std::string reason;
    if (!server.Start(reason)) return state.SkipWithError(reason.c_str());
    const pid_t browsers = ::fork();
    if (browsers == 0) Browse(server.GetPort());
    while (server.GetFigures().streams < NmrBrowsers) std::this_thread::sleep_for(std::chrono::milliseconds(10));

    const std::string text(PanelSize, 'x');
    const double before = GetCpuSeconds();
    const auto begin = std::chrono::steady_clock::now();
    auto next = begin;
    for (auto _ : state) {
        for (std::size_t i = 0; i < NmrPanels; ++i) static_cast<void>(hub.Publish("panel" + std::to_string(i), text));
        next += std::chrono::seconds(1);
        std::this_thread::sleep_until(next);
    }
    const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    state.counters["core_percent"] = 100.0 * (GetCpuSeconds() - before) / wall;
    state.counters["KiB_per_browser"] =
        static_cast<double>(hub.GetFigures().taken * PanelSize) / 1024 / NmrBrowsers / wall;
    state.counters["dropped"] = static_cast<double>(hub.GetFigures().dropped);
    ::kill(browsers, SIGKILL);
    ::waitpid(browsers, nullptr, 0);
}
BENCHMARK(ConsoleStreams)->Iterations(10)->Unit(benchmark::kMillisecond);

}  // namespace
