// Text from data on its way into an output.
#pragma once

#include <string>
#include <string_view>

namespace Host {

// UTF-8 that can be shown anywhere: each control character (those of Latin-1 and line breaks included) becomes a blank,
// each mark that turns the direction of writing or breaks the line, and each byte that belongs to no UTF-8, U+FFFD.
[[nodiscard]] std::string CleanText(std::string_view text);

// The following take clean text.

// A text that a spreadsheet would run (it begins with =, +, - or @, or with blanks before these) gets an apostrophe
// before it. Quoting is the writer's.
[[nodiscard]] std::string CellText(std::string text);
// For the content of elements and the values of attributes.
[[nodiscard]] std::string HtmlText(std::string_view text);
// With its quotes.
[[nodiscard]] std::string JsonText(std::string_view text);

}  // namespace Host
