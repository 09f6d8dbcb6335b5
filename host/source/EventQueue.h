// EventQueue: what a decoder says, kept for later.
#pragma once

#include <cstddef>
#include <deque>
#include <optional>
#include <variant>

#include "host/receiver/ReceiverSink.h"

namespace Host {

class EventQueue : public ReceiverSink {
public:
    void OnTime(const GNSS::GPSTime& time) override { events_.emplace_back(time); }
    void OnTimeLost() override { events_.emplace_back(TimeLost{}); }
    void OnLeapSeconds(int seconds) override { events_.emplace_back(LeapSeconds{seconds}); }
    void OnSubframe(const GPSSubframe& subframe) override { events_.emplace_back(subframe); }
    void OnString(const GlonassString& string) override { events_.emplace_back(string); }
    void OnEphemeride(const GPSDecodedEphemeride& record) override { events_.emplace_back(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { events_.emplace_back(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { events_.emplace_back(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { events_.emplace_back(record); }
    void OnMeasurements(const GNSS::MeasSet& set) override { events_.emplace_back(set); }
    void OnFix(const ReceiverFix& fix) override { events_.emplace_back(fix); }
    void OnSky(const ReceiverSky& sky) override { events_.emplace_back(sky); }
    void OnStation(const StationPosition& station) override { events_.emplace_back(station); }

    [[nodiscard]] bool IsEmpty() const { return events_.empty(); }
    // Of the first event, which its stream has told with it or before it; nothing before the first time, and when the
    // stream has lost it.
    [[nodiscard]] std::optional<GNSS::GPSTime> GetTime() const;
    // The first time that is told among all events; null when none is.
    [[nodiscard]] const GNSS::GPSTime* FindTime() const;
    // Gives the first event to a sink, and drops it.
    void PopTo(ReceiverSink& sink);

private:
    struct TimeLost {};
    struct LeapSeconds {
        int count = 0;
    };
    using Event = std::variant<GNSS::GPSTime, TimeLost, LeapSeconds, GPSSubframe, GlonassString, GPSDecodedEphemeride,
                               GlonassDecodedEphemeride, GNSS::Almanac::Iono, GNSS::Almanac::UTC, GNSS::MeasSet,
                               ReceiverFix, ReceiverSky, StationPosition>;

    std::deque<Event> events_;
    std::optional<GNSS::GPSTime> time_;  // of the event last popped
};

}  // namespace Host
