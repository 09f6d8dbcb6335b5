#include "gnss/store/EphemerisStore.h"

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/ephemeris/GPSEphemeris.h"
#include "gnss/ephemeris/GlonassEphemeris.h"
#include "gnss/platform/Event.h"
#include "gnss/platform/Root.h"
#include "tests/store/EphemerisParts.h"

namespace {

using Corvane::LogDataControl;
using GNSS::GPSEphemStore;
using GNSS::SVHealth;
using GNSS::Glonass::EphemStore;
using tests::MakeRecord;
using Lines = std::vector<std::string>;

void Update(GPSEphemStore& store) {
    store.UpdateIODE();
}
void Update(EphemStore& store) {
    store.UpdateTb();
}
void SetUnhealthy(GNSS::GPSEphemeride& record) {
    record.status.SetHealth(63);
}
void SetUnhealthy(GNSS::Glonass::Ephemeride& record) {
    record.status.SetUnhealthy(true);
}

template <typename Store>
class EphemerisStore : public testing::Test {
protected:
    EphemerisStore() {
        root.Join(store);
        root.Join(sender);
        root.Join(subscriber);
        subscriber->Take();
    }
    ~EphemerisStore() override { LogDataControl::SetRecorder(nullptr); }

    void Send(const typename Store::Record& record) {
        sender->records.Send(record);
        store->DoCycle();
    }
    // What a subscriber sees of a change that leaves the history so, after the health.
    static Lines StateOf(const typename Store::History& history, bool withAge = true) {
        typename Store::Calc calc(std::make_shared<const typename Store::History>(history));
        typename Store::Ages ages;
        ages.UpdateEphem(history);
        Lines lines{"history" + tests::Print(history), "calculator" + tests::Print(calc, tests::SampleTime)};
        if (withAge) lines.push_back("age" + tests::Print(ages));
        return lines;
    }
    static std::string Health(typename Store::Id id, int word) {
        return "health " + SVHealth::Update(SVHealth::Update::EphemerisHealth, id, word).GetDesc().str();
    }

