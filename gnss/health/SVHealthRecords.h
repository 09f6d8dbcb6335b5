// SVHealthRecords: the health records of one system; written once for GPS and GLONASS.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "gnss/health/SVHealth.h"

namespace GNSS {

// The records of one system. There are few satellites, so each has its place, and a mask says which are in use: no
// query searches, and making a record moves no other.
template <typename System>
class SVHealthRecords {
public:
    using Id = SatelliteId<System>;

    [[nodiscard]] int Nmr() const { return std::popcount(used_); }
    [[nodiscard]] const SVHealth& Get(int index) const {
        std::uint64_t rest = index < 0 ? 0 : used_;
        for (int i = 0; i < index && rest != 0; ++i) rest &= rest - 1;
        return rest == 0 ? NullRecord : records_[static_cast<std::size_t>(std::countr_zero(rest))];
    }
    [[nodiscard]] int Find(const Id& id) const { return Has(id) ? std::popcount(used_ & (Bit(id) - 1)) : -1; }
    SVHealth& Obtain(const Id& id) {
        SVHealth& record = records_[Place(id)];
        if (!Has(id)) record = SVHealth(id);
        used_ |= Bit(id);
        return record;
    }
    void Reset() { used_ = 0; }
    [[nodiscard]] bool IsHealthy(const Id& id) const { return Has(id) && records_[Place(id)].IsHealthy(); }
    [[nodiscard]] bool IsEnabledAndHealthy(const Id& id) const {
        return Has(id) && records_[Place(id)].IsEnabledAndHealthy();
    }

private:
    static constexpr SVHealth NullRecord{Id()};
    // The null satellite has a place, too.
    static constexpr std::size_t Places = Id::Max + 1;
    static_assert(Places <= 64);

    [[nodiscard]] static std::size_t Place(const Id& id) { return static_cast<std::size_t>(int{id}); }
    [[nodiscard]] static std::uint64_t Bit(const Id& id) { return std::uint64_t{1} << Place(id); }
    [[nodiscard]] bool Has(const Id& id) const { return (used_ & Bit(id)) != 0; }
    template <std::size_t... I>
    [[nodiscard]] static constexpr std::array<SVHealth, Places> MakePlaces(std::index_sequence<I...>) {
        return {(static_cast<void>(I), NullRecord)...};
    }

    std::uint64_t used_ = 0;
    std::array<SVHealth, Places> records_ = MakePlaces(std::make_index_sequence<Places>());
};

}  // namespace GNSS
