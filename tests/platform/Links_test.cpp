#include <future>
#include <optional>

#include <gtest/gtest.h>

#include "gnss/platform/Link.h"
#include "gnss/platform/Response.h"
#include "gnss/platform/Root.h"
#include "tests/platform/Components.h"

using namespace Corvane;
using tests::Joined;
using tests::Listener;
using tests::Source;

namespace {

using Numbers = std::vector<int>;

TEST(Links, MeetWhicheverComesFirst) {
    Root root;
    const auto early = Joined<Listener>(root);
    const auto source = Joined<Source>(root);
    const auto late = Joined<Listener>(root);
    EXPECT_EQ(source->messages.NmrSubscribers(), 2u);
    source->messages.Send(1);
    source->value.Publish(2);
    source->messages.Send(3);
    EXPECT_EQ(root.NmrQueued(), 6u);
    EXPECT_EQ(early->messages.Length(), 2u);
    EXPECT_EQ(early->values.Length(), 1u);
    EXPECT_TRUE(early->got.empty());
    root.CycleAll();
    // In the order of sending, over both links.
    EXPECT_EQ(early->got, (Numbers{1, 1002, 3}));
    EXPECT_EQ(late->got, (Numbers{1, 1002, 3}));
    EXPECT_EQ(root.NmrQueued(), 0u);
    EXPECT_EQ(early->messages.Length(), 0u);
}

TEST(Links, AreFoundByNameAndIndex) {
    struct {
        String name;
        Index index;
        Numbers expected;
    } const cases[] = {
        {"", Index(), {1, 2, 3}}, {"A", Index(), {1, 2}}, {"", Index(7), {1, 3}},
        {"A", Index(7), {1}},     {"C", Index(), {}},
    };
    for (const auto& each : cases) {
        Root root;
        const auto a7 = Joined<Source>(root, "A", Index(7));
        const auto listener = Joined<Listener>(root, each.name, each.index);
        const auto a8 = Joined<Source>(root, "A", Index(8));
        const auto b7 = Joined<Source>(root, "B", Index(7));
        a7->messages.Send(1);
        a8->messages.Send(2);
        b7->messages.Send(3);
        root.CycleAll();
        EXPECT_EQ(listener->got, each.expected) << each.name << " " << each.index.Number();
    }
}

TEST(Links, OfOneTypeButAnotherClassAreNotConnected) {
    struct Other : Component {
        Other() : Component(Ident("Other"), 100) {}
        Link<double> link{*this, tests::NumberType};
    };
    Root root;
    const auto listener = Joined<Listener>(root);
    const auto other = Joined<Other>(root);
    EXPECT_FALSE(other->link.HasSubscribers());
}

TEST(Links, OfAComponentDoNotReachItsOwnResponses) {
    struct Both : Listener {
        Link<int> link{*this, tests::NumberType};
    };
    Root root;
    const auto one = Joined<Both>(root);
    const auto two = Joined<Both>(root);
    one->link.Send(1);
    root.CycleAll();
    EXPECT_EQ(one->got, Numbers{});
    EXPECT_EQ(two->got, Numbers{1});
}

TEST(Links, ALateSubscriberGetsAndReadsTheKeptValueOnce) {
    Root root;
    const auto source = Joined<Source>(root);
    source->value.Publish(1);
    source->value.Publish(2);
    source->messages.Send(9);
    const auto late = Joined<Listener>(root);
    ASSERT_TRUE(late->values.Get());
    EXPECT_EQ(*late->values.Get(), 2);
    EXPECT_EQ(late->values.Get(), source->value.Get());
    EXPECT_FALSE(late->messages.Get());
    source->value.Publish(3);
    EXPECT_EQ(*late->values.Get(), 3);
    root.CycleAll();
    EXPECT_EQ(late->got, (Numbers{1002, 1003}));

    // A link that comes with its value.
    const auto other = std::make_shared<Source>();
    other->value.Set(4);
    root.Join(other);
    root.CycleAll();
    EXPECT_EQ(late->got.back(), 1004);
    root.Leave(*source);
    EXPECT_EQ(*late->values.Get(), 4);
    root.Leave(*other);
    EXPECT_FALSE(late->values.Get());
}

TEST(Links, SetTellsNobodyAndNotifySendsWhatIsKept) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto listener = Joined<Listener>(root);
    source->value.Notify();
    source->value.Set(1);
    EXPECT_EQ(root.NmrQueued(), 0u);
    source->value.Notify();
    source->value.Publish(nullptr);
    source->value.Notify();
    root.CycleAll();
    EXPECT_EQ(listener->got, Numbers{1001});
    EXPECT_FALSE(source->value.Get());
}

