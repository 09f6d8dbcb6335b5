// Nothing is allocated for a word, a string or a record.
#include <gtest/gtest.h>

#include "gnss/almanac/AlmanacGlonassSV.h"
#include "gnss/almanac/AlmanacIono.h"
#include "gnss/almanac/AlmanacSV.h"
#include "gnss/almanac/AlmanacUTC.h"
#include "gnss/ephemeris/GPSEphemeride.h"
#include "gnss/ephemeris/GlonassEphemeride.h"
#include "tests/icd/Messages.h"
#include "tests/support/CountingNew.h"

namespace {

TEST(ICDAllocation, DecodingDoesNotAllocate) {
    GNSS::ICD icd;
    GNSS::ICDGlonass glonass;
    GNSS::ICDGlonass::String string;
    tests::Encode(string, 73, 5, 1);
    tests::Encode(string, 80, 1, 1);
    GNSS::GPSEphemeride ephemeride;
    GNSS::Almanac::SV sv;
    GNSS::Almanac::Iono iono;
    GNSS::Almanac::UTC utc;
    GNSS::Almanac::GlonassSV glonassSV;
    GNSS::Glonass::Ephemeride glonassEphemeride;
    glonassSV.slot = glonassEphemeride.slot = 1;
    int gotId = 0;
    int gotSvId = 0;

    const long before = tests::CountAllocations();
    for (int id = 1; id <= 5; ++id) icd.AddSubframe(tests::MakeSubframe(id, 10 + id, 9).data(), gotId, gotSvId);
    for (int number = 1; number <= 15; ++number) {
        tests::Encode(string, 81, 4, static_cast<std::uint64_t>(number));
        glonass.AddString(1, string);
    }
    const bool isAll = icd.GetEphemerisData(ephemeride) && icd.GetAlmanac(sv, 2300, 4) && icd.GetIono(iono, 4) &&
                       icd.GetUTC(utc, 9, 4) && glonass.GetAlmanac(glonassSV) &&
                       glonass.GetEphemeride(glonassEphemeride, 1);
    EXPECT_EQ(tests::CountAllocations() - before, 0);
    EXPECT_TRUE(isAll);
}

}  // namespace
