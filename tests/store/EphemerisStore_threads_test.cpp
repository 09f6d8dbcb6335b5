// The ephemeris stores of both systems under traffic: producers that send records on their links, consumers that ask
// the calculators all the time, components that watch what is published, and two threads that cycle the tree.
#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <concepts>
#include <functional>
#include <iostream>
#include <memory>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/platform/Root.h"
#include "tests/store/EphemerisParts.h"

namespace {

using Corvane::Component;
using Corvane::Response;
using GNSS::GPSEphemStore;
using GNSS::SVHealth;
using GNSS::Glonass::EphemStore;
using tests::IssueOf;
using tests::MakeRecord;

constexpr int NmrProducers = 4;
constexpr int NmrConsumers = 4;
// Of each producer, half of them for each system. The thread sanitizer makes each some five times slower.
#ifdef __SANITIZE_THREAD__
constexpr int NmrRecords = 25'000;
#else
constexpr int NmrRecords = 100'000;
#endif
constexpr int NmrFewer = NmrRecords / 4;

// Whether a history's records are such as the producers make: whole, each of its satellite, newest first and, when it
// is gapless, without one left out.
template <typename History>
bool IsWhole(const History& history, bool isGapless) {
    for (int number = History::Id::Min; number <= History::Id::Max; ++number) {
        const auto* sv = history.FindSV(number);
        if (sv == nullptr) continue;
        for (int i = 0; i < std::max(sv->NmrEphem(), 1); ++i) {
            const auto* record = sv->GetEphem(i);
            if (record == nullptr || History::Rules::GetId(*record) != number || IssueOf(*record) < 0) return false;
            const int step = i == 0 ? 1 : IssueOf(*sv->GetEphem(i - 1)) - IssueOf(*record);
            if (step < 1 || (isGapless && step != 1)) return false;
        }
    }
    return true;
}

// Expects the outputs in their order. When the store is left alone with records, expects each of a satellite's issues
// in one history, and that satellite in what comes before and after it.
template <typename Store>
struct Watcher : Component {
    using History = typename Store::History;
    using Rules = typename Store::Rules;
    using Id = typename Store::Id;
    enum Step { Health, AHistory, Calc, Age };

    explicit Watcher(bool alone) : Component(Corvane::Ident("Watcher"), 100), isAlone(alone) {}
    void OnHealth(const SVHealth::Update& update) {
        int number = int{update.GetPRN()};
        if constexpr (std::same_as<Store, EphemStore>) number = int{update.GetSlot()};
        // Both stores' updates come on one type.
        if (number == 0) return;
        Enter(Health, isAlone ? step == Age : step != AHistory);
        id = number;
    }
    void OnHistory(const std::shared_ptr<const History>& history) {
        Enter(AHistory, isAlone ? step == Health : step != AHistory);
        ++nmrHistories;
        if (!IsWhole(*history, isAlone) || history == last) ++nmrWrong;
        for (int number = Id::Min; isAlone && number <= Id::Max; ++number) {
            const auto* sv = history->FindSV(number);
            if (sv == last->FindSV(number)) continue;
            const int issue = ++issues[static_cast<std::size_t>(number)];
            if (id != number || IssueOf(*sv->GetEphem(0)) != issue) ++nmrWrong;
        }
        last = history;
    }
    void OnCalc(const typename Store::Calc&) { Enter(Calc, step == AHistory); }
    void OnAges(const typename Store::Ages& ages) {
        Enter(Age, isAlone ? step == Calc : step == Calc || step == Age);
        lastAges = ages;
        const int index = ages.FindSV(id);
        const auto* sv = last->FindSV(id);
        if (!isAlone || (index < 0 && sv == nullptr)) return;
        using Values = typename Store::Ages::Rules;
        if (index < 0 || ages[index].GetCurrent() != Values::GetValue(*sv->GetEphem(0))) ++nmrWrong;
    }
    void Enter(Step next, bool isInOrder) {
        if (!isInOrder) ++nmrWrong;
        step = next;
    }
    const bool isAlone;
    int nmrWrong = 0;
    int nmrHistories = 0;
    Step step = Age;
    Id id;
    std::array<int, 33> issues{};
    std::shared_ptr<const History> last = std::make_shared<const History>();
    typename Store::Ages lastAges;
    Response<SVHealth::Update> healthInput{*this, SVHealth::Update::Type, &Watcher::OnHealth};
    Response<History> historyInput{*this, Rules::HistoryType(), &Watcher::OnHistory};
    Response<typename Store::Calc> calcInput{*this, Rules::CalcType(), &Watcher::OnCalc};
    Response<typename Store::Ages> agesInput{*this, Rules::DataAgeType(), &Watcher::OnAges};
};

// Comes and goes; what it gets is whole, and nothing comes twice.
template <typename Store>
struct Guest : Component {
    using History = typename Store::History;
    Guest() : Component(Corvane::Ident("Guest"), 100) {}
    void OnHistory(const std::shared_ptr<const History>& history) {
        if (hasLeft || history == last || !IsWhole(*history, false)) ++nmrWrong;
        last = history;
        ++nmrGot;
    }
    std::atomic<bool> hasLeft = false;
    std::atomic<int> nmrWrong = 0;
    std::atomic<int> nmrGot = 0;
    std::shared_ptr<const History> last;
    Response<History> input{*this, Store::Rules::HistoryType(), &Guest::OnHistory};
};

// A store with its watcher and the producers' links to it.
template <typename Store>
struct Side {
    using Id = typename Store::Id;

