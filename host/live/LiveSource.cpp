#include "host/live/LiveSource.h"

#include <algorithm>
#include <cerrno>
#include <unistd.h>
#include <utility>

#include <fmt/format.h>

#include "host/live/Descriptor.h"
#include "host/report/SafeText.h"

namespace Host {

using std::chrono::seconds;

LiveSink::~LiveSink() = default;

LiveSource::LiveSource(std::string name, const LiveSettings& settings, LiveSink& sink)
    : name_(std::move(name)),
      settings_(settings),
      sink_(sink),
      reconnector_(settings.random ? settings.random : MakeJitter()) {}

LiveSource::~LiveSource() = default;

void LiveSource::Start() {
    if (state_ != State::Stopped) return;
    retry_.reset();
    Open();
}

void LiveSource::Stop() {
    if (state_ == State::Stopped) return;
    Break();
    Close();
    limit_.reset();
    retry_.reset();
    mutedSince_.reset();
    state_ = State::Stopped;
}

std::optional<SteadyTime> LiveSource::GetDeadline() const {
    std::optional<SteadyTime> deadline;
    const auto take = [&deadline](const std::optional<SteadyTime>& time) {
        if (time && (!deadline || *time < *deadline)) deadline = time;
    };
    take(limit_);
    take(retry_);
    if (quietSince_ && settings_.silence.count() > 0) take(*quietSince_ + settings_.silence);
    return deadline;
}

void LiveSource::OnReady(const pollfd& ready) {
    if (state_ == State::Stopped || state_ == State::Failed) return;
    OnDescriptor(ready);
}

void LiveSource::OnTimer() {
    const SteadyTime now = Now();
    if (limit_ && now >= *limit_) {
        limit_.reset();
        OnLimit();
    }
    if (retry_ && now >= *retry_) {
        retry_.reset();
        Open();
    }
    if (quietSince_ && settings_.silence.count() > 0 && now - *quietSince_ >= settings_.silence) OnSilence();
}

std::optional<SteadySpan> LiveSource::GetAge() const {
    if (!counts_.lastByte) return std::nullopt;
    return Now() - *counts_.lastByte;
}

std::optional<SteadySpan> LiveSource::GetWait() const {
    if (!retry_) return std::nullopt;
    return std::max(*retry_ - Now(), SteadySpan::zero());
}

void LiveSource::OnSilence() {
    Drop(SilenceText());
}

void LiveSource::Tell(const std::string& text) {
    const SteadyTime now = Now();
    if (!toldSince_ || now - *toldSince_ >= TellSpan) {
        toldSince_ = now;
        nmrTold_ = 0;
    }
    if (nmrTold_ >= MaxTold) {
        ++nmrUntold_;
        return;
    }
    ++nmrTold_;
    const std::int64_t untold = std::exchange(nmrUntold_, 0);
    sink_.OnEvent(*this, CleanText(text) + (untold > 0 ? fmt::format(" ({} events before are not told)", untold) : ""));
}

void LiveSource::Begin(const std::string& text) {
    state_ = State::Connected;
    ++counts_.connects;
    streamBytes_ = 0;
    Watch();
    if (!mutedSince_) Tell(text);
}

void LiveSource::Watch() {
    quietSince_ = Now();
}

void LiveSource::Deliver(std::string_view bytes) {
    if (bytes.empty()) return;
    const SteadyTime now = Now();
    quietSince_ = now;
    counts_.lastByte = now;
    counts_.bytes += static_cast<std::int64_t>(bytes.size());
    streamBytes_ += static_cast<std::int64_t>(bytes.size());
    reconnector_.OnData(now);
    fault_.clear();
    isDirty_ = true;
    if (mutedSince_) Tell("data again, after " + PrintSpan(now - *std::exchange(mutedSince_, std::nullopt)));
    sink_.OnBytes(*this, bytes);
}

void LiveSource::Break() {
    quietSince_.reset();
    if (std::exchange(isDirty_, false)) sink_.OnBroken(*this);
}

void LiveSource::End(const std::string& reason, const std::string& next) {
    const bool wasStream = state_ == State::Connected;
    ++(wasStream ? counts_.drops : counts_.errors);
    const std::int64_t bytes = streamBytes_;
    fault_ = CleanText(reason);
    Break();
    if (wasStream) {
        Tell(fmt::format("dropped: {}, after {} bytes; {}", reason, bytes, next));
    } else {
        Tell(fmt::format("{}; {}", reason, next));
    }
}

void LiveSource::Drop(const std::string& reason, bool isSlow) {
    const SteadySpan wait = reconnector_.NextWait(isSlow);
    Close();
    limit_.reset();
    mutedSince_.reset();
    const State before = state_;
    End(reason, "next try in " + PrintSpan(wait));
    // Unless the sink has stopped it.
    if (state_ != before) return;
    state_ = State::Waiting;
    retry_ = Now() + wait;
}

void LiveSource::Reopen() {
    const bool isFirst = !mutedSince_;
    const SteadyTime since = quietSince_ ? *quietSince_ : Now();
    if (state_ == State::Connected) ++counts_.drops;
    Break();
    if (state_ == State::Stopped) return;
    Close();
    limit_.reset();
    if (isFirst) {
        const State before = state_;
        fault_ = SilenceText();
        Tell(fault_ + "; opens it again from time to time");
        if (state_ != before) return;
        mutedSince_ = since;
    }
    Open();
}

void LiveSource::DropPort(int error) {
    const std::string reason = "cannot take the port: " + SystemWords(error);
    error == EACCES ? Fail(reason) : Drop(reason);
}

void LiveSource::Fail(const std::string& reason) {
    ++counts_.errors;
    fault_ = CleanText(reason);
    Break();
    Close();
    limit_.reset();
    state_ = State::Failed;
    Tell(reason + "; it is given up");
}

std::string LiveSource::SilenceText() const {
    return "silent for " + PrintSpan(settings_.silence);
}

bool LiveSource::Read(int file, std::string_view& bytes, std::string& reason) {
    if (room_.empty()) room_.resize(PieceSize);
    bytes = {};
    const ssize_t nmr = ::read(file, room_.data(), room_.size());
    if (nmr > 0) {
        bytes = {room_.data(), static_cast<std::size_t>(nmr)};
        return true;
    }
    if (nmr < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR)) return true;
    reason = nmr == 0 ? "the other end has closed it" : SystemWords(errno);
    return false;
}

const char* Name(LiveSource::State state) {
    switch (state) {
        case LiveSource::State::Stopped:
            return "stopped";
        case LiveSource::State::Resolving:
            return "looking up";
        case LiveSource::State::Connecting:
            return "connecting";
        case LiveSource::State::Listening:
            return "listening";
        case LiveSource::State::Connected:
            return "connected";
        case LiveSource::State::Waiting:
            return "waiting to try again";
        case LiveSource::State::Failed:
            return "given up";
    }
    return "";
}

std::string PrintSpan(SteadySpan span) {
    const std::int64_t total = std::max<std::int64_t>(std::chrono::round<seconds>(span).count(), 0);
    if (total < 60) return fmt::format("{} s", total);
    if (total < 3600) {
        return total % 60 == 0 ? fmt::format("{} min", total / 60) : fmt::format("{} min {} s", total / 60, total % 60);
    }
    return fmt::format("{} h {} min", total / 3600, total % 3600 / 60);
}

}  // namespace Host
