// A store that keeps an almanac from one run to the next.
#include <filesystem>
#include <iostream>

#include "gnss/gnss.h"
#include "gnss/platform/Root.h"

int main() {
    const auto root = std::filesystem::temp_directory_path() / "gnss_example";  // ".alm" is added to it
    Corvane::Root tree;
    tree.Join(GNSS::AlmanacStore::TheFactory.CreateComponent());
    const auto store = std::dynamic_pointer_cast<GNSS::AlmanacStore>(tree.Find(GNSS::AlmanacStore::ID));
    store->RootPathChange(root.string(), false);  // what the last run left, if there was one
    GNSS::Almanac::SV sv;                         // as a subframe decoder makes it
    sv.prn = GNSS::PRN(5);
    sv.time = GNSS::GPSTime(Corvane::Now);
    store->OnAlmanacSV(sv);
    std::cout << "saved: " << std::filesystem::file_size(root.string() + ".alm") << " bytes\n";
}
