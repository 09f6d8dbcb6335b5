#include "gnss/time/SatelliteId.h"

#include <algorithm>
#include <ostream>

#include "gnss/time/GlonassSlot.h"
#include "gnss/time/PRN.h"

namespace GNSS {

using Corvane::String;

template <typename System>
String SatelliteId<System>::Print(bool padded, bool) const {
    return String(1, System::Letter) + String::FormatInt(number_ - Min + 1, padded ? 2 : -1, true, String::MinusOnly);
}

template <typename System>
void SatelliteId<System>::PrintTo(std::ostream& os) const {
    os << String::FormatInt(number_);
}

template <typename System>
void SatelliteId<System>::List::Add(const SatelliteId& id) {
    ids_.push_back(id);
}

template <typename System>
void SatelliteId<System>::List::Remove(const SatelliteId& id) {
    const auto found = std::find(ids_.begin(), ids_.end(), id);
    if (found != ids_.end()) ids_.erase(found);
}

template <typename System>
int SatelliteId<System>::List::Find(const SatelliteId& id) const {
    const auto found = std::find(ids_.begin(), ids_.end(), id);
    return found == ids_.end() ? -1 : static_cast<int>(found - ids_.begin());
}

template <typename System>
SatelliteId<System> SatelliteId<System>::List::operator[](int index) const {
    return index >= 0 && index < GetSize() ? ids_[static_cast<std::size_t>(index)] : SatelliteId();
}

template <typename System>
String SatelliteId<System>::List::Print() const {
    String text;
    text.Reserve(4 * ids_.size());
    for (const SatelliteId id : ids_) {
        text += String::FormatInt(id.number_, 2, true, String::MinusOnly);
        text += ", ";
    }
    text.RemoveRight(2);
    return text;
}

// Member by member: with the whole class g++ leaves out the constructor that the class's own constants use, and a
// program that is compiled without optimisation then misses it.
template String SatelliteId<GPSSystem>::Print(bool, bool) const;
template void SatelliteId<GPSSystem>::PrintTo(std::ostream&) const;
template class SatelliteId<GPSSystem>::List;
template String SatelliteId<GlonassSystem>::Print(bool, bool) const;
template void SatelliteId<GlonassSystem>::PrintTo(std::ostream&) const;
template class SatelliteId<GlonassSystem>::List;

}  // namespace GNSS
