// A view that is drawn while the stores change what it shows: every picture is one state of the data, and the last one
// is the newest.
#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "gnss/display/AlmanacView.h"
#include "gnss/display/EphemerisView.h"
#include "gnss/platform/Root.h"
#include "gnss/store/AlmanacStore.h"
#include "tests/store/AlmanacRecords.h"
#include "tests/store/EphemerisParts.h"
#include "tests/support/RecordingDC.h"

namespace {

constexpr Corvane::Size Area{600, 4000};

TEST(RecordViewThreads, DrawsWhileTheStoresChange) {
    constexpr int NmrChanges = 300;
    Corvane::Root tree;
    const auto almanacStore = GNSS::AlmanacStore::TheFactory.CreateComponent();
    const auto gpsStore = GNSS::GPSEphemStore::TheFactory.CreateComponent();
    const auto almanacView = std::make_shared<GNSS::AlmanacView>();
    const auto gpsView = std::make_shared<GNSS::EphemerisView>();
    for (const std::shared_ptr<Corvane::Component>& each :
         {almanacStore, gpsStore, std::shared_ptr<Corvane::Component>(almanacView),
          std::shared_ptr<Corvane::Component>(gpsView)})
        ASSERT_TRUE(tree.Join(each));
    std::atomic<bool> isDone = false;
    std::thread producer([&] {
        auto& almanac = dynamic_cast<GNSS::AlmanacStore&>(*almanacStore);
        auto& gps = dynamic_cast<GNSS::GPSEphemStore&>(*gpsStore);
        for (int n = 1; n <= NmrChanges; ++n) {
            auto sv = tests::MakeSV(3, n);
            sv.health = n % 256;
            almanac.OnAlmanacSV(sv);
            gps.OnEphem(tests::MakeRecord(GNSS::PRN(3), n));
        }
        isDone = true;
    });
    std::thread cycler([&] {
        while (!isDone) tree.CycleAll();
        tree.CycleAll();
    });
    int lastIssue = 0;
    const auto draw = [&] {
        tests::RecordingDC dc(Area);
        almanacView->Paint(dc, Area);
        dc.Forget();
        gpsView->Paint(dc, Area);
        int issue = 0;
        int groupDelay = 0;
        const auto texts = dc.Calls(tests::DrawCall::Text);
        for (std::size_t i = 0; i + 1 < texts.size(); ++i) {
            if (texts[i].text == "IODE") issue = std::stoi(texts[i + 1].text);
            // Each record carries its issue once more.
            if (texts[i].text == "TGD") groupDelay = Corvane::ToInt(std::stod(texts[i + 2].text));
        }
        EXPECT_EQ(issue, groupDelay);
        EXPECT_GE(issue, lastIssue);
        lastIssue = issue;
    };
    int nmrDrawn = 0;
    for (; !isDone; ++nmrDrawn) draw();
    producer.join();
    cycler.join();
    EXPECT_TRUE(gpsView->RequiresRedraw() || lastIssue == NmrChanges);
    draw();
    EXPECT_EQ(lastIssue, NmrChanges);
    EXPECT_EQ(almanacView->GetAlmanac().GetSV(0).health, NmrChanges % 256);
    EXPECT_FALSE(gpsView->RequiresRedraw());
    EXPECT_GT(nmrDrawn, 0);
    tree.Leave(*gpsView);
}

}  // namespace
