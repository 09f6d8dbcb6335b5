// Host::PictureFile: a picture that is drawn and saved under a file's name.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "gnss/platform/DC.h"
#include "host/render/CairoDC.h"

namespace Host {

// The kind by the ending of a file's name, .png, .svg or .pdf in upper or lower case.
[[nodiscard]] std::optional<PictureKind> KindOfPicture(std::string_view path);

// Writes a whole file or leaves what was there (see Corvane::SafeFile). Empty, or what went wrong with the name of the
// file.
[[nodiscard]] std::string WriteWholeFile(const std::string& path, std::string_view bytes);

// The density makes a PNG of more pixels that is laid out alike; it does nothing to the other kinds. Nothing is on disk
// before Save.
class PictureFile {
public:
    // Empty when such a picture can be made, for a command to tell before it begins to compute; otherwise the reason,
    // with the name of the file. Whether the file can be written shows when it is saved.
    [[nodiscard]] static std::string Check(const std::string& path, Corvane::Size size, int density = 1);

    PictureFile(std::string path, Corvane::Size size, int density = 1);

    // Whether there is a picture to draw: Check had nothing to say.
    [[nodiscard]] bool IsOpen() const { return dc_ != nullptr; }
    // Only while it is open.
    [[nodiscard]] Corvane::DC& GetDC() { return *dc_; }
    // Ends the drawing and writes the file, whole or not at all. Empty, or what went wrong with the name of the file.
    [[nodiscard]] std::string Save();

private:
    std::string path_;
    std::unique_ptr<CairoDC> dc_;
    std::string failure_;
};

}  // namespace Host
