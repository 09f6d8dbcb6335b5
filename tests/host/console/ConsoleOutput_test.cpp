// The console's panels against the run that they show: real logs, hostile texts, and runs without an end.
#include "host/console/ConsoleOutput.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "host/console/Console.h"
#include "host/run/Pipeline.h"
#include "host/run/PositionRows.h"
#include "tests/support/TestData.h"

namespace {

using nlohmann::json;
using namespace std::chrono_literals;

// Asks something at each epoch, after the outputs before it.
struct Probe : Host::RunOutput {
    explicit Probe(std::function<void(const Host::PublishedFix&)> ask) : onFix(std::move(ask)) {}
    void OnFix(const Host::PublishedFix& fix) override { onFix(fix); }
    void OnEvent(const Host::RunEvent& event) override { events += event.source + ": " + event.text + '\n'; }
    std::function<void(const Host::PublishedFix&)> onFix;
    std::string events;
};

// An output with a clock that goes as it is told.
struct Panels {
    explicit Panels(const Host::RunSettings& settings = {})
        : output(settings, "1.2", hub, sky, stores, [this] { return now += step; }) {}
    [[nodiscard]] json Latest(const char* panel) const {
        const auto text = hub.Latest(panel);
        return text ? json::parse(*text) : json();
    }
    [[nodiscard]] static Host::PublishedFix MakeFix(double seconds) {
        Host::PublishedFix fix;
        fix.result.time = GNSS::GPSTime(2300, 0.0) + Corvane::Time(seconds);
        return fix;
    }
    Host::SteadyTime now{1h};
    Host::SteadySpan step{};
    Host::ConsoleHub hub;
    Host::ConsoleSky sky;
    Host::ConsoleStores stores;
    Host::ConsoleOutput output;
};

TEST(ConsoleOutput, ShowsWhatTheTablesOfTheRunSay) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ubx_20080526.ubx");
    const std::string file =
        (std::filesystem::temp_directory_path() / ("gnss_console_" + std::to_string(::getpid()) + ".ndjson")).string();
    Host::RunSettings settings;
    settings.request.inputs = {path};
    settings.request.disabledGPS = {GNSS::PRN(18)};
    Panels panels(settings);
    panels.step = 1s;
    Host::PositionRows rows(Host::Form::Ndjson, file);
    std::vector<json> fixes;
    std::vector<int> used;
    Probe probe([&](const Host::PublishedFix& fix) {
        fixes.push_back(panels.Latest("fix"));
        const json satellites = panels.Latest("satellites");
        ASSERT_EQ(satellites["rows"].size(), fix.result.satellites.size());
        used.push_back(0);
        for (const json& row : satellites["rows"]) {
            used.back() += row["use"] == "used" ? 1 : 0;
            EXPECT_EQ(row["enabled"], row["satellite"] != "G18");
            EXPECT_FALSE(row.contains("gps_week"));
        }
    });
    Host::Pipeline pipeline(settings.request, {&rows, &panels.output, &probe});
    panels.stores.Join(pipeline.GetCore().GetTree());
    std::string reason;
    ASSERT_TRUE(pipeline.Open(reason)) << reason;
    ASSERT_EQ(pipeline.Run([&](const Host::RunFacts&) { panels.output.Tick(); }), "");

    std::ifstream table(file);
    const json series = json::parse(panels.output.PrintSeries(0));
    ASSERT_EQ(series["rows"].size(), fixes.size());
    std::size_t i = 0;
    for (std::string line; std::getline(table, line); ++i) {
        ASSERT_LT(i, fixes.size());
        const json row = json::parse(line);
        json shown = fixes[i];
        EXPECT_EQ(shown["notes_text"].size(), row["notes"]);
        shown.erase("made");
        shown.erase("notes_text");
        ASSERT_EQ(shown, row);
        EXPECT_EQ(used[i], row["used"]);
        EXPECT_EQ(series["rows"][i][10].get<int>() + series["rows"][i][11].get<int>(), row["used"]);
        EXPECT_EQ(series["rows"][i].size(), series["columns"].size());
    }
    EXPECT_EQ(i, fixes.size());
    EXPECT_GT(i, 200U);
    std::filesystem::remove(file);

