// Navigation: the component through which decoded navigation records reach the stores.
#pragma once

#include <cstdint>
#include <optional>

#include "gnss/almanac/AlmanacUpdate.h"
#include "gnss/platform/Component.h"
#include "gnss/platform/Link.h"
#include "host/receiver/RecordSink.h"

namespace Host {

// The sink of every receiver's RecordMaker: sends each record on a link of the type that its store listens to, the
// records of the almanac as updates. All links are named "Navigation", which tells its updates, that nobody has
// accepted yet, from those that the almanac store publishes under the same type.
//
// Nothing is kept and nothing filtered: repeats are for the stores to refuse. Any thread may call.
class Navigation : public Corvane::Component, public RecordSink {
public:
    static constexpr std::int32_t CycleMS = 100;
    static constexpr const char* Name = "Navigation";

    Navigation();

    void OnRecord(const GNSS::GPSEphemeride& record) override { gpsLink_.Send(record); }
    // The channel has no place in the record, and the stores do not ask for it.
    void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int> /*channel*/) override {
        glonassLink_.Send(record);
    }
    void OnRecord(const GNSS::Almanac::SV& record) override { SendUpdate(record); }
    void OnRecord(const GNSS::Almanac::GlonassSV& record) override { SendUpdate(record); }
    void OnRecord(const GNSS::Almanac::Iono& record) override { SendUpdate(record); }
    void OnRecord(const GNSS::Almanac::UTC& record) override { SendUpdate(record); }

private:
    template <typename Record>
    void SendUpdate(const Record& record) {
        if (almanacLink_.HasSubscribers()) almanacLink_.Send(GNSS::Almanac::Update(record));
    }

    Corvane::Link<GNSS::GPSEphemeride> gpsLink_;
    Corvane::Link<GNSS::Glonass::Ephemeride> glonassLink_;
    Corvane::Link<GNSS::Almanac::Update> almanacLink_;
};

}  // namespace Host
