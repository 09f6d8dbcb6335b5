// SignalMeasurement::SV: what a receiver measured on the signals of one satellite at one epoch.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "gnss/measurement/MeasurementRules.h"
#include "gnss/measurement/SignalMeasurement.h"
#include "gnss/platform/Angle.h"

namespace GNSS {

// The satellite, where it stands in the receiver's sky, and one record per frequency in the order in which they came.
template <typename System>
class GNSS_EXPORT SignalMeasurement<System>::SV {
public:
    using Record = SignalMeasurement;
    using Rules = MeasurementRules<System>;

    // A null satellite.
    SV() = default;
    explicit SV(const Id& id) : id_(id) {}
    SV(const Id& id, Corvane::Angle azi, Corvane::Angle elev) : id_(id) { SetInfo(azi, elev); }
    // On a receiver channel.
    SV(const Id& id, int channel) requires(Rules::HasReceiverChannel) : id_(id), channel_(channel) {}

    [[nodiscard]] Id GetId() const { return id_; }

    // Azimuth from north to east and elevation above the horizon; zero when there are none.
    void SetInfo(Corvane::Angle azi, Corvane::Angle elev) {
        azi_ = azi;
        elev_ = elev;
        hasInfo_ = true;
    }
    [[nodiscard]] bool HasInfo() const { return hasInfo_; }
    void ResetInfo() {
        azi_ = elev_ = Corvane::Angle();
        hasInfo_ = false;
    }
    [[nodiscard]] Corvane::Angle GetAzi() const { return azi_; }
    [[nodiscard]] Corvane::Angle GetElev() const { return elev_; }

    // Number of the receiver's channel that tracks the satellite, not its frequency channel; 0 when there is none.
    [[nodiscard]] bool HasChannel() const requires(Rules::HasReceiverChannel) { return channel_.has_value(); }
    [[nodiscard]] int GetChannel() const requires(Rules::HasReceiverChannel) { return channel_.value_or(0); }

    // The number of records: a satellite counts as measured wherever it has one, whatever is valid in it.
    [[nodiscard]] int NmrMeas() const { return static_cast<int>(records_.size()); }
    // The record at an index; one with nothing measured outside the list.
    [[nodiscard]] const Record& GetMeas(int index) const;
    // The record at an index, to be changed; null outside the list. Good until a record is added or removed.
    [[nodiscard]] Record* ChangeMeas(int index);
    // Index of the record of a frequency, or -1.
    [[nodiscard]] int FindFreqy(const Freqy& freqy) const;
    // The record of a frequency, added when there is none yet. Good until the next one is added or removed.
    Record& ObtainFreq(const Freqy& freqy);
    // Adds a record, or replaces that of the same frequency.
    void AddMeas(const Record& record) { ObtainFreq(record.GetFreqy()) = Record(record); }
    // Adds the other's records, replacing those of the same frequencies. The satellite, its direction and its channel
    // stay.
    void UpdateMeas(const SV& other);
    // Removes the record at an index, if there is one.
    void RemoveMeas(int index);
    void ResetMeas() { records_.clear(); }

    // The delay of the first frequency (C/A or L1) in the ionosphere in metres, from its range and that of L2, raw or
    // smoothed: (P2 - P1) / (Gamma - 1), by way of the ionosphere-free range (IS-GPS-200, 20.3.3.3.3.3). False, with
    // the delay left alone, when either range is missing. Always false for GLONASS, intended.
    bool CalcIonoDelay(Corvane::QValue& delay, bool smoothed, bool useCA) const;

    friend bool operator==(const SV&, const SV&) = default;

    // The satellite's number in one byte; for GLONASS a bool and, when it is set, the channel in 32 bits; a bool and,
    // when it is set, azimuth and elevation; the number of records in one byte; the records. False when the stream
    // fails; a failed read, more than one record of a frequency and a number outside the system's among the failures,
    // leaves the object as it was.
    bool Write(Corvane::Stream::Output& output) const;
    bool Read(Corvane::Stream::Input& input);

private:
    friend Inner;

    Id id_;
    bool hasInfo_ = false;
    std::optional<std::int32_t> channel_;  // always empty where the system has none
    Corvane::Angle azi_;
    Corvane::Angle elev_;
    std::vector<Record> records_;
};

}  // namespace GNSS
