#include "host/run/ReplayRun.h"

#include <algorithm>
#include <utility>

#include "gnss/platform/Clock.h"

namespace Host {

using GNSS::GPSTime;

namespace {

SteadyTime Now() {
    return std::chrono::steady_clock::now();
}

SteadySpan SpanOf(double seconds) {
    return std::chrono::duration_cast<SteadySpan>(std::chrono::duration<double>(seconds));
}

double Pace(double speed) {
    return speed > 0.0 ? speed : 0.0;
}

}  // namespace

ReplayRun::ReplayRun(RunRequest request, std::vector<RunOutput*> outputs, double speed)
    : request_(std::move(request)),
      outputs_(std::move(outputs)),
      before_(GPSTime::GetUTCConverter()),
      begin_(Now()),
      nextSecond_(begin_) {
    status_.speed = Pace(speed);
}

ReplayRun::~ReplayRun() = default;

bool ReplayRun::OpenPipeline(std::string& reason) {
    // The old one's listeners leave before the new one's come.
    pipeline_.reset();
    Corvane::Clock::UseSystem();
    GPSTime::SetUTCParam(before_.GetLeapTime(), static_cast<int>(before_.GetBefore().Seconds()),
                         static_cast<int>(before_.GetAfter().Seconds()));
    pipeline_ = std::make_unique<Pipeline>(request_, std::vector<RunOutput*>{this});
    nmrSteps_ = 0;
    latest_.reset();
    previous_.reset();
    nextSteered_ = 0;
    isAbandoned_ = false;
    {
        const std::lock_guard lock(mutex_);
        status_.now.reset();
    }
    if (prepare_) prepare_(pipeline_->GetCore());
    return pipeline_->Open(reason);
}

bool ReplayRun::Open(std::string& reason) {
    if (!OpenPipeline(reason)) return false;
    const std::lock_guard lock(mutex_);
    status_.span = pipeline_->FindSpan();
    return true;
}

std::string ReplayRun::Run(std::function<bool()> isStopped, std::function<void()> everySecond) {
    isStopped_ = std::move(isStopped);
    everySecond_ = std::move(everySecond);
    begin_ = Now();
    for (;;) {
        std::string failure = pipeline_->Run({});
        if (!failure.empty() || isOver_) return failure;
        if (!isAbandoned_ && !WaitForSeek()) return {};
        if (!OpenPipeline(failure)) return failure;
    }
}

void ReplayRun::SetPlaying(bool isPlaying) {
    const std::lock_guard lock(mutex_);
    isPlaying_ = isPlaying;
    if (status_.state != State::Ended) {
        status_.state = isPlaying ? State::Playing : State::Paused;
        isNewPace_ = true;
    } else if (isPlaying && status_.span && !seek_) {
        seek_ = status_.span->first;
        status_.isSeeking = true;
    }
    changed_.notify_all();
}

void ReplayRun::SetSpeed(double speed) {
    const std::lock_guard lock(mutex_);
    status_.speed = Pace(speed);
    isNewPace_ = true;
    changed_.notify_all();
}

void ReplayRun::Seek(const GPSTime& time) {
    const std::lock_guard lock(mutex_);
    seek_ = status_.span ? std::max(time, status_.span->first) : time;
    status_.isSeeking = true;
    changed_.notify_all();
}

void ReplayRun::Steer(Command command) {
    const std::lock_guard lock(mutex_);
    commands_.push_back(std::move(command));
    changed_.notify_all();
}

ReplayRun::Status ReplayRun::GetStatus() const {
    const std::lock_guard lock(mutex_);
    return status_;
}

void ReplayRun::Begin(const RunFacts& facts) {
    for (RunOutput* output : outputs_) output->Begin(facts);
}

void ReplayRun::OnTime(const GPSTime& time) {
    // Sources that are merged, or messages within an epoch, are out of order by so much.
    constexpr Corvane::Time Disorder{10.0};
    if (isAbandoned_ || (previous_ && time <= *previous_ && *previous_ - time < Disorder)) return;
    WaitFor(time);
    if (isAbandoned_) return;
    DoAgain();
    ++nmrSteps_;
    latest_ = std::max(latest_.value_or(time), time);
    for (RunOutput* output : outputs_) output->OnTime(time);
}

void ReplayRun::OnFix(const PublishedFix& fix) {
    if (isAbandoned_) return;
    for (RunOutput* output : outputs_) output->OnFix(fix);
    const std::lock_guard lock(mutex_);
    status_.now = fix.result.time;
}

void ReplayRun::OnEvent(const RunEvent& event) {
    if (isAbandoned_) return;
    for (RunOutput* output : outputs_) output->OnEvent(event);
}

void ReplayRun::OnReceiverFix(const ReceiverFix& fix) {
    if (isAbandoned_) return;
    for (RunOutput* output : outputs_) output->OnReceiverFix(fix);
}

std::string ReplayRun::Finish(const RunFacts& facts) {
    if (isAbandoned_ && !isOver_) return {};
    std::string failure;
    for (RunOutput* output : outputs_) {
        const std::string reason = output->Finish(facts);
        if (failure.empty()) failure = reason;
    }
    return failure;
}

bool ReplayRun::IsGood() const {
    return !isAbandoned_ && std::ranges::all_of(outputs_, [](const RunOutput* output) { return output->IsGood(); });
}

// The operator's doings of an earlier time through.
void ReplayRun::DoAgain() {
    while (nextSteered_ < steered_.size() && steered_[nextSteered_].step <= nmrSteps_)
        steered_[nextSteered_++].command(pipeline_->GetCore());
}

void ReplayRun::DoNew(std::unique_lock<std::mutex>& lock) {
    for (Command& command : std::exchange(commands_, {})) {
        lock.unlock();
        // Those of before come first.
        DoAgain();
        command(pipeline_->GetCore());
        const auto place = steered_.begin() + static_cast<std::ptrdiff_t>(nextSteered_++);
        steered_.insert(place, {nmrSteps_, std::move(command)});
        lock.lock();
    }
}

SteadyTime ReplayRun::GetDue(const GPSTime& time) const {
    if (status_.speed == 0.0 || !previous_) return begin_;
    const double wait = (time - *previous_).Seconds() / status_.speed;
    return begin_ + std::clamp(SpanOf(std::min(wait, 1e6)), SteadySpan::zero(), SteadySpan(MaxWait));
}

void ReplayRun::Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until) {
    constexpr std::chrono::milliseconds Look{100};  // for a stop, which cannot wake anybody
    TellEverySecond(lock);
    // What was asked for while the lock was given away has woken nobody.
    if (seek_ || !commands_.empty()) return;
    changed_.wait_until(lock, std::min({until, nextSecond_, Now() + Look}));
}

