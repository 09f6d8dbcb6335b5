// DataAge: which issue of the broadcast ephemeris is current for each satellite; written once for IODEData and TbData.
#pragma once

#include <concepts>
#include <vector>

#include "gnss/ephemeris/EphemerisHistory.h"
#include "gnss/fwd.h"
#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/Number.h"
#include "gnss/platform/String.h"
#include "gnss/platform/TimeStamp.h"

namespace GNSS {

template <typename System>
struct DataAgeRules;

// The issue of a GPS ephemeris is its IODE.
template <>
struct DataAgeRules<GPSSystem> {
    using Value = int;
    [[nodiscard]] static Value GetValue(const GPSEphemeride& record) { return record.posn.IODE; }
    [[nodiscard]] static constexpr bool AreEqual(Value a, Value b) { return a == b; }
};

// The issue of a GLONASS ephemeris is its tb in seconds of the Moscow day, which is told to a millisecond; intended.
template <>
struct DataAgeRules<GlonassSystem> {
    using Value = double;
    [[nodiscard]] static Value GetValue(const Glonass::Ephemeride& record) { return record.posn.tb; }
    [[nodiscard]] static constexpr bool AreEqual(Value a, Value b) { return Corvane::compare(a, b, 0.001) == 0; }
};

// The current and previous issue of every satellite, as one source has them: an ephemeris store (UpdateEphem), or
// differential corrections, each of which names the issue that it refers to (UpdateRTCM). Match and Missing hold two
// such records against each other, so that a position leaves out satellites whose corrections go with another
// ephemeris than the one it has.
//
// A plain value under a name, with one entry per satellite in the order in which they came. An entry of corrections
// expires 120 s after the last of them, and goes at the next Purge; once UpdateEphem has set it, it lasts as long as
// the ephemerides do, corrections or not.
template <typename System>
class GNSS_EXPORT DataAge {
public:
    using Rules = DataAgeRules<System>;
    using Id = SatelliteId<System>;
    using Value = typename Rules::Value;
    using History = EphemerisHistory<System>;
    using MeasurementSet = typename SignalMeasurement<System>::Set;
    using List = typename Id::List;

    class SV;

    // No issue is known.
    static constexpr Value Unknown = -1;

    DataAge() = default;
    explicit DataAge(const Corvane::String& name) : name_(name) {}

    [[nodiscard]] const Corvane::String& GetName() const { return name_; }
    [[nodiscard]] int NmrSV() const { return static_cast<int>(svs_.size()); }
    // The entry at an index; one of a null satellite outside the list.
    [[nodiscard]] const SV& operator[](int index) const;
    // Index of a satellite's entry, or -1.
    [[nodiscard]] int FindSV(const Id& id) const;
    [[nodiscard]] int FindPRN(const Id& id) const requires(std::same_as<Id, PRN>) { return FindSV(id); }
    [[nodiscard]] int FindSlot(const Id& id) const requires(std::same_as<Id, Glonass::Slot>) { return FindSV(id); }

    // Forgets the entries; the name stays.
    void Reset() { svs_.clear(); }
    // Removes the entries that have expired; whether there were any.
    bool Purge();

    // Sets a satellite's issues as its history has them, `previous` being Unknown when there is one record only. The
    // entry is made where there is none, and expires no more. Whether an issue has changed. A null satellite is
    // ignored.
    bool UpdateEphem(const Id& id, Value current, Value previous);
    // The same for all satellites of a history; the entries of others go.
    bool UpdateEphem(const History& history);
    // Counts an issue named by a correction (see SV::Update), and starts the timer of an entry of corrections again.
    // The entry is made where there is none, with no issue known. Whether its issue or its candidate has changed. A
    // null satellite is ignored.
    bool UpdateRTCM(const Id& id, Value issue);

    // Adds to `out` the satellites with a measurement (a record, as HasMeas counts them) and an entry in both records,
    // a's of which does not match b's; none twice. Whether there is any satellite in `out`.
    static bool Match(const DataAge& a, const DataAge& b, const MeasurementSet& measured, List& out);
    // Adds to `out` the satellites with a measurement and no entry in a; none twice, and none without an identity.
    // Whether there is any satellite in `out`.
    static bool Missing(const DataAge& a, const MeasurementSet& measured, List& out);

private:
    [[nodiscard]] SV& Obtain(const Id& id);

    Corvane::String name_;
    std::vector<SV> svs_;
};

// A satellite's entry.
template <typename System>
class GNSS_EXPORT DataAge<System>::SV {
public:
    // Milliseconds of the program's clock from ResetTimer to the expiry.
    static constexpr int Lifetime = 120'000;
    // Sightings of a candidate in a row that make it current.
    static constexpr int Accepted = 10;

    // A null satellite, which does not expire.
    SV() = default;
    // The timer runs.
    explicit SV(const Id& id, Value current = Unknown, Value previous = Unknown)
        : id_(id), current_(current), previous_(previous) {
        ResetTimer();
    }

    [[nodiscard]] Id GetId() const { return id_; }
    [[nodiscard]] Value GetCurrent() const { return current_; }
    [[nodiscard]] Value GetPrevious() const { return previous_; }
    // Seen but not accepted yet, and how often in a row.
    [[nodiscard]] Value GetCandidate() const { return candidate_; }
    [[nodiscard]] int GetCandidateCount() const { return candidateCount_; }

    // Makes an issue current and the current one previous, and drops the candidate. False when it is current already.
    bool Set(Value issue);
    // False for a negative issue and for the one that is previous already.
    bool SetPrevious(Value issue);
    void ResetPrevious() { previous_ = Unknown; }
    // Counts a sighting of a candidate; whether it is a new one.
    bool SetCandidate(Value issue);
    // A correction's sighting of an issue: the tenth in a row of one that is not current makes it current. A sighting
    // of the current issue changes nothing, the candidate's count neither; intended. Whether the current issue or the
    // candidate has changed.
    bool Update(Value issue);
    // Whether data of this entry's current issue can be used with the other's: it is unknown, or the other's current or
    // previous one.
    [[nodiscard]] bool Match(const SV& other) const;

    void ResetTimer();
    void StopTimer() { isTimed_ = false; }
    [[nodiscard]] bool IsTimed() const { return isTimed_; }
    // Whether the timer runs and has run out.
    [[nodiscard]] bool HasExpired() const { return isTimed_ && expiry_.HasExpired(); }

private:
    Id id_;
    Value current_ = Unknown;
    Value previous_ = Unknown;
    Value candidate_ = Unknown;
    int candidateCount_ = 0;
    bool isTimed_ = false;
    Corvane::TimeStamp expiry_;
};

}  // namespace GNSS
