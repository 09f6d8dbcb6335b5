#include "gnss/platform/Component.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include <gtest/gtest.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Event.h"
#include "gnss/platform/Factory.h"
#include "gnss/platform/LogPoint.h"
#include "gnss/platform/View.h"
#include "tests/platform/Components.h"
#include "tests/support/RecordingDC.h"

using namespace Corvane;
using tests::Joined;
using tests::Listener;
using tests::Source;

namespace {

using Numbers = std::vector<int>;

// Does in its handler and its cycle what the test says.
struct Actor : Component {
    Actor() : Component(Ident("Actor"), 50) {}
    void OnJoin() override { atJoin(); }
    void Cycle() override { atCycle(); }
    void OnNumber(const int& number) {
        got.push_back(number);
        atNumber(number);
    }
    Numbers got;
    std::function<void()> atJoin = [] {};
    std::function<void()> atCycle = [] {};
    std::function<void(int)> atNumber = [](int) {};
    Response<int> numbers{*this, tests::NumberType, &Actor::OnNumber};
};

TEST(Component, GetsWhatWaitsBeforeItsCycleAndAfterItsOnJoin) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto actor = std::make_shared<Actor>();
    bool joined = false;
    actor->atJoin = [&] {
        EXPECT_EQ(actor->GetRoot(), &root);
        source->messages.Send(1);
        EXPECT_FALSE(actor->DoCycle());
        EXPECT_TRUE(actor->got.empty());
        joined = true;
    };
    int nmrCycles = 0;
    actor->atCycle = [&] {
        EXPECT_EQ(actor->got.size(), 1u);
        EXPECT_FALSE(actor->DoCycle());
        source->messages.Send(2);
        actor->CheckQueue();
        EXPECT_EQ(actor->got.size(), 2u);
        ++nmrCycles;
    };
    EXPECT_FALSE(actor->DoCycle());
    root.Join(actor);
    EXPECT_TRUE(joined);
    EXPECT_TRUE(actor->DoCycle());
    EXPECT_EQ(nmrCycles, 1);
    EXPECT_EQ(actor->GetCycleMS(), 50);
    EXPECT_EQ(root.Find(Ident("Actor")), actor);
    EXPECT_EQ(root.Find(Ident("Nobody")), nullptr);
}

TEST(Component, AHandlerIsNotEnteredAgainAndNewMessagesWaitForTheNextCycle) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto actor = Joined<Actor>(root);
    actor->atNumber = [&](int number) {
        if (number < 5) source->messages.Send(number + 1);
        actor->CheckQueue();
        EXPECT_FALSE(actor->DoCycle());
        root.CycleAll();
        EXPECT_EQ(actor->got.back(), number);
        EXPECT_EQ(actor->numbers.Length(), number < 5 ? 1u : 0u);
        EXPECT_EQ(root.NmrQueued(), actor->numbers.Length() + 1);
    };
    source->messages.Send(1);
    root.CycleAll();
    EXPECT_EQ(actor->got, Numbers{1});
    root.CycleAll();
    EXPECT_EQ(actor->got, (Numbers{1, 2}));
}

TEST(Component, AnExceptionEndsItsHandlerOnly) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto actor = Joined<Actor>(root);
    actor->atNumber = [](int number) {
        if (number == 1) throw std::runtime_error("not this one");
        if (number == 2) throw 2;
    };
    bool cycled = false;
    actor->atCycle = [&] {
        cycled = true;
        throw std::runtime_error("nor this");
    };
    for (const int number : {1, 2, 3}) source->messages.Send(number);
    Event::Clear();
    root.CycleAll();
    EXPECT_EQ(actor->got, (Numbers{1, 2, 3}));
    EXPECT_TRUE(cycled);
    EXPECT_EQ(actor->NmrFailures(), 3u);
    std::vector<String> texts;
    for (const Event& event : Event::GetKept()) texts.push_back(event.GetSource() + ": " + event.GetText());
    EXPECT_EQ(texts,
              (std::vector<String>{"Actor: A handler failed: not this one",
                                   "Actor: A handler failed: unknown exception", "Actor: Cycle failed: nor this"}));

    // A clock that fails as well, while the failure is told.
    Clock::SetSource([]() -> TimeDate { throw std::runtime_error("no time"); });
    for (int cycle = 0; cycle < 3; ++cycle) {
        for (const int number : {1, 2, 3}) source->messages.Send(number);
        EXPECT_NO_THROW(root.CycleAll());
        EXPECT_EQ(root.NmrQueued(), 0u);
    }
    Clock::UseSystem();
    EXPECT_EQ(actor->got.size(), 12u);
}

