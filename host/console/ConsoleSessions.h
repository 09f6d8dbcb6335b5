// ConsoleSessions: tokens, and who has shown one.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "host/console/ConsoleBackend.h"
#include "host/live/Secret.h"
#include "host/live/SteadyClock.h"

namespace Host {

// Who shows a token gets a session, a random number of 256 bits in a cookie; the token itself is not kept by the
// browser. Every member may be called from any thread. Which of the bytes of a token or a session differ cannot be
// told from the time that a comparison takes.
class ConsoleSessions {
public:
    static constexpr std::size_t IdSize = 64;  // hexadecimal digits

    enum class Outcome : std::uint8_t { Good, Wrong, TooSoon };

    struct Settings {
        Secret viewToken;   // empty: nobody's
        Secret steerToken;  // empty: nobody's
        std::size_t most = 256;
        SteadySpan life = std::chrono::hours(30 * 24);
        SteadySpan wait = std::chrono::seconds(1);  // after a wrong token, of one peer
    };

    ConsoleSessions(Settings settings, SteadyClock clock);

    // Within the wait after a wrong token of the same peer (of IPv6, of the same 64 bits of network) a token is not
    // looked at. `id` is the session when it is good.
    [[nodiscard]] Outcome Enter(const Secret& token, std::string_view peer, std::string& id);
    // None for what is no session, or one that has run out.
    [[nodiscard]] ConsoleRight Find(std::string_view id);
    void Leave(std::string_view id);
    [[nodiscard]] std::chrono::seconds GetLife() const {
        return std::chrono::duration_cast<std::chrono::seconds>(settings_.life);
    }

private:
    static constexpr std::size_t MaxPeers = 1024;
    struct Session {
        std::array<char, IdSize> id{};
        ConsoleRight right = ConsoleRight::None;
        SteadyTime end;
        SteadyTime used;
    };
    [[nodiscard]] bool MustWait(const std::string& peer, SteadyTime now);
    void MakeWait(const std::string& peer, SteadyTime now);
    [[nodiscard]] ConsoleRight GetRight(const Secret& token) const;

    Settings settings_;
    SteadyClock clock_;
    std::mutex mutex_;
    std::vector<Session> sessions_;
    std::map<std::string, SteadyTime, std::less<>> waits_;  // until when, by peer
};

}  // namespace Host