    Side(Corvane::Root& root, bool alone) : watcher(std::make_shared<Watcher<Store>>(alone)) {
        root.Join(store);
        root.Join(watcher);
        for (auto& sender : senders) root.Join(sender = std::make_shared<tests::Sender<Store>>());
        root.Join(loader);
        // The empty state, without a record before it.
        watcher->DoCycle();
        watcher->nmrWrong = watcher->nmrHistories = 0;
        calc = *watcher->calcInput.Get();
    }
    // Each producer has satellites of its own, in turn.
    void Send(int producer, int n) {
        constexpr int Share = Id::Max / NmrProducers;
        const Id id(producer * Share + n % Share + 1);
        senders[static_cast<std::size_t>(producer)]->records.Send(MakeRecord(id, n / Share + 1));
    }
    // Asks for every satellite once; the number of wrong answers.
    int Ask(std::array<int, 33>& issues) const {
        int nmrWrong = 0;
        for (int number = Id::Min; number <= Id::Max; ++number) {
            typename Store::Calc::Result result;
            if (!calc.CalculateHealthyPosn(number, tests::SampleTime, result)) continue;
            int& last = issues[static_cast<std::size_t>(number)];
            const int issue = IssueOf(result);
            if (issue < 0 || (watcher->isAlone && issue < last)) ++nmrWrong;
            last = issue;
        }
        const auto implementation = calc.GetImplementation();
        const auto* history = dynamic_cast<const typename Store::History*>(implementation.get());
        if (history != nullptr && !IsWhole(*history, watcher->isAlone)) ++nmrWrong;
        return nmrWrong;
    }

    const std::shared_ptr<Store> store = std::dynamic_pointer_cast<Store>(Store::TheFactory.CreateComponent());
    const std::shared_ptr<Watcher<Store>> watcher;
    std::array<std::shared_ptr<tests::Sender<Store>>, NmrProducers> senders;
    const std::shared_ptr<tests::Sender<Store>> loader = std::make_shared<tests::Sender<Store>>();
    typename Store::Calc calc;
};

// Runs the producers to their end, with the consumers, the host's threads and, until the producers have ended, whoever
// else disturbs.
class Traffic {
public:
    Traffic(Corvane::Root& root, Side<GPSEphemStore>& gps, Side<EphemStore>& glonass)
        : root_(root), gps_(gps), glonass_(glonass) {}

    // Each producer sends that many; `disturb` is called again and again by a thread of its own.
    void Run(int nmrRecords, const std::function<void()>& disturb) {
        const auto start = std::chrono::steady_clock::now();
        std::atomic<int> nmrBusy = NmrProducers;
        std::atomic<bool> isOver = false;
        std::vector<std::thread> threads;
        for (int p = 0; p < NmrProducers; ++p) {
            threads.emplace_back([&, p] {
                for (int n = 0; n < nmrRecords; ++n) {
                    if (n % 2 == 0) {
                        gps_.Send(p, n / 2);
                    } else {
                        glonass_.Send(p, n / 2);
                    }
                    // Queues have no limit; the cycles are to keep up.
                    while (n % 16 == 0 && root_.NmrQueued() > 200) std::this_thread::yield();
                }
                --nmrBusy;
            });
        }
        threads.emplace_back([&] {
            while (nmrBusy > 0) disturb();
        });
        for (int i = 0; i < NmrConsumers; ++i) {
            threads.emplace_back([&] {
                std::array<int, 33> gps{};
                std::array<int, 33> glonass{};
                while (!isOver) {
                    nmrWrong += gps_.Ask(gps) + glonass_.Ask(glonass);
                    ++nmrRounds;
                    std::this_thread::yield();
                }
            });
        }
        for (int i = 0; i < 2; ++i) {
            threads.emplace_back([&] {
                while (nmrBusy > 0 || root_.NmrQueued() != 0) {
                    root_.CycleAll();
                    std::this_thread::yield();
                }
                isOver = true;
            });
        }
        for (std::thread& thread : threads) thread.join();
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
        std::cout << NmrProducers * nmrRecords << " records in " << seconds.count() << " s, " << nmrRounds
                  << " times every position\n";
    }

