#include "host/source/EventQueue.h"

namespace Host {

using GNSS::GPSTime;

std::optional<GPSTime> EventQueue::GetTime() const {
    if (!events_.empty()) {
        if (const auto* told = std::get_if<GPSTime>(&events_.front())) return *told;
    }
    return time_;
}

const GPSTime* EventQueue::FindTime() const {
    for (const Event& event : events_) {
        if (const auto* told = std::get_if<GPSTime>(&event)) return told;
    }
    return nullptr;
}

void EventQueue::PopTo(ReceiverSink& sink) {
    struct Give {
        ReceiverSink& sink;
        void operator()(const GPSTime& e) const { sink.OnTime(e); }
        void operator()(TimeLost) const { sink.OnTimeLost(); }
        void operator()(const LeapSeconds& e) const { sink.OnLeapSeconds(e.count); }
        void operator()(const GPSSubframe& e) const { sink.OnSubframe(e); }
        void operator()(const GlonassString& e) const { sink.OnString(e); }
        void operator()(const GPSDecodedEphemeride& e) const { sink.OnEphemeride(e); }
        void operator()(const GlonassDecodedEphemeride& e) const { sink.OnEphemeride(e); }
        void operator()(const GNSS::Almanac::Iono& e) const { sink.OnIono(e); }
        void operator()(const GNSS::Almanac::UTC& e) const { sink.OnUTC(e); }
        void operator()(const GNSS::MeasSet& e) const { sink.OnMeasurements(e); }
        void operator()(const ReceiverFix& e) const { sink.OnFix(e); }
        void operator()(const ReceiverSky& e) const { sink.OnSky(e); }
        void operator()(const StationPosition& e) const { sink.OnStation(e); }
    };
    if (events_.empty()) return;
    time_ = GetTime();
    if (std::holds_alternative<TimeLost>(events_.front())) time_.reset();
    std::visit(Give{sink}, events_.front());
    events_.pop_front();
}

}  // namespace Host
