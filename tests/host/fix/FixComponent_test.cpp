// The component in a tree: what it publishes, in which order, and what it makes of a stream with faults.
#include "host/fix/FixComponent.h"

#include <memory>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "gnss/platform/Event.h"
#include "gnss/platform/Root.h"
#include "gnss/store/GNSSLink.h"
#include "host/fix/FixNotes.h"
#include "tests/host/fix/MadeSky.h"

namespace {

using Host::FixComponent;
using Host::FixNote;
using tests::MadeSky;

// A receiver and the stores, as far as the component knows them.
struct Sender : Corvane::Component {
    Sender() : Component(Corvane::Ident("Sender"), 100) {}
    Corvane::Link<GNSS::MeasSet> measurements{*this, GNSS::MeasSet::Type, "Receiver"};
    Corvane::Link<GNSS::SVHealth::Update> health{*this, GNSS::SVHealth::Update::Type, "Operator"};
    Corvane::ManagedLink<GNSS::GPSEphemerisCalc> gps{*this, GNSS::GNSSLink::GPSEphemerisCalcType, "Ephemeris"};
    Corvane::ManagedLink<GNSS::Glonass::EphemerisCalc> glonass{*this, GNSS::GNSSLink::GlonassEphemerisCalcType,
                                                               "Ephemeris"};
};

struct Listener : Corvane::Component {
    Listener() : Component(Corvane::Ident("Listener"), 100) {}
    void OnPosition(const GNSS::Position&) { order += 'P'; }
    void OnFix(const std::shared_ptr<const Host::PublishedFix>& fix) {
        order += 'F';
        fixes.push_back(fix);
    }
    void OnHistory(const GNSS::Notes::History& now) {
        order += 'H';
        history = now;
    }
    std::set<int> TakeNotes() {
        std::set<int> ids;
        for (const auto& fix : fixes) {
            for (const auto& note : fix->notes) ids.insert(note.GetId());
        }
        fixes.clear();
        return ids;
    }

    std::string order;
    std::vector<std::shared_ptr<const Host::PublishedFix>> fixes;
    GNSS::Notes::History history;
    Corvane::Response<GNSS::Position> onPosition{*this, FixComponent::PositionType(), &Listener::OnPosition};
    Corvane::Response<Host::PublishedFix> onFix{*this, Host::PublishedFix::Type(), &Listener::OnFix};
    Corvane::Response<GNSS::Notes::History> onHistory{*this, GNSS::Notes::HistoryType, &Listener::OnHistory};
};

class FixTree : public ::testing::Test {
protected:
    void SetUp() override {
        sky.AddMany(7, 5);
        ASSERT_TRUE(root.Join(sender) && root.Join(component) && root.Join(listener));
        const Host::FixInputs inputs = sky.Inputs();
        sender->gps.Publish(inputs.gps);
        sender->glonass.Publish(inputs.glonass);
    }
    // An epoch, s after the start.
    void Send(double t) {
        sender->measurements.Send(sky.Measure(MadeSky::Start + Corvane::Time(t)));
        while (root.NmrQueued() > 0) root.CycleAll();
    }

    static Host::FixSettings Settings() {
        Host::FixSettings settings;
        settings.troposphere = Host::FixSettings::Troposphere::Off;
        return settings;
    }

    MadeSky sky;
    Corvane::Root root;
    std::shared_ptr<Sender> sender = std::make_shared<Sender>();
    std::shared_ptr<FixComponent> component = std::make_shared<FixComponent>(Settings());
    std::shared_ptr<Listener> listener = std::make_shared<Listener>();
};

constexpr int Id(FixNote note) {
    return static_cast<int>(note);
}

TEST_F(FixTree, PublishesEachEpochInOrder) {
    for (const double t : {0.0, 1.0, 2.0}) Send(t);
    EXPECT_EQ(listener->order, "PFHPFHPFH");
    const Host::PublishedFix& last = *listener->fixes.back();
    EXPECT_TRUE(last.result.valid);
    EXPECT_EQ(last.result.time, MadeSky::Start + Corvane::Time(2.0));
    EXPECT_EQ(*last.position.GetGPSTime(), last.result.time);
    EXPECT_EQ(last.position.GetSolutionMode()->GetName(), "GPS+GLO");
    EXPECT_EQ(listener->history[0].GetNote().GetId(), Id(FixNote::NoIonosphere));
    EXPECT_EQ(listener->history[0].GetLastInterval().GetExtent().Seconds(), 2.0);
    EXPECT_EQ(component->GetCounts().fixes, 3);

    // What the operator disables, and what the last fix had, until it is cleared.
    sender->health.Send({GNSS::SVHealth::Update::Disable, GNSS::PRN(1), 0});
    Send(3.0);
    EXPECT_TRUE(listener->TakeNotes().contains(Id(FixNote::Disabled)));
    component->Clear();
    EXPECT_EQ(component->GetHistory().NmrNote(), 0);
    EXPECT_EQ(component->GetCounts().epochs, 0);
    Send(1.0);
    EXPECT_EQ(component->GetCounts().fixes, 1);
    EXPECT_TRUE(listener->TakeNotes().contains(Id(FixNote::Disabled)));
}

TEST_F(FixTree, TakesAStreamAsItComes) {
    struct Case {
        const char* name;
        std::vector<double> times;
        std::size_t nmrFixes;
        std::set<int> notes;  // beside those of the ionosphere
    };
    for (const Case& each : {Case{"in order", {0.0, 1.0, 2.0}, 3, {}},
                             Case{"repeated", {10.0, 10.0, 10.0004, 11.0}, 2, {Id(FixNote::EpochRepeated)}},
                             Case{"out of order", {20.0, 22.0, 21.0, 23.0}, 3, {Id(FixNote::EpochOutOfOrder)}},
                             Case{"gap", {400.0, 401.0}, 2, {Id(FixNote::EpochGap)}},
                             // From here on ten epochs are left out.
                             Case{"far ahead", {1200.0}, 1, {Id(FixNote::EpochGap)}},
                             Case{"anew",
                                  {50.0, 51.0, 52.0, 53.0, 54.0, 55.0, 56.0, 57.0, 58.0, 59.0, 60.0, 61.0},
                                  2,
                                  {Id(FixNote::EpochOutOfOrder)}},
                             Case{"stuck", std::vector<double>(20, 70.0), 1, {}}}) {
        for (const double t : each.times) Send(t);
        EXPECT_EQ(listener->fixes.size(), each.nmrFixes) << each.name;
        std::set<int> notes = listener->TakeNotes();
        notes.erase(Id(FixNote::NoIonosphere));
        EXPECT_EQ(notes, each.notes) << each.name;
    }
    EXPECT_EQ(component->GetCounts().outOfOrder, 11);
    EXPECT_EQ(component->GetCounts().repeated, 21);
}

TEST_F(FixTree, SeesTheClockJump) {
    sky.drift = 2e-6;
    for (const double t : {0.0, 1.0, 2.0, 60.0}) Send(t);
    EXPECT_FALSE(listener->TakeNotes().contains(Id(FixNote::ClockJump)));
    sky.clock -= 1e-3;
    Send(61.0);
    EXPECT_TRUE(listener->TakeNotes().contains(Id(FixNote::ClockJump)));
    Send(62.0);
    EXPECT_FALSE(listener->TakeNotes().contains(Id(FixNote::ClockJump)));
    // Over a long silence no drift is good enough.
    sky.clock -= 1e-3;
    Send(500.0);
    EXPECT_FALSE(listener->TakeNotes().contains(Id(FixNote::ClockJump)));
}

}  // namespace