    std::atomic<int> nmrWrong = 0;
    std::atomic<int> nmrRounds = 0;

private:
    Corvane::Root& root_;
    Side<GPSEphemStore>& gps_;
    Side<EphemStore>& glonass_;
};

TEST(EphemerisStoresUnderTraffic, PublishEveryRecordOnceAndInOrder) {
    Corvane::Root root;
    Side<GPSEphemStore> gps(root, true);
    Side<EphemStore> glonass(root, true);
    Traffic traffic(root, gps, glonass);
    traffic.Run(NmrRecords, [] { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
    EXPECT_EQ(gps.watcher->nmrHistories, NmrProducers * NmrRecords / 2);
    EXPECT_EQ(glonass.watcher->nmrHistories, NmrProducers * NmrRecords / 2);
    EXPECT_EQ(gps.watcher->nmrWrong + glonass.watcher->nmrWrong + traffic.nmrWrong, 0);
    EXPECT_GT(traffic.nmrRounds, 100);
}

// Of one store, while the producers send.
template <typename Store>
void Disturb(Corvane::Root& root, Side<Store>& side, int nmrTimes) {
    const auto guest = std::make_shared<Guest<Store>>();
    root.Join(guest);
    if (nmrTimes % 2 == 0) {
        typename Store::History whole;
        for (int number = Store::Id::Min; number <= Store::Id::Max; ++number) {
            whole.Update(MakeRecord(typename Store::Id(number), 0));
        }
        side.loader->histories.Send(whole);
    } else {
        side.store->Clear();
    }
    if constexpr (std::same_as<Store, GPSEphemStore>) {
        side.store->UpdateIODE();
    } else {
        side.store->UpdateTb();
    }
    // One is kept for it, so the wait ends.
    while (guest->nmrGot == 0) std::this_thread::yield();
    root.Leave(*guest);
    guest->hasLeft = true;
    EXPECT_EQ(guest->nmrWrong, 0);
}

template <typename Store>
void ExpectTheSameEverywhere(const Side<Store>& side, int nmrDisturbances) {
    const auto& watcher = *side.watcher;
    EXPECT_EQ(watcher.nmrHistories, NmrProducers * NmrFewer / 2 + nmrDisturbances + 1);
    EXPECT_EQ(watcher.nmrWrong, 0);
    EXPECT_EQ(side.calc.GetImplementation(), watcher.last);
    typename Store::Ages ages;
    ages.UpdateEphem(*watcher.last);
    EXPECT_EQ(tests::Print(watcher.lastAges), tests::Print(ages));
}

TEST(EphemerisStoresUnderTraffic, TakeWholeHistoriesClearsAndGuests) {
    Corvane::Root root;
    Side<GPSEphemStore> gps(root, false);
    Side<EphemStore> glonass(root, false);
    Traffic traffic(root, gps, glonass);
    int nmrTimes = 0;
    traffic.Run(NmrFewer, [&] {
        Disturb(root, gps, nmrTimes);
        Disturb(root, glonass, nmrTimes);
        ++nmrTimes;
    });
    // A whole history leaves the data age to the next record.
    gps.Send(0, NmrFewer);
    glonass.Send(0, NmrFewer);
    while (root.NmrQueued() != 0) root.CycleAll();
    std::cout << nmrTimes << " times cleared or replaced\n";
    EXPECT_GT(nmrTimes, 2);
    EXPECT_EQ(traffic.nmrWrong, 0);
    ExpectTheSameEverywhere(gps, nmrTimes);
    ExpectTheSameEverywhere(glonass, nmrTimes);
}

}  // namespace
