// GlonassRecordMaker: GLONASS strings and undated GLONASS records to complete records. For RecordMaker, which tells the
// rules.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "gnss/icd/ICDGlonass.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/StreamClock.h"
#include "host/receiver/Waiting.h"

namespace Host {

// Frames follow each other every 30 s and superframes every 150 s from midnight of GLONASS time, a string every 2 s
// within the frame. A string belongs to the frame that the stream's time says, when it arrives within 15 s of its own
// end; where the source tells the frame's number, within 75 s. An ephemeride is made only of strings 1 to 4 of one
// frame that begins when its own t_k and N_T say, an almanac only of two successive strings of a frame with that
// frame's string 5, and where N_T of the frame's string 4 agrees.
class GlonassRecordMaker {
public:
    GlonassRecordMaker(const StreamClock& clock, RecordSink& sink) : clock_(clock), sink_(sink) {}

    void Add(const GlonassString& string);
    void Add(const GlonassDecodedEphemeride& record);
    // The stream's time has become known.
    void CompleteWaiting();

    [[nodiscard]] std::int64_t GetNmrWaiting() const { return decoded_.GetNmr(); }
    [[nodiscard]] std::int64_t GetNmrUndatable() const { return decoded_.GetNmrReplaced() + nmrUndatedStrings_; }
    [[nodiscard]] std::int64_t GetNmrHammingFailures() const { return nmrHammingFailures_; }
    [[nodiscard]] std::int64_t GetNmrRefused() const { return nmrRefused_; }

private:
    static constexpr int Satellites = GNSS::Glonass::Slot::Max;

    // What one satellite sends.
    struct Channel {
        GNSS::ICDGlonass icd;
        // The frame that each string was last received in, counted from 6 January 1980; 0 before there is one.
        std::array<std::int64_t, GNSS::ICDGlonass::Frame::NmrString> frames{};
        std::int64_t lastMade = 0;  // the frame of the last ephemeride
    };

    void MakeEphemeride(Channel& channel, const GlonassString& string, std::int64_t frame);
    void MakeAlmanac(const Channel& channel, std::int64_t frame, int odd);
    void Complete(const GlonassDecodedEphemeride& record);

    const StreamClock& clock_;
    RecordSink& sink_;
    std::array<Channel, static_cast<std::size_t>(Satellites)> channels_;
    Waiting<GlonassDecodedEphemeride, Satellites> decoded_;
    std::int64_t nmrUndatedStrings_ = 0;
    std::int64_t nmrHammingFailures_ = 0;
    std::int64_t nmrRefused_ = 0;
};

}  // namespace Host
