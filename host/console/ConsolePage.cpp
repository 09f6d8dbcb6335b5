#include "host/console/ConsolePage.h"

#include <algorithm>
#include <array>
#include <utility>

namespace Host {

namespace {

constexpr std::array Types = {
    std::pair<std::string_view, std::string_view>{".html", "text/html; charset=utf-8"},
    std::pair<std::string_view, std::string_view>{".css", "text/css; charset=utf-8"},
    std::pair<std::string_view, std::string_view>{".js", "text/javascript; charset=utf-8"},
    std::pair<std::string_view, std::string_view>{".svg", "image/svg+xml"},
    std::pair<std::string_view, std::string_view>{".png", "image/png"},
};

}  // namespace

bool FindConsoleAsset(std::string_view name, ConsoleAsset& asset) {
    const std::span<const EmbeddedFile> files = GetEmbeddedFiles();
    const auto file = std::find_if(files.begin(), files.end(), [&](const EmbeddedFile& at) { return at.name == name; });
    if (file == files.end()) return false;
    const auto* type =
        std::find_if(Types.begin(), Types.end(), [&](const auto& at) { return name.ends_with(at.first); });
    if (type == Types.end()) return false;
    asset.bytes = std::string_view(reinterpret_cast<const char*>(file->bytes), file->size);
    asset.type = type->second;
    asset.tag = file->tag;
    return true;
}

}  // namespace Host
