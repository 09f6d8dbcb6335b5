#include "gnss/measurement/SignalMeasurementSV.h"

#include <algorithm>
#include <cstddef>

#include "gnss/measurement/GPSMeas.h"
#include "gnss/measurement/GlonassMeasurement.h"

namespace GNSS {

using Corvane::QValue;
using Corvane::Stream::Input;
using Corvane::Stream::Output;
using Corvane::Stream::Succeeds;

template <typename System>
auto SignalMeasurement<System>::SV::GetMeas(int index) const -> const Record& {
    static constexpr Record Nothing;
    return index >= 0 && index < NmrMeas() ? records_[static_cast<std::size_t>(index)] : Nothing;
}

template <typename System>
auto SignalMeasurement<System>::SV::ChangeMeas(int index) -> Record* {
    return index >= 0 && index < NmrMeas() ? &records_[static_cast<std::size_t>(index)] : nullptr;
}

template <typename System>
int SignalMeasurement<System>::SV::FindFreqy(const Freqy& freqy) const {
    const auto found =
        std::find_if(records_.begin(), records_.end(), [&](const Record& r) { return r.GetFreqy() == freqy; });
    return found == records_.end() ? -1 : static_cast<int>(found - records_.begin());
}

template <typename System>
auto SignalMeasurement<System>::SV::ObtainFreq(const Freqy& freqy) -> Record& {
    Record* const found = ChangeMeas(FindFreqy(freqy));
    return found != nullptr ? *found : records_.emplace_back(freqy);
}

template <typename System>
void SignalMeasurement<System>::SV::UpdateMeas(const SV& other) {
    for (const Record& record : other.records_) AddMeas(record);
}

template <typename System>
void SignalMeasurement<System>::SV::RemoveMeas(int index) {
    if (index >= 0 && index < NmrMeas()) records_.erase(records_.begin() + index);
}

template <typename System>
bool SignalMeasurement<System>::SV::CalcIonoDelay([[maybe_unused]] QValue& delay, [[maybe_unused]] bool smoothed,
                                                  [[maybe_unused]] bool useCA) const {
    if constexpr (Rules::HasIonoDelay) {
        const int index1 = FindFreqy(useCA ? Freqy::CA : Freqy::L1);
        const int index2 = FindFreqy(Freqy::L2);
        if (index1 < 0 || index2 < 0) return false;
        const Record& first = GetMeas(index1);
        const Record& second = GetMeas(index2);
        const Flag needed = smoothed ? SmoothRange : Range;
        if (!first.IsValid(needed) || !second.IsValid(needed)) return false;
        const QValue& p1 = smoothed ? first.GetSmoothRangeQ() : first.GetRangeQ();
        const QValue& p2 = smoothed ? second.GetSmoothRangeQ() : second.GetRangeQ();
        const QValue ionoFree = p2.Add(-p1.Times(Freqy::Gamma)).Times(Freqy::GammaDivisor);
        delay = p1.Add(-ionoFree);
        return true;
    } else {
        return false;
    }
}

template <typename System>
bool SignalMeasurement<System>::SV::Write(Output& output) const {
    return Succeeds([&] {
        output.WriteUChar(static_cast<std::uint8_t>(int{id_}));
        if constexpr (Rules::HasReceiverChannel) {
            output.WriteBool(channel_.has_value());
            if (channel_) output.WriteInt(*channel_);
        }
        output.WriteBool(hasInfo_);
        if (hasInfo_) {
            output.WriteAngle(azi_);
            output.WriteAngle(elev_);
        }
        // A byte is enough: there is one record per frequency, and only the three known ones can be written.
        output.WriteUChar(static_cast<std::uint8_t>(std::min<std::size_t>(records_.size(), 255)));
        return std::all_of(records_.begin(), records_.end(), [&](const Record& r) { return r.Write(output); });
    });
}

template <typename System>
bool SignalMeasurement<System>::SV::Read(Input& input) {
    return Succeeds([&] {
        SV read;
        const int number = input.ReadUChar();
        if (number > Id::Max) return false;
        // Here 0 is no satellite, which the number 0 alone does not say in every system.
        if (number != 0) read.id_ = Id(number);
        if constexpr (Rules::HasReceiverChannel) {
            if (input.ReadBool()) read.channel_ = input.ReadInt();
        }
        if (input.ReadBool()) {
            const Corvane::Angle azi = input.ReadAngle();
            read.SetInfo(azi, input.ReadAngle());
        }
        for (int left = input.ReadUChar(); left > 0; --left) {
            Record record;
            if (!record.Read(input) || read.FindFreqy(record.GetFreqy()) >= 0) return false;
            read.records_.push_back(record);
        }
        *this = std::move(read);
        return true;
    });
}

template class SignalMeasurement<GPSSystem>::SV;
template class SignalMeasurement<GlonassSystem>::SV;

}  // namespace GNSS
