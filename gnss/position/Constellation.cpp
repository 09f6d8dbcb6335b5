#include "gnss/position/Constellation.h"

#include <algorithm>
#include <cstddef>

namespace GNSS {
namespace {

template <typename Entry, typename Id>
int FindIn(const std::vector<Entry>& entries, const Id& id) {
    const auto found =
        std::find_if(entries.begin(), entries.end(), [&id](const Entry& entry) { return entry.GetId() == id; });
    return found == entries.end() ? -1 : static_cast<int>(found - entries.begin());
}

template <typename Entry>
int CountState(const std::vector<Entry>& entries, int state) {
    return static_cast<int>(std::count_if(entries.begin(), entries.end(),
                                          [state](const Entry& entry) { return entry.GetState() == state; }));
}

template <typename Entry>
const Entry& At(const std::vector<Entry>& entries, int i, const Entry& none) {
    return i >= 0 && static_cast<std::size_t>(i) < entries.size() ? entries[static_cast<std::size_t>(i)] : none;
}

}  // namespace

int Constellation::Find(const PRN& prn) const {
    return FindIn(gps_, prn);
}

int Constellation::Find(const Glonass::Slot& slot) const {
    return FindIn(glonass_, slot);
}

const Constellation::SV& Constellation::GetSV(int i) const {
    static const SV none(PRN(), {}, {}, BelowMask, false);
    return At(gps_, i, none);
}

const Constellation::GloSV& Constellation::GetGlonassSV(int i) const {
    static const GloSV none(Glonass::Slot(), {}, {}, BelowMask);
    return At(glonass_, i, none);
}

int Constellation::NmrState(int state, bool withGlonass) const {
    return CountState(gps_, state) + (withGlonass ? CountState(glonass_, state) : 0);
}

void Constellation::Reset() {
    ClearGPS();
    ClearGlonass();
}

}  // namespace GNSS
