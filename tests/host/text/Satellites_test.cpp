#include "host/text/Satellites.h"

#include <gtest/gtest.h>

#include "tests/host/receiver/RinexText.h"

namespace {

using Host::Satellite;

TEST(Satellites, AreReadByTheirNames) {
    EXPECT_EQ(Host::ParseSatellite("G"), (Satellite{'G', 0}));
    EXPECT_EQ(Host::ParseSatellite("R"), (Satellite{'R', 0}));
    EXPECT_EQ(Host::ParseSatellite("G01"), (Satellite{'G', 1}));
    EXPECT_EQ(Host::ParseSatellite("G32"), (Satellite{'G', 32}));
    EXPECT_EQ(Host::ParseSatellite("R24"), (Satellite{'R', 24}));
    for (const char* text : {"", "G00", "G33", "R25", "Gxx", "G1", "G1 ", "G+1", "G001", "E05", "g05", "05"})
        EXPECT_FALSE(Host::ParseSatellite(text)) << text;
}

TEST(Satellites, AreThoseWithRecordsAndThoseAskedForByNumber) {
    Host::EphemerisSet set;
    set.Add(rinex::Parsed(rinex::Mixed + rinex::End + rinex::G07 + rinex::R05), "file");
    set.Complete();
    using List = std::vector<Satellite>;
    EXPECT_EQ(Host::ChooseSatellites({}, set), (List{{'G', 7}, {'R', 5}}));
    EXPECT_EQ(Host::ChooseSatellites({{'R', 0}}, set), (List{{'R', 5}}));
    EXPECT_EQ(Host::ChooseSatellites({{'R', 5}, {'G', 2}, {'R', 5}}, set), (List{{'G', 2}, {'R', 5}}));
    EXPECT_EQ(Host::ChooseSatellites({{'G', 2}, {'G', 0}}, set), (List{{'G', 2}, {'G', 7}}));
}

}  // namespace
