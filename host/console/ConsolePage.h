// ConsolePage: the files of the operator console's page, which are part of the program.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

namespace Host {

// A file as the build has put it into the program.
struct EmbeddedFile {
    const char* name;
    const unsigned char* bytes;
    std::size_t size;
    const char* tag;  // of its contents, as an ETag with its quotes
};

// In the source file that EmbedPage.cmake makes.
[[nodiscard]] std::span<const EmbeddedFile> GetEmbeddedFiles();

struct ConsoleAsset {
    std::string_view bytes;
    std::string_view type;
    std::string_view tag;
};

// "index.html", "uPlot.esm.js". A table is searched and no path is made of the name. False when there is none, or its
// kind is not one of a page.
[[nodiscard]] bool FindConsoleAsset(std::string_view name, ConsoleAsset& asset);

}  // namespace Host
