#include "host/cli/OutputOptions.h"

#include <CLI/CLI.hpp>

#include "gnss/geodesy/LocalGrid.h"
#include "gnss/geodesy/Spheroid.h"
#include "host/cli/Inputs.h"
#include "host/cli/PlaceText.h"
#include "host/cli/TimeText.h"

namespace Host {

void AddOutputOptions(CLI::App& command, OutputOptions& options) {
    const std::string group = "Output folder";
    const auto flag = [&](const char* names, bool& value, const char* what) {
        command.add_flag(names, value, what)->group(group);
    };
    command
        .add_option("--output", options.folder,
                    "a folder for everything: positions, satellites, notes and events as tables, pictures, a report; "
                    "made as a whole at the end, or not at all")
        ->group(group);
    flag("--overwrite", options.overwrite, "replace the folder of an earlier run");
    command
        .add_option(
            "--reference", options.reference,
            "the true position, for differences; without it they are from the run's own mean. LAT,LON,HEIGHT in "
            "degrees and metres above the ellipsoid, or X,Y,Z in metres")
        ->group(group);
    flag("--satellites,!--no-satellites", options.satellites,
         "satellites.csv with a row for every satellite of every epoch (as it is without the option)");
    flag("--pictures,!--no-pictures", options.pictures, "the pictures and the report (as it is)");
    flag("--png", options.png, "pictures as PNG instead of SVG; those of the report stay SVG");
    command.add_option("--palette", options.palette, "of the pictures: light or dark; the report is light")
        ->group(group)
        ->capture_default_str();
    command
        .add_option("--sky-at", options.skyTime,
                    "the time of the sky plot, that of the last position without it: 2020-06-25T06:30:00 (GPS time; Z "
                    "behind it: UTC) or week:seconds")
        ->group(group);
}

std::string ReadOutputOptions(const OutputOptions& options, RunFolderOptions& output) {
    output.folder = options.folder;
    output.overwrite = options.overwrite;
    output.satellites = options.satellites;
    output.pictures = options.pictures;
    output.png = options.png;
    if (options.palette != "light" && options.palette != "dark") return "--palette is light or dark";
    output.isDark = options.palette == "dark";
    if (!options.reference.empty()) {
        const std::optional<GNSS::Geog> place = ParsePlace(options.reference);
        if (!place) return "--reference: " + Quoted(options.reference) + " is no place";
        output.reference = GNSS::LocalGrid(*place, GNSS::Spheroid::WGS84).GetOriginECEF();
    }
    if (!options.skyTime.empty()) {
        output.skyTime = ParseTime(options.skyTime);
        if (!output.skyTime) return "--sky-at: " + Quoted(options.skyTime) + " is not a time";
    }
    return {};
}

}  // namespace Host
