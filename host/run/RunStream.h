// RunStream: one stream's way into a run: completes its records by its own time.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "gnss/time/GPSTime.h"
#include "host/receiver/ReceiverSink.h"
#include "host/receiver/RecordMaker.h"
#include "host/receiver/RecordSink.h"
#include "host/receiver/RinexObservation.h"
#include "host/receiver/StreamDecoder.h"
#include "host/run/RunCore.h"

namespace Host {

class RunStream : public ReceiverSink, public RecordSink {
public:
    // The name is for people.
    RunStream(RunCore& core, RunInput& facts, std::string name)
        : core_(core), facts_(facts), name_(std::move(name)), maker_(*this) {}

    void OnTime(const GNSS::GPSTime& time) override;
    void OnTimeLost() override { maker_.OnTimeLost(); }
    void OnLeapSeconds(int seconds) override { maker_.OnLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override;
    void OnString(const GlonassString& string) override;
    void OnEphemeride(const GPSDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { maker_.OnIono(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { maker_.OnUTC(record); }
    void OnMeasurements(const GNSS::MeasSet& set) override;
    void OnFix(const ReceiverFix& fix) override { core_.TakeReceiverFix(fix); }
    void OnStation(const StationPosition& station) override { core_.TakeStation(station); }

    void OnRecord(const GNSS::GPSEphemeride& record) override { Send(record); }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override;
    void OnRecord(const GNSS::Almanac::SV& record) override { Send(record); }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override;
    void OnRecord(const GNSS::Almanac::Iono& record) override { Send(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { Send(record); }

    // Where the messages are those of RINEX observations: their header tells GLONASS channels.
    void SetObservations(const RinexObservationDecoder* observations) { observations_ = observations; }
    // The stream has ended.
    void Finish(const std::optional<GNSS::GPSTime>& date);
    // What the decoder has counted so far, on top of what is in `before`: of an earlier decoder of the same stream.
    void UpdateFacts(const StreamDecoder& decoder, const RunInput& before);

    [[nodiscard]] const std::string& GetName() const { return name_; }
    [[nodiscard]] RunInput& GetFacts() { return facts_; }

protected:
    [[nodiscard]] RunCore& GetCore() { return core_; }

private:
    // Of a satellite, by the parameter of its notes.
    void RemarkDamage(int param);
    template <typename... Arguments>
    void Send(const Arguments&... record) {
        ++facts_.records;
        core_.GetNavigation().OnRecord(record...);
    }

    RunCore& core_;
    RunInput& facts_;
    std::string name_;
    RecordMaker maker_;
    const RinexObservationDecoder* observations_ = nullptr;  // until its header has been taken
    bool hasTime_ = false;
};

}  // namespace Host
