// Real logs through the tree of stores: what is published, in which order, and what is left of it.
#include "host/stores/StoreTree.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/FileStream.h"
#include "gnss/platform/Stream.h"
#include "host/cli/StoreFeed.h"
#include "host/receiver/FileText.h"
#include "host/receiver/StreamFormat.h"
#include "host/stores/StoreWatch.h"
#include "tests/support/TestData.h"

namespace {

namespace fs = std::filesystem;
using GNSS::Almanac;
using GNSS::GPSTime;
using Host::StoreChange;

// A tree on a folder of its own, with two subscribers that write down what they hear.
class Tree {
public:
    explicit Tree(const fs::path& folder) {
        for (int i = 0; i < 2; ++i) {
            tree->Join(watches[i]);
            tree->Drain();
            watches[i]->SetTake([this, i](const StoreChange& change) { heard[i].push_back(change); });
        }
        tree->SetRootPath((folder / "almanac").string());
        tree->Drain();
    }
    void Play(const std::string& path) {
        Host::LeapRule leaps;
        Host::StoreFeed feed(*tree, leaps);
        Host::FileText file;
        Host::FileError error;
        ASSERT_TRUE(file.Open(path, error)) << error.Print();
        const auto detected = Host::DetectFormat(file.Text());
        if (detected.format == Host::StreamFormat::RinexNavigation) {
            Host::RinexNavigation navigation;
            ASSERT_TRUE(navigation.Parse(file.Text(), path, error)) << error.Print();
            feed.Play(navigation, path);
        } else {
            const auto decoder = Host::MakeDecoder(detected.format, feed);
            ASSERT_TRUE(decoder);
            decoder->Feed(file.Text());
            decoder->Finish();
        }
        feed.Finish();
        EXPECT_EQ(tree->GetRoot().NmrQueued(), 0U);
    }

    std::vector<StoreChange> heard[2];
    const std::shared_ptr<Host::StoreWatch> watches[2] = {std::make_shared<Host::StoreWatch>(),
                                                          std::make_shared<Host::StoreWatch>()};
    std::unique_ptr<Host::StoreTree> tree = std::make_unique<Host::StoreTree>();
};

std::vector<std::byte> BytesOf(const Almanac& almanac) {
    Corvane::Stream::MemoryOutput output;
    EXPECT_TRUE(almanac.Write(output));
    return output.Bytes();
}

class StoreTree : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = fs::temp_directory_path() / ("gnss_store_tree_test_" + std::to_string(::getpid()));
        fs::create_directories(folder_);
    }
    void TearDown() override { fs::remove_all(folder_); }
    [[nodiscard]] Almanac ReadFile() const {
        Corvane::FileInput input((folder_ / "almanac.alm").string(), Corvane::ByteOrder::PC);
        Almanac almanac;
        EXPECT_TRUE(almanac.Read(input));
        return almanac;
    }

    fs::path folder_;
};

