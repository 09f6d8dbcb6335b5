#include "gnss/store/AlmanacStore.h"

#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "gnss/platform/Root.h"
#include "gnss/platform/Stream.h"
#include "gnss/store/GNSSLink.h"
#include "gnss/time/GPSTimeUTCConverter.h"
#include "tests/platform/Components.h"
#include "tests/store/AlmanacRecords.h"
#include "tests/store/Folder.h"

namespace {

namespace fs = std::filesystem;
using GNSS::Almanac;
using GNSS::AlmanacStore;
using GNSS::GNSSLink;
using GNSS::SVHealth;
using tests::MakeGlonassSV;
using tests::MakeIono;
using tests::MakeSV;
using tests::MakeUTC;
using Trace = std::vector<std::string>;

// Writes down what it hears, and what it finds on the links then.
struct Watcher : Corvane::Component {
    explicit Watcher(Trace& written)
        : Component(Corvane::Ident("Watcher"), 100),
          trace(written),
          almanac(*this, GNSSLink::AlmanacType, &Watcher::OnAlmanac, "Almanac"),
          update(*this, GNSSLink::AlmanacUpdateType, &Watcher::OnUpdate, "Almanac"),
          calculator(*this, GNSSLink::AlmanacCalcType, &Watcher::OnCalculator, "Almanac"),
          health(*this, SVHealth::Update::Type, &Watcher::OnHealth) {}
    void OnAlmanac(const Almanac& value) { trace.push_back("almanac of " + std::to_string(value.NmrSV())); }
    void OnUpdate(const Almanac::Update& value) {
        const bool isCurrent = !value.IsSV() || almanac.Get()->Find(value.GetPRN()) >= 0;
        trace.push_back("update " + std::to_string(value.GetType()) + (isCurrent ? "" : " before the almanac"));
    }
    void OnCalculator(const Almanac::Calculator& value) {
        trace.push_back(value.RefersTo(*almanac.Get()) ? "calculator" : "calculator of another almanac");
    }
    void OnHealth(const SVHealth::Update& value) { trace.push_back("health " + value.GetDesc().str()); }

    Trace& trace;
    Corvane::Response<Almanac> almanac;
    Corvane::Response<Almanac::Update> update;
    Corvane::Response<Almanac::Calculator> calculator;
    Corvane::Response<SVHealth::Update> health;
};

// Sends to the store, as a receiver's side does.
struct Sender : Corvane::Component {
    Sender()
        : Component(Corvane::Ident("Sender"), 100),
          almanac(*this, GNSSLink::AlmanacType),
          update(*this, GNSSLink::AlmanacUpdateType) {}
    Corvane::Link<Almanac> almanac;
    Corvane::Link<Almanac::Update> update;
};

// A store in a tree. What goes to the watcher, the log and the event log is put down in one order: whenever one of the
// latter hears something the watcher has its turn first.
class AlmanacStoreOrder : public tests::Folder {
protected:
    struct Recorder : Corvane::LogDataControl::Recorder {
        explicit Recorder(AlmanacStoreOrder& owner) : test(owner) {}
        void Record(Corvane::Ident, Corvane::Type, std::span<const std::byte> bytes) override {
            Corvane::Stream::MemoryInput input(bytes);
            Almanac logged;
            test.PutDown(logged.Read(input) && logged.NmrSV() == test.watcher_->almanac.Get()->NmrSV() ? "log"
                                                                                                       : "other log");
        }
        AlmanacStoreOrder& test;
    };

    void SetUp() override {
        Folder::SetUp();
        store_ = std::dynamic_pointer_cast<AlmanacStore>(AlmanacStore::TheFactory.CreateComponent());
        ASSERT_TRUE(root_.Join(store_));
        watcher_ = tests::Joined<Watcher>(root_, trace_);
        sender_ = tests::Joined<Sender>(root_);
        root_.CycleAll();
        Corvane::LogDataControl::SetRecorder(std::make_shared<Recorder>(*this));
        sink_ = Corvane::Event::InstallSink([this](const Corvane::Event& event) {
            const bool isSave = event.GetText().StartsWith("the almanac is not saved");
            PutDown(isSave ? "save" : event.GetText().str());
        });
    }
    void TearDown() override {
        Corvane::Event::RemoveSink(sink_);
        Corvane::LogDataControl::SetRecorder(nullptr);
        Folder::TearDown();
    }
    void PutDown(const std::string& what) {
        watcher_->DoCycle();
        std::string text = what;
        if (GNSS::GPSTime::LeapChange() == 2.0) text += " after the leap";
        if (watcher_->NmrQueued() != 0) text += " late";
        trace_.push_back(text);
    }
    Trace TakeTrace() {
        root_.CycleAll();
        root_.CycleAll();
        return std::exchange(trace_, {});
    }

