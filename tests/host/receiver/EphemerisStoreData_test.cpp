// A day of broadcast records of each system through its store, in the order in which they were sent, each twice: after
// each record a subscriber has seen just what the history beside the store, which hears it once, leads to expect.
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/platform/Root.h"
#include "host/receiver/LeapRule.h"
#include "tests/host/receiver/NavigationData.h"
#include "tests/store/EphemerisParts.h"
#include "tests/support/TestData.h"

namespace {

using GNSS::SVHealth;
using Lines = std::vector<std::string>;

// The number of records of which something was published. At noon the history is put into another store, which goes on.
template <typename Store, typename Records>
int Replay(const Records& records) {
    Corvane::Root root;
    auto store = std::dynamic_pointer_cast<Store>(Store::TheFactory.CreateComponent());
    const auto sender = std::make_shared<tests::Sender<Store>>();
    const auto subscriber = std::make_shared<tests::Subscriber<Store>>();
    root.Join(store);
    root.Join(sender);
    root.Join(subscriber);
    subscriber->Take();

    typename Store::History model;
    const auto expected = [&](Lines lines) {
        typename Store::Calc calc(std::make_shared<const typename Store::History>(model));
        lines.push_back("history" + tests::Print(model));
        lines.push_back("calculator" + tests::Print(calc, subscriber->now));
        return lines;
    };
    const auto health = [](const auto& record) {
        return "health " + SVHealth::Update(SVHealth::Update::EphemerisHealth, Store::History::Rules::GetId(record),
                                            Store::Rules::GetHealth(record))
                               .GetDesc()
                               .str();
    };
    int nmrPublished = 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const auto& record = records[i];
        subscriber->now = record.reference;
        for (int twice = 0; twice < 2; ++twice) sender->records.Send(record);
        store->DoCycle();
        Lines lines;
        if (model.Update(record)) {
            ++nmrPublished;
            typename Store::Ages ages;
            ages.UpdateEphem(model);
            lines = expected({health(record)});
            lines.push_back("age" + tests::Print(ages));
        }
        if (const Lines seen = subscriber->Take(); seen != lines) {
            ADD_FAILURE() << "record " << i << ": " << testing::PrintToString(seen) << "\ninstead of "
                          << testing::PrintToString(lines);
            break;
        }
        if (i != records.size() / 2) continue;
        root.Leave(*store);
        store = std::dynamic_pointer_cast<Store>(Store::TheFactory.CreateComponent());
        root.Join(store);
        subscriber->Take();
        sender->histories.Send(model);
        store->DoCycle();
        lines.clear();
        for (int number = Store::Id::Min; number <= Store::Id::Max; ++number) {
            if (const auto* sv = model.FindSV(number)) lines.push_back(health(*sv->GetEphem(0)));
        }
        EXPECT_EQ(subscriber->Take(), expected(lines));
    }
    EXPECT_TRUE(subscriber->AreUnchanged());
    std::cout << records.size() << " records, " << nmrPublished << " published, in the end of " << model.NmrSV()
              << " satellites\n";
    return nmrPublished;
}

TEST(EphemerisStoreData, ADayOfGPS) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc1820.10n");
    EXPECT_EQ(Replay<GNSS::GPSEphemStore>(tests::BySending(tests::ReadNavigation(path).gps)), 421);
}

TEST(EphemerisStoreData, ADayOfGlonass) {
    GNSS_REQUIRE_TEST_DATA(path, "data/brdc0910.09g");
    Host::LeapRule().SetFor(GNSS::GPSTime(1525, 259200.0));
    EXPECT_EQ(Replay<GNSS::Glonass::EphemStore>(tests::BySending(tests::ReadNavigation(path).glonass)), 912);
}

}  // namespace
