// Both stream forms of the GLONASS ephemeride, and what chooses between them.
#include <cstddef>
#include <cstdlib>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GlonassEphemeride.h"
#include "gnss/platform/LogPoint.h"
#include "gnss/platform/Registry.h"
#include "tests/ephemeris/Records.h"

namespace {

using Corvane::LogDataControl;
using GNSS::Glonass::Ephemeride;
using tests::SampleGlonass;
using Status = Ephemeride::Status;

class GlonassStreams : public testing::Test {
protected:
    ~GlonassStreams() override { LogDataControl::SetFileVersion(LogDataControl::NewestFileVersion); }
};

TEST_F(GlonassStreams, BothForms) {
    Ephemeride other = SampleGlonass();
    other.slot = 24;
    ++other.posn.day;
    other.clock.tau = 1e-6;
    other.status.Set(Status::P4, 1);
    other.m.age = 2;
    struct Row {
        int version;
        std::size_t size, posnSize;
    };
    for (const Row& row : {Row{LogDataControl::NewestFileVersion, 164, 96}, Row{109, 163, 94}, Row{0, 163, 94}}) {
        SCOPED_TRACE(row.version);
        LogDataControl::SetFileVersion(row.version);
        const Ephemeride record = SampleGlonass();
        tests::ExpectStreams(record, other, row.size);
        tests::ExpectStreams(record.posn, other.posn, row.posnSize);
        tests::ExpectStreams(record.clock, other.clock, 16);
        tests::ExpectStreams(record.status, other.status, 24);
        tests::ExpectStreams(record.m, other.m, 9);

        const std::vector<std::byte> bytes = tests::Bytes(record);
        Corvane::Stream::MemoryInput input(bytes);
        Ephemeride read;
        ASSERT_TRUE(read.Read(input));
        EXPECT_EQ(read.slot, 7);
        EXPECT_EQ(read.reference, record.reference);
        EXPECT_TRUE(read == record && read.HasTheSameBody(record));
        EXPECT_TRUE(read.m.isM);
        EXPECT_EQ(read.accuracy, 2.5);
        EXPECT_EQ(read.clock.tau, record.clock.tau);
        EXPECT_TRUE(read.status == record.status);
        // A day that only the new form can hold.
        Ephemeride far = record;
        far.posn.day = 32768;
        Corvane::Stream::MemoryOutput output;
        EXPECT_EQ(far.Write(output), row.version == LogDataControl::NewestFileVersion);
        // A record without a slot stays one.
        far.Reset();
        const std::vector<std::byte> empty = tests::Bytes(far);
        Corvane::Stream::MemoryInput emptyInput(empty);
        ASSERT_TRUE(read.Read(emptyInput));
        EXPECT_TRUE(read.slot.IsNull());
        EXPECT_EQ(read.accuracy, Ephemeride::UnknownAccuracy);
    }
}

// Each row in a process of its own: the registry is asked once.
TEST_F(GlonassStreams, TheRegistryMovesTheLastVersionOfTheOldForm) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    struct Row {
        unsigned long stored;  // 0: nothing
        int fileVersion;
        bool old;
    };
    for (const Row& row : {Row{0, 109, true}, Row{0, 110, false}, Row{110, 110, true}, Row{110, 111, false},
                           Row{111, 111, false}, Row{111, 110, false}, Row{108, 109, true}}) {
        const auto ask = [&row] {
            Corvane::Registry::SetFile("");
            const char* name = "SOFTWARE\\The Corvane Software Company\\Tolbrin\\GlonassEphemeris";
            if (row.stored != 0) {
                Corvane::Registry::Key key(name, Corvane::Registry::Key::Write);
                if (!key.WriteULongValue("Version", row.stored)) std::_Exit(3);
            }
            LogDataControl::SetFileVersion(row.fileVersion);
            const bool old = Ephemeride::IsOldFormat();
            // What is stored later on changes nothing.
            Corvane::Registry::Key later(name, Corvane::Registry::Key::Write);
            if (!later.WriteULongValue("Version", row.stored == 110 ? 109 : 110)) std::_Exit(3);
            std::_Exit(Ephemeride::IsOldFormat() != old ? 2 : old ? 1 : 0);
        };
        EXPECT_EXIT(ask(), testing::ExitedWithCode(row.old ? 1 : 0), "") << row.stored << ' ' << row.fileVersion;
    }
}

}  // namespace
