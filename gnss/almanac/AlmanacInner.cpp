#include "gnss/almanac/AlmanacInner.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "gnss/platform/Clock.h"

namespace GNSS {

using Corvane::Stream::Succeeds;

namespace {

constexpr std::size_t UTCSize = 2 + 3 * 8 + 4 + 8 + 4 * 4;  // of a UTC record in the file

}  // namespace

template <class Record, class Id, Id Record::*Number>
auto AlmanacRecords<Record, Id, Number>::FindPlace(const Id& id) const {
    return std::lower_bound(
        records_.begin(), records_.end(), id,
        [](const std::shared_ptr<const Record>& record, const Id& wanted) { return (*record).*Number < wanted; });
}

template <class Record, class Id, Id Record::*Number>
const Record* AlmanacRecords<Record, Id, Number>::Get(int index) const {
    return index >= 0 && index < GetSize() ? records_[static_cast<std::size_t>(index)].get() : nullptr;
}

template <class Record, class Id, Id Record::*Number>
int AlmanacRecords<Record, Id, Number>::Find(const Id& id) const {
    const auto place = FindPlace(id);
    return place != records_.end() && (**place).*Number == id ? static_cast<int>(place - records_.begin()) : -1;
}

template <class Record, class Id, Id Record::*Number>
void AlmanacRecords<Record, Id, Number>::Store(const Record& record) {
    auto stored = std::make_shared<const Record>(record);
    const int index = Find(record.*Number);
    if (index >= 0) {
        records_[static_cast<std::size_t>(index)] = std::move(stored);
    } else {
        records_.insert(FindPlace(record.*Number), std::move(stored));
    }
}

template class AlmanacRecords<Almanac::SV, PRN, &Almanac::SV::prn>;
template class AlmanacRecords<Almanac::GlonassSV, Glonass::Slot, &Almanac::GlonassSV::slot>;

bool Almanac::Inner::ShouldStore(const SV& sv) const {
    if (sv.prn.IsNull()) return false;
    const SV* held = svs.FindRecord(sv.prn);
    return held == nullptr || sv.time > held->time;
}

bool Almanac::Inner::ShouldStore(const GlonassSV& sv) const {
    if (sv.slot.IsNull()) return false;
    const GlonassSV* held = glonassSVs.FindRecord(sv.slot);
    if (held == nullptr) return true;
    const Corvane::Date today = Corvane::Now.GetTimeDate().GetDate();
    GloTime offered = sv.GetEpoch();
    GloTime present = held->GetEpoch();
    offered.ResolveLeapYear(today);
    present.ResolveLeapYear(today);
    return offered - present > 0.0;
}

bool Almanac::Inner::Write(Corvane::Stream::Output& output) const {
    output.WriteIntAsShort(svs.GetSize());
    for (int i = 0; i < svs.GetSize(); ++i) {
        if (!svs.Get(i)->Write(output)) return false;
    }
    if (!iono.Write(output) || !utc.Write(output)) return false;
    output.WriteIntAsShort(glonassSVs.GetSize());
    for (int i = 0; i < glonassSVs.GetSize(); ++i) {
        if (!glonassSVs.Get(i)->Write(output)) return false;
    }
    return true;
}

bool Almanac::Inner::Read(Corvane::Stream::Input& input) {
    const int nmrSV = input.ReadShortAsInt();
    if (nmrSV < 0) return false;
    for (int i = 0; i < nmrSV; ++i) {
        SV sv;
        if (!sv.Read(input)) return false;
        if (ShouldStore(sv)) svs.Store(sv);
    }
    if (!iono.Read(input)) return false;

    // From here on a file may end. What is left of a UTC record that was cut short is not taken for anything else; a
    // whole one that cannot be read leaves the built-in parameters, and the file goes on.
    std::array<std::byte, UTCSize> bytes{};
    int nmrGlonassSV = 0;
    const bool isWhole = Succeeds([&] {
        for (std::byte& byte : bytes) byte = std::byte{input.ReadUChar()};
    });
    if (isWhole) {
        Corvane::Stream::MemoryInput record(bytes);
        utc.Read(record);
        Succeeds([&] { nmrGlonassSV = input.ReadShortAsInt(); });
    }
    for (int i = 0; i < nmrGlonassSV; ++i) {
        GlonassSV sv;
        if (!sv.Read(input)) return false;
        if (sv.IsTimeConsistentWithToI() && ShouldStore(sv)) glonassSVs.Store(sv);
    }
    return true;
}

}  // namespace GNSS
