// GNSS::Constellation: the satellites of one fix, where they stand in the sky and how they took part.
#pragma once

#include <cstdint>
#include <vector>

#include "gnss/platform/Angle.h"
#include "gnss/platform/Export.h"
#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

// Two lists, of the GPS and of the GLONASS satellites, each in the order in which they were added. Nothing is sorted,
// checked or replaced: a satellite added twice is there twice, and a direction may be any number.
class GNSS_EXPORT Constellation {
public:
    // How a satellite took part. Other codes may be used; the tables call a satellite with one of them unhealthy.
    // A healthy satellite has the code of its own system.
    enum State : std::int32_t {
        BelowMask = 0,  // below the elevation mask
        HealthyGPS = 1,
        HealthyGlonass = 2,
        Unhealthy = 3,  // by its ephemeris or almanac
        Disabled = 4,   // by the operator
        Rejected = 5,   // healthy, but left out by a statistical test
    };

    // One satellite: elevation above the horizon, azimuth clockwise from north.
    template <typename Id>
    class Entry {
    public:
        Entry(const Id& id, Corvane::Angle elevation, Corvane::Angle azimuth, int state)
            : id_(id), elevation_(elevation), azimuth_(azimuth), state_(state) {}

        [[nodiscard]] const Id& GetId() const { return id_; }
        [[nodiscard]] Corvane::Angle GetElevation() const { return elevation_; }
        [[nodiscard]] Corvane::Angle GetAzimuth() const { return azimuth_; }
        [[nodiscard]] int GetState() const { return state_; }

    private:
        Id id_;
        Corvane::Angle elevation_;
        Corvane::Angle azimuth_;
        std::int32_t state_;
    };

    class SV : public Entry<PRN> {
    public:
        SV(const PRN& prn, Corvane::Angle elevation, Corvane::Angle azimuth, int state, bool extra)
            : Entry(prn, elevation, azimuth, state), extra_(extra) {}
        [[nodiscard]] const PRN& GetPRN() const { return GetId(); }
        // Marked with a "-" on the sky plot.
        [[nodiscard]] bool IsExtra() const { return extra_; }

    private:
        bool extra_;
    };

    class GloSV : public Entry<Glonass::Slot> {
    public:
        using Entry::Entry;
        [[nodiscard]] const Glonass::Slot& GetSlot() const { return GetId(); }
    };

    void Add(const PRN& prn, Corvane::Angle elevation, Corvane::Angle azimuth, int state, bool extra) {
        gps_.emplace_back(prn, elevation, azimuth, state, extra);
    }
    void Add(const Glonass::Slot& slot, Corvane::Angle elevation, Corvane::Angle azimuth, int state) {
        glonass_.emplace_back(slot, elevation, azimuth, state);
    }
    // The index of the first entry of a satellite; -1 when there is none.
    [[nodiscard]] int Find(const PRN& prn) const;
    [[nodiscard]] int Find(const Glonass::Slot& slot) const;

    [[nodiscard]] int NmrSV() const { return static_cast<int>(gps_.size()); }
    [[nodiscard]] int NmrGlonassSV() const { return static_cast<int>(glonass_.size()); }
    // An entry by its index, from 0 to one less than their number; a null satellite at the horizon outside that.
    [[nodiscard]] const SV& GetSV(int i) const;
    [[nodiscard]] const GloSV& GetGlonassSV(int i) const;
    // All of them, in their order.
    [[nodiscard]] const std::vector<SV>& GetSVs() const { return gps_; }
    [[nodiscard]] const std::vector<GloSV>& GetGlonassSVs() const { return glonass_; }

    // How many GPS entries, and GLONASS entries when they are to count, have a state.
    [[nodiscard]] int NmrState(int state, bool withGlonass) const;

    void ClearGPS() { gps_.clear(); }
    void ClearGlonass() { glonass_.clear(); }
    // Empties both lists.
    void Reset();

private:
    std::vector<SV> gps_;
    std::vector<GloSV> glonass_;
};

}  // namespace GNSS
