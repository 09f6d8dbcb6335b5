// PrintNote: the text of a note, formatted by the rules of printf from arguments that the format is checked against.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <variant>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace GNSS {

// What one conversion prints.
using PrintArgument = std::variant<std::int32_t, std::string_view>;

// The format with its conversions replaced, in order, by the arguments, as C's printf does in every locale (ISO C,
// 7.23.6.1). Conversions are %d and %i for a number; %u, %x, %X and %o for a number taken modulo 2^32; %c for a number
// as a character; %s for a text; %% for the sign itself. Each but the last may have flags (-, +, blank, #, 0), a width
// and a precision in digits; those that mean nothing to a conversion have no effect. Conversions of numbers but %c may
// have a length: h or hh cuts the number to it, l and ll have no effect on a number of 32 bits. Arguments left over are
// not printed.
//
// A format that asks for another kind of argument than it gets or for more of them, or that holds anything else (%f,
// %n, %*d, %ls, a sign at the end) is not used: the result is the format as it stands.
//
// The result is cut to one character less than `bufferSize`, as in a buffer with a terminator.
[[nodiscard]] GNSS_EXPORT Corvane::String PrintNote(const Corvane::String& format,
                                                    std::span<const PrintArgument> arguments, std::size_t bufferSize);

}  // namespace GNSS
