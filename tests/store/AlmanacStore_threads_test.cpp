// The almanac store under everything at once: no torn almanac, no deadlock, nothing published out of order.
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gnss/platform/Number.h"
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
          calculator(*this, GNSSLink::AlmanacCalcType, &Watcher::OnCalculator) {}
    void OnAlmanac(const Almanac& value) { nmrFaults += !IsWhole(value); }
    void OnCalculator(const Almanac::Calculator& value) {
        const Almanac::Calculator now(value);  // goes on with one almanac
        GNSS::ECEF posn;
        if (!now.CalculatePosn(GNSS::PRN(1), tests::DateOf(0.0), posn)) return;
        nmrFaults += !now.CalculatePosn(GNSS::PRN(GNSS::PRN::Max), tests::DateOf(0.0), posn);
    }
    std::atomic<int> nmrFaults = 0;
    Corvane::Response<Almanac> almanac;
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

constexpr int NmrProducers = 4;
constexpr int NmrConsumers = 4;
constexpr int Share = GNSS::PRN::Max / NmrProducers;
// Of each producer. The thread sanitizer makes each some ten times slower.
#ifdef __SANITIZE_THREAD__
constexpr int NmrRecords = 10'000;
#else
constexpr int NmrRecords = 50'000;
#endif

// Each issue of a satellite is told by its date, its clock and its health.
Almanac::SV MakeIssue(int prn, int issue) {
    Almanac::SV sv = tests::MakeSV(prn, issue, issue % 64);
    sv.af0 = issue;
    return sv;
}
int IssueOf(const Almanac::SV& sv) {
    const int issue = Corvane::ToInt(sv.af0);
    return sv.health == issue % 64 && sv.time == tests::DateOf(issue) ? issue : -1;
}
int IssueOf(const Almanac::Calculator& calculator, int prn) {
    GNSS::ECEF posn;
    double clock = 0.0;
    return calculator.CalculatePosn(GNSS::PRN(prn), tests::DateOf(0.0), posn, clock) ? Corvane::ToInt(clock) : 0;
}

// Expects every issue of every satellite once: its health, then its update, when the almanac has it, then the
// calculator, when that knows it.
struct Counter : Corvane::Component {
    Counter() : Component(Corvane::Ident("Counter"), 100) {}
    void OnHealth(const GNSS::SVHealth::Update& value) {
        nmrFaults += step != 2;
        step = 0;
        prn = int{value.GetPRN()};
    }
    void OnUpdate(const Almanac::Update& value) {
        const Almanac now = *almanac.Get();
        const int issue = ++issues[static_cast<std::size_t>(prn)];
        nmrFaults += step != 0 || value.GetPRN() != GNSS::PRN(prn) || IssueOf(*value.GetSV()) != issue ||
                     IssueOf(now.GetSV(now.Find(GNSS::PRN(prn)))) < issue;
        step = 1;
        ++nmrUpdates;
    }
    void OnCalculator(const Almanac::Calculator& value) {
        nmrFaults += step != 1 || IssueOf(value, prn) < issues[static_cast<std::size_t>(prn)];
        step = 2;
    }
    void OnAlmanac(const Almanac&) {}

    int nmrFaults = 0;
    int nmrUpdates = 0;
    int step = 1;  // the calculator comes at the joining
    int prn = 0;
    std::array<int, GNSS::PRN::Max + 1> issues{};
    Corvane::Response<GNSS::SVHealth::Update> health{*this, GNSS::SVHealth::Update::Type, &Counter::OnHealth};
    Corvane::Response<Almanac> almanac{*this, GNSSLink::AlmanacType, &Counter::OnAlmanac};
    Corvane::Response<Almanac::Update> update{*this, GNSSLink::AlmanacUpdateType, &Counter::OnUpdate, "Almanac"};
    Corvane::Response<Almanac::Calculator> calculator{*this, GNSSLink::AlmanacCalcType, &Counter::OnCalculator};
};

