// The event log: messages for the operator, kept in memory and handed to the sinks that the program installs.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"
#include "gnss/platform/TimeDate.h"

namespace Corvane {

// One entry of the log; its static members are the log, which is one for the process. Safe to call from any thread.
class GNSS_EXPORT Event {
public:
    using Sink = std::function<void(const Event&)>;
    using SinkID = std::uint32_t;

    // Entries kept in memory; older ones are forgotten.
    static constexpr std::size_t MaxKept = 1000;

    Event(const TimeDate& time, String source, String text);

    // UTC of the clock when the event was added.
    [[nodiscard]] const TimeDate& GetTime() const { return time_; }
    // The part of the program that speaks, such as "Glonass Almanac".
    [[nodiscard]] const String& GetSource() const { return source_; }
    [[nodiscard]] const String& GetText() const { return text_; }

    // Adds an entry with the clock's time and hands it to every sink, on the calling thread and with the locks that
    // this thread holds: a sink does not wait for other threads, and takes no component's turn and no link's lock. A
    // sink may be called by several threads at once, may add events (it is not called for those that are added inside
    // its own call), and may install and remove sinks. What it throws is dropped.
    static void AddEvent(const String& source, const String& text);

    // Installs a sink for the events to come; an empty function is never called. The result, never 0, names it.
    static SinkID InstallSink(Sink sink);
    // Removes a sink. Once this returns the sink is not called any more, and no call of it is under way; when it is a
    // sink that removes (itself or another), calls that other threads have begun may still be under way.
    // Does nothing when there is no such sink.
    static void RemoveSink(SinkID id);

    // The entries kept, oldest first.
    [[nodiscard]] static std::vector<Event> GetKept();
    // Forgets the entries kept.
    static void Clear();

private:
    TimeDate time_;
    String source_;
    String text_;
};

}  // namespace Corvane
