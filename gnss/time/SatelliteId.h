// SatelliteId: the identifier of a satellite within its system, and lists of them; written once for PRN and
// Glonass::Slot.
#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <vector>

#include "gnss/fwd.h"
#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// The number of a satellite from Min to Max, or null. One byte, copied freely.
//
// A number outside the range makes the identifier null; so does none at all, and nothing else. In a system whose
// message has a 5-bit form of the number (GPS), 0 is the last satellite wherever a number is set: PRN(0) is PRN 32,
// PRN() is null.
//
// Identifiers compare with their own kind and with int (by value, null being 0); identifiers of different systems
// neither compare nor convert.
template <typename System>
class GNSS_EXPORT SatelliteId {
public:
    class List;

    static constexpr int Min = 1;
    static constexpr int Max = System::LastNumber;
    static const SatelliteId First;
    static const SatelliteId Last;
    static const SatelliteId Null;

    constexpr SatelliteId() = default;
    // As Set; also what makes `id = 5` work.
    constexpr SatelliteId(int number) { Set(number); }
    template <typename Other>
    SatelliteId(SatelliteId<Other>) = delete;

    constexpr void Set(int number) {
        if (System::HasFiveBitForm && number == 0) number = Max;
        // The range is checked before the number is cut to a byte.
        number_ = number >= Min && number <= Max ? static_cast<std::int8_t>(number) : std::int8_t{0};
    }
    constexpr void Reset() { number_ = 0; }

    // The 5-bit form of the message: the low five bits of any number, where 0 stands for 32.
    constexpr void SetFrom5Bit(int value) requires(System::HasFiveBitForm) {
        Set(static_cast<int>(static_cast<unsigned>(value) & 31U));
    }
    [[nodiscard]] constexpr int Get5Bit() const requires(System::HasFiveBitForm) {
        return number_ == Max ? 0 : number_;
    }

    [[nodiscard]] constexpr bool IsNull() const { return number_ == 0; }
    [[nodiscard]] constexpr bool IsValid() const { return number_ != 0; }
    // The number; 0 for null.
    [[nodiscard]] constexpr operator int() const { return number_; }

    // The difference of the numbers: below, at or above 0 as this is before, the same as, or after the other.
    [[nodiscard]] constexpr int Compare(const SatelliteId& other) const { return number_ - other.number_; }
    friend constexpr bool operator==(SatelliteId, SatelliteId) = default;
    friend constexpr std::strong_ordering operator<=>(SatelliteId, SatelliteId) = default;
    friend constexpr bool operator==(SatelliteId a, int b) { return a.number_ == b; }
    friend constexpr std::strong_ordering operator<=>(SatelliteId a, int b) { return int{a.number_} <=> b; }

    // Steps as Set(number + 1) and Set(number - 1) do. Stepping past Max gives null, and a null steps up to 1; stepping
    // down from 1 gives null, except that PRN 1 steps down to PRN 32 (the number 0). Intended.
    constexpr SatelliteId& Next() {
        Set(number_ + 1);
        return *this;
    }
    constexpr SatelliteId& Prev() {
        Set(number_ - 1);
        return *this;
    }
    constexpr SatelliteId& operator++() { return Next(); }
    constexpr SatelliteId& operator--() { return Prev(); }
    constexpr SatelliteId operator++(int) {
        const SatelliteId before = *this;
        Next();
        return before;
    }
    constexpr SatelliteId operator--(int) {
        const SatelliteId before = *this;
        Prev();
        return before;
    }

    // The system's letter and the number: "G05" padded, "G5" not; null is number 0. The second flag has no effect; it
    // is there for the callers that print identifiers of every kind alike.
    [[nodiscard]] Corvane::String Print(bool padded = true, bool = false) const;
    // Writes the plain number.
    void PrintTo(std::ostream& os) const;

private:
    std::int8_t number_ = 0;
};

template <typename System>
inline constexpr SatelliteId<System> SatelliteId<System>::First{Min};
template <typename System>
inline constexpr SatelliteId<System> SatelliteId<System>::Last{Max};
template <typename System>
inline constexpr SatelliteId<System> SatelliteId<System>::Null{};

// A satellite of one system is never a satellite of another.
template <typename A, typename B>
requires(!std::same_as<A, B>) bool operator==(SatelliteId<A>, SatelliteId<B>) = delete;
template <typename A, typename B>
requires(!std::same_as<A, B>) std::strong_ordering operator<=>(SatelliteId<A>, SatelliteId<B>) = delete;

// Identifiers in the order in which they were added; the same one may stand in it more than once.
template <typename System>
class GNSS_EXPORT SatelliteId<System>::List {
public:
    // Appends.
    void Add(const SatelliteId& id);
    // Removes the first equal element, if there is one.
    void Remove(const SatelliteId& id);
    // Index of the first equal element, or -1.
    [[nodiscard]] int Find(const SatelliteId& id) const;
    // The element at an index; null outside the list.
    [[nodiscard]] SatelliteId operator[](int index) const;
    [[nodiscard]] int GetSize() const { return static_cast<int>(ids_.size()); }
    [[nodiscard]] auto begin() const { return ids_.begin(); }
    [[nodiscard]] auto end() const { return ids_.end(); }
    void Reset() { ids_.clear(); }

    // Equal elements in the same order.
    [[nodiscard]] bool IsTheSame(const List& other) const { return ids_ == other.ids_; }
    friend bool operator==(const List& a, const List& b) { return a.IsTheSame(b); }

    // The plain numbers: "03, 14, 22"; empty for an empty list.
    [[nodiscard]] Corvane::String Print() const;

private:
    std::vector<SatelliteId> ids_;
};

}  // namespace GNSS