    const json run = panels.Latest("run");
    EXPECT_EQ(run["state"], "ended");
    EXPECT_EQ(run["epochs"], fixes.size());
    EXPECT_EQ(run["now"], fixes.back()["utc"]);
    std::set<int> healthy;
    const json health = panels.Latest("health");
    for (const json& sv : health["gps"]) {
        if (sv["health"] == "healthy") healthy.insert(sv["number"].get<int>());
        EXPECT_EQ(sv["enabled"], sv["number"] != 18);
    }
    EXPECT_GE(healthy.size(), 6U);
    const auto nmrEphemerides = panels.Latest("stores")["ephemeris"]["satellites"].get<std::size_t>();
    EXPECT_GE(nmrEphemerides, 6U);
    EXPECT_LE(nmrEphemerides, healthy.size()) << "of others there is an almanac";
    EXPECT_GT(panels.Latest("sources")["rows"][0]["messages"], 100);
    EXPECT_EQ(panels.Latest("sources")["rows"][0]["state"], "read");
    bool hasNote = false;
    const json notes = panels.Latest("notes");
    for (const json& note : notes["rows"]) hasNote = hasNote || note["satellite"] == "G18";
    EXPECT_TRUE(hasNote);
    const json view = json::parse(panels.stores.Get("ephemeris", {{"record", "0"}}).body);
    EXPECT_EQ(view["tables"][0]["columns"].size(), 3 + nmrEphemerides);
    EXPECT_NE(view["text"].get<std::string>().find("\t"), std::string::npos);
}

TEST(ConsoleOutput, TakesADisabledSatelliteOutOfTheFix) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ubx_20080526.ubx");
    Host::RunSettings settings;
    settings.request.inputs = {path};
    settings.console.address = "127.0.0.1:0";
    Host::Console console(settings, "files");
    std::string reason;
    ASSERT_TRUE(console.Configure(settings, reason)) << reason;
    std::string name;                  // of the satellite
    std::map<std::size_t, bool> used;  // by epoch
    std::size_t epoch = 0;
    const auto post = [&](const char* enabled) {
        const std::string body = R"({"satellite":")" + name + R"(","enabled":)" + enabled + "}";
        EXPECT_EQ(console.Post("health", body, "192.0.2.7").status, 202);
    };
    Probe probe([&](const Host::PublishedFix& fix) {
        ++epoch;
        for (const Host::FixSatellite& satellite : fix.result.satellites) {
            const bool isUsed = satellite.use == Host::SatelliteUse::Used;
            const std::string its = Host::SatelliteName(satellite.glonass, satellite.number);
            if (name.empty() && isUsed) name = its;
            if (its == name) used[epoch] = isUsed;
        }
    });
    Host::Pipeline pipeline(settings.request, {&console.GetOutput(), &probe});
    console.Join(pipeline.GetCore());
    ASSERT_TRUE(pipeline.Open(reason)) << reason;
    EXPECT_EQ(console.Post("health", R"({"satellite":"G01","enabled":true})", "::1").status, 409) << "not yet";
    ASSERT_TRUE(console.Start({}, reason)) << reason;
    // Commands take effect between two pieces of the input, each of which has many epochs.
    std::vector<std::size_t> turns;
    ASSERT_EQ(pipeline.Run([&](const Host::RunFacts&) {
        if (!name.empty() && turns.size() < 2 && (turns.empty() || epoch > turns[0])) {
            post(turns.empty() ? "false" : "true");
            turns.push_back(epoch);
        }
        console.Work(pipeline.GetCore());
    }),
              "");
    console.Stop();
    ASSERT_EQ(turns.size(), 2U);
    ASSERT_LT(turns[1], epoch) << "epochs after the last command";
    for (const auto& [at, isUsed] : used) {
        if (at > turns[0] && at <= turns[1]) {
            EXPECT_FALSE(isUsed) << at;
        }
    }
    EXPECT_TRUE(used[turns[0]]);
    EXPECT_TRUE(used[turns[1] + 1]);
    for (const char* what : {": disabled", ": enabled"}) {
        const std::string event = "Console: operator at 192.0.2.7: " + name + std::string(what).substr(1);
        EXPECT_NE(probe.events.find(event), std::string::npos) << probe.events;
    }
    EXPECT_EQ(console.Post("health", R"({"satellite":"G01","enabled":true})", "::1").status, 409) << "not any more";
}