TEST(Component, LeavesInsideItsOwnHandler) {
    Root root;
    const auto source = Joined<Source>(root);
    auto actor = Joined<Actor>(root);
    actor->atNumber = [&](int) {
        EXPECT_TRUE(root.Leave(*actor));
        source->messages.Send(3);
    };
    actor->atCycle = [] { FAIL() << "cycled after it left"; };
    source->messages.Send(1);
    source->messages.Send(2);
    root.CycleAll();
    EXPECT_EQ(actor->got, Numbers{1});
    EXPECT_EQ(actor->NmrQueued(), 0u);
    EXPECT_EQ(actor->GetRoot(), nullptr);

    // Held by nobody but the root, it ends when its handler has.
    actor->atNumber = [&root, self = actor.get()](int) { root.Leave(*self); };
    root.Join(actor);
    const std::weak_ptr<Actor> watch = actor;
    actor.reset();
    source->messages.Send(4);
    root.CycleAll();
    EXPECT_TRUE(watch.expired());
}

TEST(Component, HandlersMakeDestroyAndJoin) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto actor = Joined<Actor>(root);
    std::shared_ptr<Listener> other;
    auto own = std::make_unique<Response<int>>(*actor, Type("Value"), &Actor::OnNumber);
    actor->atNumber = [&](int number) {
        if (number == 7) own.reset();
        if (number == 1) other = Joined<Listener>(root);
        if (number == 2) root.Leave(*std::exchange(other, nullptr));
    };
    source->value.Publish(7);
    source->value.Publish(8);  // for a response that is gone by then
    source->messages.Send(1);
    root.CycleAll();
    EXPECT_EQ(actor->got, (Numbers{7, 1}));
    ASSERT_TRUE(other);
    EXPECT_EQ(source->messages.NmrSubscribers(), 2u);
    source->messages.Send(2);
    root.CycleAll();
    EXPECT_EQ(source->messages.NmrSubscribers(), 1u);
}

TEST(Component, ARootThatEndsLetsEverybodyLeave) {
    auto root = std::make_unique<Root>();
    const auto source = Joined<Source>(*root);
    const auto listener = Joined<Listener>(*root);
    root.reset();
    EXPECT_EQ(listener->GetRoot(), nullptr);
    source->messages.Send(1);
    EXPECT_EQ(listener->NmrQueued(), 0u);
}

TEST(Component, IsToldByItsHost) {
    struct Told : Component {
        Told() : Component(Ident("Told"), 100) {}
        void RootPathChange(const String& path, bool save) override { text += path + (save ? " save" : " read"); }
        void ReplayChange(bool isReplay) override { text += isReplay ? " replay" : " live"; }
        void OnIndex(const Index& index) override { text += " " + String::FormatInt(index.Number()); }
        void Clear() override { throw std::runtime_error("cannot be cleared"); }
        String text;
    };
    Root root;
    const auto one = Joined<Told>(root);
    const auto two = Joined<Told>(root);
    root.ForEach([](Component& component) { component.RootPathChange("/data/a", false); });
    root.ForEach([](Component& component) { component.ReplayChange(true); });
    root.ForEach([](Component& component) { component.Clear(); });
    two->SetIndex(Index(2));
    EXPECT_EQ(one->text, "/data/a read replay");
    EXPECT_EQ(two->text, "/data/a read replay 2");
    EXPECT_EQ(two->GetIndex(), Index(2));
    EXPECT_EQ(two->NmrFailures(), 1u);
}

TEST(Factory, IsFoundByNameWhileItLives) {
    const auto create = [](const Param<ParamList>& params) -> std::shared_ptr<Component> {
        if (!params.Get().IsEmpty()) return nullptr;
        return std::make_shared<Listener>();
    };
    EXPECT_EQ(Factory::Find("Listener"), nullptr);
    const std::size_t nmrBefore = Factory::GetAll().size();
    {
        const Factory factory("Listener", "Number listener", Text("Listens."), create);
        const Factory second("Listener", "Another", Text(), create);
        ASSERT_EQ(Factory::Find("Listener"), &factory);
        EXPECT_EQ(Factory::GetAll().size(), nmrBefore + 2);
        const auto component = Factory::Find("Listener")->CreateComponent();
        ASSERT_TRUE(component);
        EXPECT_EQ(component->GetIdent(), Ident("Listener"));
        ParamList list;
        list.Set(Ident("a"), Param<int>(Param<int>::Defn("Int", 0), 1));
        EXPECT_EQ(factory.CreateComponent(Param<ParamList>(ParamList::GetVoidDefn(), list)), nullptr);
    }
    EXPECT_EQ(Factory::Find("Listener"), nullptr);
}

