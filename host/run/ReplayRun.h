// ReplayRun: a run of files that is played like a recording: as fast as asked, paused, and sent to any of its times.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "gnss/time/GPSTimeUTCConverter.h"
#include "host/live/SteadyClock.h"
#include "host/run/Pipeline.h"
#include "host/run/RunCore.h"
#include "host/run/RunOutput.h"
#include "host/run/RunRequest.h"

namespace Host {

// Waits before the data go on to a time until that has come. The stores take nothing older than what they have, so
// going back begins a new run of the same inputs, which goes silently to the time asked for: decoders, stores, notes,
// clock and leap-second rule are then what they are when the replay gets there by itself. Going forward goes on
// silently.
//
// The outputs hear a whole run each time: Begin is called again, and everything comes anew.
class ReplayRun : private RunOutput {
public:
    enum class State : std::uint8_t { Playing, Paused, Ended };
    struct Status {
        State state = State::Playing;
        bool isSeeking = false;  // on the way to a time, silently
        double speed = 1.0;      // times real; 0: as fast as it goes
        // Of the last epoch that is shown. Nothing before the first.
        std::optional<GNSS::GPSTime> now;
        std::optional<Pipeline::Span> span;  // of the data
    };
    // What an operator does to a run.
    using Command = std::function<void(RunCore&)>;
    // A gap in the data is waited out no longer than this.
    static constexpr std::chrono::seconds MaxWait{60};

    // The outputs must outlive this. Without a speed it goes as fast as it can.
    ReplayRun(RunRequest request, std::vector<RunOutput*> outputs, double speed = 1.0);
    ~ReplayRun() override;

    // Done with every run before it begins, the first in Open: for those who join components of their own.
    void SetPrepare(Command prepare) { prepare_ = std::move(prepare); }
    // See Pipeline::Open.
    [[nodiscard]] bool Open(std::string& reason);
    // Until isStopped says so, which is asked several times a second; the end of the data does not end it. everySecond
    // is called while it waits, and when a time asked for has been reached. Empty, or what went wrong.
    [[nodiscard]] std::string Run(std::function<bool()> isStopped, std::function<void()> everySecond = {});

    // From any thread, from here on. Playing goes on from where it is; at the end, from the beginning.
    void Play() { SetPlaying(true); }
    void Pause() { SetPlaying(false); }
    // Times real; 0 or less, and what is no number, is as fast as it goes.
    void SetSpeed(double speed);
    // To the state after all that is not later than this, or after the first epoch; playing or pausing stays as it is.
    void Seek(const GNSS::GPSTime& time);
    // Done on the thread of the run before its data go on, and again at the same point whenever the run is played
    // again; at the end of the data, there. On the way to a time it waits until that is reached.
    void Steer(Command command);
    [[nodiscard]] Status GetStatus() const;

private:
    struct Steered {
        std::int64_t step = 0;  // before this one
        Command command;
    };

    void Begin(const RunFacts& facts) override;
    void OnTime(const GNSS::GPSTime& time) override;
    void OnFix(const PublishedFix& fix) override;
    void OnEvent(const RunEvent& event) override;
    void OnReceiverFix(const ReceiverFix& fix) override;
    [[nodiscard]] std::string Finish(const RunFacts& facts) override;
    [[nodiscard]] bool IsGood() const override;

    void SetPlaying(bool isPlaying);
    [[nodiscard]] bool OpenPipeline(std::string& reason);
    void WaitFor(const GNSS::GPSTime& time);
    [[nodiscard]] bool WaitForSeek();
    void DoAgain();
    void DoNew(std::unique_lock<std::mutex>& lock);
    [[nodiscard]] SteadyTime GetDue(const GNSS::GPSTime& time) const;
    void Sleep(std::unique_lock<std::mutex>& lock, SteadyTime until);
    // Nobody else's function is called under the lock.
    [[nodiscard]] bool IsStopAsked(std::unique_lock<std::mutex>& lock) const;
    void Tell(std::unique_lock<std::mutex>& lock);
    void TellEverySecond(std::unique_lock<std::mutex>& lock);
    void TellReached(std::unique_lock<std::mutex>& lock);

    const RunRequest request_;
    const std::vector<RunOutput*> outputs_;
    // The leap-second rule of the process before the first run, from which each begins.
    const GNSS::GPSTime::UTCConverter before_;
    Command prepare_;
    std::function<bool()> isStopped_;
    std::function<void()> everySecond_;

    // Of the thread of the run.
    std::unique_ptr<Pipeline> pipeline_;
    bool isAbandoned_ = false;               // what still comes of this run is heard by nobody
    bool isOver_ = false;                    // stopped
    std::int64_t nmrSteps_ = 0;              // from time to time, of this run so far
    std::optional<GNSS::GPSTime> latest_;    // of these
    std::optional<GNSS::GPSTime> previous_;  // from which the wait for the next counts
    SteadyTime begin_;                       // and when it began
    double pace_ = 0.0;                      // s of the data that it counts a second
    SteadyTime nextSecond_;
    std::vector<Steered> steered_;  // all there were, in the order of their steps
    std::size_t nextSteered_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Status status_;
    bool isPlaying_ = true;                // also at the end, for when it is left
    bool isNewPace_ = true;                // the wait goes on at another
    std::optional<GNSS::GPSTime> seek_;    // asked for
    std::optional<GNSS::GPSTime> target_;  // on the way to
    std::vector<Command> commands_;        // new
};

}  // namespace Host
