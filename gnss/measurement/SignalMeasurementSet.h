// SignalMeasurement::Set: the measurements of one system at one epoch, as they travel between modules.
#pragma once

#include "gnss/measurement/SignalMeasurementInner.h"
#include "gnss/platform/CopyOnWrite.h"

namespace GNSS {

// A handle on an Inner with the same operations; see there. A set is copy-on-write: copying it shares the body, and
// what changes it, ChangeSV included, takes a private copy first when the body is shared. So no handle ever sees what
// is done through another. Distinct handles may be used by distinct threads at once, one handle by one at a time.
//
// References and pointers into a set are good until it is next changed, assigned or destroyed.
template <typename System>
class GNSS_EXPORT SignalMeasurement<System>::Set {
public:
    using Record = SignalMeasurement;
    using Rules = MeasurementRules<System>;

    Set() = default;
    explicit Set(const GPSTime& time) { SetTime(time); }

    void SetTime(const GPSTime& time) { inner_.Write().SetTime(time); }
    [[nodiscard]] const GPSTime& GetTime() const { return inner_.Read().GetTime(); }

    [[nodiscard]] int NmrSV() const { return inner_.Read().NmrSV(); }
    [[nodiscard]] const SV& GetSV(int index) const { return inner_.Read().GetSV(index); }
    [[nodiscard]] SV* ChangeSV(int index) { return inner_.Write().ChangeSV(index); }
    [[nodiscard]] int FindSV(const Id& id) const { return inner_.Read().FindSV(id); }
    [[nodiscard]] int FindSV(const Id& id, int channel) const requires(Rules::HasReceiverChannel) {
        return inner_.Read().FindOnChannel(id, channel);
    }

    int AddSV(const Id& id) { return inner_.Write().AddSV(id); }
    int AddSV(const Id& id, Corvane::Angle azi, Corvane::Angle elev) { return inner_.Write().AddSV(id, azi, elev); }
    int AddSV(const SV& sv) { return inner_.Write().AddSV(sv); }
    int AddSV(const Id& id, int channel) requires(Rules::HasReceiverChannel) {
        return inner_.Write().AddOnChannel(id, channel);
    }
    int AddMeas(const Id& id, const Record& record) { return inner_.Write().AddMeas(id, record); }
    int AddFreq(const Id& id, const Freqy& freqy) { return inner_.Write().AddFreq(id, freqy); }

    [[nodiscard]] bool HasMeas() const { return inner_.Read().HasMeas(); }
    [[nodiscard]] bool HasMeas(const Id& id) const { return inner_.Read().HasMeas(id); }

    void UpdateMeasSet(const Set& other) {
        // With itself there is nothing to merge.
        if (!inner_.SharesWith(other.inner_)) inner_.Write().UpdateMeasSet(other);
    }
    void ResetSVs() { inner_.Write().ResetSVs(); }
    void Reset() { inner_.Write().Reset(); }

    [[nodiscard]] const Inner& GetInner() const { return inner_.Read(); }
    // Whether the two have one body.
    [[nodiscard]] bool SharesWith(const Set& other) const { return inner_.SharesWith(other.inner_); }
    friend bool operator==(const Set& a, const Set& b) { return a.SharesWith(b) || a.GetInner() == b.GetInner(); }

    bool Write(Corvane::Stream::Output& output) const { return inner_.Read().Write(output); }
    bool Read(Corvane::Stream::Input& input);

private:
    Corvane::CopyOnWrite<Inner> inner_;
};

}  // namespace GNSS
