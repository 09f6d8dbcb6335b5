// GNSS::Position::StatusInfo: the reference stations of a differential fix.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "gnss/platform/Export.h"
#include "gnss/platform/Time.h"
#include "gnss/position/Position.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Which stations there are, which of them the fix used, how old their corrections were, and how each satellite stood.
//
// Satellites have a status in two places, and neither follows from the other: with each station, as its own corrections
// are; and here, as what all stations together (the composite station) gave for the fix. Who makes the fix sets both.
//
// A plain value; a copy has stations of its own. The default is as after Reset.
class GNSS_EXPORT Position::StatusInfo {
public:
    class Station;  // in PositionStation.h

    // The correction service of the fix.
    enum Mode : std::int32_t {
        Norvi = 0,
        Elkan = 1,
        Morra = 2,
        NoService = 3,
    };

    // How the corrections of a station, or for a satellite, stand. Other values may be used.
    enum Status : std::int32_t {
        NoCorrections = 0,  // none received; also what is said of a satellite that is not in a list
        Used = 1,           // they take part in the fix
        Available = 2,      // good, but not used
        Outdated = 3,       // older than the age limit
        Unmonitored = 4,    // the station's transmissions are not monitored (reference station health 6 of RTCM SC-104)
        Unhealthy = 5,      // the station is not working (health 7), or says that the satellite must not be used
        Rejected = 6,       // left out by a statistical test
        Disabled = 7,       // by the operator
    };

    // The status of one satellite; written once for GPS (SV) and GLONASS (GloSV).
    template <typename System>
    class SVStatus {
    public:
        using Id = SatelliteId<System>;

        // At most one record of each satellite, in the order of their numbers.
        class List {
        public:
            [[nodiscard]] int NmrSV() const { return static_cast<int>(records_.size()); }
            // The record at an index; a null satellite without corrections outside the list.
            [[nodiscard]] SVStatus GetSV(int index) const {
                return index >= 0 && index < NmrSV() ? records_[static_cast<std::size_t>(index)] : SVStatus();
            }
            [[nodiscard]] auto begin() const { return records_.begin(); }
            [[nodiscard]] auto end() const { return records_.end(); }
            void Reset() { records_.clear(); }

            // NoCorrections (0) for a satellite that is not in the list.
            [[nodiscard]] Status GetSVStatus(const Id& id) const {
                const auto place = FindPlace(records_, id);
                return place != records_.end() && place->id_ == id ? place->status_ : NoCorrections;
            }
            // Takes the satellite into the list, if need be. A null one changes nothing.
            void SetSVStatus(const Id& id, Status status) {
                if (id.IsNull()) return;
                const auto place = FindPlace(records_, id);
                if (place != records_.end() && place->id_ == id) {
                    place->status_ = status;
                } else {
                    records_.insert(place, SVStatus(id, status));
                }
            }

        private:
            // Where a satellite's record stands or would stand.
            template <typename Records>
            [[nodiscard]] static auto FindPlace(Records& records, const Id& id) {
                return std::find_if(records.begin(), records.end(),
                                    [&id](const SVStatus& record) { return record.id_ >= id; });
            }

            std::vector<SVStatus> records_;
        };

        // A null satellite without corrections.
        constexpr SVStatus() = default;
        constexpr SVStatus(const Id& id, Status status) : id_(id), status_(status) {}

        [[nodiscard]] constexpr const Id& GetId() const { return id_; }
        [[nodiscard]] constexpr const PRN& GetPRN() const requires(std::same_as<Id, PRN>) { return id_; }
        [[nodiscard]] constexpr const Glonass::Slot& GetSlot() const requires(std::same_as<Id, Glonass::Slot>) {
            return id_;
        }
        [[nodiscard]] constexpr Status GetStatus() const { return status_; }

    private:
        Id id_;
        Status status_ = NoCorrections;
    };
    using SV = SVStatus<GPSSystem>;
    using GloSV = SVStatus<GlonassSystem>;

    // Stations at this distance and beyond are out of range.
    static constexpr double RangeKMLimit = 2500.0;

    StatusInfo();
    StatusInfo(const StatusInfo& other);
    StatusInfo(StatusInfo&& other) noexcept;
    StatusInfo& operator=(const StatusInfo& other);
    StatusInfo& operator=(StatusInfo&& other) noexcept;
    ~StatusInfo();