TEST(LogPoint, RecordsWholeValuesWhileARecorderIsInstalled) {
    struct Recorder : LogDataControl::Recorder {
        void Record(Ident source, Type type, std::span<const std::byte> bytes) override {
            Stream::MemoryInput input(bytes);
            entries.push_back(source.Print() + " " + type.Print() + " " + String::FormatInt(input.ReadInt()));
        }
        std::vector<String> entries;
    };
    const auto recorder = std::make_shared<Recorder>();
    int current = 1;
    const auto writeTwo = [](Stream::Output& output) { output.WriteInt(2); };
    LogDataControl::GenPoint point;
    LogDataControl::SetRecorder(recorder);
    EXPECT_FALSE(point.Log(writeTwo));  // not connected
    point.Connect(Ident("Store"), Type("Count"), [&](Stream::Output& output) { output.WriteInt(current); });
    EXPECT_TRUE(point.Refresh());
    EXPECT_TRUE(point.Log(writeTwo));
    EXPECT_FALSE(point.Log([](Stream::Output& output) {
        output.WriteInt(3);
        throw Stream::Error("half a value");
    }));
    EXPECT_FALSE(point.Log(nullptr));
    LogDataControl::SetRecorder(nullptr);
    EXPECT_FALSE(LogDataControl::IsRecording());
    EXPECT_FALSE(point.Refresh());
    EXPECT_EQ(recorder->entries, (std::vector<String>{"Store Count 1", "Store Count 2"}));
}

TEST(View, AsksForARedrawUntilItIsPaintedAsItIs) {
    struct Counter : View {
        using View::AddCommand;
        Counter() {
            AddCommand({Ident("Copy"), "Copy to clipboard", [this] { ++copies; }, nullptr});
            AddCommand({Ident("Grid"), "Grid", [this] { grid = !grid; }, [this] { return grid; }});
        }
        void Draw(DC&, Size size) override {
            area = size;
            atDraw();
        }
        int copies = 0;
        Size area;
        bool grid = false;
        std::function<void()> atDraw = [] {};
    };
    Counter view;
    tests::RecordingDC dc(Size{100, 50});
    EXPECT_TRUE(view.RequiresRedraw());
    view.Paint(dc, {3, 4});
    EXPECT_EQ(view.area, (Size{3, 4}));
    EXPECT_FALSE(view.RequiresRedraw());
    view.atDraw = [&] { view.Invalidate(); };
    view.Paint(dc, {3, 4});
    EXPECT_TRUE(view.RequiresRedraw());
    view.atDraw = [] { throw std::runtime_error("no ink"); };
    EXPECT_THROW(view.Paint(dc, {3, 4}), std::runtime_error);
    EXPECT_TRUE(view.RequiresRedraw());

    ASSERT_EQ(view.GetCommands().size(), 2u);
    EXPECT_TRUE(view.DoCommand(Ident("Copy")));
    EXPECT_EQ(view.copies, 1);
    EXPECT_FALSE(view.GetCommands()[1].isOn());
    EXPECT_TRUE(view.DoCommand(Ident("Grid")));
    EXPECT_TRUE(view.GetCommands()[1].isOn());
    EXPECT_FALSE(view.DoCommand(Ident("Paste")));

    // A command that replaces itself still has what it was made with.
    const auto copies = std::make_shared<int>(0);
    view.AddCommand({Ident("Copy"), "Copy once",
                     [&view, copies] {
                         view.AddCommand({Ident("Copy"), "Copied", nullptr, nullptr});
                         ++*copies;
                     },
                     nullptr});
    EXPECT_TRUE(view.DoCommand(Ident("Copy")));
    EXPECT_EQ(*copies, 1);
    EXPECT_FALSE(view.DoCommand(Ident("Copy")));
}

}  // namespace
