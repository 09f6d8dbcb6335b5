#include "host/console/ConsoleCommands.h"

#include <optional>
#include <utility>

#include <nlohmann/json.hpp>

#include "host/console/ConsoleJson.h"
#include "host/report/SafeText.h"

namespace Host {

namespace {

// Deeper than any command is; what is nested deeper is left out.
constexpr int MaxDepth = 4;

ConsoleAnswer Refuse(int status, std::string_view reason) {
    return {status, "application/json", ConsoleJson::Error(reason)};
}

// {"satellite":"G05","enabled":false}, and nothing besides.
std::optional<ConsoleCommand> ParseHealth(std::string_view body) {
    const auto isTooDeep = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) { return depth < MaxDepth; };
    const nlohmann::json json = nlohmann::json::parse(body, isTooDeep, false);
    if (!json.is_object() || json.size() != 2) return std::nullopt;
    const auto name = json.find("satellite");
    const auto enabled = json.find("enabled");
    if (name == json.end() || enabled == json.end() || !name->is_string() || !enabled->is_boolean())
        return std::nullopt;
    const std::optional<Satellite> satellite = ParseSatellite(name->get_ref<const std::string&>());
    if (!satellite || satellite->number == 0) return std::nullopt;
    return ConsoleCommand{*satellite, enabled->get<bool>(), {}};
}

}  // namespace

ConsoleAnswer ConsoleCommands::Post(std::string_view command, std::string_view body, std::string_view who) {
    if (command != "health") return Refuse(404, "there is no such command");
    std::optional<ConsoleCommand> parsed = ParseHealth(body);
    if (!parsed)
        return Refuse(400,
                      R"(write {"satellite":"G05","enabled":false}, with a satellite from G01 to G32 or R01 to R24)");
    parsed->who = CleanText(who);
    std::unique_lock lock(mutex_);
    if (!closed_.empty()) return Refuse(409, closed_);
    if (waiting_.size() >= MaxWaiting) return Refuse(503, "the run takes no commands at present");
    waiting_.push_back(std::move(*parsed));
    const std::function<void()> wake = wake_;
    lock.unlock();
    if (wake) wake();
    return {202, "application/json", "{}"};
}

void ConsoleCommands::Open(std::function<void()> wake) {
    const std::lock_guard lock(mutex_);
    closed_.clear();
    wake_ = std::move(wake);
}

void ConsoleCommands::Close(std::string reason) {
    const std::lock_guard lock(mutex_);
    closed_ = std::move(reason);
    wake_ = {};
    waiting_.clear();
}

std::vector<ConsoleCommand> ConsoleCommands::Take() {
    const std::lock_guard lock(mutex_);
    return std::exchange(waiting_, {});
}

}  // namespace Host
