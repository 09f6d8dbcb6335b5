#include "gnss/measurement/SignalMeasurementInner.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"

namespace GNSS {

using Corvane::Angle;
using Corvane::Stream::Input;
using Corvane::Stream::Output;
using Corvane::Stream::Succeeds;

template <typename System>
auto SignalMeasurement<System>::Inner::GetSV(int index) const -> const SV& {
    static const SV Nothing;
    return index >= 0 && index < NmrSV() ? svs_[static_cast<std::size_t>(index)] : Nothing;
}

template <typename System>
auto SignalMeasurement<System>::Inner::ChangeSV(int index) -> SV* {
    return index >= 0 && index < NmrSV() ? &svs_[static_cast<std::size_t>(index)] : nullptr;
}

template <typename System>
int SignalMeasurement<System>::Inner::FindSV(const Id& id) const {
    if (id.IsNull()) return -1;
    const auto found = std::find_if(svs_.begin(), svs_.end(), [&](const SV& sv) { return sv.GetId() == id; });
    return found == svs_.end() ? -1 : static_cast<int>(found - svs_.begin());
}

template <typename System>
int SignalMeasurement<System>::Inner::FindOnChannel(const Id& id, int channel) const {
    SV sought(id);
    sought.channel_ = channel;
    return FindSame(sought);
}

template <typename System>
int SignalMeasurement<System>::Inner::FindSame(const SV& sought) const {
    const auto found = std::find_if(
        svs_.begin(), svs_.end(), [&](const SV& sv) { return sv.id_ == sought.id_ && sv.channel_ == sought.channel_; });
    return found == svs_.end() ? -1 : static_cast<int>(found - svs_.begin());
}

template <typename System>
int SignalMeasurement<System>::Inner::ObtainSV(const SV& sv) {
    const bool known = sv.id_.IsValid() || sv.channel_;
    const int found = FindSame(sv);
    if (found >= 0 || !known || NmrSV() >= MaxSV) return found;
    svs_.push_back(sv);
    return NmrSV() - 1;
}

template <typename System>
int SignalMeasurement<System>::Inner::AddSV(const Id& id) {
    const int index = FindSV(id);
    return index >= 0 ? index : ObtainSV(SV(id));
}

template <typename System>
int SignalMeasurement<System>::Inner::AddSV(const Id& id, Angle azi, Angle elev) {
    const int index = AddSV(id);
    if (SV* const sv = ChangeSV(index)) sv->SetInfo(azi, elev);
    return index;
}

template <typename System>
int SignalMeasurement<System>::Inner::AddSV(const SV& sv) {
    const int before = NmrSV();
    const int index = ObtainSV(sv);
    if (index == before) return index;  // a new one, which is a copy already
    if (SV* const there = ChangeSV(index)) *there = SV(sv);
    return index;
}

template <typename System>
int SignalMeasurement<System>::Inner::AddOnChannel(const Id& id, int channel) {
    SV sv(id);
    sv.channel_ = channel;
    return ObtainSV(sv);
}

template <typename System>
int SignalMeasurement<System>::Inner::AddMeas(const Id& id, const Record& record) {
    const Record copy(record);  // of a record that may be one of this set's own
    const int index = AddSV(id);
    if (SV* const sv = ChangeSV(index)) sv->AddMeas(copy);
    return index;
}

template <typename System>
int SignalMeasurement<System>::Inner::AddFreq(const Id& id, const Freqy& freqy) {
    const Freqy copy(freqy);
    const int index = AddSV(id);
    if (SV* const sv = ChangeSV(index)) sv->ObtainFreq(copy);
    return index;
}

template <typename System>
bool SignalMeasurement<System>::Inner::HasMeas() const {
    return std::any_of(svs_.begin(), svs_.end(), [](const SV& sv) { return sv.NmrMeas() > 0; });
}

template <typename System>
void SignalMeasurement<System>::Inner::UpdateMeasSet(const Set& other) {
    if (time_ == GPSTime::Zero) time_ = other.GetTime();
    for (const SV& sv : other.GetInner().svs_) {
        SV* const here = ChangeSV(ObtainSV(sv));
        if (here == nullptr) continue;
        here->UpdateMeas(sv);
        if (sv.HasInfo()) here->SetInfo(sv.GetAzi(), sv.GetElev());
    }
}

template <typename System>
bool SignalMeasurement<System>::Inner::Write(Output& output) const {
    return Succeeds([&] {
        if (!time_.Write(output)) return false;
        output.WriteIntAsShort(NmrSV());
        return std::all_of(svs_.begin(), svs_.end(), [&](const SV& sv) { return sv.Write(output); });
    });
}

template <typename System>
bool SignalMeasurement<System>::Inner::Read(Input& input) {
    return Succeeds([&] {
        Inner read;
        if (!read.time_.Read(input)) return false;
        const int nmr = input.ReadShortAsInt();
        if (nmr < 0 || nmr > MaxSV) return false;
        for (int index = 0; index < nmr; ++index) {
            SV sv;
            // One that was there already is found before its place.
            if (!sv.Read(input) || read.ObtainSV(sv) != index) return false;
        }
        *this = std::move(read);
        return true;
    });
}

template class SignalMeasurement<GPSSystem>::Inner;
template class SignalMeasurement<GlonassSystem>::Inner;

}  // namespace GNSS
