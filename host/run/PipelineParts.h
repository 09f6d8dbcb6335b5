// The components and sinks of a Pipeline. For Pipeline only.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "gnss/health/SVHealthUpdate.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Event.h"
#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "host/receiver/LeapSeconds.h"
#include "host/receiver/RecordMaker.h"
#include "host/run/Pipeline.h"
#include "host/source/EventQueue.h"

namespace Host {

// To the event log.
inline void Say(const std::string& source, const std::string& text) {
    Corvane::Event::AddEvent(Corvane::String(source), Corvane::String(text));
}

inline std::string NameOf(const std::string& path) {
    return path == StandardInput ? "standard input" : path;
}

// Sends the measurements, the GLONASS channels and the operator's list.
class Pipeline::Port : public Corvane::Component {
public:
    static constexpr const char* Name = "Receiver";
    Port()
        : Component(Corvane::Ident(Name), StoreTree::CycleMS),
          measurements(*this, GNSS::MeasSet::Type, Name),
          channels(*this, FixComponent::ChannelsType(), Name),
          health(*this, GNSS::SVHealth::Update::Type, Name) {}

    Corvane::Link<GNSS::MeasSet> measurements;
    Corvane::Link<GlonassChannels> channels;
    Corvane::Link<GNSS::SVHealth::Update> health;
};

// Hears the fixes.
class Pipeline::Listener : public Corvane::Component {
public:
    explicit Listener(const std::vector<RunOutput*>& outputs)
        : Component(Corvane::Ident("Run Outputs"), StoreTree::CycleMS),
          outputs_(outputs),
          fixes_(*this, PublishedFix::Type(), &Listener::OnFix, FixComponent::Name) {}

private:
    void OnFix(const PublishedFix& fix) {
        for (RunOutput* output : outputs_) output->OnFix(fix);
    }

    const std::vector<RunOutput*>& outputs_;
    Corvane::Response<PublishedFix> fixes_;
};

// The way of the navigation files' records into the tree.
class Pipeline::PlanSink : public RecordSink {
public:
    explicit PlanSink(Pipeline& pipeline) : pipeline_(pipeline) {}
    using RecordSink::OnRecord;
    void OnRecord(const GNSS::GPSEphemeride& record) override { pipeline_.tree_.GetNavigation().OnRecord(record); }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        if (channel) pipeline_.TakeChannel(record.slot, *channel);
        pipeline_.tree_.GetNavigation().OnRecord(record, channel);
    }

private:
    Pipeline& pipeline_;
};

// One input's way into the tree: completes its records by its own time.
class Pipeline::Feed : public ReceiverSink, public RecordSink {
public:
    Feed(Pipeline& pipeline, std::string path, RunInput& facts)
        : input(std::move(path)), pipeline_(pipeline), facts_(facts), maker_(*this) {}

    void OnTime(const GNSS::GPSTime& time) override {
        if (!hasTime_) {
            hasTime_ = true;
            // Where the navigation files' headers contradict the table; the stream's own count comes later.
            const int count = pipeline_.leaps_.Count(time);
            if (count != GPSMinusUTC(time)) maker_.OnLeapSeconds(count);
        }
        pipeline_.AdvanceTo(time, *this);
        maker_.OnTime(time);
    }
    void OnTimeLost() override { maker_.OnTimeLost(); }
    void OnLeapSeconds(int seconds) override { maker_.OnLeapSeconds(seconds); }
    void OnSubframe(const GPSSubframe& subframe) override { maker_.OnSubframe(subframe); }
    void OnString(const GlonassString& string) override {
        if (string.channel) pipeline_.TakeChannel(string.slot, *string.channel);
        maker_.OnString(string);
    }
    void OnEphemeride(const GPSDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnEphemeride(const GlonassDecodedEphemeride& record) override { maker_.OnEphemeride(record); }
    void OnIono(const GNSS::Almanac::Iono& record) override { maker_.OnIono(record); }
    void OnUTC(const GNSS::Almanac::UTC& record) override { maker_.OnUTC(record); }
    void OnMeasurements(const GNSS::MeasSet& set) override {
        ++facts_.epochs;
        pipeline_.TakeEpoch(set, *this);
    }
    void OnFix(const ReceiverFix& fix) override {
        for (RunOutput* output : pipeline_.outputs_) output->OnReceiverFix(fix);
    }
    void OnStation(const StationPosition& station) override {
        if (!pipeline_.facts_.station) pipeline_.facts_.station = station;
    }

    void OnRecord(const GNSS::GPSEphemeride& record) override { Send(record); }
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> channel) override {
        if (channel) pipeline_.TakeChannel(record.slot, *channel);
        Send(record, channel);
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { Send(record); }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override {
        pipeline_.TakeChannel(record.slot, record.channel);
        Send(record);
    }
    void OnRecord(const GNSS::Almanac::Iono& record) override { Send(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { Send(record); }

    // The stream has ended.
    void Finish(const std::optional<GNSS::GPSTime>& date) {
        // A stream that has told no time is dated as a whole.
        if (!hasTime_ && date && maker_.GetNmrWaiting() > 0) OnTime(*date);
        const std::string name = NameOf(input.GetPath());
        if (!hasTime_ && !pipeline_.facts_.isStopped)
            Say(name, "tells no time by which it could be dated; --date helps where it tells a part");
        if (maker_.GetNmrRefused() > 0) {
            Say(name, fmt::format("navigation records left out that contradict themselves or the stream's time, or say "
                                  "what cannot be: {}",
                                  maker_.GetNmrRefused()));
        }
        const std::int64_t damaged = maker_.GetNmrParityFailures() + maker_.GetNmrHammingFailures();
        if (damaged > 0) Say(name, fmt::format("navigation words or strings that fail their parity: {}", damaged));
        UpdateFacts();
    }
    void UpdateFacts() {
        const StreamDecoder* decoder = input.GetDecoder();
        facts_.isCut = input.GetBytes().IsCut();
        facts_.failure = input.GetBytes().GetFailure();
        if (decoder == nullptr) return;
        const StreamCounts& counts = decoder->GetCounts();
        facts_.bytes = counts.bytes;
        facts_.skipped = counts.skipped;
        facts_.checksumFailures = counts.checksumFailures;
        facts_.messages = counts.GetNmrMessages();
        facts_.refused = counts.GetNmrRefused() + maker_.GetNmrRefused();
        facts_.undated = decoder->GetNmrUndated() + maker_.GetNmrUndatable();
    }
    [[nodiscard]] const StreamClock& GetClock() const { return maker_.GetClock(); }

    Input input;
    EventQueue queue;      // where there are several
    bool isOpen = true;    // there may be more
    bool isKnown = false;  // what its header says has been taken

private:
    template <typename... Arguments>
    void Send(const Arguments&... record) {
        ++facts_.records;
        pipeline_.tree_.GetNavigation().OnRecord(record...);
    }

    Pipeline& pipeline_;
    RunInput& facts_;
    RecordMaker maker_;
    bool hasTime_ = false;
};

}  // namespace Host
