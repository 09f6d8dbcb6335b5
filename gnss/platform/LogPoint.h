// Corvane::LogDataControl: points at which components give their data to whatever recorder the host has installed.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <span>

#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/platform/Symbol.h"

namespace Corvane {

// The process's log recorder and the points that feed it. Without a recorder nothing is written.
class GNSS_EXPORT LogDataControl {
public:
    // Writes a value in its stream form.
    using Writer = std::function<void(Stream::Output&)>;

    // What a host installs to log data.
    class GNSS_EXPORT Recorder {
    public:
        Recorder() = default;
        Recorder(const Recorder&) = delete;
        Recorder& operator=(const Recorder&) = delete;
        virtual ~Recorder();
        // Takes one whole value. Called from any thread, also by several at once and under a link's lock, so it neither
        // takes one nor waits for who does.
        virtual void Record(Ident source, Type type, std::span<const std::byte> bytes) = 0;
    };

    class GenPoint;

    // Replaces the recorder; null stops recording. A call of the old one may still be running.
    static void SetRecorder(std::shared_ptr<Recorder> recorder);
    [[nodiscard]] static bool IsRecording();

    // The format version of the log that is being written or read, by which records choose among their stream forms.
    // The host sets it; until then it is the newest.
    static constexpr int NewestFileVersion = 111;
    [[nodiscard]] static int FileVersion();
    static void SetFileVersion(int version);
};

// A log point for values of one type from one source. Safe to use from any thread.
class GNSS_EXPORT LogDataControl::GenPoint {
public:
    GenPoint() = default;
    GenPoint(const GenPoint&) = delete;
    GenPoint& operator=(const GenPoint&) = delete;
    ~GenPoint();

    // Sets under which source and type values are recorded; `current`, where given, writes the value of now.
    void Connect(Ident source, Type type, Writer current = nullptr);
    // Records the value of now, as the connected writer writes it.
    bool Refresh() const;
    // Records what the writer writes. False, and nothing is recorded, when the point is not connected, no recorder is
    // installed, or the writer throws, which goes to the event log.
    bool Log(const Writer& write) const;

private:
    struct Connection {
        Ident source;
        Type type;
        Writer current;
    };
    [[nodiscard]] std::shared_ptr<const Connection> GetConnection() const;
    static bool Record(const Connection& connection, const Writer& write);

    mutable std::mutex mutex_;
    std::shared_ptr<const Connection> connection_;
};

}  // namespace Corvane
