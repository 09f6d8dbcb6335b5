#include "gnss/ephemeris/DataAge.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "gnss/ephemeris/IODEData.h"
#include "gnss/ephemeris/TbData.h"

namespace GNSS {

namespace {

// Calls with the identifier of every satellite that has one and has been measured.
template <typename Set, typename Call>
void ForMeasured(const Set& measured, Call&& call) {
    for (int i = 0; i < measured.NmrSV(); ++i) {
        const auto& sv = measured.GetSV(i);
        if (sv.NmrMeas() > 0 && !sv.GetId().IsNull()) call(sv.GetId());
    }
}

template <typename List, typename Id>
void AddOnce(List& list, const Id& id) {
    if (list.Find(id) < 0) list.Add(id);
}

}  // namespace

template <typename System>
const typename DataAge<System>::SV& DataAge<System>::operator[](int index) const {
    static const SV none;
    return index >= 0 && index < NmrSV() ? svs_[static_cast<std::size_t>(index)] : none;
}

template <typename System>
int DataAge<System>::FindSV(const Id& id) const {
    const auto found = std::find_if(svs_.begin(), svs_.end(), [&id](const SV& sv) { return sv.GetId() == id; });
    return found == svs_.end() ? -1 : static_cast<int>(found - svs_.begin());
}

template <typename System>
typename DataAge<System>::SV& DataAge<System>::Obtain(const Id& id) {
    const int index = FindSV(id);
    return index < 0 ? svs_.emplace_back(id) : svs_[static_cast<std::size_t>(index)];
}

template <typename System>
bool DataAge<System>::Purge() {
    return std::erase_if(svs_, [](const SV& sv) { return sv.HasExpired(); }) > 0;
}

template <typename System>
bool DataAge<System>::UpdateEphem(const Id& id, Value current, Value previous) {
    if (id.IsNull()) return false;
    SV& sv = Obtain(id);
    const Value formerPrevious = sv.GetPrevious();
    const bool isNew = sv.Set(current);
    if (previous < 0) {
        sv.ResetPrevious();
    } else {
        sv.SetPrevious(previous);
    }
    sv.StopTimer();
    return isNew || !Rules::AreEqual(sv.GetPrevious(), formerPrevious);
}

template <typename System>
bool DataAge<System>::UpdateEphem(const History& history) {
    bool hasChanged = std::erase_if(svs_, [&](const SV& sv) { return history.FindSV(sv.GetId()) == nullptr; }) > 0;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const auto* records = history.FindSV(number);
        if (records == nullptr) continue;
        const auto* before = records->GetEphem(1);
        hasChanged |= UpdateEphem(number, Rules::GetValue(*records->GetEphem(0)),
                                  before == nullptr ? Unknown : Rules::GetValue(*before));
    }
    return hasChanged;
}

template <typename System>
bool DataAge<System>::UpdateRTCM(const Id& id, Value issue) {
    if (id.IsNull()) return false;
    SV& sv = Obtain(id);
    if (sv.IsTimed()) sv.ResetTimer();
    return sv.Update(issue);
}

template <typename System>
bool DataAge<System>::Match(const DataAge& a, const DataAge& b, const MeasurementSet& measured, List& out) {
    ForMeasured(measured, [&](const Id& id) {
        const int inA = a.FindSV(id);
        const int inB = b.FindSV(id);
        if (inA >= 0 && inB >= 0 && !a[inA].Match(b[inB])) AddOnce(out, id);
    });
    return out.GetSize() > 0;
}

template <typename System>
bool DataAge<System>::Missing(const DataAge& a, const MeasurementSet& measured, List& out) {
    ForMeasured(measured, [&](const Id& id) {
        if (a.FindSV(id) < 0) AddOnce(out, id);
    });
    return out.GetSize() > 0;
}

template <typename System>
bool DataAge<System>::SV::Set(Value issue) {
    if (Rules::AreEqual(issue, current_)) return false;
    previous_ = current_;
    current_ = issue;
    candidate_ = Unknown;
    candidateCount_ = 0;
    return true;
}

template <typename System>
bool DataAge<System>::SV::SetPrevious(Value issue) {
    if (issue < 0 || Rules::AreEqual(issue, previous_)) return false;
    previous_ = issue;
    return true;
}

template <typename System>
bool DataAge<System>::SV::SetCandidate(Value issue) {
    if (!Rules::AreEqual(issue, candidate_)) {
        candidate_ = issue;
        candidateCount_ = 1;
        return true;
    }
    // Held, for a caller who counts candidates without ever accepting one.
    candidateCount_ = std::min(candidateCount_, INT32_MAX - 1) + 1;
    return false;
}

template <typename System>
bool DataAge<System>::SV::Update(Value issue) {
    if (Rules::AreEqual(issue, current_)) return false;
    const bool isNew = SetCandidate(issue);
    return candidateCount_ < Accepted ? isNew : Set(issue);
}

template <typename System>
bool DataAge<System>::SV::Match(const SV& other) const {
    return Rules::AreEqual(current_, Unknown) || Rules::AreEqual(current_, other.current_) ||
           Rules::AreEqual(current_, other.previous_);
}

template <typename System>
void DataAge<System>::SV::ResetTimer() {
    expiry_.SetAfterNow(Lifetime);
    isTimed_ = true;
}

template class DataAge<GPSSystem>;
template class DataAge<GlonassSystem>;

}  // namespace GNSS