TEST(ConsoleOutput, KeepsItsPaceAndItsBounds) {
    Panels panels;
    const Host::RunFacts facts;
    panels.output.Begin(facts);
    int nmrShown = 0;
    std::int64_t made = -1;
    constexpr int NmrEpochs = 20'000;
    const std::uint64_t before = panels.hub.GetFigures().published;
    for (int i = 0; i < NmrEpochs; ++i) {
        panels.output.OnFix(Panels::MakeFix(i * 0.05));
        if (i % 20 == 19) panels.output.Tick();
        if (i >= 1000) {
            panels.now += 50ms;
            continue;
        }
        const json fix = panels.Latest("fix");
        nmrShown += std::exchange(made, fix["made"].get<std::int64_t>()) != made ? 1 : 0;
        panels.now += 50ms;
    }
    EXPECT_LE(nmrShown, 50 * 5 + 1);
    EXPECT_GE(nmrShown, 50 * 4);
    // fix, satellites and series five times a second, seven others once.
    EXPECT_LE(panels.hub.GetFigures().published - before, 1000U * (5 * 3 + 7) + 100);
    // What has come last is out a second after the stream has stopped.
    panels.output.OnFix(Panels::MakeFix(NmrEpochs * 0.05 + 0.001));
    panels.output.OnFix(Panels::MakeFix(NmrEpochs * 0.05 + 0.002));
    panels.now += 1s;
    panels.output.Tick();
    EXPECT_EQ(panels.Latest("fix")["gps_time_s"], NmrEpochs * 0.05 + 0.002);

    const auto from = [&](std::int64_t first) { return json::parse(panels.output.PrintSeries(first)); };
    const std::int64_t next = NmrEpochs + 2;
    EXPECT_EQ(from(0)["from"], next - static_cast<std::int64_t>(Host::ConsoleOutput::MaxSeries));
    EXPECT_EQ(from(0)["rows"].size(), Host::ConsoleOutput::MaxSeries);
    EXPECT_EQ(from(next - 3)["rows"].size(), 3U);
    EXPECT_EQ(from(next)["rows"].size(), 0U);
    EXPECT_EQ(from(INT64_MAX)["next"], next);
    EXPECT_EQ(panels.Latest("series")["first"].get<std::int64_t>() +
                  static_cast<std::int64_t>(panels.Latest("series")["rows"].size()),
              next);
}

