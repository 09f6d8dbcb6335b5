#include "host/source/NavigationPlan.h"

#include <algorithm>

namespace Host {

using GNSS::GPSTime;

void NavigationPlan::Add(const RinexNavigation& navigation, std::string_view file) {
    set_.Add(navigation, file);
}

template <typename Records, typename Entry>
void NavigationPlan::Plan(const Records& records, const Entry* Due::*place, Corvane::Time lead, Corvane::Time holds) {
    std::vector<Due> own;
    std::optional<GPSTime> heldUntil;
    // In the order of their reference times.
    for (const Entry& entry : records.GetEntries()) {
        if (!entry.doubt.empty()) continue;
        const GPSTime from = entry.reference - holds;
        Due due;
        // Without a time of transmission nobody says that it was there before it is nearest.
        due.sent = entry.record.transmission.value_or(entry.reference - lead);
        due.time = std::min(due.sent, entry.reference - lead);
        // The record before it holds no more, or there is none.
        if (!heldUntil || *heldUntil < due.time) due.time = heldUntil ? std::max(from, *heldUntil) : from;
        due.time = std::max(due.time, from);
        due.*place = &entry;
        heldUntil = entry.reference + holds;
        own.push_back(due);
    }
    std::stable_sort(own.begin(), own.end(), [](const Due& a, const Due& b) { return a.sent < b.sent; });
    for (std::size_t i = own.size(); i-- > 1;) own[i - 1].time = std::min(own[i - 1].time, own[i].time);
    due_.insert(due_.end(), own.begin(), own.end());
}

void NavigationPlan::Complete() {
    set_.Complete();
    due_.clear();
    next_ = 0;
    for (int prn = 1; prn <= EphemerisSet::NmrGPS; ++prn) Plan(set_.GPS(prn), &Due::gps, LeadGPS, HoldsGPS);
    for (int slot = 1; slot <= EphemerisSet::NmrGlonass; ++slot) {
        Plan(set_.Glonass(slot), &Due::glonass, LeadGlonass, HoldsGlonass);
    }
    // Those of a satellite stay in their order.
    std::stable_sort(due_.begin(), due_.end(), [](const Due& a, const Due& b) {
        return (a.time - b.time).Seconds() < 0.0;  // an order without a tolerance
    });
}

void NavigationPlan::Rewind() {
    next_ = 0;
}

void NavigationPlan::SendNext(RecordSink& sink) {
    const Due& due = due_[next_++];
    if (due.gps != nullptr) {
        GNSS::GPSEphemeride record = due.gps->record.ephemeride;
        if (due.gps->record.transmission) record.reference = *due.gps->record.transmission;
        sink.OnRecord(record);
    } else {
        sink.OnRecord(due.glonass->record.ephemeride, due.glonass->record.channel);
    }
}

}  // namespace Host
