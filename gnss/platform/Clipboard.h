// Corvane::Clipboard: the copy command's way out of the program.
#pragma once

#include <functional>
#include <optional>

#include "gnss/platform/Export.h"
#include "gnss/platform/String.h"

namespace Corvane {

// The process's one clipboard, open as long as this object lives. Only one may have it open at a time; for the others,
// of any thread, IsOpen is false and nothing they do has an effect. What is set while it is open goes out once, when it
// is closed, to the sink that the host has chosen (a desktop, a file, the terminal), and stays readable in memory.
class GNSS_EXPORT Clipboard {
public:
    // Takes the text that the clipboard holds from now on, empty when it was emptied; false when it could not.
    using Sink = std::function<bool(const String&)>;

    Clipboard();
    Clipboard(const Clipboard&) = delete;
    Clipboard& operator=(const Clipboard&) = delete;
    ~Clipboard() { Close(); }

    [[nodiscard]] bool IsOpen() const { return open_; }
    void Empty() { SetText({}); }
    // Replaces what the clipboard holds.
    void SetText(const String& text);
    // Hands the change to the sink, if there is one, and closes. False when it was not open or the sink failed (an
    // exception of the sink counts as that); the clipboard then still holds what it held before.
    bool Close();

    // Opens, replaces the text and closes. False when another has it open or the sink failed.
    static bool Copy(const String& text);
    // What the clipboard holds.
    [[nodiscard]] static String GetText();
    // Chooses where the text goes; with an empty function it stays in memory only. Sinks are called one at a time, by
    // the thread that closes the clipboard.
    static void SetSink(Sink sink);

private:
    bool open_;
    std::optional<String> change_;
};

}  // namespace Corvane