TEST_F(StoreTree, PublishesRealRecordsInTheContractsOrder) {
    struct Row {
        const char* file;
        // Records of the log that differ: GPS by issue, GLONASS also by frame, the almanac by satellite and time.
        int gps, glonass, almanacs;
    };
    for (const Row& row : {
             Row{"data/16dBatt_no_interference_coldstart.ubx.gz", 9, 0, 25},
             Row{"data/ublox-glo.ubx", 0, 38, 24},
             Row{"data/testglo.rtcm3", 15, 18, 0},
         }) {
        SCOPED_TRACE(row.file);
        GNSS_REQUIRE_TEST_DATA(path, row.file);
        fs::remove(folder_ / "almanac.alm");
        Tree tree(folder_);
        tree.Play(path);
        const auto& heard = tree.heard[0];
        std::map<std::string, int> nmr;
        // Each health begins the publications of one record, which follow each other without a gap.
        for (std::size_t i = 0; i < heard.size();) {
            ASSERT_EQ(heard[i].what, "health");
            const std::string& satellite = heard[i].satellite;
            const bool isGPS = satellite.front() == 'G';
            const bool isAlmanac = heard[i].detail.starts_with("almanac");
            const std::string system = isGPS ? "GPS " : "GLONASS ";
            using Names = std::vector<std::string>;
            const Names names = isAlmanac ? Names{"almanac update", "almanac calculator"}
                                          : Names{system + "history", system + "calculator", system + "data age"};
            ++nmr[isAlmanac ? "almanac" : system];
            ++i;
            for (const std::string& name : names) {
                ASSERT_LT(i, heard.size());
                ASSERT_EQ(heard[i].what, name) << i;
                const bool isOfOne = !name.ends_with("calculator") && heard[i].detail != "no change";
                ASSERT_EQ(heard[i].satellite, isOfOne ? satellite : "") << i;
                ++i;
            }
        }
        EXPECT_EQ(nmr["GPS "], row.gps);
        EXPECT_EQ(nmr["GLONASS "], row.glonass);
        EXPECT_EQ(nmr["almanac"], row.almanacs);
        // The second subscriber heard the same.
        EXPECT_TRUE(std::ranges::equal(heard, tree.heard[1], [](const StoreChange& a, const StoreChange& b) {
            return a.what == b.what && a.satellite == b.satellite && a.detail == b.detail;
        }));

        // What is on the disk is what is on the link, and what was published last.
        const auto almanac = tree.watches[0]->GetAlmanac();
        EXPECT_EQ(BytesOf(ReadFile()), BytesOf(*almanac));
        EXPECT_TRUE(!tree.watches[0]->GetCalculator() || tree.watches[0]->GetCalculator()->RefersTo(*almanac));
    }
}

// The calculators of the links against the records that went in.
TEST_F(StoreTree, CalculatorsAnswerAsTheRecordsDo) {
    struct Records : Host::RecordSink {
        using RecordSink::OnRecord;
        void OnRecord(const GNSS::GPSEphemeride& record) override { gps[record.prn] = record; }
        void OnRecord(const GNSS::Glonass::Ephemeride& record, std::optional<int>) override {
            glonass[record.slot] = record;
        }
        // Satellites disagree on the newest almanac: the first that says a page is believed.
        void OnRecord(const Almanac::SV& record) override {
            if (record.time > almanac[record.prn].time) almanac[record.prn] = record;
        }
        std::map<int, GNSS::GPSEphemeride> gps;
        std::map<int, GNSS::Glonass::Ephemeride> glonass;
        std::map<int, Almanac::SV> almanac;
    };
    for (const char* name : {"data/16dBatt_no_interference_coldstart.ubx.gz", "data/testglo.rtcm3"}) {
        GNSS_REQUIRE_TEST_DATA(path, name);
        Tree tree(folder_);
        tree.Play(path);
        Records records;
        Host::RecordMaker maker(records);
        Host::FileText file;
        Host::FileError error;
        ASSERT_TRUE(file.Open(path, error));
        const auto decoder = Host::MakeDecoder(Host::DetectFormat(file.Text()).format, maker);
        decoder->Feed(file.Text());
        decoder->Finish();

        const GPSTime t = *tree.tree->GetTime();
        const Host::StoreWatch& watch = *tree.watches[0];
        const auto compare = [&](const auto& all, const auto& calculator, const auto& direct) {
            int nmr = 0;
            for (const auto& [number, record] : all) {
                typename std::remove_cvref_t<decltype(*calculator)>::Result result;
                auto expected = result;
                nmr += direct(record, expected) ? 1 : 0;
                EXPECT_EQ(calculator->CalculatePosn(number, t, result), direct(record, expected));
                EXPECT_EQ(result.posn, expected.posn) << name << number;
                EXPECT_EQ(result.clockCorrection, expected.clockCorrection);
            }
            return nmr;
        };
        EXPECT_GT(compare(records.gps, watch.GPS().calculator,
                          [&](const auto& record, auto& result) { return record.CalculatePosn(t, result); }),
                  8);
        if (!records.glonass.empty()) {
            EXPECT_GT(compare(records.glonass, watch.Glonass().calculator,
                              [&](const auto& record, auto& result) { return record.CalculatePosn(t, result, false); }),
                      4);
        }
        for (const auto& [prn, record] : records.almanac) {
            GNSS::ECEF posn;
            GNSS::ECEF expected;
            EXPECT_TRUE(watch.GetCalculator()->CalculatePosn(GNSS::PRN(prn), t, posn) &&
                        record.CalculatePosn(t, expected));
            EXPECT_EQ(posn, expected);
        }
    }
}

