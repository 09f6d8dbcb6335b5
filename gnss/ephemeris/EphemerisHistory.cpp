#include "gnss/ephemeris/EphemerisHistory.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"

namespace GNSS {

template <typename System>
bool EphemerisHistory<System>::Update(const Record& record) {
    const Id id = Rules::GetId(record);
    if (!Rules::IsPlausible(record) || id.IsNull()) return false;

    // Most records are repeats, so nothing is copied before the answer is known.
    const SV* held = FindSV(id);
    Record received = record;
    const Reception reception = Rules::Receive(held == nullptr ? nullptr : held->GetEphem(0), received);
    if (reception == Reception::Refused) return false;
    auto changed = held == nullptr ? std::make_shared<SV>() : std::make_shared<SV>(*held);
    changed->Store(received, reception);
    body_.Write()[Place(id)] = std::move(changed);
    return true;
}

template <typename System>
void EphemerisHistory<System>::Reset() {
    body_ = Corvane::CopyOnWrite<Body>();
}

template <typename System>
const typename EphemerisHistory<System>::SV* EphemerisHistory<System>::FindSV(const Id& id) const {
    return id.IsNull() ? nullptr : body_.Read()[Place(id)].get();
}

template <typename System>
int EphemerisHistory<System>::NmrSV() const {
    const Body& body = body_.Read();
    return static_cast<int>(std::count_if(body.begin(), body.end(), [](const auto& sv) { return sv != nullptr; }));
}

template <typename System>
bool EphemerisHistory<System>::CalculatePosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const SV* sv = FindSV(id)) return sv->CalculatePosn(t, result);
    result.Reset();
    return false;
}

template <typename System>
bool EphemerisHistory<System>::CalculateSecondPosn(const Id& id, const GPSTime& t, Result& result) const {
    if (const SV* sv = FindSV(id)) return sv->CalculateSecondPosn(t, result);
    result.Reset();
    return false;
}

template <typename System>
bool EphemerisHistory<System>::Write(Corvane::Stream::Output& output) const {
    return Corvane::Stream::Succeeds([&] {
        for (const auto& sv : body_.Read()) {
            if (!sv) continue;
            output.WriteUChar(static_cast<std::uint8_t>(sv->NmrEphem()));
            for (int i = 0; i < sv->NmrEphem(); ++i) {
                if (!sv->GetEphem(i)->Write(output)) return false;
            }
        }
        output.WriteUChar(0);
        return true;
    });
}

template <typename System>
bool EphemerisHistory<System>::Read(Corvane::Stream::Input& input) {
    return Corvane::Stream::Succeeds([&] {
        EphemerisHistory read;
        Body& body = read.body_.Write();
        Id before;
        while (const int nmr = input.ReadUChar()) {
            if (nmr > SV::Depth) return false;
            auto sv = std::make_shared<SV>();
            for (; sv->nmrEphem_ < nmr; ++sv->nmrEphem_) {
                Record& record = sv->records_[static_cast<std::size_t>(sv->nmrEphem_)];
                if (!record.Read(input) || Rules::GetId(record) != Rules::GetId(sv->records_.front())) return false;
            }
            const Id id = Rules::GetId(sv->records_.front());
            if (id <= before) return false;
            body[Place(id)] = std::move(sv);
            before = id;
        }
        *this = read;
        return true;
    });
}

template <typename System>
bool EphemerisHistory<System>::SV::Update(const Record& record) {
    Record received = record;
    const Reception reception = Rules::Receive(GetEphem(0), received);
    if (reception == Reception::Refused) return false;
    Store(received, reception);
    return true;
}

template <typename System>
const typename EphemerisHistory<System>::Record* EphemerisHistory<System>::SV::GetEphem(int index) const {
    return index >= 0 && index < nmrEphem_ ? &records_[static_cast<std::size_t>(index)] : nullptr;
}

template <typename System>
void EphemerisHistory<System>::SV::Store(const Record& record, Reception reception) {
    if (reception == Reception::BecomesNewest) {
        std::move_backward(records_.begin(), records_.end() - 1, records_.end());
        nmrEphem_ = std::min(nmrEphem_ + 1, int{Depth});
    }
    records_.front() = record;
}

template <typename System>
bool EphemerisHistory<System>::SV::CalculateWith(int index, const GPSTime& t, Result& result) const {
    const Record* record = GetEphem(index);
    if (record == nullptr) {
        result.Reset();
        return false;
    }
    return Rules::CalculatePosn(*record, t, result, index > 0);
}

template class EphemerisHistory<GPSSystem>;
template class EphemerisHistory<GlonassSystem>;

}  // namespace GNSS