TEST(Links, AValueIsSharedNotCopied) {
    struct Keeper : Component {
        Keeper() : Component(Ident("Keeper"), 100) {}
        void OnValue(const std::shared_ptr<const int>& value) { kept = value; }
        std::shared_ptr<const int> kept;
        Response<int> response{*this, Type("Value"), &Keeper::OnValue};
    };
    Root root;
    const auto source = Joined<Source>(root);
    const auto keeper = Joined<Keeper>(root);
    const auto value = std::make_shared<const int>(5);
    source->value.Publish(value);
    root.CycleAll();
    EXPECT_EQ(keeper->kept, value);
    EXPECT_EQ(source->value.Get(), value);
}

TEST(Links, LeaversGetNoMoreAndComeBackWithoutWhatTheyMissed) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto listener = Joined<Listener>(root);
    source->messages.Send(1);
    root.CycleAll();
    source->messages.Send(2);
    EXPECT_TRUE(root.Leave(*listener));
    EXPECT_FALSE(root.Leave(*listener));
    EXPECT_EQ(listener->messages.Length(), 0u);
    source->messages.Send(3);
    EXPECT_TRUE(root.Join(listener));
    EXPECT_FALSE(root.Join(listener));
    source->messages.Send(4);
    root.CycleAll();
    EXPECT_EQ(listener->got, (Numbers{1, 4}));
}

TEST(Links, ResponsesAndLinksComeAndGoWhileTheirComponentIsJoined) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto listener = Joined<Listener>(root);
    source->value.Publish(1);
    {
        Response<int> extra(*listener, tests::NumberType, &Listener::OnMessage);
        Link<int> link(*source, tests::NumberType);
        link.Send(5);
        EXPECT_EQ(extra.Length(), 1u);
    }
    root.CycleAll();
    // The extra response is gone with what it had not yet been given; the link's message has been sent.
    EXPECT_EQ(listener->got, (Numbers{1001, 5}));
}

TEST(LinkLock, IsTakenAgainByItsHolderAndDoesNotHoldUpReaders) {
    Root root;
    const auto source = Joined<Source>(root);
    const auto listener = Joined<Listener>(root);
    const auto tryLock = [&] {
        return std::async(std::launch::async, [&] { const LinkBase::Lock lock(source->value); });
    };
    std::future<void> other;
    {
        LinkBase::Lock lock(source->value);
        LinkBase::Lock again(source->value);
        source->value.Publish(*std::make_shared<const int>(1));
        source->messages.Send(2);  // publishing on a second link takes no lock of it
        std::async(std::launch::async, [&] { EXPECT_EQ(*listener->values.Get(), 1); }).get();
        other = tryLock();
        lock.Close();
        lock.Close();
        EXPECT_EQ(other.wait_for(std::chrono::milliseconds(20)), std::future_status::timeout);
        root.CycleAll();  // no handler runs under a link's lock
        EXPECT_TRUE(listener->got.empty());
    }
    other.get();
    root.CycleAll();
    EXPECT_EQ(listener->got, (Numbers{1001, 2}));
}

#ifndef NDEBUG
TEST(LinkLockDeathTest, ASecondLinksLockIsRefused) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto source = std::make_shared<Source>();
    const LinkBase::Lock lock(source->value);
    EXPECT_DEATH(const LinkBase::Lock second(source->messages), "second link's lock");
    EXPECT_DEATH(const Component::WriteLock turn(*source), "component's lock");
}
#endif

}  // namespace