// Asks for every satellite, which never goes back, and looks at every record; the number of faults.
int Ask(const Counter& counter, std::array<int, GNSS::PRN::Max + 1>& last) {
    int nmrFaults = 0;
    const auto calculator = counter.calculator.Get();
    for (int prn = 1; prn <= GNSS::PRN::Max; ++prn) {
        const int before = std::exchange(last[static_cast<std::size_t>(prn)], IssueOf(*calculator, prn));
        nmrFaults += last[static_cast<std::size_t>(prn)] < before;
    }
    const Almanac almanac = *counter.almanac.Get();
    for (int i = 0; i < almanac.NmrSV(); ++i) nmrFaults += IssueOf(almanac.GetSV(i)) < 1;
    return nmrFaults;
}

TEST_F(AlmanacStoreThreads, EveryRecordOnceAndInOrder) {
    Corvane::Root root;
    root.Join(AlmanacStore::TheFactory.CreateComponent());
    const auto counter = tests::Joined<Counter>(root);
    counter->DoCycle();
    std::array<std::shared_ptr<Sender>, NmrProducers> senders;
    for (auto& sender : senders) sender = tests::Joined<Sender>(root);
    std::atomic<int> nmrBusy = NmrProducers;
    std::atomic<bool> isOver = false;
    std::atomic<int> nmrFaults = 0;
    std::atomic<int> nmrRounds = 0;
    std::vector<std::thread> threads;
    for (int producer = 0; producer < NmrProducers; ++producer) {
        threads.emplace_back([&, producer] {
            for (int n = 0; n < NmrRecords; ++n) {
                const int prn = producer * Share + n % Share + 1;
                senders[static_cast<std::size_t>(producer)]->update.Send(
                    Almanac::Update(MakeIssue(prn, n / Share + 1)));
                while (n % 16 == 0 && root.NmrQueued() > 200) std::this_thread::yield();
            }
            --nmrBusy;
        });
    }
    for (int i = 0; i < NmrConsumers; ++i) {
        threads.emplace_back([&] {
            std::array<int, GNSS::PRN::Max + 1> last{};
            for (; !isOver; ++nmrRounds, std::this_thread::yield()) nmrFaults += Ask(*counter, last);
        });
    }
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([&] {
            for (; nmrBusy > 0 || root.NmrQueued() != 0; std::this_thread::yield()) root.CycleAll();
            isOver = true;
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(nmrFaults + counter->nmrFaults, 0);
    EXPECT_EQ(counter->nmrUpdates, NmrProducers * NmrRecords);
    EXPECT_GT(nmrRounds, 100);
}

// Who sees the new leap second has been told of the calculator.
TEST_F(AlmanacStoreThreads, LeapSecondsComeAfterTheCalculator) {
    Corvane::Root root;
    const auto store = std::dynamic_pointer_cast<AlmanacStore>(AlmanacStore::TheFactory.CreateComponent());
    root.Join(store);
    const auto watcher = tests::Joined<Watcher>(root);
    std::atomic<int> round = 0;
    std::atomic<int> nmrSeen = 0;
    int nmrFaults = 0;
    std::thread observer([&] {
        while (round >= 0) {
            const int before = round;
            if (GNSS::GPSTime::LeapChange() != 2.0) continue;
            const bool isTold = watcher->calculator.Length() != 0;
            if (round != before) continue;
            ++nmrSeen;
            nmrFaults += !isTold;
        }
    });
    for (int i = 1; i <= 1000; ++i) {
        GNSS::GPSTime::SetUTCParam(GNSS::GPSTime(1851, 259200.0), 16, 17);
        ++round;
        watcher->DoCycle();
        const int before = nmrSeen;
        store->OnAlmanacUTC(tests::MakeUTC(i));
        while (nmrSeen == before) std::this_thread::yield();
    }
    round = -1;
    observer.join();
    EXPECT_EQ(nmrFaults, 0);
}

}  // namespace
