// RtcmDecoder: a stream of RTCM 3 messages.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/measurement/MeasSet.h"
#include "gnss/time/GPSTime.h"
#include "host/receiver/Crc24q.h"
#include "host/receiver/OverlappingRuns.h"
#include "host/receiver/RtcmObservations.h"
#include "host/receiver/RtcmTime.h"
#include "host/receiver/RtcmTracks.h"
#include "host/receiver/StreamDecoder.h"

namespace Host {

// RTCM 10403 (version 3): a frame is D3, six zero bits, the length in ten, that many bytes, and a CRC-24Q; a message's
// number is its first twelve bits. A frame without contents, which some senders use as a filler, is kind 0.
//
//   1001-1004  GPS measurements            1009-1012  GLONASS measurements
//   1074 1075 1077, 1084 1085 1087         the same as MSM4, MSM5 and MSM7
//   1005 1006  station position            1013       date, time and leap seconds
//   1019       GPS ephemeride              1020       GLONASS ephemeride
//
// Others are counted.
//
// Time          See RtcmTime. While no full time is known, measurements are dropped and their epochs counted, and
//               nothing is held back for a time that may come. Ephemerides are delivered all the same. OnTime tells the
//               time of each epoch, or, until the first one, that of 1013 and 1020.
// Stations      The station of the first epoch is followed. Measurements of others are left out and counted, until it
// has
//               been silent for 30 s; then the next one is followed.
// Epochs        All messages of an epoch make one set: until one says that none of the epoch follows, or one of another
//               epoch comes, or the stream ends. A set in which nothing is measured is not delivered.
// Range         m, as the message has it. From 1001, 1003, 1009 and 1011 it lacks a multiple of a light-millisecond
//               (two for GLONASS), which is for the receiver of the set to put back. Qualities are 0: none are told.
// Phase         cycles, continuous while the lock is: see RtcmTracks. GLONASS phases and Dopplers need the frequency
//               channel, from the message or an earlier one of the same slot (1009 to 1012, 1020, MSM5, MSM7); they are
//               left out before that. A phase warning is one of half a cycle.
// Lock time     s, the least that the message's indicator stands for. A slip is also a lost lock.
// Ephemerides   1019 says the week of transmission modulo 1024. 1020: day is N_T, which satellites before GLONASS-M do
//               not send; the reference is tb nearest to the frame, where its own date is believed or it has none and a
//               time is known.
class RtcmDecoder : public StreamDecoder {
public:
    explicit RtcmDecoder(ReceiverSink& sink) : StreamDecoder(sink) {}

    // See RtcmTime.
    void SetApproximateTime(const GNSS::GPSTime& time) override { time_.SetApproximate(time); }
    // The message number.
    [[nodiscard]] std::string GetKindName(std::uint32_t kind) const override { return std::to_string(kind); }
    [[nodiscard]] std::int64_t GetNmrUndated() const override { return nmrUndated_; }
    [[nodiscard]] std::int64_t GetNmrOfOthers() const override { return nmrOfOthers_; }

protected:
    [[nodiscard]] std::size_t FindStart(std::string_view bytes) const override;
    void OnMoved() override { runs_.Restart(); }
    [[nodiscard]] Frame Inspect(std::string_view bytes) override;
    [[nodiscard]] bool Decode(std::uint32_t kind, std::string_view message) override;
    void Flush() override;

private:
    [[nodiscard]] bool DecodeStation(std::uint32_t kind, std::string_view payload);
    [[nodiscard]] bool DecodeSystem(std::string_view payload);
    [[nodiscard]] bool DecodeGPSEphemeride(std::string_view payload);
    [[nodiscard]] bool DecodeGlonassEphemeride(std::string_view payload);
    // Tells a time that does not come from an epoch: before the first one, or when it changes what is known.
    void TellOtherTime(const GNSS::GPSTime& time);
    // Dates a message of a station and adds it to its epoch.
    void Take(const RtcmObservations& message, int station);
    // Whether the station is the one that is followed; from now on it is, if the other is silent.
    [[nodiscard]] bool Follows(int station, const GNSS::GPSTime& time);
    void CountUndated(const RtcmObservations& message);
    template <typename Set>
    void AddSignals(const RtcmObservations& message, const GNSS::GPSTime& time, Set& set);

    OverlappingRuns<Crc24qRuns> runs_;
    RtcmTime time_;
    RtcmTracks tracks_;
    RtcmObservations message_;  // kept for its size

    std::optional<GNSS::GPSTime> epoch_;  // of the set that is being put together
    GNSS::MeasSet set_;
    bool hasEpochs_ = false;
    struct Followed {
        int station;
        GNSS::GPSTime heard;  // last
    };
    std::optional<Followed> followed_;
    std::int64_t nmrOfOthers_ = 0;

    std::int64_t nmrUndated_ = 0;
    bool isUndatedOpen_ = false;                              // messages of the last undated epoch may still follow
    std::array<std::optional<std::int64_t>, 2> undatedMs_{};  // of that epoch, by system
};

}  // namespace Host