TEST_F(StoreTree, MergesWithTheAlmanacOfTheRunBefore) {
    GNSS_REQUIRE_TEST_DATA(newer, "data/16dBatt_no_interference_coldstart.ubx.gz");
    GNSS_REQUIRE_TEST_DATA(older, "data/ubx_20080526.ubx");
    GNSS_REQUIRE_TEST_DATA(other, "data/ublox-glo.ubx");
    const auto play = [&](const std::string& path) {
        auto tree = std::make_unique<Tree>(folder_);
        tree->Play(path);
        return tree;
    };
    play(newer);
    const Almanac first = ReadFile();
    EXPECT_EQ(first.NmrSV(), 25);
    {
        // 2008 is refused wherever 2025 is known, and fills in what is not.
        const auto tree = play(older);
        const auto& heard = tree->heard[0];
        EXPECT_EQ(std::ranges::count(heard, "all", &StoreChange::detail), 1);  // the file's
        const Almanac merged = ReadFile();
        EXPECT_EQ(std::ranges::count(heard, "GPS almanac", &StoreChange::detail), merged.NmrSV() - first.NmrSV());
        for (int i = 0; i < merged.NmrSV(); ++i) {
            const Almanac::SV& sv = merged.GetSV(i);
            const int before = first.Find(sv.prn);
            EXPECT_TRUE(before < 0 || sv.time == first.GetSV(before).time) << i;
        }
        // Every satellite of the file has its health again, as far as no ephemeris says otherwise.
        EXPECT_GE(tree->watches[0]->GetHealth().NmrSV(), 25);
    }
    const auto second = BytesOf(ReadFile());
    play(newer);
    EXPECT_EQ(BytesOf(ReadFile()), second);
    const auto tree = play(other);
    EXPECT_EQ(ReadFile().NmrGlonassSV(), 24);
    EXPECT_EQ(ReadFile().NmrSV(), tree->watches[0]->GetAlmanac()->NmrSV());

    // One at a time.
    EXPECT_EQ(Host::StoreTree::FindHolder((folder_ / "almanac").string()), ::getpid());
    tree->tree.reset();
    EXPECT_EQ(Host::StoreTree::FindHolder((folder_ / "almanac").string()), std::nullopt);
}

// A day of both systems, in the order of transmission: nothing is out of order.
TEST_F(StoreTree, PlaysNavigationFilesInTheOrderOfTransmission) {
    GNSS_REQUIRE_TEST_DATA(path, "data/ESBC00DNK_R_20201770000_01D_MN.rnx.gz");
    Tree tree(folder_);
    tree.Play(path);
    const auto& heard = tree.heard[0];
    std::map<std::string, int> nmr;
    for (const StoreChange& change : heard) ++nmr[change.what];
    EXPECT_EQ(nmr["GPS history"] + nmr["GLONASS history"], nmr["health"]);
    EXPECT_GT(nmr["GPS history"], 240);
    EXPECT_GT(nmr["GLONASS history"], 500);
    EXPECT_EQ(ReadFile().GetUTC().DtLS, 18);
    EXPECT_GT(ReadFile().GetIono().time, GPSTime(2000, 0.0));
}

// Ten cycles a second as the data's time passes, none for what is no time that passes.
TEST(StoreTreeTime, CyclesAsTheDataTimePasses) {
    Host::StoreTree tree;
    GPSTime t(2300, 604790.0);
    tree.AdvanceTo(t);
    std::int64_t before = tree.GetNmrCycles();
    for (int i = 0; i < 300; ++i) tree.AdvanceTo(t += Corvane::Time(0.25));
    EXPECT_EQ(tree.GetNmrCycles() - before, 750);
    before = tree.GetNmrCycles();
    for (const GPSTime& jump : {t - Corvane::Time(1.0), t + Corvane::Time(700.0), GPSTime(1, 0.0),
                                GPSTime(1 << 30, 0.0), GPSTime(1 << 30, std::nan("")), t}) {
        tree.AdvanceTo(jump);
    }
    EXPECT_EQ(tree.GetNmrCycles() - before, 6);
}

}  // namespace
