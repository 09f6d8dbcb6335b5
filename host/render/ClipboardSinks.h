// Host: where the clipboard of a program without a desktop goes.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/platform/Clipboard.h"

namespace Host {

// A file that holds the copied text in UTF-8, empty when the clipboard was emptied; replaced as a whole or not at all.
// What keeps it from being written is told to the event log.
[[nodiscard]] Corvane::Clipboard::Sink MakeFileClipboard(std::string path);

// The terminal's own clipboard, by the control sequence OSC 52, which reaches the operator's desktop also through a
// remote shell. The terminal is the device of that name, opened anew for each text. Where it is none, or where the text
// is too long, the sink fails and tells the event log. Not every terminal obeys, and none says whether it did.
[[nodiscard]] Corvane::Clipboard::Sink MakeTerminalClipboard(std::string device = "/dev/tty");

// The longest text, in bytes of UTF-8: the sequence then has 100,000 bytes, beyond which common terminals drop it.
inline constexpr std::size_t MaxTerminalClipboard = 74'994;
// The sequence that puts a text into the clipboard; none for a longer text. The text travels in base64: nothing in it
// can end the sequence or command the terminal.
[[nodiscard]] std::optional<std::string> TerminalClipboardSequence(std::string_view utf8);

}  // namespace Host
