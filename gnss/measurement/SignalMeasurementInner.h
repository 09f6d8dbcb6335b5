// SignalMeasurement::Inner: what a receiver measured on the satellites of one system at one epoch.
#pragma once

#include <vector>

#include "gnss/measurement/SignalMeasurementSV.h"
#include "gnss/platform/Angle.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// The epoch's time and its satellites in the order in which they were added, none twice. The body of a Set.
//
// What adds a satellite finds the one that is there already or appends one, and gives its index; or -1, with nothing
// changed, for a null identifier or beyond MaxSV satellites. A GLONASS satellite is known by slot and receiver channel,
// no channel being another than any: on a channel its slot may be null, and one slot may stand on several. What is
// given an identifier only takes the first satellite that has it, on whatever channel.
template <typename System>
class GNSS_EXPORT SignalMeasurement<System>::Inner {
public:
    using Record = SignalMeasurement;
    using Rules = MeasurementRules<System>;

    static constexpr int MaxSV = 256;

    // Time of reception by the receiver's clock; GPSTime::Zero when not set.
    void SetTime(const GPSTime& time) { time_ = time; }
    [[nodiscard]] const GPSTime& GetTime() const { return time_; }

    [[nodiscard]] int NmrSV() const { return static_cast<int>(svs_.size()); }
    // The satellite at an index; a null one outside the list.
    [[nodiscard]] const SV& GetSV(int index) const;
    // The satellite at an index, to be changed; null outside the list. Good until a satellite is added or removed. What
    // is assigned to it must be the same satellite on the same channel.
    [[nodiscard]] SV* ChangeSV(int index);
    // Index of the first satellite with this identifier, on whatever channel; -1 when there is none.
    [[nodiscard]] int FindSV(const Id& id) const;
    // Index of the satellite on this receiver channel, or -1.
    [[nodiscard]] int FindSV(const Id& id, int channel) const requires(Rules::HasReceiverChannel) {
        return FindOnChannel(id, channel);
    }

    int AddSV(const Id& id);
    // Sets the direction, too.
    int AddSV(const Id& id, Corvane::Angle azi, Corvane::Angle elev);
    // A copy, which replaces the same satellite on the same channel.
    int AddSV(const SV& sv);
    int AddSV(const Id& id, int channel) requires(Rules::HasReceiverChannel) { return AddOnChannel(id, channel); }
    // Adds the record to the satellite, or replaces that of the same frequency.
    int AddMeas(const Id& id, const Record& record);
    // Adds a record with nothing measured, unless the satellite has one of this frequency.
    int AddFreq(const Id& id, const Freqy& freqy);

    // Whether any satellite has a record, or the one with this identifier.
    [[nodiscard]] bool HasMeas() const;
    [[nodiscard]] bool HasMeas(const Id& id) const { return GetSV(FindSV(id)).NmrMeas() > 0; }

    // Merges another part of the same epoch: its satellites, known by slot and channel, are added, with their
    // directions where they have them, and their records added or replaced. So of parts without common records each
    // order gives the same satellites. The time is taken from it only while there is none here.
    void UpdateMeasSet(const Set& other);

    // Removes the satellites; the time stays.
    void ResetSVs() { svs_.clear(); }
    void Reset() { *this = Inner(); }

    friend bool operator==(const Inner&, const Inner&) = default;

    // The time, the number of satellites in 16 bits, the satellites. False when the stream fails; a failed read, a
    // satellite that is null or comes twice and a number beyond MaxSV among the failures, leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

private:
    friend Set;

    // For every system, since what is instantiated whole must compile whole.
    [[nodiscard]] int FindOnChannel(const Id& id, int channel) const;
    int AddOnChannel(const Id& id, int channel);
    // Index of the satellite with this identifier and channel, or -1.
    [[nodiscard]] int FindSame(const SV& sv) const;
    // That index, or that of an appended copy.
    int ObtainSV(const SV& sv);

    GPSTime time_;
    std::vector<SV> svs_;
};

}  // namespace GNSS
