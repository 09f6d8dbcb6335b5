// The almanac store under everything at once: no torn almanac, no deadlock, nothing published out of order.
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "gnss/platform/Root.h"
#include "gnss/store/AlmanacStore.h"
#include "gnss/store/GNSSLink.h"
#include "tests/platform/Components.h"
#include "tests/store/AlmanacRecords.h"
#include "tests/store/Folder.h"

namespace {

using GNSS::Almanac;
using GNSS::AlmanacStore;
using GNSS::GNSSLink;

// All its records have one health, which tells it from the next.
Almanac MakeWhole(int generation) {
    Almanac almanac;
    for (int prn = 1; prn <= GNSS::PRN::Max; ++prn) {
        almanac.UpdateSV(tests::MakeSV(prn, generation, generation % 64));
    }
    return almanac;
}

bool IsWhole(const Almanac& almanac) {
    for (int i = 1; i < almanac.NmrSV(); ++i) {
        if (almanac.GetSV(i).health != almanac.GetSV(0).health) return false;
    }
    return almanac.NmrSV() == 0 || almanac.NmrSV() == GNSS::PRN::Max;
}

struct Watcher : Corvane::Component {
    Watcher()
        : Component(Corvane::Ident("Watcher"), 100),
          almanac(*this, GNSSLink::AlmanacType, &Watcher::OnAlmanac),
          update(*this, GNSSLink::AlmanacUpdateType, &Watcher::OnUpdate, "Almanac"),
          calculator(*this, GNSSLink::AlmanacCalcType, &Watcher::OnCalculator) {}
    void OnAlmanac(const Almanac& value) { nmrFaults += !IsWhole(value); }
    void OnUpdate(const Almanac::Update& value) {
        if (!value.IsIono()) return;
        nmrFaults += value.GetIono()->time <= last;
        last = value.GetIono()->time;
    }
    void OnCalculator(const Almanac::Calculator& value) {
        const Almanac::Calculator now(value);  // goes on with one almanac
        GNSS::ECEF posn;
        if (!now.CalculatePosn(GNSS::PRN(1), tests::DateOf(0.0), posn)) return;
        nmrFaults += !now.CalculatePosn(GNSS::PRN(GNSS::PRN::Max), tests::DateOf(0.0), posn);
    }
    std::atomic<int> nmrFaults = 0;
    GNSS::GPSTime last;
    Corvane::Response<Almanac> almanac;
    Corvane::Response<Almanac::Update> update;
    Corvane::Response<Almanac::Calculator> calculator;
};

struct Sender : Corvane::Component {
    Sender() : Component(Corvane::Ident("Sender"), 100), update(*this, GNSSLink::AlmanacUpdateType) {}
    Corvane::Link<Almanac::Update> update;
};

using AlmanacStoreThreads = tests::Folder;

TEST_F(AlmanacStoreThreads, EverythingAtOnce) {
    constexpr int NmrRounds = 100;
    Corvane::Root root;
    const auto store = std::dynamic_pointer_cast<AlmanacStore>(AlmanacStore::TheFactory.CreateComponent());
    root.Join(store);
    const auto watcher = tests::Joined<Watcher>(root);
    const auto sender = tests::Joined<Sender>(root);
    std::atomic<bool> isOver = false;
    int nmrFaults = 0;
    std::vector<std::thread> helpers;
    helpers.emplace_back([&] {
        while (!isOver) root.CycleAll();
    });
    helpers.emplace_back([&] {
        while (!isOver) nmrFaults += !IsWhole(*watcher->almanac.Get());
    });
    helpers.emplace_back([&] {  // late joiners and leavers
        while (!isOver) {
            const auto late = tests::Joined<Watcher>(root);
            late->DoCycle();
            root.Leave(*late);
        }
    });
    std::vector<std::thread> workers;
    workers.emplace_back([&] {
        for (int i = 1; i <= NmrRounds; ++i) store->OnFullAlmanacUpdate(MakeWhole(i));
    });
    workers.emplace_back([&] {  // through the queue
        for (int i = 1; i <= NmrRounds; ++i) sender->update.Send(Almanac::Update(tests::MakeIono(i)));
    });
    workers.emplace_back([&] {
        for (int i = 1; i <= NmrRounds / 10; ++i) {
            store->RootPathChange((folder_ / std::to_string(i % 2)).string(), i % 4 < 2);
            store->Clear();
        }
    });
    for (std::thread& worker : workers) worker.join();
    isOver = true;
    for (std::thread& helper : helpers) helper.join();
    root.CycleAll();
    root.CycleAll();
    EXPECT_EQ(nmrFaults + watcher->nmrFaults, 0);
    EXPECT_EQ(root.NmrQueued(), 0U);
    EXPECT_EQ(store->NmrFailures() + watcher->NmrFailures(), 0U);
}

}  // namespace
