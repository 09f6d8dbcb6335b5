#include "host/console/ConsoleReplay.h"

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "gnss/time/GPSTime.h"
#include "host/console/ConsoleJson.h"
#include "host/text/TimeText.h"

namespace Host {

namespace {

constexpr const char* Json = "application/json";
constexpr double MaxSpeed = 1e6;

ConsoleAnswer Refuse(const char* reason) {
    return {400, Json, ConsoleJson::Error(reason)};
}

}  // namespace

ConsoleAnswer SteerReplay(ReplayRun& replay, std::string_view body) {
    constexpr int MaxDepth = 4;
    const auto isShallow = [](int depth, nlohmann::json::parse_event_t, nlohmann::json&) { return depth < MaxDepth; };
    const nlohmann::json json = nlohmann::json::parse(body, isShallow, false);
    const auto find = [&](const char* name) { return json.is_object() ? json.find(name) : json.end(); };
    const auto word = find("action");
    const std::string action = word != json.end() && word->is_string() ? word->get<std::string>() : std::string();
    if (action == "play") {
        replay.Play();
    } else if (action == "pause") {
        replay.Pause();
    } else if (action == "speed") {
        const auto speed = find("speed");
        if (speed == json.end() || !speed->is_number()) return Refuse("write speed as a number");
        const double value = speed->get<double>();
        if (!(value >= 0.0 && value <= MaxSpeed))
            return Refuse("the speed is from 0, as fast as it goes, to a million");
        replay.SetSpeed(value);
    } else if (action == "seek") {
        const auto time = find("time");
        const std::optional<GNSS::GPSTime> at =
            time != json.end() && time->is_string() ? ParseTime(time->get_ref<const std::string&>()) : std::nullopt;
        if (!at) return Refuse("write a time as 2020-06-25T12:00:00Z");
        replay.Seek(*at);
    } else {
        return Refuse("the action is play, pause, speed or seek");
    }
    return {202, Json, "{}"};
}

ConsoleRunState DescribeReplay(const ReplayRun& replay) {
    const ReplayRun::Status status = replay.GetStatus();
    ConsoleRunState state;
    state.kind = "replay";
    state.state = status.state == ReplayRun::State::Playing  ? "running"
                  : status.state == ReplayRun::State::Paused ? "paused"
                                                             : "ended";
    state.speed = status.speed;
    state.isSeeking = status.isSeeking;
    if (status.span) {
        state.from = status.span->first;
        state.to = status.span->last;
    }
    return state;
}

}  // namespace Host
