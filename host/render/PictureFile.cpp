#include "host/render/PictureFile.h"

#include <algorithm>
#include <span>
#include <utility>

#include "gnss/platform/SafeFile.h"

namespace Host {

std::optional<PictureKind> KindOfPicture(std::string_view path) {
    const auto endsWith = [&](std::string_view ending) {
        return path.size() > ending.size() && path[path.size() - ending.size() - 1] != '/' &&
               std::equal(ending.rbegin(), ending.rend(), path.rbegin(),
                          [](char a, char b) { return a == (b >= 'A' && b <= 'Z' ? b - 'A' + 'a' : b); });
    };
    if (endsWith(".png")) return PictureKind::Png;
    if (endsWith(".svg")) return PictureKind::Svg;
    if (endsWith(".pdf")) return PictureKind::Pdf;
    return std::nullopt;
}

std::string WriteWholeFile(const std::string& path, std::string_view bytes) {
    Corvane::SafeFile file;
    if (file.Open(path) && file.Write(std::as_bytes(std::span(bytes))) && file.Commit()) return {};
    return file.GetFailure().str();
}

std::string PictureFile::Check(const std::string& path, Corvane::Size size, int density) {
    const std::optional<PictureKind> kind = KindOfPicture(path);
    if (!kind) return path + ": a picture's file ends in .png, .svg or .pdf";
    const std::string failure = CairoDC::Check(*kind, size, density);
    return failure.empty() ? failure : path + ": " + failure;
}

PictureFile::PictureFile(std::string path, Corvane::Size size, int density)
    : path_(std::move(path)), failure_(Check(path_, size, density)) {
    if (!failure_.empty()) return;
    dc_ = CairoDC::Make(*KindOfPicture(path_), size, density);
    if (!dc_) failure_ = path_ + ": not enough memory for the picture";
}

std::string PictureFile::Save() {
    if (!dc_) return failure_;
    std::string bytes;
    std::string reason;
    if (dc_->Encode(bytes, reason)) {
        failure_ = WriteWholeFile(path_, bytes);
    } else {
        failure_ = path_ + ": " + reason;
    }
    dc_.reset();
    return failure_;
}

}  // namespace Host
