#include "host/console/Console.h"

#include <charconv>
#include <cstdint>
#include <utility>

#include "host/console/ConsoleJson.h"
#include "host/console/ConsoleReplay.h"
#include "host/live/Secret.h"

namespace Host {

namespace {

// "from", a whole number; 0 without it. False for anything else.
bool ReadFrom(const std::map<std::string, std::string>& parameters, std::int64_t& from) {
    for (const auto& [name, value] : parameters) {
        const auto read = std::from_chars(value.data(), value.data() + value.size(), from);
        if (name != "from" || read.ec != std::errc() || read.ptr != value.data() + value.size()) return false;
    }
    return true;
}

bool ReadToken(const PasswordPlaces& places, Secret& token, std::string& reason) {
    if (!FindPassword(places, token, reason)) return false;
    if (ConsoleServerSettings::CheckToken(token, reason)) return true;
    reason = std::string(places.GetPlace()) + ": " + reason;
    return false;
}

}  // namespace

Console::Console(const RunSettings& settings, const char* kind) : output_(settings, GNSS_VERSION, hub_, sky_, stores_) {
    ConsoleRunState state;
    state.kind = kind;
    output_.SetState(state);
    serving_.version = GNSS_VERSION;
}

Console::~Console() {
    Stop();
}

bool Console::Configure(const RunSettings& settings, std::string& reason) {
    const ConsoleChoices& choices = settings.console;
    const std::string& config = settings.live.configFile;
    serving_.hosts = choices.hosts;
    serving_.tokenAlways = choices.tokenAlways;
    const PasswordPlaces view{choices.viewTokenFile,       choices.viewToken,   config, nullptr, "token",
                              "--console-view-token-file", "console.view_token"};
    const PasswordPlaces steer{choices.steerTokenFile,       choices.steerToken,   config, nullptr, "token",
                               "--console-steer-token-file", "console.steer_token"};
    if (!ReadToken(view, serving_.viewToken, reason) || !ReadToken(steer, serving_.steerToken, reason)) return false;
    if (ConsoleServerSettings::ParseAddress(choices.address, serving_.address, serving_.port, reason))
        return serving_.Check(reason);
    reason = "--console: " + reason;
    return false;
}

bool Console::Start(std::function<void()> wake, std::string& reason) {
    commands_.Open(std::move(wake));
    server_ = std::make_unique<ConsoleServer>(serving_, hub_, static_cast<ConsoleBackend&>(*this));
    if (server_->Start(reason)) return true;
    server_.reset();
    return false;
}

bool Console::StartReplay(ReplayRun& replay, std::string& reason) {
    replay_ = &replay;
    replay.SetPrepare([this](RunCore& core) { Join(core); });
    output_.SetSilence([this] { return replay_->GetStatus().isSeeking; });
    return Start([this] { PassOn(); }, reason);
}

// On a thread of the server.
void Console::PassOn() {
    for (const ConsoleCommand& command : commands_.Take()) {
        replay_->Steer([this, command](RunCore& core) {
            core.SetEnabled(command.satellite, command.isEnabled, "operator at " + command.who);
            output_.SetEnabled(command.satellite, command.isEnabled);
        });
    }
}

void Console::TickReplay() {
    const ConsoleRunState state = DescribeReplay(*replay_);
    output_.SetState(state);
    if (!state.isSeeking) output_.Tick();
}

void Console::Work(RunCore& core) {
    for (const ConsoleCommand& command : commands_.Take()) {
        core.SetEnabled(command.satellite, command.isEnabled, "operator at " + command.who);
        output_.SetEnabled(command.satellite, command.isEnabled);
    }
    output_.Tick();
}

void Console::Stop() {
    End();
    if (server_) server_->Stop();
    server_.reset();
}

ConsoleAnswer Console::Get(std::string_view path, const std::map<std::string, std::string>& parameters) {
    if (path == "sky.svg") return sky_.Get(parameters);
    constexpr std::string_view Store = "store/";
    if (path.starts_with(Store)) return stores_.Get(path.substr(Store.size()), parameters);
    if (path == "series" || path == "events") {
        std::int64_t from = 0;
        if (!ReadFrom(parameters, from))
            return {400, "application/json", ConsoleJson::Error("write from=N, a whole number")};
        return {200, "application/json", path == "series" ? output_.PrintSeries(from) : output_.PrintEvents(from)};
    }
    return {404, "application/json", ConsoleJson::Error("there is nothing of this name")};
}

ConsoleAnswer Console::Post(std::string_view command, std::string_view body, std::string_view who) {
    if (command != "replay") return commands_.Post(command, body, who);
    if (replay_ != nullptr) return SteerReplay(*replay_, body);
    return {409, "application/json", ConsoleJson::Error("this run is no replay")};
}

}  // namespace Host
