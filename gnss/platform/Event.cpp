#include "gnss/platform/Event.h"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <utility>

#include "gnss/platform/Clock.h"

namespace Corvane {

namespace {

struct Installed {
    Event::SinkID id;
    Event::Sink sink;
    int running = 0;  // calls under way; this and the next are guarded by the log's mutex
    bool removed = false;
};

struct Log {
    std::mutex mutex;
    std::condition_variable ended;  // a call of a removed sink has ended
    std::deque<Event> kept;
    std::vector<std::shared_ptr<Installed>> sinks;
    Event::SinkID lastID = 0;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
Log& TheLog() {
    static Log log;
    return log;
}
[[maybe_unused]] const Log& madeEarly = TheLog();

// A call of a sink on this thread, and the call inside which it happened.
struct Call {
    const Installed* sink;
    const Call* outer;
};

constinit thread_local const Call* innermostCall = nullptr;

bool IsInside(const Installed& sink) {
    for (const Call* call = innermostCall; call != nullptr; call = call->outer) {
        if (call->sink == &sink) return true;
    }
    return false;
}

// Calls a sink without the log's mutex, so that it may use the log.
void Deliver(Installed& sink, const Event& event) {
    Log& log = TheLog();
    {
        const std::lock_guard lock(log.mutex);
        if (sink.removed) return;
        ++sink.running;
    }
    const Call call{&sink, innermostCall};
    innermostCall = &call;
    try {
        sink.sink(event);
    } catch (...) {  // NOLINT(bugprone-empty-catch): a broken sink must not break who reports
    }
    innermostCall = call.outer;
    const std::lock_guard lock(log.mutex);
    if (--sink.running != 0 || !sink.removed) return;
    std::erase_if(log.sinks, [&](const auto& each) { return each.get() == &sink; });  // not its last reference
    log.ended.notify_all();
}

}  // namespace

Event::Event(const TimeDate& time, String source, String text)
    : time_(time), source_(std::move(source)), text_(std::move(text)) {}

void Event::AddEvent(const String& source, const String& text) {
    const Event event(Clock::Now(), source, text);
    std::vector<std::shared_ptr<Installed>> sinks;
    {
        Log& log = TheLog();
        const std::lock_guard lock(log.mutex);
        log.kept.push_back(event);
        if (log.kept.size() > MaxKept) log.kept.pop_front();
        sinks = log.sinks;
    }
    for (const auto& sink : sinks) {
        if (!IsInside(*sink)) Deliver(*sink, event);
    }
}

Event::SinkID Event::InstallSink(Sink sink) {
    if (!sink) sink = [](const Event&) {};
    auto installed = std::make_shared<Installed>();
    installed->sink = std::move(sink);
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    installed->id = ++log.lastID;
    log.sinks.push_back(installed);
    return installed->id;
}

void Event::RemoveSink(SinkID id) {
    std::shared_ptr<Installed> installed;  // outlives the lock: the sink's own destructor may use the log
    Log& log = TheLog();
    std::unique_lock lock(log.mutex);
    const auto found = std::ranges::find_if(log.sinks, [id](const auto& sink) { return sink->id == id; });
    if (found == log.sinks.end()) return;
    installed = *found;
    installed->removed = true;
    if (installed->running == 0) {
        log.sinks.erase(found);
        return;
    }
    // It stays in the list until its last call has ended, so that whoever removes it as well waits too.
    // Two sinks that remove each other on two threads would wait for each other for ever.
    if (innermostCall != nullptr) return;
    log.ended.wait(lock, [&] { return installed->running == 0; });
}

std::vector<Event> Event::GetKept() {
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    return {log.kept.begin(), log.kept.end()};
}

void Event::Clear() {
    Log& log = TheLog();
    const std::lock_guard lock(log.mutex);
    log.kept.clear();
}

}  // namespace Corvane
