// The console of a replay: what it shows at a time is the same by whichever way the replay got there.
#include "host/console/ConsoleReplay.h"

#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "gnss/store/GNSSLink.h"
#include "host/console/ConsoleOutput.h"
#include "host/simulate/Simulator.h"

namespace {

using Host::ReplayRun;
using nlohmann::json;

class Console {
public:
    explicit Console(const Host::RunSettings& settings)
        : output(settings, "1.2", hub, sky, stores), replay(settings.request, {&output}, 0.0) {
        output.SetSilence([this] { return replay.GetStatus().isSeeking; });
        replay.SetPrepare([this](Host::RunCore& core) { stores.Join(core.GetTree()); });
        std::string reason;
        EXPECT_TRUE(replay.Open(reason)) << reason;
    }
    // Goes to one time after the other, and stays there.
    void Go(const std::vector<std::string>& times) {
        std::size_t next = 0;
        EXPECT_EQ(Post({{"action", "pause"}}), 202);
        const auto seek = [&] { EXPECT_EQ(Post({{"action", "seek"}, {"time", times[next++]}}), 202); };
        seek();
        EXPECT_EQ(replay.Run([&] { return next > times.size(); },
                             [&] {
                                 output.SetState(Host::DescribeReplay(replay));
                                 if (replay.GetStatus().isSeeking) return;
                                 output.Tick();
                                 if (next == times.size()) shown = Show();
                                 next < times.size() ? seek() : void(++next);
                             }),
                  "");
    }
    int Post(const json& body) { return Host::SteerReplay(replay, body.dump()).status; }

    // All that a browser can see, but for what is numbered or aged since the program began.
    std::map<std::string, std::string> Show() {
        std::map<std::string, std::string> all;
        for (const char* panel : {"run", "fix", "satellites", "health", "sources", "notes", "stores", "sky"}) {
            const auto text = hub.Latest(panel);
            json parsed = text ? json::parse(*text) : json();
            for (const char* name : {"made", "ages", "changed"}) parsed.erase(name);
            for (const char* store : {"almanac", "ephemeris", "glonass"})
                if (parsed.contains(store) && parsed[store].is_object()) parsed[store].erase("changed");
            all[panel] = parsed.dump();
        }
        all["series rows"] = json::parse(output.PrintSeries(0))["rows"].dump();
        all["event rows"] = json::parse(output.PrintEvents(0))["rows"].dump();
        for (const char* store : {"almanac", "ephemeris", "glonass"}) all[store] = stores.Get(store, {}).body;
        all["picture"] = sky.Get({}).body;
        return all;
    }

    Host::ConsoleHub hub;
    Host::ConsoleSky sky;
    Host::ConsoleStores stores;
    Host::ConsoleOutput output;
    ReplayRun replay;
    std::map<std::string, std::string> shown;
};

TEST(ConsoleReplay, ShowsTheSameByAnyWay) {
    const auto path = std::filesystem::temp_directory_path() / ("gnss_console_" + std::to_string(::getpid()) + ".ubx");
    {
        Host::SimulatorSettings settings;
        Host::SimulatedFault bits;
        bits.kind = Host::SimulatedFault::Kind::BitErrors;
        bits.size = 1e-4;
        settings.faults = {bits};
        Host::Simulator simulator(settings);
        std::string bytes;
        for (int i = 0; i < 300; ++i) static_cast<void>(simulator.Next(bytes));
        std::ofstream(path, std::ios::binary) << bytes;
    }
    Host::RunSettings settings;
    settings.request.inputs = {path.string()};
    settings.request.asReceived = true;

    Console straight(settings);
    straight.Go({"2025-06-04T12:02:00Z"});
    Console around(settings);
    around.Go({"2025-06-04T12:03:30Z", "2025-06-04T12:00:50Z", "2025-06-05", "2025-06-04T12:02:00Z"});
    ASSERT_EQ(straight.shown.size(), around.shown.size());
    EXPECT_GT(json::parse(straight.shown["series rows"]).size(), 130U);
    for (const auto& [name, text] : straight.shown) EXPECT_EQ(text, around.shown[name]) << name;
    std::filesystem::remove(path);

    for (const json& body : {json::parse("[]"), json::object(), json{{"action", "fly"}}, json{{"action", "speed"}},
                             json{{"action", "speed"}, {"speed", -1}}, json{{"action", "speed"}, {"speed", 1e7}},
                             json{{"action", "seek"}, {"time", "noon"}}, json{{"action", "seek"}, {"time", 5}}})
        EXPECT_EQ(straight.Post(body), 400) << body;
}

}  // namespace
