// LiveLoop: waits for all live sources at once.
#pragma once

#include <chrono>
#include <functional>
#include <optional>
#include <poll.h>
#include <vector>

#include "host/live/Descriptor.h"
#include "host/live/LiveSource.h"
#include "host/live/SteadyClock.h"

namespace Host {

class LiveLoop {
public:
    // Throws std::system_error when the system gives no descriptor.
    explicit LiveLoop(SteadyClock clock);

    // The sources must outlive the loop; they are started and stopped by their owner.
    void Add(LiveSource& source) { sources_.push_back(&source); }
    // Calls a function again and again, the first time after one span. After a delay it is called once, not for each
    // time that was missed.
    void Every(SteadySpan span, std::function<void()> function);

    // Waits until a descriptor has something, a time has come, it is woken, or `most` has passed, and deals with what
    // there is. With a negative span it waits as long as it takes.
    void RunOnce(std::chrono::milliseconds most);

    // Ends the wait of RunOnce, or the next one: from another thread, or through GetWakeFile from a signal's handler,
    // which writes the eight bytes of a number there.
    void WakeUp() const;
    [[nodiscard]] int GetWakeFile() const { return wake_.Get(); }

private:
    struct Timer {
        SteadySpan span;
        SteadyTime due;
        std::function<void()> function;
    };
    [[nodiscard]] int GetTimeout(std::chrono::milliseconds most) const;
    void RunTimers();

    SteadyClock clock_;
    std::vector<LiveSource*> sources_;
    std::vector<Timer> timers_;
    Descriptor wake_;
    std::vector<pollfd> wanted_;
    std::vector<LiveSource*> owners_;  // of wanted_, after the first, which is the wake-up
};

}  // namespace Host
