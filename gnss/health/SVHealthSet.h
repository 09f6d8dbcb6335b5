// GNSS::SVHealth::Set: the health of every satellite that has been heard of.
#pragma once

#include "gnss/health/SVHealth.h"
#include "gnss/health/SVHealthRecords.h"
#include "gnss/health/SVHealthUpdate.h"
#include "gnss/platform/CopyOnWrite.h"
#include "gnss/platform/Export.h"

namespace GNSS {

// Records of GPS satellites by PRN and of GLONASS satellites by slot, at most one each. A record stays until Reset.
//
// A handle: copying shares the body (Inner), and what changes a set takes a private copy first when the body is shared,
// so that the other handles keep what they had. Distinct handles may be used by distinct threads at once, one handle
// by one at a time. References into a set are good until it is next copied, changed, assigned or destroyed.
class GNSS_EXPORT SVHealth::Set {
public:
    // The body of a set. A plain value with the same operations; its copies share nothing.
    class Inner {
    public:
        [[nodiscard]] int NmrSV() const { return gps_.Nmr(); }
        [[nodiscard]] int NmrSlot() const { return glonass_.Nmr(); }
        [[nodiscard]] const SVHealth& GetSV(int index) const { return gps_.Get(index); }
        [[nodiscard]] const SVHealth& GetSlot(int index) const { return glonass_.Get(index); }
        [[nodiscard]] int FindSV(const PRN& prn) const { return gps_.Find(prn); }
        [[nodiscard]] int FindSlot(const Glonass::Slot& slot) const { return glonass_.Find(slot); }
        SVHealth& ObtainSV(const PRN& prn) { return gps_.Obtain(prn); }
        SVHealth& ObtainSlot(const Glonass::Slot& slot) { return glonass_.Obtain(slot); }

        bool Refresh(const Update& update) {
            SVHealth& record = update.IsGlonass() ? ObtainSlot(update.GetSlot()) : ObtainSV(update.GetPRN());
            return record.Refresh(update);
        }
        void Reset() {
            gps_.Reset();
            glonass_.Reset();
        }

        [[nodiscard]] bool IsHealthy(const PRN& prn) const { return gps_.IsHealthy(prn); }
        [[nodiscard]] bool IsHealthy(const Glonass::Slot& slot) const { return glonass_.IsHealthy(slot); }
        [[nodiscard]] bool IsEnabledAndHealthy(const PRN& prn) const { return gps_.IsEnabledAndHealthy(prn); }
        [[nodiscard]] bool IsEnabledAndHealthy(const Glonass::Slot& slot) const {
            return glonass_.IsEnabledAndHealthy(slot);
        }

    private:
        SVHealthRecords<GPSSystem> gps_;
        SVHealthRecords<GlonassSystem> glonass_;
    };

    // Number of records.
    [[nodiscard]] int NmrSV() const { return inner_.Read().NmrSV(); }
    [[nodiscard]] int NmrSlot() const { return inner_.Read().NmrSlot(); }
    // The record at an index in ascending order of the satellites; a null one outside the list.
    [[nodiscard]] const SVHealth& GetSV(int index) const { return inner_.Read().GetSV(index); }
    [[nodiscard]] const SVHealth& GetSlot(int index) const { return inner_.Read().GetSlot(index); }
    // Index of the record, or -1.
    [[nodiscard]] int FindSV(const PRN& prn) const { return inner_.Read().FindSV(prn); }
    [[nodiscard]] int FindSlot(const Glonass::Slot& slot) const { return inner_.Read().FindSlot(slot); }
    // The record, made when there is none: enabled, without health words.
    SVHealth& ObtainSV(const PRN& prn) { return inner_.Write().ObtainSV(prn); }
    SVHealth& ObtainSlot(const Glonass::Slot& slot) { return inner_.Write().ObtainSlot(slot); }

    // Applies an update to the record of its satellite, which is made when there is none, even by an update that
    // changes nothing. Whether a value of the record changed.
    bool Refresh(const Update& update) { return inner_.Write().Refresh(update); }
    // Removes every record.
    void Reset() { inner_.Write().Reset(); }

    // As the record says; false without one.
    [[nodiscard]] bool IsHealthy(const PRN& prn) const { return inner_.Read().IsHealthy(prn); }
    [[nodiscard]] bool IsHealthy(const Glonass::Slot& slot) const { return inner_.Read().IsHealthy(slot); }
    [[nodiscard]] bool IsEnabledAndHealthy(const PRN& prn) const { return inner_.Read().IsEnabledAndHealthy(prn); }
    [[nodiscard]] bool IsEnabledAndHealthy(const Glonass::Slot& slot) const {
        return inner_.Read().IsEnabledAndHealthy(slot);
    }

    // Whether the two have one body.
    [[nodiscard]] bool SharesWith(const Set& other) const { return inner_.SharesWith(other.inner_); }

private:
    Corvane::CopyOnWrite<Inner> inner_;
};

}  // namespace GNSS