    // No stations and satellites, no service, latencies and ids of 0.
    void Reset();

    // The station of an identifier; when there is none it is made, not in use and with a latency of 0. One that is
    // there keeps its RTCM id and baseline (kilometres). Its place is by the identifier, ascending. A baseline of NaN
    // is out of range.
    //
    // References to stations are good until Reset, assignment and destruction; new stations move none.
    Station& AddStation(int ident, int rtcmID, double baselineKM);

    // Tells how a station took part in the fix: the age of its corrections, a count (of what, is for the caller to say;
    // usually of its satellites), the service that they came by, and whether the fix used them. Nothing happens when
    // there is no such station. The mode is the fix's, so that the last call tells it.
    //
    // Each call with `used` counts as one more station in use, also a second one for the same station; intended. It may
    // lower GetGPSLatency, and sets GetCompositeID. A latency of NaN counts as equal to any.
    void SetUsage(int ident, Corvane::Time latency, int count, Mode mode, bool used);
    // Likewise, and stores the latency of the GLONASS corrections, also when there is no such station and when it is
    // not used; intended.
    void SetUsage(int ident, Corvane::Time latency, Corvane::Time glonassLatency, int count, Mode mode, bool used);

    // How often a station was told to be in use.
    [[nodiscard]] int NmrUsedStation() const { return usedStations_; }
    [[nodiscard]] bool IsDifferential() const { return usedStations_ > 0; }
    // What stands for the used stations together: the RTCM id of a single one; for n of them n + 100 by Elkan,
    // n + 10000 by Morra and n + 1000 otherwise, by the mode of the last; 0 without any.
    [[nodiscard]] int GetCompositeID() const { return compositeID_; }
    // The smallest age of the used stations' corrections; 0 without any. A station whose age is smaller by no more than
    // 5e-7 s does not lower it.
    [[nodiscard]] Corvane::Time GetGPSLatency() const { return gpsLatency_; }
    [[nodiscard]] bool HasGlonassLatency() const { return hasGlonassLatency_; }
    // As it was set last; 0 before.
    [[nodiscard]] Corvane::Time GetGlonassLatency() const { return glonassLatency_; }
    // The smaller of the two, if there are two: GPS when it is smaller by more than 5e-7 s, else GLONASS.
    [[nodiscard]] Corvane::Time GetLatency() const;

    [[nodiscard]] Mode GetMode() const { return mode_; }
    [[nodiscard]] bool IsNorvi() const { return mode_ == Norvi; }
    [[nodiscard]] bool IsElkan() const { return mode_ == Elkan; }
    [[nodiscard]] bool IsMorra() const { return mode_ == Morra; }

    [[nodiscard]] int NmrStation() const;
    // In the order of their identifiers; outside the list a null one, of identifier 0 and out of range.
    [[nodiscard]] const Station& GetStation(int index) const;
    // Null when there is none; the first by identifier when several stations have one RTCM id.
    [[nodiscard]] const Station* Find(int ident) const;
    [[nodiscard]] Station* Find(int ident);
    [[nodiscard]] const Station* FindRTCMID(int rtcmID) const;
    [[nodiscard]] Station* FindRTCMID(int rtcmID);

    // How a satellite stands with all stations together. Setting a null one does nothing.
    [[nodiscard]] Status GetSVStatus(const PRN& prn) const;
    [[nodiscard]] Status GetSVStatus(const Glonass::Slot& slot) const;
    void SetSVStatus(const PRN& prn, Status status);
    void SetSVStatus(const Glonass::Slot& slot, Status status);
    // All of them.
    [[nodiscard]] const SV::List& GetSVs() const { return gps_; }
    [[nodiscard]] const GloSV::List& GetGlonassSVs() const { return glonass_; }

private:
    // The identifier that stands for the used stations when one more is used.
    [[nodiscard]] std::int32_t ComposeID(const Station& station) const;

    std::int32_t usedStations_ = 0;
    Corvane::Time gpsLatency_;
    std::int32_t compositeID_ = 0;
    std::vector<std::unique_ptr<Station>> stations_;  // by identifier; never null
    Mode mode_ = NoService;
    Corvane::Time glonassLatency_;
    bool hasGlonassLatency_ = false;
    SV::List gps_;
    GloSV::List glonass_;
};

}  // namespace GNSS
