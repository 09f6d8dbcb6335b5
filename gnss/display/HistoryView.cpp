#include "gnss/display/HistoryView.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "gnss/display/EphemerisView.h"
#include "gnss/display/GlonassEphemerisView.h"
#include "gnss/display/HistoryViewRows.h"
#include "gnss/store/EphemerisStoreRules.h"

namespace GNSS {

using Corvane::Ident;
using Corvane::String;

namespace {

// Of the histories that travel under the same type, those that a store publishes.
constexpr const char* StoreOutputs = "Ephemeris";

template <typename System>
constexpr bool IsGlonass = std::is_same_v<System, GlonassSystem>;

}  // namespace

template <typename System>
const Ident HistoryView<System>::ID(IsGlonass<System> ? "GLONASS Ephemeris View" : "GPS Ephemeris View");
template <typename System>
const Ident HistoryView<System>::OlderCommand("Older Record");

template <typename System>
HistoryView<System>::HistoryView()
    : RecordView(Ident(IsGlonass<System> ? "GLONASS Ephemeris View" : "GPS Ephemeris View"), IsGlonass<System>),
      historyInput_(*this, EphemerisStoreRules<System>::HistoryType(), &HistoryView::OnHistory, StoreOutputs) {
    AddCommand({Ident("Older Record"), "Older Record", [this] { SetRecord((record_ + 1) % History::SV::Depth); }, {}});
}

template <typename System>
HistoryView<System>::~HistoryView() = default;

template <typename System>
void HistoryView<System>::SetHistory(const History& history) {
    History old = history;  // the one before is destroyed outside the lock
    {
        const std::lock_guard lock(mutex_);
        std::swap(history_, old);
    }
    Invalidate();
}

template <typename System>
EphemerisHistory<System> HistoryView<System>::GetHistory() const {
    const std::lock_guard lock(mutex_);
    return history_;
}

template <typename System>
void HistoryView<System>::SetRecord(int index) {
    record_ = std::clamp(index, 0, History::SV::Depth - 1);
    Invalidate();
}

template <typename System>
std::vector<RecordTable> HistoryView<System>::MakeTables(const GPSTime& now, bool withGlonass) const {
    using Rows = HistoryViewRows<System>;
    using Record = typename Rows::Record;
    using Id = SatelliteId<System>;
    if (IsGlonass<System> && !withGlonass) return {RecordTable("GLONASS is hidden")};

    const History history = GetHistory();
    const int index = record_;
    std::vector<std::pair<Id, const typename History::SV*>> shown;
    for (int number = Id::Min; number <= Id::Max; ++number) {
        const auto* sv = history.FindSV(number);
        if (sv != nullptr && sv->GetEphem(index) != nullptr) shown.push_back({Id(number), sv});
    }
    const auto nmr = static_cast<int>(shown.size());
    String title = String(Rows::Name()) + " ephemerides";
    if (index > 0) title += ", " + String::FormatInt(index) + " before the newest";
    title += ": " + (nmr == 0 ? "no" : String::FormatInt(nmr)) + (nmr == 1 ? " satellite" : " satellites");
    RecordTable table = RecordRows::NewTable<Record>(title, Rows::Get());
    for (const auto& [id, sv] : shown) {
        const Record& record = *sv->GetEphem(index);
        RecordRows::AddRecord<Record>(table, Rows::Get(), id.Print(), {record, now, sv->NmrEphem()},
                                      Rows::IsTooOld(record, now));
    }
    return {table};
}

template class HistoryView<GPSSystem>;
template class HistoryView<GlonassSystem>;

}  // namespace GNSS
