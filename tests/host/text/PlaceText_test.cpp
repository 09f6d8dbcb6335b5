#include "host/text/PlaceText.h"

#include <gtest/gtest.h>

namespace {

TEST(PlaceText, ReadsWhatPeopleWrite) {
    struct Row {
        const char* text;
        double latitude;
        double longitude;
        double height;
    };
    for (const Row& row : {
             Row{"55.5,8.25,60", 55.5, 8.25, 60.0},
             Row{" 55.5, -8.25 ", 55.5, -8.25, 0.0},
             Row{"-33.5 351.75 -12.5", -33.5, -8.25, -12.5},
             Row{"55 30 0.0 N, 8 15 0.0 W, 60", 55.5, -8.25, 60.0},
             Row{"55\u00b0 30' 0\" N 8\u00b015'0.0\"E 60", 55.5, 8.25, 60.0},
             Row{"6378137,0,0", 0.0, 0.0, 0.0},
             Row{"0,-6378237.5,0", 0.0, -90.0, 100.5},
         }) {
        const auto place = Host::ParsePlace(row.text);
        ASSERT_TRUE(place) << row.text;
        EXPECT_NEAR(place->GetPhi().Degrees(), row.latitude, 1e-9) << row.text;
        EXPECT_NEAR(place->GetLambda().Degrees(), row.longitude, 1e-9) << row.text;
        EXPECT_NEAR(place->GetHeight(), row.height, 1e-4) << row.text;
    }
    for (const char* text : {"", "55", "91,0,0", "55,8,60,1", "55,8,x", "nan,0,0", "55,8,1e9", "6378137,0", "1,2,6e6",
                             "55,8,60km", "1e999,0,0", "55 61 0 N 8 0 0 E"}) {
        EXPECT_FALSE(Host::ParsePlace(text)) << text;
    }
}

}  // namespace
