// RunOutput: who takes what a run produces: tables, an output folder, a terminal.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gnss/time/GPSTime.h"
#include "host/fix/FixComponent.h"
#include "host/receiver/ReceiverSink.h"
#include "host/run/RunRequest.h"

namespace Host {

// Something that happened on the way, for the event log of a run. It holds no time of the computer's.
struct RunEvent {
    std::optional<GNSS::GPSTime> time;  // the data's; nothing before the first time that they told
    std::string source;                 // "Fix", "Almanac", or the name of an input
    std::string text;                   // as it came: control characters are for each output to escape
};

// One input of a run, as far as it has been read.
struct RunInput {
    std::string name;          // as the user gave it; "-" is standard input
    std::string format;        // "UBX", "RINEX observation"; empty until it is known
    std::int64_t bytes = 0;    // of the content, after decompression
    std::int64_t skipped = 0;  // that belong to no message
    std::int64_t checksumFailures = 0;
    std::int64_t messages = 0;
    std::int64_t refused = 0;  // messages and records that say what cannot be
    std::int64_t undated = 0;  // epochs and records given up because their date was not known
    std::int64_t epochs = 0;   // of measurements, delivered to the fix
    std::int64_t records = 0;  // of navigation, delivered to the stores
    bool isCut = false;        // compressed data that end early
    std::string failure;       // why no more was read; empty when it was read to its end
};

// What a run is about; the same object from Begin to Finish, its inputs' counts growing.
struct RunFacts {
    std::vector<RunInput> inputs;
    RunRequest request;
    // Antenna reference point, where an input tells it (RINEX header, RTCM 1005).
    std::optional<StationPosition> station;
    FixComponent::Counts counts;
    bool isStopped = false;       // before the inputs had ended: by a signal, or an output that cannot be written
    std::int64_t bytesDone = 0;   // of the inputs as they lie on the disk, compressed ones so
    std::int64_t bytesTotal = 0;  // 0 when it is not known (standard input)
};

// All calls come on the thread of the run, in this order: Begin, then times, fixes, events and the
// receiver's own answers as the data's time passes, then Finish. What is given lives until the call returns, but for
// the facts.
class RunOutput {
public:
    RunOutput() = default;
    RunOutput(const RunOutput&) = delete;
    RunOutput& operator=(const RunOutput&) = delete;
    virtual ~RunOutput() = default;

    virtual void Begin(const RunFacts& /*facts*/) {}
    // The data are about to go on to this time, or say it again: nothing of it has been looked at, the clock included.
    // Of several sources the times may be a little out of order.
    virtual void OnTime(const GNSS::GPSTime& /*time*/) {}
    // Each epoch, also one without a position.
    virtual void OnFix(const PublishedFix& fix) = 0;
    virtual void OnEvent(const RunEvent& /*event*/) {}
    virtual void OnReceiverFix(const ReceiverFix& /*fix*/) {}
    // The inputs have ended. Empty, or why the output is not whole, for a person.
    [[nodiscard]] virtual std::string Finish(const RunFacts& /*facts*/) { return {}; }
    // False as soon as going on makes no sense: the disk is full, the pipe closed.
    [[nodiscard]] virtual bool IsGood() const { return true; }
};

}  // namespace Host