    Corvane::Root root_;
    std::shared_ptr<AlmanacStore> store_;
    std::shared_ptr<Watcher> watcher_;
    std::shared_ptr<Sender> sender_;
    Corvane::Event::SinkID sink_ = 0;
    Trace trace_;
};

TEST_F(AlmanacStoreOrder, OfWhatASubscriberSees) {
    const auto update = [&](const auto& record) {
        return [=, this] { sender_->update.Send(Almanac::Update(record)); };
    };
    const struct {
        const char* what;
        std::function<void()> act;
        Trace expected;
    } steps[] = {
        {"GPS", update(MakeSV(5, 10.0, 63)), {"health GPS Almanac 5 63", "update 1", "calculator", "save", "log"}},
        {"no newer", update(MakeSV(5, 10.0 + 1e-8, 0)), {}},
        {"without a record", update(GNSS::PRN(5)), {}},
        {"full", update(Almanac::Update::Full), {}},
        {"GLONASS",
         update(MakeGlonassSV(7, 10.0)),
         {"health Glonass Almanac 7 1", "update 5", "calculator", "save", "log"}},
        {"of an earlier crossing", update(MakeGlonassSV(7, 9.0)), {}},
        {"ionosphere", update(MakeIono(10.0)), {"update 2", "calculator", "save"}},
        {"UTC", update(MakeUTC(10.0)), {"update 3", "calculator", "save after the leap"}},
        {"clear", [this] { store_->Clear(); }, {"calculator"}},
        {"whole",
         [this] { sender_->almanac.Send(tests::MakeAlmanac(2, 1)); },
         {"health GPS Almanac 1 0", "health GPS Almanac 2 0", "health Glonass Almanac 1 1", "calculator",
          "save after the leap"}},
        {"another path", [this] { store_->RootPathChange((folder_ / "none" / "y").string(), true); }, {"save"}},
        {"no file",
         [this] { store_->RootPathChange((folder_ / "z").string(), false); },
         {"nothing was loaded: " + (folder_ / "z.alm").string() +
          " is not there or cannot be read; the almanac stays as it is"}},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.what);
        // A path where nothing can be saved, and which has not been told yet: so each save is heard of.
        store_->RootPathChange((folder_ / step.what / "x").string(), false);
        GNSS::GPSTime::SetUTCParam(GNSS::GPSTime(1851, 259200.0), 16, 17);
        trace_.clear();
        step.act();
        EXPECT_EQ(TakeTrace(), step.expected);
    }
    EXPECT_EQ(watcher_->almanac.Get()->NmrSV(), 2);
    tests::Joined<Watcher>(root_, trace_);
    EXPECT_EQ(TakeTrace(), (Trace{"almanac of 2", "calculator"})) << "who joins late";
}

TEST_F(AlmanacStoreOrder, OfLoading) {
    store_->OnFullAlmanacUpdate(tests::MakeAlmanac(2, 1));
    // The ending goes to the root as it stands.
    const fs::path root = folder_ / "C:\\Data\\Almanac";
    store_->RootPathChange(root.string(), true);
    EXPECT_EQ(List(), (std::set<std::string>{"C:\\Data\\Almanac.alm", "C:\\Data\\Almanac.alm.lock"}));
    const auto before = watcher_->calculator.Get();
    store_->Clear();
    EXPECT_TRUE(watcher_->almanac.Get()->GetIono() == Almanac::Iono() &&
                watcher_->almanac.Get()->GetUTC() == Almanac::UTC());
    GNSS::GPSTime::SetUTCParam(GNSS::GPSTime(1851, 259200.0), 16, 17);
    TakeTrace();

    store_->RootPathChange(root.string(), false);
    EXPECT_EQ(TakeTrace(), (Trace{"log", "health GPS Almanac 1 0", "health GPS Almanac 2 0",
                                  "health Glonass Almanac 1 1", "update 4", "calculator"}));
    const auto rule = GNSS::GPSTime::GetUTCConverter();
    EXPECT_EQ(rule.GetLeapTime(), GNSS::GPSTime(2301, 7 * 86400.0 + 20.0));
    EXPECT_EQ(rule.LeapChange(), 2.0);
    EXPECT_EQ(watcher_->calculator.Get(), before) << "one calculator for ever";

    // What is refused does not touch the file, which every save replaces by another one.
    const auto written = fs::last_write_time(root.string() + ".alm");
    store_->OnAlmanacSV(MakeSV(1, -1.0));
    EXPECT_EQ(fs::last_write_time(root.string() + ".alm"), written);
    store_->OnAlmanacSV(MakeSV(1, 1.0));
    EXPECT_NE(fs::last_write_time(root.string() + ".alm"), written);
}

TEST(AlmanacStoreFactory, TellsWhatItMakes) {
    const auto& factory = AlmanacStore::TheFactory;
    EXPECT_EQ(Corvane::Factory::Find("Almanac"), &factory);
    EXPECT_EQ(factory.GetDescription(), Corvane::Text()
                                            .AddParagraph("Almanac", Corvane::Text::Emphasised)
                                            .AddEndOfLine()
                                            .Add("Store for an Almanac, location of almanac calculation objects."));
    const auto store = factory.CreateComponent();
    EXPECT_EQ(store->GetIdent(), AlmanacStore::ID);
    EXPECT_EQ(store->GetCycleMS(), 100);
    EXPECT_EQ(store->GetFactory(), &factory);
}

}  // namespace
