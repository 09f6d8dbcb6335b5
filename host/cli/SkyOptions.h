// The options of what counts in the sky, and of how a sky plot looks.
#pragma once

#include <string>
#include <vector>

#include "host/fix/SkyScan.h"
#include "host/render/SkyPage.h"

namespace CLI {
class App;
}

namespace Host {

struct SkyOptions {
    std::string mode = "both";
    double mask = 10.0;  // degrees
    std::vector<std::string> disabled;
    bool heightAid = false;
};

struct SkyPictureOptions {
    // The switches of the style, as it has them at first.
    bool border = true;
    bool circles = true;
    bool squares = true;
    bool diagonals = false;
    bool elevations = true;
    bool norviRing = false;
    std::string azimuths = "letters";
    std::string north;
    std::string east;
    std::string south;
    std::string west;
    std::string palette = "light";
    int size = 600;
    int density = 1;
    int fontSize = 10;
};

void AddSkyOptions(CLI::App& command, SkyOptions& options);
void AddSkyPictureOptions(CLI::App& command, SkyPictureOptions& options);

// Each empty, or what is wrong: "--mask: ...".
[[nodiscard]] std::string ReadSkyRules(const SkyOptions& options, SkyRules& rules);
// Style, sizes and palette of the page.
[[nodiscard]] std::string ReadPageStyle(const SkyPictureOptions& options, SkyPageContent& page);

}  // namespace Host
