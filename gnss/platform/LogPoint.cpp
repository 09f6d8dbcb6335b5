#include "gnss/platform/LogPoint.h"

#include <atomic>
#include <utility>

#include "gnss/platform/Failure.h"

namespace Corvane {

namespace {

struct State {
    std::mutex mutex;
    std::shared_ptr<LogDataControl::Recorder> recorder;
};

// Made at the latest while this library loads, so that it outlives what the libraries that stand on it make.
State& TheState() {
    static State state;
    return state;
}
[[maybe_unused]] const State& madeEarly = TheState();

std::atomic<int> fileVersion = LogDataControl::NewestFileVersion;

std::shared_ptr<LogDataControl::Recorder> GetRecorder() {
    const std::lock_guard lock(TheState().mutex);
    return TheState().recorder;
}

}  // namespace

LogDataControl::Recorder::~Recorder() = default;

void LogDataControl::SetRecorder(std::shared_ptr<Recorder> recorder) {
    const std::lock_guard lock(TheState().mutex);
    TheState().recorder.swap(recorder);
}

bool LogDataControl::IsRecording() {
    return GetRecorder() != nullptr;
}

int LogDataControl::FileVersion() {
    return fileVersion.load(std::memory_order_relaxed);
}

void LogDataControl::SetFileVersion(int version) {
    fileVersion.store(version, std::memory_order_relaxed);
}

LogDataControl::GenPoint::~GenPoint() = default;

void LogDataControl::GenPoint::Connect(Ident source, Type type, Writer current) {
    auto connection = std::make_shared<const Connection>(Connection{source, type, std::move(current)});
    const std::lock_guard lock(mutex_);
    connection_.swap(connection);
}

bool LogDataControl::GenPoint::Refresh() const {
    const auto connection = GetConnection();
    return connection && Record(*connection, connection->current);
}

bool LogDataControl::GenPoint::Log(const Writer& write) const {
    const auto connection = GetConnection();
    return connection && Record(*connection, write);
}

std::shared_ptr<const LogDataControl::GenPoint::Connection> LogDataControl::GenPoint::GetConnection() const {
    const std::lock_guard lock(mutex_);
    return connection_;
}

bool LogDataControl::GenPoint::Record(const Connection& connection, const Writer& write) {
    const auto recorder = GetRecorder();
    if (!recorder || !write) return false;
    try {
        Stream::MemoryOutput output;
        write(output);
        recorder->Record(connection.source, connection.type, output.Bytes());
        return true;
    } catch (...) {
        TellFailure(connection.source, "Logging");
        return false;
    }
}

}  // namespace Corvane