bool ReplayRun::IsStopAsked(std::unique_lock<std::mutex>& lock) const {
    lock.unlock();
    const bool isAsked = isStopped_ && isStopped_();
    lock.lock();
    return isAsked;
}

void ReplayRun::Tell(std::unique_lock<std::mutex>& lock) {
    nextSecond_ = Now() + std::chrono::seconds(1);
    lock.unlock();
    if (everySecond_) everySecond_();
    lock.lock();
}

void ReplayRun::TellEverySecond(std::unique_lock<std::mutex>& lock) {
    if (Now() >= nextSecond_) Tell(lock);
}

void ReplayRun::TellReached(std::unique_lock<std::mutex>& lock) {
    status_.isSeeking = seek_.has_value();
    Tell(lock);
}

void ReplayRun::WaitFor(const GPSTime& time) {
    constexpr std::chrono::seconds Hurry{1};  // so much that is late is made up for
    std::unique_lock lock(mutex_);
    // Also where there is no time to wait.
    if (latest_) TellEverySecond(lock);
    for (;;) {
        if (IsStopAsked(lock)) {
            isAbandoned_ = isOver_ = true;
            return;
        }
        if (const auto asked = std::exchange(seek_, std::nullopt)) {
            target_ = asked;
            if (latest_ && *asked < *latest_) {
                isAbandoned_ = true;
                return;
            }
        }
        if (target_) {
            if (time <= *target_ || !status_.now) break;
            // The first that lies beyond: what was asked for is there.
            previous_ = std::exchange(target_, std::nullopt);
            begin_ = Now();
            TellReached(lock);
            continue;
        }
        DoNew(lock);
        const SteadyTime now = Now();
        const bool isPlaying = status_.state == State::Playing;
        if (std::exchange(isNewPace_, false)) {
            // What has been waited counts.
            const double waited = std::chrono::duration<double>(now - begin_).count() * pace_;
            if (previous_) previous_ = std::min(time, *previous_ + Corvane::Time(std::clamp(waited, 0.0, 1e6)));
            begin_ = now;
            pace_ = isPlaying ? status_.speed : 0.0;
        }
        const SteadyTime due = isPlaying ? GetDue(time) : SteadyTime::max();
        if (now >= due) {
            begin_ = status_.speed == 0.0 ? now : std::max(due, now - Hurry);
            break;
        }
        Sleep(lock, due);
    }
    previous_ = time;
}

// The data have ended. False when the run is to stop.
bool ReplayRun::WaitForSeek() {
    DoAgain();
    std::unique_lock lock(mutex_);
    target_.reset();
    status_.state = State::Ended;
    TellReached(lock);
    while (!seek_) {
        if (IsStopAsked(lock)) return false;
        DoNew(lock);
        Sleep(lock, SteadyTime::max());
    }
    // Beyond the end there is nothing to go to, but the end itself.
    target_ = std::exchange(seek_, std::nullopt);
    status_.state = isPlaying_ ? State::Playing : State::Paused;
    isNewPace_ = true;
    return true;
}

}  // namespace Host
