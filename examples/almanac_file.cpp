// An almanac with one satellite, saved to its file and loaded again.
#include <filesystem>
#include <iostream>

#include "gnss/almanac/Almanac.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/platform/FileStream.h"

int main() {
    GNSS::Almanac::SV sv;
    sv.prn = 5;
    sv.time = GNSS::GPSTime(2363, 455900.0);
    GNSS::Almanac almanac;
    std::cout << almanac.UpdateSV(sv) << almanac.UpdateSV(sv) << '\n';  // 10: the same record again is not newer

    const std::string path = (std::filesystem::temp_directory_path() / "gnss_example.alm").string();
    Corvane::FileOutput output(path, Corvane::ByteOrder::PC);
    const bool saved = almanac.Write(output) && output.Close();
    Corvane::FileInput input(path, Corvane::ByteOrder::PC);
    GNSS::Almanac loaded;
    if (saved && loaded.Read(input)) std::cout << loaded.GetSV(0).prn.Print() << " of " << loaded.NmrSV() << '\n';
    std::filesystem::remove(path);
}
