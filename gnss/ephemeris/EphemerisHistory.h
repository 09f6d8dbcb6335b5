// EphemerisHistory: the last few broadcast ephemerides of every satellite of a system; written once for GPSEphemeris
// and Glonass::Ephemeris.
#pragma once

#include <array>
#include <cstddef>
#include <memory>

#include "gnss/ephemeris/EphemerisCalculator.h"
#include "gnss/ephemeris/EphemerisRules.h"
#include "gnss/fwd.h"
#include "gnss/platform/CopyOnWrite.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Stream.h"
#include "gnss/time/GPSTime.h"

namespace GNSS {

// Keeps a history per satellite, and answers a calculator's questions from it.
//
// A handle on a shared body: a copy costs one count, and a changed copy still shares every unchanged satellite's
// records. What the copies see never changes under them. A history that is handed to other threads is not changed any
// more; its copies are each their owner's.
template <typename System>
class GNSS_EXPORT EphemerisHistory : public EphemerisCalculator<System>::Implementation {
public:
    using Rules = EphemerisRules<System>;
    using Id = typename Rules::Id;
    using Record = typename Rules::Record;
    using Result = typename Rules::Result;

    class SV;

    EphemerisHistory() = default;

    // Adds a record to its satellite's history by the rules of the system (Receive in EphemerisRules.h). False, and
    // nothing has changed, when the record is implausible, a repeat, out of order or without a satellite.
    bool Update(const Record& record);
    // Forgets all records.
    void Reset();

    // A satellite's history; null without records. Good until this object is next changed, assigned or destroyed.
    [[nodiscard]] const SV* FindSV(const Id& id) const;
    // The number of satellites with records.
    [[nodiscard]] int NmrSV() const;

    // From the satellite's newest record, and from the one before it. False, with the result reset, when there is none
    // or it is too old for t; of a GPS record that is too old, the result still says that it is healthy. True for an
    // unhealthy satellite, with Result::valid false. Nothing is allocated.
    bool CalculatePosn(const Id& id, const GPSTime& t, Result& result) const override;
    bool CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const override;

    // The satellites in ascending order, each as the number of its records in a byte and these records, newest first;
    // a byte 0 ends them. False when the stream fails.
    bool Write(Corvane::Stream::Output& output) const;
    // False, and the history is as it was, when the stream fails or what it holds is no such form. The records are
    // taken as they were: no rule of Update is applied.
    bool Read(Corvane::Stream::Input& input);

private:
    using Body = std::array<std::shared_ptr<const SV>, static_cast<std::size_t>(Id::Max)>;

    [[nodiscard]] static std::size_t Place(const Id& id) { return static_cast<std::size_t>(int{id} - Id::Min); }

    Corvane::CopyOnWrite<Body> body_;
};

// The records of one satellite, newest first. A plain value of a fixed size.
template <typename System>
class GNSS_EXPORT EphemerisHistory<System>::SV : public EphemerisRules<System>::HistoryMembers {
public:
    // Most records; the oldest goes when another comes.
    static constexpr int Depth = Rules::Depth;

    // Adds a record, which is taken to be of this satellite and plausible. False, and nothing has changed, for a repeat
    // and for one out of order.
    bool Update(const Record& record);

    [[nodiscard]] int NmrEphem() const { return nmrEphem_; }
    // The record at an index, 0 being the newest; null outside the history.
    [[nodiscard]] const Record* GetEphem(int index) const;

    // As the set's.
    bool CalculatePosn(const GPSTime& t, Result& result) const { return CalculateWith(0, t, result); }
    bool CalculateSecondPosn(const GPSTime& t, Result& result) const { return CalculateWith(1, t, result); }

private:
    friend class EphemerisHistory;

    void Store(const Record& record, Reception reception);
    bool CalculateWith(int index, const GPSTime& t, Result& result) const;

    std::array<Record, static_cast<std::size_t>(Depth)> records_;
    int nmrEphem_ = 0;
};

}  // namespace GNSS