    const std::shared_ptr<Store> store = std::dynamic_pointer_cast<Store>(Store::TheFactory.CreateComponent());
    const std::shared_ptr<tests::Sender<Store>> sender = std::make_shared<tests::Sender<Store>>();
    const std::shared_ptr<tests::Subscriber<Store>> subscriber = std::make_shared<tests::Subscriber<Store>>();
    Corvane::Root root;
};

using Stores = testing::Types<GPSEphemStore, EphemStore>;
TYPED_TEST_SUITE(EphemerisStore, Stores);

TYPED_TEST(EphemerisStore, PublishesEachChangeInItsOrder) {
    using Id = typename TypeParam::Id;
    typename TypeParam::History model;
    const auto expect = [&](const char* what, Lines health, bool withAge = true) {
        for (const std::string& line : this->StateOf(model, withAge)) health.push_back(line);
        EXPECT_EQ(this->subscriber->Take(), health) << what;
    };
    const auto send = [&](typename TypeParam::Record record) {
        model.Update(record);
        this->Send(record);
    };

    send(MakeRecord(Id(5), 1));
    expect("a first record", {this->Health(5, 0)});
    send(MakeRecord(Id(5), 2));
    expect("a second record", {this->Health(5, 0)});
    auto unhealthy = MakeRecord(Id(7), 1);
    SetUnhealthy(unhealthy);
    send(unhealthy);
    expect("another satellite", {this->Health(7, TypeParam::Rules::GetHealth(unhealthy))});

    auto early = MakeRecord(Id(5), 3);
    early.reference = early.reference - Corvane::Time(1.0);
    send(MakeRecord(Id(5), 2));
    send(early);
    send(MakeRecord(Id(), 1));
    EXPECT_EQ(this->subscriber->Take(), Lines()) << "refused: a repeat, one out of order, one without a satellite";

    model.Reset();
    for (const int issue : {1, 2}) model.Update(MakeRecord(Id(3), issue));
    model.Update(unhealthy);
    this->sender->histories.Send(model);
    this->store->DoCycle();
    expect("a whole history", {this->Health(3, 0), this->Health(7, TypeParam::Rules::GetHealth(unhealthy))}, false);
    Update(*this->store);
    EXPECT_EQ(this->subscriber->Take(), Lines{this->StateOf(model).back()});
    send(MakeRecord(Id(3), 3));
    expect("a record after a whole history", {this->Health(3, 0)});

    this->store->SetIndex(Corvane::Index(2));
    this->store->ReplayChange(true);
    this->store->Run();
    this->store->Cycle();
    EXPECT_EQ(this->subscriber->Take(), Lines());

    model.Reset();
    this->store->Clear();
    expect("nothing held", {});
    send(MakeRecord(Id(3), 3));
    expect("a record after nothing", {this->Health(3, 0)});
    EXPECT_TRUE(this->subscriber->AreUnchanged());

    // Who comes late is told the state of now, who leaves hears no more.
    const auto late = std::make_shared<tests::Subscriber<TypeParam>>();
    this->root.Join(late);
    EXPECT_EQ(late->Take(), this->StateOf(model));
    this->root.Leave(*this->subscriber);
    send(MakeRecord(Id(3), 4));
    EXPECT_EQ(late->Take().size(), 4u);
    EXPECT_EQ(this->subscriber->Take(), Lines());
}

// Keeps what is recorded, and whether a subscriber has been sent the history by then, and not yet the calculator.
template <typename Store>
struct Tape : LogDataControl::Recorder {
    explicit Tape(tests::Subscriber<Store>& subscriber) : watched(subscriber) {}
    void Record(Corvane::Ident source, Corvane::Type type, std::span<const std::byte> bytes) override {
        EXPECT_EQ(source, Store::ID);
        EXPECT_EQ(type, Store::Rules::HistoryType());
        EXPECT_EQ(watched.historyInput.Length(), 1u);
        EXPECT_EQ(watched.calcInput.Length(), 0u);
        forms.emplace_back(bytes.begin(), bytes.end());
    }
    tests::Subscriber<Store>& watched;
    std::vector<std::vector<std::byte>> forms;
};

TYPED_TEST(EphemerisStore, LogsEveryAcceptedHistory) {
    using Id = typename TypeParam::Id;
    using History = typename TypeParam::History;
    const auto tape = std::make_shared<Tape<TypeParam>>(*this->subscriber);
    LogDataControl::SetRecorder(tape);
    for (const int issue : {1, 1, 2}) {
        this->Send(MakeRecord(Id(Id::Max), issue));
        this->subscriber->Take();
    }
    History whole;
    for (const int number : {2, 9, 1}) whole.Update(MakeRecord(Id(number), 1));
    this->sender->histories.Send(whole);
    this->store->DoCycle();
    this->subscriber->Take();
    this->store->Clear();
    ASSERT_EQ(tape->forms.size(), 3u);
    for (std::size_t i = 0; i < 3; ++i) {
        // The first of those kept is from the joining.
        History read;
        Corvane::Stream::MemoryInput input(tape->forms[i]);
        EXPECT_TRUE(read.Read(input) && input.NmrLeft() == 0);
        EXPECT_EQ("history" + tests::Print(read), this->subscriber->histories[i + 1].first);
    }
    tests::ExpectStreams(whole, History(), tape->forms[2].size());

    // No history: too many records, two satellites under one number, one satellite twice.
    const auto& form = tape->forms[2];
    const std::size_t size = (form.size() - 1) / 3;
    std::vector<std::vector<std::byte>> wrong(3, form);
    wrong[0][0] = std::byte{TypeParam::History::SV::Depth + 1};
    wrong[1][0] = std::byte{2};
    wrong[1].erase(wrong[1].begin() + static_cast<std::ptrdiff_t>(size));
    std::copy_n(form.begin(), size, wrong[2].begin() + static_cast<std::ptrdiff_t>(size));
    for (const auto& bytes : wrong) {
        History read = whole;
        Corvane::Stream::MemoryInput input(bytes);
        EXPECT_FALSE(read.Read(input));
        EXPECT_EQ(tests::Print(read), tests::Print(whole));
    }
}

TYPED_TEST(EphemerisStore, TwoInOneTreeComeToRest) {
    const auto other = Corvane::Factory::Find(TypeParam::Rules::Name)->CreateComponent();
    this->root.Join(other);
    this->sender->records.Send(MakeRecord(typename TypeParam::Id(5), 1));
    this->sender->histories.Send(typename TypeParam::History());
    for (int i = 0; i < 5; ++i) this->root.CycleAll();
    EXPECT_EQ(this->root.NmrQueued(), 0u);
    // Of the first: four and two. Of the second: what it kept, and the same.
    EXPECT_EQ(this->subscriber->Take().size(), 6u + 3u + 6u);
}

TEST(EphemerisStores, HaveTheirNamesAndIndexes) {
    using Corvane::Index;
    const Corvane::Factory& gps = GPSEphemStore::TheFactory;
    const Corvane::Factory& glonass = EphemStore::TheFactory;
    EXPECT_EQ(gps.GetTitle(), "GPS Ephemeris");
    EXPECT_EQ(gps.GetDescription().Print(), "Store for a GPS Ephemeris, location of ephemeris calculation objets.");
    EXPECT_EQ(glonass.GetTitle(), "GLONASS Ephemeris");
    EXPECT_EQ(glonass.GetDescription().Print(),
              "Store for a Glonass Ephemeris, location of ephemeris calculation objects.");
    for (const Corvane::Factory* factory : {&gps, &glonass}) {
        const auto component = factory->CreateComponent();
        EXPECT_EQ(component->GetFactory(), factory);
        EXPECT_EQ(component->GetCycleMS(), 100);
        EXPECT_EQ(Corvane::Factory::Find(factory->GetName()), factory);
    }
    EXPECT_EQ(GPSEphemStore::Rules::HistoryIndex, Index(7));
    EXPECT_EQ(GPSEphemStore::Rules::CalcIndex, Index(8));
    EXPECT_TRUE(GPSEphemStore::GetIODEIndex().IsNull() && EphemStore::GetTbIndex().IsNull());
}

TEST(EphemerisStores, SayWhyAGlonassRecordIsRefused) {
    EphemStore store{Corvane::Param<Corvane::ParamList>(Corvane::ParamList::GetVoidDefn())};
    auto record = MakeRecord(GNSS::Glonass::Slot(7), 1);
    record.posn.vely = {};
    Corvane::Event::Clear();
    store.OnEphem(record);
    ASSERT_EQ(Corvane::Event::GetKept().size(), 1u);
    EXPECT_EQ(Corvane::Event::GetKept()[0].GetSource(), "Glonass Ephemeris");
}

}  // namespace
