// How a navigation message is described: a table with one row for each field, which is checked when the library is
// compiled and from which the record is decoded.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "gnss/platform/Angle.h"

namespace GNSS::FieldTable {

// A run of bits as the interface documents number them, from 1: in which word or string, the lowest number, how many.
struct Bits {
    int unit = 0;
    int first = 0;
    int width = 0;
};

// Signed is as the message writes it: two's complement for GPS, sign and magnitude for GLONASS.
enum class Coding : std::uint8_t { Unsigned, Signed };

// What the bits of a field say, and the value of the last one.
struct Raw {
    std::int64_t number;
    double scale;

    [[nodiscard]] constexpr double Value() const { return static_cast<double>(number) * scale; }
    // For fields without a scale, narrower than 32 bits.
    [[nodiscard]] constexpr int Whole() const { return static_cast<int>(number); }
};

template <typename Record>
struct Field {
    Bits bits;  // of a field in two parts the most significant one, which has the sign
    Coding coding;
    double scale;  // value of the last bit
    void (*store)(Record&, const Raw&);
    Bits rest{};  // the least significant part
};

// Destinations. A path of members leads from the record to a field, or to a setter that takes its value.
template <typename Object, typename Value, typename First, typename... Path>
constexpr void Assign(Object& object, const Value& value, First first, Path... path) {
    if constexpr (sizeof...(path) > 0) {
        Assign(object.*first, value, path...);
    } else if constexpr (std::is_member_function_pointer_v<First>) {
        (object.*first)(value);
    } else {
        object.*first = value;
    }
}

template <auto... Path>
inline constexpr auto Whole = [](auto& record, const Raw& raw) { Assign(record, raw.Whole(), Path...); };
template <auto... Path>
inline constexpr auto Scaled = [](auto& record, const Raw& raw) { Assign(record, raw.Value(), Path...); };
template <auto... Path>
inline constexpr auto Radians =
    [](auto& record, const Raw& raw) { Assign(record, Corvane::Angle(raw.Value()), Path...); };
template <auto... Path>
inline constexpr auto SemiCircles =
    [](auto& record, const Raw& raw) { Assign(record, Corvane::Angle::FromSemiCircles(raw.Value()), Path...); };

// Whether a scale is a power of two or, as those of some times, a whole number.
consteval bool IsSoundScale(double scale) {
    if (!(scale > 0.0 && scale < 1e9)) return false;
    const bool isPowerOfTwo = (std::bit_cast<std::uint64_t>(scale) & ((std::uint64_t{1} << 52) - 1)) == 0;
    return isPowerOfTwo || scale == static_cast<double>(static_cast<int>(scale));
}

// Whether every field has 1 to 32 bits and a sound scale, lies within bits firstBit to lastBit of units 1 to nmrUnits,
// and shares no bit with another.
template <typename Record, std::size_t Size>
consteval bool IsSound(const std::array<Field<Record>, Size>& table, int nmrUnits, int firstBit, int lastBit) {
    std::array<std::array<bool, 128>, 16> isTaken{};
    for (const auto& field : table) {
        if (!IsSoundScale(field.scale)) return false;
        if (field.bits.width < 1 || field.bits.width + field.rest.width > 32) return false;
        for (const Bits& bits : {field.bits, field.rest}) {
            if (bits.width == 0) continue;
            if (bits.unit < 1 || bits.unit > nmrUnits || bits.width < 0 || bits.width > 32) return false;
            if (bits.first < firstBit || bits.first + bits.width - 1 > lastBit) return false;
            for (int bit = bits.first; bit < bits.first + bits.width; ++bit) {
                bool& taken = isTaken[static_cast<std::size_t>(bits.unit)][static_cast<std::size_t>(bit)];
                if (taken) return false;
                taken = true;
            }
        }
    }
    return true;
}

template <const auto& Table, std::size_t Row, typename Record, typename Reader>
inline void DecodeRow(const Reader& reader, Record& record) {
    constexpr const auto& Line = Table[Row];
    static_assert(Line.coding == Coding::Unsigned || Line.rest.width == 0 || Reader::IsTwosComplement,
                  "the parts of a signed field can only be joined in two's complement");
    std::int64_t number = Line.coding == Coding::Signed ? std::int64_t{reader.Signed(Line.bits)}
                                                        : std::int64_t{reader.Unsigned(Line.bits)};
    if constexpr (Line.rest.width > 0) number = number * (1LL << Line.rest.width) + reader.Unsigned(Line.rest);
    Line.store(record, {number, Line.scale});
}

template <const auto& Table, typename Record, typename Reader, std::size_t... Row>
inline void DecodeRows(const Reader& reader, Record& record, std::index_sequence<Row...> /*rows*/) {
    (DecodeRow<Table, Row>(reader, record), ...);
}

// Fills a record's fields in the order of the table. The reader gives the bits as an unsigned or a signed number. Every
// row is a constant to the compiler, so that nothing of the table remains at run time.
template <const auto& Table, typename Record, typename Reader>
inline void Decode(const Reader& reader, Record& record) {
    DecodeRows<Table>(reader, record, std::make_index_sequence<Table.size()>{});
}

}  // namespace GNSS::FieldTable
