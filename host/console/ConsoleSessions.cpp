#include "host/console/ConsoleSessions.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <span>
#include <string.h>
#include <system_error>
#include <utility>

#include <arpa/inet.h>
#include <sys/random.h>

#include "host/console/ConsoleServer.h"

namespace Host {

namespace {

// All of `size` bytes of both are looked at, whatever they are.
bool IsSame(const char* a, const char* b, std::size_t size) {
    volatile unsigned char difference = 0;
    for (std::size_t i = 0; i < size; ++i) difference = static_cast<unsigned char>(difference | (a[i] ^ b[i]));
    return difference == 0;
}

// With zeros up to the size of the longest, so that the time does not tell the length either.
bool IsSame(const Secret& a, const Secret& b) {
    constexpr std::size_t Size = ConsoleServerSettings::MaxToken;
    std::array<char, Size> one{};
    std::array<char, Size> other{};
    std::copy_n(a.Reveal().begin(), std::min(a.Reveal().size(), Size), one.begin());
    std::copy_n(b.Reveal().begin(), std::min(b.Reveal().size(), Size), other.begin());
    const bool isSame = IsSame(one.data(), other.data(), Size);
    ::explicit_bzero(one.data(), Size);
    ::explicit_bzero(other.data(), Size);
    return isSame && a.Reveal().size() == b.Reveal().size();
}

void FillRandom(std::span<unsigned char> bytes) {
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t nmr = ::getrandom(&bytes[done], bytes.size() - done, 0);
        if (nmr < 0 && errno == EINTR) continue;
        if (nmr < 0) throw std::system_error(errno, std::generic_category(), "no random numbers");
        done += static_cast<std::size_t>(nmr);
    }
}

// Whoever has one address of IPv6 has 2^64 of them.
std::string GetPeerKey(std::string_view peer) {
    in6_addr six{};
    if (::inet_pton(AF_INET6, std::string(peer).c_str(), &six) != 1) return std::string(peer);
    return std::string(reinterpret_cast<const char*>(six.s6_addr), 8);
}

}  // namespace

ConsoleSessions::ConsoleSessions(Settings settings, SteadyClock clock)
    : settings_(std::move(settings)), clock_(std::move(clock)) {}

ConsoleSessions::Outcome ConsoleSessions::Enter(const Secret& token, std::string_view peer, std::string& id) {
    const std::string key = GetPeerKey(peer);
    const std::lock_guard lock(mutex_);
    const SteadyTime now = clock_();
    if (MustWait(key, now)) return Outcome::TooSoon;
    const ConsoleRight right = GetRight(token);
    if (right == ConsoleRight::None) {
        MakeWait(key, now);
        return Outcome::Wrong;
    }
    std::array<unsigned char, IdSize / 2> random{};
    FillRandom(random);
    Session session;
    for (std::size_t i = 0; i < random.size(); ++i) {
        session.id[2 * i] = "0123456789abcdef"[random[i] >> 4U];
        session.id[2 * i + 1] = "0123456789abcdef"[random[i] & 15U];
    }
    session.right = right;
    session.end = now + settings_.life;
    session.used = now;
    std::erase_if(sessions_, [&](const Session& at) { return at.end <= now; });
    if (sessions_.size() >= std::max<std::size_t>(settings_.most, 1))
        sessions_.erase(std::min_element(sessions_.begin(), sessions_.end(),
                                         [](const Session& a, const Session& b) { return a.used < b.used; }));
    sessions_.push_back(session);
    id.assign(session.id.data(), session.id.size());
    return Outcome::Good;
}

ConsoleRight ConsoleSessions::Find(std::string_view id) {
    if (id.size() != IdSize) return ConsoleRight::None;
    const std::lock_guard lock(mutex_);
    const SteadyTime now = clock_();
    ConsoleRight right = ConsoleRight::None;
    for (Session& session : sessions_) {
        if (!IsSame(session.id.data(), id.data(), IdSize) || session.end <= now) continue;
        session.used = now;
        right = session.right;
    }
    return right;
}

void ConsoleSessions::Leave(std::string_view id) {
    if (id.size() != IdSize) return;
    const std::lock_guard lock(mutex_);
    std::erase_if(sessions_, [&](const Session& at) { return IsSame(at.id.data(), id.data(), IdSize); });
}

ConsoleRight ConsoleSessions::GetRight(const Secret& token) const {
    const bool steers = !settings_.steerToken.IsEmpty() && IsSame(token, settings_.steerToken);
    const bool views = !settings_.viewToken.IsEmpty() && IsSame(token, settings_.viewToken);
    return steers ? ConsoleRight::Steer : views ? ConsoleRight::View : ConsoleRight::None;
}

bool ConsoleSessions::MustWait(const std::string& peer, SteadyTime now) {
    const auto wait = waits_.find(peer);
    if (wait != waits_.end()) return now < wait->second;
    if (waits_.size() < MaxPeers) return false;
    std::erase_if(waits_, [&](const auto& at) { return at.second <= now; });
    // So many at once are one attacker.
    return waits_.size() >= MaxPeers;
}

void ConsoleSessions::MakeWait(const std::string& peer, SteadyTime now) {
    waits_[peer] = now + settings_.wait;
}

}  // namespace Host
