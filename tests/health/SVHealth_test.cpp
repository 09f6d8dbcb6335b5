// Health of single satellites, updates and sets of both systems.
#include <array>
#include <iterator>
#include <map>
#include <type_traits>

#include <gtest/gtest.h>

#include "gnss/health/SVHealthSet.h"
#include "tests/support/Random.h"

namespace {

using GNSS::PRN;
using GNSS::SVHealth;
using GNSS::Glonass::Slot;
using Update = SVHealth::Update;

// The words decide as IS-GPS-200 (no bit set) and the GLONASS ICD (bit 3 of B_n; C_n = 1) say, the ephemeris first.
TEST(SVHealth, WordsOfBothSystems) {
    struct Row {
        int ephemeris, almanac;
        bool gps, glonass;
    };
    for (const Row& row : {
             Row{-1, -1, false, false},  // nothing received
             Row{-1, 0, true, false},    // the almanac alone; its GLONASS flag has the opposite sense
             Row{-1, 1, false, true},
             Row{-1, 2, false, false},
             Row{-1, 63, false, true},
             Row{0, -1, true, true},  // the ephemeris alone
             Row{1, -1, false, true},
             Row{3, -1, false, true},
             Row{4, -1, false, false},
             Row{7, -1, false, false},
             Row{0, 1, true, true},  // the ephemeris wins
             Row{1, 0, false, true},
             Row{4, 1, false, false},
             Row{-2, 0, false, false},  // no message's word, but not absent either
             Row{-2, 1, false, false},
         }) {
        SVHealth gps{PRN(7)};
        SVHealth glonass{Slot(7)};
        for (SVHealth* record : {&gps, &glonass}) {
            record->SetEphemeris(row.ephemeris);
            record->SetAlmanac(row.almanac);
            EXPECT_EQ(record->HasEphemeris(), row.ephemeris >= 0);
            EXPECT_EQ(record->HasAlmanac(), row.almanac >= 0);
            EXPECT_EQ(record->IsHealthy(), record->IsGPS() ? row.gps : row.glonass)
                << record->IsGPS() << " " << row.ephemeris << " " << row.almanac;
            EXPECT_EQ(record->IsEnabledAndHealthy(), record->IsHealthy());
            const bool healthy = record->IsHealthy();
            record->SetIsEnabled(false);
            EXPECT_EQ(record->IsHealthy(), healthy);
            EXPECT_FALSE(record->IsEnabledAndHealthy());
        }
    }
}

// What a set answers to one update after the other, and the one record that they leave.
TEST(SVHealth, Refresh) {
    struct Row {
        Update::Mode mode;
        int health;
        bool changes;
        bool enabled;
        int ephemeris, almanac;
    };
    constexpr auto Stranger = static_cast<Update::Mode>(77);
    SVHealth::Set set;
    int step = 0;
    for (const Row& row : {
             Row{Update::Enable, 0, false, true, -1, -1},  // makes the record all the same
             Row{Update::EphemerisHealth, 0, true, true, 0, -1},
             Row{Update::EphemerisHealth, 0, false, true, 0, -1},
             Row{Update::AlmanacHealth, 5, true, true, 0, 5},
             Row{Update::AlmanacHealth, 5, false, true, 0, 5},
             Row{Update::Disable, 9, true, false, 0, 5},
             Row{Update::Disable, 9, false, false, 0, 5},
             Row{Update::Unknown, 9, false, false, 0, 5},
             Row{Stranger, 9, false, false, 0, 5},
             Row{Update::Enable, 9, true, true, 0, 5},
             Row{Update::EphemerisHealth, -1, true, true, -1, 5},
         }) {
        SCOPED_TRACE(step++);
        EXPECT_EQ(set.Refresh(Update(row.mode, PRN(7), row.health)), row.changes);
        EXPECT_EQ(set.Refresh(Update(row.mode, Slot(7), row.health)), row.changes);
        EXPECT_EQ(set.NmrSV() + set.NmrSlot(), 2);
        for (const SVHealth& record : {set.GetSV(0), set.GetSlot(0)}) {
            EXPECT_EQ(record.IsEnabled(), row.enabled);
            EXPECT_EQ(record.GetEphemeris(), row.ephemeris);
            EXPECT_EQ(record.GetAlmanac(), row.almanac);
        }
    }
    EXPECT_TRUE(set.GetSV(0).GetPRN() == 7 && set.GetSV(0).GetSlot().IsNull() && set.GetSV(0).IsGPS());
    EXPECT_TRUE(set.GetSlot(0).GetSlot() == 7 && set.GetSlot(0).GetPRN().IsNull() && set.GetSlot(0).IsGlonass());
    set.Refresh(Update(Stranger, PRN(3), 0));
    EXPECT_EQ(set.FindSV(3), 0) << "an unknown update makes a record, too";
}

TEST(SVHealth, Descriptions) {
    EXPECT_EQ(Update(Update::Enable, PRN(12), 0).GetDesc(), "GPS Enabled 12");
    EXPECT_EQ(Update(Update::Disable, Slot(24), 0).GetDesc(), "Glonass Disabled 24");
    EXPECT_EQ(Update(Update::AlmanacHealth, Slot(5), 1).GetDesc(), "Glonass Almanac 5 1");
    EXPECT_EQ(Update(Update::EphemerisHealth, PRN(23), -1).GetDesc(), "GPS Ephemeris 23 -1");
    EXPECT_EQ(Update().GetDesc(), "GPS Unknown");
    EXPECT_EQ(Update(static_cast<Update::Mode>(-5), Slot(5), 1).GetDesc(), "Glonass ");
    EXPECT_EQ(Update::Type.Print(), "SVHealth Update");

    Update update(Update::AlmanacHealth, Slot(5), 1);
    update.Set(Update::Disable, PRN(9), 3);
    EXPECT_EQ(update, Update(Update::Disable, PRN(9), 3));
    EXPECT_TRUE(update.IsGPS() && update.GetSlot().IsNull() && update.GetHealth() == 3);
}

// Random changes to three handles that are assigned to each other: each is always as if it had been alone, an ordered
// list of records of its own.
template <typename Id>
void TestHandlesAgainstModels() {
    std::mt19937_64 random = tests::MakeRandom();
    const auto draw = [&](int first, int last) { return std::uniform_int_distribution(first, last)(random); };
    const auto find = [](const SVHealth::Set& set, auto id) {
        if constexpr (std::is_same_v<Id, PRN>)
            return set.FindSV(id);
        else
            return set.FindSlot(id);
    };
    const auto obtain = [](SVHealth::Set& set, auto id) -> SVHealth& {
        if constexpr (std::is_same_v<Id, PRN>)
            return set.ObtainSV(id);
        else
            return set.ObtainSlot(id);
    };
    const auto get = [](const SVHealth::Set& set, int index) {
        return std::is_same_v<Id, PRN> ? set.GetSV(index) : set.GetSlot(index);
    };
    std::array<SVHealth::Set, 3> sets;
    std::array<std::map<Id, SVHealth>, 3> models;
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const auto i = static_cast<std::size_t>(draw(0, 2));
        const auto other = static_cast<std::size_t>(draw(0, 2));
        const int kind = draw(0, 99);
        const Id id(draw(-1, 35));  // those outside are the null satellite, and 0 is PRN 32
        if (kind == 0) {
            sets[i].Reset();
            models[i].clear();
        } else if (kind < 10) {
            sets[i] = sets[other];
            models[i] = models[other];
            EXPECT_TRUE(sets[i].SharesWith(sets[other]));
        } else if (kind < 20) {
            obtain(sets[i], id).SetIsEnabled(false);
            models[i].try_emplace(id, id).first->second.SetIsEnabled(false);
        } else {
            const Update update(static_cast<Update::Mode>(draw(0, 4)), id, draw(-1, 7));
            EXPECT_EQ(sets[i].Refresh(update), models[i].try_emplace(id, id).first->second.Refresh(update));
        }
        for (std::size_t j = 0; j < 3; ++j) {
            const int nmr = static_cast<int>(models[j].size());
            EXPECT_EQ(sets[j].NmrSV() + sets[j].NmrSlot(), nmr);
            for (const int outside : {-1, nmr}) EXPECT_EQ(get(sets[j], outside), SVHealth(Id::Null));
            int index = 0;
            for (const auto& [known, record] : models[j]) EXPECT_EQ(get(sets[j], index++), record);
            const auto found = models[j].find(id);
            const bool knows = found != models[j].end();
            EXPECT_EQ(find(sets[j], id), knows ? std::distance(models[j].begin(), found) : -1);
            EXPECT_EQ(sets[j].IsHealthy(id), knows && found->second.IsHealthy());
            EXPECT_EQ(sets[j].IsEnabledAndHealthy(id), knows && found->second.IsEnabledAndHealthy());
        }
    }
}

TEST(SVHealthSet, HandlesAgainstModels) {
    TestHandlesAgainstModels<PRN>();
    TestHandlesAgainstModels<Slot>();
}

}  // namespace
