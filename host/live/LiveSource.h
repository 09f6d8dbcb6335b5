// LiveSource: a stream of bytes that comes when it comes, and that is opened again whenever it ends.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

#include "host/live/Reconnector.h"
#include "host/live/SteadyClock.h"

namespace Host {

class LiveSource;

// Hears the sources. It may stop the source that calls it, and must not destroy it.
class LiveSink {
public:
    LiveSink() = default;
    LiveSink(const LiveSink&) = delete;
    LiveSink& operator=(const LiveSink&) = delete;
    virtual ~LiveSink();

    // As they came, in pieces of any size.
    virtual void OnBytes(LiveSource& source, std::string_view bytes) = 0;
    // The stream has ended, perhaps in the middle of a message; what comes next begins anew. Told once after bytes.
    virtual void OnBroken(LiveSource& source) = 0;
    // What has happened, for people, as clean text: "connected to 192.0.2.1:2101", "dropped: silent for 30 s, after
    // 1200 bytes; next try in 12 s".
    virtual void OnEvent(LiveSource& source, const std::string& text) = 0;
};

// What holds for all sources of a program.
struct LiveSettings {
    SteadyClock clock = [] { return std::chrono::steady_clock::now(); };
    Reconnector::Random random;                      // empty: a generator of its own for each source
    std::chrono::milliseconds silence{30000};        // after which a stream counts as dropped; 0: never
    std::chrono::milliseconds lookUpTimeout{20000};  // for the name of a host
    std::chrono::milliseconds connectTimeout{10000};
    std::chrono::milliseconds answerTimeout{15000};  // of a caster, its table of mount points included
};

struct LiveCounts {
    std::int64_t bytes = 0;     // delivered
    std::int64_t connects = 0;  // streams that began
    std::int64_t drops = 0;     // of these, that ended by themselves or by silence
    std::int64_t errors = 0;    // tries that came to nothing
    std::optional<SteadyTime> lastByte;
};

// One thread drives it: it waits with poll() for what AddWanted and GetDeadline ask for, and calls OnReady and OnTimer
// (LiveLoop does so). Nothing here waits. A derived class opens its one kind of transport and says how that goes; this
// class counts, watches for silence and tries again.
class LiveSource {
public:
    enum class State : std::uint8_t {
        Stopped,
        Resolving,   // looks up the host's name
        Connecting,  // or waiting for the caster's answer
        Listening,   // for a peer, or a first datagram
        Connected,
        Waiting,  // to try again
        Failed    // for good: a later try would end the same
    };

    // The sink must outlive the source.
    LiveSource(std::string name, const LiveSettings& settings, LiveSink& sink);
    LiveSource(const LiveSource&) = delete;
    LiveSource& operator=(const LiveSource&) = delete;
    virtual ~LiveSource();

    void Start();
    // Ends without an event; the sink is told that the stream is broken.
    void Stop();

    // Adds the descriptors and what is wanted of them.
    virtual void AddWanted(std::vector<pollfd>& wanted) const = 0;
    // When OnTimer is to be called if nothing happens before.
    [[nodiscard]] std::optional<SteadyTime> GetDeadline() const;
    // One of the descriptors has something.
    void OnReady(const pollfd& ready);
    // Does what is due now, which may be nothing.
    void OnTimer();

    [[nodiscard]] const std::string& GetName() const { return name_; }
    [[nodiscard]] State GetState() const { return state_; }
    [[nodiscard]] const LiveCounts& GetCounts() const { return counts_; }
    // Since the last byte; nothing before the first.
    [[nodiscard]] std::optional<SteadySpan> GetAge() const;
    // Why no data flow, as clean text; empty while they do, and before anything has gone wrong.
    [[nodiscard]] const std::string& GetFault() const { return fault_; }
    // Until the next try; nothing unless it waits for one.
    [[nodiscard]] std::optional<SteadySpan> GetWait() const;

protected:
    static constexpr std::size_t PieceSize = std::size_t{64} * 1024;

    // Begins to open the transport: goes on to a state, or drops, or fails.
    virtual void Open() = 0;
    // Closes every descriptor.
    virtual void Close() = 0;
    virtual void OnDescriptor(const pollfd& ready) = 0;
    // A time limit of the derived class has been reached.
    virtual void OnLimit() {}
    // Nothing has come for as long as counts as silence.
    virtual void OnSilence();

    [[nodiscard]] SteadyTime Now() const { return settings_.clock(); }
    [[nodiscard]] const LiveSettings& GetSettings() const { return settings_; }
    void SetState(State state) { state_ = state; }
    // Calls OnLimit then; nothing: never.
    void SetLimit(std::optional<SteadyTime> limit) { limit_ = limit; }
    // Of more than MaxTold events in TellSpan the rest are counted, which the next one says: a peer that connects again
    // and again is not to fill the disk.
    static constexpr int MaxTold = 20;
    static constexpr std::chrono::seconds TellSpan{60};
    void Tell(const std::string& text);
    // Has told that it is silent, and does not repeat itself until data flow again.
    [[nodiscard]] bool IsMuted() const { return mutedSince_.has_value(); }
    // The stream begins, in words: "connected to 192.0.2.1:2101".
    void Begin(const std::string& text);
    // Watches for silence from now on.
    void Watch();
    void Deliver(std::string_view bytes);
    // The stream has ended, or never began: closes, and tries again after a while.
    void Drop(const std::string& reason, bool isSlow = false);
    // The same without waiting, and said once until data flow again; for what can be opened as often as one likes.
    void Reopen();
    // The port cannot be listened on: for good where it is not allowed, for now where somebody else has it.
    void DropPort(int error);
    // Closes for good.
    void Fail(const std::string& reason);
    // The stream has ended; says so with its size and what follows. The transport stays as it is.
    void End(const std::string& reason, const std::string& next);
    // "silent for 30 s".
    [[nodiscard]] std::string SilenceText() const;
    // Reads once from a descriptor into `bytes`, valid until the next call. False when nothing more will come, with the
    // reason; with nothing read yet it is true, and `bytes` are empty.
    [[nodiscard]] bool Read(int file, std::string_view& bytes, std::string& reason);

private:
    void Break();

    std::string name_;
    LiveSettings settings_;
    LiveSink& sink_;
    Reconnector reconnector_;
    State state_ = State::Stopped;
    LiveCounts counts_;
    std::string fault_;
    std::optional<SteadyTime> limit_;
    std::optional<SteadyTime> retry_;
    std::optional<SteadyTime> quietSince_;  // while watched: the last byte, or the opening
    std::optional<SteadyTime> mutedSince_;  // told that it is silent
    std::int64_t streamBytes_ = 0;          // of this stream
    bool isDirty_ = false;                  // bytes since the stream last broke
    std::optional<SteadyTime> toldSince_;   // the span in which nmrTold_ events were told
    int nmrTold_ = 0;
    std::int64_t nmrUntold_ = 0;
    std::vector<char> room_;
};

// "connected".
[[nodiscard]] const char* Name(LiveSource::State state);
// "12 s", "4 min 30 s", as whole seconds at least.
[[nodiscard]] std::string PrintSpan(SteadySpan span);

}  // namespace Host
