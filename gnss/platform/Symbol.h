// Corvane::Ident and Corvane::Type: small ordered identifiers made from a text or a number.
#pragma once

#include <compare>
#include <concepts>
#include <cstdint>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// The part that all symbols share: a reference to one of the process's interned names. Making one looks the name up
// under a lock; copying and comparing for equality cost as much as for a pointer. Names live as long as the platform
// library is loaded.
class GNSS_EXPORT InternedName {
public:
    struct Entry;

    constexpr InternedName() = default;
    explicit InternedName(const String& text);
    explicit InternedName(std::int64_t number);

    [[nodiscard]] constexpr bool IsNull() const { return entry_ == nullptr; }
    // The text, or the number in decimal digits; empty for null.
    [[nodiscard]] String Print() const;
    friend constexpr bool operator==(InternedName, InternedName) = default;
    // Null first, then numbers by value, then texts by bytes.
    GNSS_EXPORT friend std::strong_ordering operator<=>(InternedName a, InternedName b);

private:
    const Entry* entry_ = nullptr;
};

// A symbol of one kind; symbols of different kinds do not mix. The default one is null and differs from every other.
template <typename Kind>
class Symbol {
public:
    constexpr Symbol() = default;
    explicit Symbol(const char* text) : name_(String(text)) {}
    explicit Symbol(const String& text) : name_(text) {}
    // A template, so that 0 is a number and no null pointer.
    template <std::integral Number>
    explicit Symbol(Number number) : name_(static_cast<std::int64_t>(number)) {}

    [[nodiscard]] constexpr bool IsNull() const { return name_.IsNull(); }
    [[nodiscard]] String Print() const { return name_.Print(); }
    friend constexpr bool operator==(Symbol, Symbol) = default;
    friend std::strong_ordering operator<=>(Symbol a, Symbol b) { return a.name_ <=> b.name_; }

private:
    InternedName name_;
};

// Names a component, a parameter or an attribute.
using Ident = Symbol<struct IdentKind>;
// Names the data type of a link.
using Type = Symbol<struct TypeKind>;

// Numbers the outputs of one name and type; the default index is null.
class Index {
public:
    constexpr Index() = default;
    explicit constexpr Index(std::int32_t number) : number_(number) {}
    [[nodiscard]] constexpr bool IsNull() const { return number_ == NullNumber; }
    [[nodiscard]] constexpr std::int32_t Number() const { return number_; }
    friend constexpr bool operator==(Index, Index) = default;
    friend constexpr std::strong_ordering operator<=>(Index, Index) = default;

private:
    static constexpr std::int32_t NullNumber = INT32_MIN;
    std::int32_t number_ = NullNumber;
};

}  // namespace Corvane
