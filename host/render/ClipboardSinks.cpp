#include "host/render/ClipboardSinks.h"

#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <utility>

#include "gnss/platform/Event.h"
#include "host/render/PictureFile.h"

namespace Host {

namespace {

bool Tell(const std::string& failure) {
    if (!failure.empty()) Corvane::Event::AddEvent("Clipboard", failure);
    return failure.empty();
}

std::string Base64(std::string_view bytes) {
    constexpr std::string_view Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8U | (i + k < bytes.size() ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += i + k > bytes.size() ? '=' : Digits[group >> (18U - 6U * k) & 0x3FU];
    }
    return text;
}

std::string Reason(const std::string& device) {
    const char* reason = ::strerrordesc_np(errno);
    return device + ": cannot be written: " + (reason != nullptr ? reason : "unknown error");
}

std::string WriteToTerminal(const std::string& device, std::string_view sequence) {
    const int file = ::open(device.c_str(), O_WRONLY | O_NOCTTY | O_CLOEXEC);
    if (file < 0) return Reason(device);
    std::string failure = ::isatty(file) != 0 ? "" : device + ": is no terminal";
    while (failure.empty() && !sequence.empty()) {
        const ssize_t written = ::write(file, sequence.data(), sequence.size());
        if (written >= 0) {
            sequence.remove_prefix(static_cast<std::size_t>(written));
        } else if (errno != EINTR) {
            failure = Reason(device);
        }
    }
    ::close(file);
    return failure;
}

}  // namespace

Corvane::Clipboard::Sink MakeFileClipboard(std::string path) {
    return [path = std::move(path)](const Corvane::String& text) { return Tell(WriteWholeFile(path, text.ToUTF8())); };
}

Corvane::Clipboard::Sink MakeTerminalClipboard(std::string device) {
    return [device = std::move(device)](const Corvane::String& text) {
        const std::optional<std::string> sequence = TerminalClipboardSequence(text.ToUTF8());
        if (!sequence)
            return Tell("the text is too long for the terminal's clipboard, which takes " +
                        std::to_string(MaxTerminalClipboard) + " bytes");
        return Tell(WriteToTerminal(device, *sequence));
    };
}

std::optional<std::string> TerminalClipboardSequence(std::string_view utf8) {
    if (utf8.size() > MaxTerminalClipboard) return std::nullopt;
    // BEL ends it: of the two ends, the one that every terminal understands.
    return "\x1B]52;c;" + Base64(utf8) + "\a";
}

}  // namespace Host