TEST(ConsoleOutput, MakesJsonOfAnyText) {
    std::string all;
    for (int c = 0; c < 256; ++c) all += static_cast<char>(c);
    const std::vector<std::string> texts{all,
                                         "</script><img src=x onerror=alert(1)>",
                                         "\"},{\"",
                                         "\\",
                                         "\xC3",
                                         "\xED\xA0\x80",
                                         "\xE2\x80\xAE"
                                         "abc",
                                         std::string(100'000, '\xC3') + all};
    Host::RunSettings settings;
    settings.request.inputs = texts;
    settings.reference = all;
    settings.live.password = Host::Secret("very secret");
    settings.console.steerToken = Host::Secret("also very secret");
    Panels panels(settings);
    Host::RunFacts facts;
    for (const std::string& text : texts) {
        Host::RunInput& input = facts.inputs.emplace_back();
        input.name = input.format = input.failure = text;
    }
    panels.output.Begin(facts);
    for (const std::string& text : texts) {
        panels.now += 1s;
        panels.output.OnEvent({GNSS::GPSTime(2300, 1.0), text, text});
        Host::PublishedFix fix = Panels::MakeFix(1.0);
        fix.notes.AddNote(1, Corvane::String(text));
        panels.output.OnFix(fix);
        panels.output.PublishAll();
        for (const char* panel : {"run", "fix", "sources", "notes", "events", "series", "health", "sky", "stores"}) {
            const auto published = panels.hub.Latest(panel);
            ASSERT_TRUE(published) << panel;
            EXPECT_TRUE(json::accept(*published)) << panel;
            for (const char c : *published) ASSERT_GE(static_cast<unsigned char>(c), 0x20U) << panel;
            EXPECT_LT(published->size(), 500'000U) << panel;
        }
    }
    EXPECT_EQ(panels.hub.Latest("run")->find("very secret"), std::string::npos);
    const json events = json::parse(panels.output.PrintEvents(0));
    EXPECT_EQ(events["rows"].size(), texts.size());
    EXPECT_EQ(events["rows"][1]["text"], texts[1]) << "as it is: the page shows it as text";
    for (int i = 0; i < 1500; ++i) panels.output.OnEvent({std::nullopt, "a", std::to_string(i)});
    const json last = json::parse(panels.output.PrintEvents(0));
    EXPECT_EQ(last["rows"].size(), Host::ConsoleOutput::MaxEvents);
    EXPECT_EQ(last["rows"].back()["text"], "1499");
}

TEST(ConsoleNotes, TellWhenNotesWereThere) {
    const auto print = [](const Host::ConsoleNotes& notes) {
        std::string text = "{";
        notes.Print(text);
        return json::parse(text + '}');
    };
    GNSS::Notes both;
    both.AddNote(static_cast<int>(Host::FixNote::HighPDOP), "High PDOP");
    both.AddNote(static_cast<int>(Host::FixNote::Unhealthy), 105, "R05: unhealthy");
    both.AddNote(static_cast<int>(Host::FixNote::Unhealthy), 105, "R05: unhealthy");
    const GNSS::GPSTime start(2300, 1000.0);
    Host::ConsoleNotes notes;
    for (int i = 0; i < 30; ++i) notes.Add(start + Corvane::Time(i), i < 10 || i >= 20 ? both : GNSS::Notes());
    json shown = print(notes);
    ASSERT_EQ(shown["rows"].size(), 2U);
    EXPECT_EQ(shown["rows"][1]["satellite"], "R05");
    EXPECT_EQ(shown["rows"][1]["intervals"], json::parse("[[0,9],[20,29]]"));
    // Coming and going for a day, every other epoch of 2 Hz; and another that was there at the beginning alone.
    notes = Host::ConsoleNotes();
    GNSS::Notes other;
    other.AddNote(1, "No position");
    notes.Add(start, other);
    GNSS::Notes one;
    one.AddNote(static_cast<int>(Host::FixNote::HighPDOP), "High PDOP");
    for (int i = 1; i <= 2 * 86400; ++i) notes.Add(start + Corvane::Time(0.5 * i), i % 2 == 0 ? one : GNSS::Notes());
    shown = print(notes);
    ASSERT_EQ(shown["rows"].size(), 1U) << "what was there four hours ago is forgotten";
    const json& intervals = shown["rows"][0]["intervals"];
    EXPECT_LE(intervals.size(), Host::ConsoleNotes::MaxIntervals);
    EXPECT_LE(intervals.front()[0], 1.0);
    EXPECT_EQ(intervals.back()[1], Host::ConsoleNotes::Window);
    // Of a step back nothing is left.
    notes.Add(start, {});
    EXPECT_EQ(print(notes)["rows"].size(), 0U);
}

TEST(ConsoleCommands, TakesGoodCommandsAlone) {
    Host::ConsoleCommands commands;
    int nmrWoken = 0;
    const std::string good = R"({"satellite":"R24","enabled":true})";
    EXPECT_EQ(commands.Post("health", good, "a").status, 409);
    commands.Open([&] { ++nmrWoken; });
    const std::vector<std::pair<std::string, int>> bodies{
        {good, 202},
        {R"({"enabled":false,"satellite":"G32"})", 202},
        {"", 400},
        {"null", 400},
        {"[]", 400},
        {"{", 400},
        {R"({"satellite":"G33","enabled":true})", 400},
        {R"({"satellite":"G","enabled":true})", 400},
        {R"({"satellite":5,"enabled":true})", 400},
        {R"({"satellite":"G05","enabled":"no"})", 400},
        {R"({"satellite":"G05"})", 400},
        {R"({"satellite":"G05","enabled":true,"and":1})", 400},
        {std::string(60'000, '['), 400},
        {std::string(30'000, '[') + std::string(30'000, ']'), 400},
        {"{\"satellite\":\"\xFF\",\"enabled\":true}", 400},
    };
    for (const auto& [body, status] : bodies) {
        const Host::ConsoleAnswer answer = commands.Post("health", body, "a\n\"b");
        EXPECT_EQ(answer.status, status) << body.substr(0, 80);
        EXPECT_TRUE(json::accept(answer.body));
    }
    EXPECT_EQ(commands.Post("format", "{}", "a").status, 404);
    const auto taken = commands.Take();
    ASSERT_EQ(taken.size(), 2U);
    EXPECT_EQ(nmrWoken, 2);
    EXPECT_EQ(taken[1].satellite, (Host::Satellite{'G', 32}));
    EXPECT_FALSE(taken[1].isEnabled);
    EXPECT_EQ(taken[1].who, "a \"b");
    for (std::size_t i = 0; i < Host::ConsoleCommands::MaxWaiting; ++i)
        EXPECT_EQ(commands.Post("health", good, "a").status, 202);
    EXPECT_EQ(commands.Post("health", good, "a").status, 503);
}

TEST(ConsoleSky, DrawsAsAsked) {
    GNSS::Constellation constellation;
    const auto at = [](double degrees) { return Corvane::Angle::FromDegrees(degrees); };
    constellation.Add(GNSS::PRN(5), at(40.0), at(100.0), GNSS::Constellation::HealthyGPS, false);
    constellation.Add(GNSS::Glonass::Slot(7), at(41.0), at(101.0), GNSS::Constellation::HealthyGlonass);
    Host::ConsoleSky sky;
    const auto get = [&](std::map<std::string, std::string> parameters) { return sky.Get(parameters); };
    const std::string empty = get({}).body;
    EXPECT_EQ(sky.Set(constellation), 1);
    const std::vector<std::map<std::string, std::string>> styles{
        {},
        {{"mode", "gps"}},
        {{"mode", "glonass"}},
        {{"mode", "alternate"}, {"turn", "1"}},
        {{"circles", "0"}},
        {{"squares", "0"}},
        {{"border", "0"}},
        {{"diagonals", "1"}},
        {{"elevations", "0"}},
        {{"norvi", "1"}},
        {{"azimuths", "none"}},
        {{"azimuths", "turned2"}},
        {{"palette", "dark"}},
        {{"size", "400"}},
        {{"font", "14"}},
        {{"key", "1"}},
    };
    std::set<std::string> pictures{empty};
    for (const auto& style : styles) {
        const Host::ConsoleAnswer answer = get(style);
        ASSERT_EQ(answer.status, 200);
        EXPECT_EQ(answer.type, "image/svg+xml");
        EXPECT_TRUE(pictures.insert(answer.body).second) << "like another";
        EXPECT_EQ(get(style).body, answer.body);
    }
    EXPECT_EQ(get({{"mode", "both"}, {"turn", "1"}, {"changed", "7"}}).body, get({}).body);
    for (const std::map<std::string, std::string>& bad : {std::map<std::string, std::string>{{"size", "99"}},
                                                          {{"size", "1e3"}},
                                                          {{"mode", ""}},
                                                          {{"turn", "-1"}},
                                                          {{"rings", "1"}},
                                                          {{"circles", "yes"}}})
        EXPECT_EQ(get(bad).status, 400);
    // What nobody sees changes nothing.
    GNSS::Constellation moved;
    moved.Add(GNSS::PRN(5), at(40.1), at(100.2), GNSS::Constellation::HealthyGPS, false);
    moved.Add(GNSS::Glonass::Slot(7), at(41.0), at(101.0), GNSS::Constellation::HealthyGlonass);
    EXPECT_EQ(sky.Set(moved), 1);
    moved.Add(GNSS::PRN(6), at(10.0), at(0.0), GNSS::Constellation::BelowMask, false);
    EXPECT_EQ(sky.Set(moved), 2);
    EXPECT_FALSE(pictures.contains(get({}).body));
}

}  // namespace
