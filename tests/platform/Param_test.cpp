#include "gnss/platform/Param.h"

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

#include "gnss/platform/Text.h"

using namespace Corvane;

namespace {

// A parameter type as a library brings it.
struct Channel {
    int number = 0;
    friend bool operator==(Channel, Channel) = default;
};
const Param<Channel>::Defn ChannelDefn("Channel", Channel{});

class ChannelType : public ParamCore::MultiType {
public:
    ChannelType() : MultiType("Channel") {}
};

TEST(Param, HoldsAValueUntilItIsVoidAgain) {
    Param<Channel> param(ChannelDefn);
    EXPECT_EQ(param.GetType(), Type("Channel"));
    EXPECT_TRUE(param.IsVoid());
    param.Set({7});
    EXPECT_FALSE(param.IsVoid());
    EXPECT_EQ(param.Get(), Channel{7});
    param.SetVoid();
    EXPECT_EQ(param.Get(), Channel{});
}

TEST(Param, ATypeIsKnownByNameWhileAnObjectOfItLives) {
    EXPECT_EQ(ParamCore::MultiType::Find("Channel"), nullptr);
    {
        auto type = std::make_unique<ChannelType>();
        EXPECT_EQ(ParamCore::MultiType::Find("Channel"), type.get());
        const ParamCore::MultiType copy(*type);
        type.reset();
        EXPECT_EQ(ParamCore::MultiType::Find("Channel"), &copy);
        const ChannelType another;
        const std::vector<String> names = ParamCore::MultiType::GetNames();
        EXPECT_EQ(std::count(names.begin(), names.end(), "Channel"), 1);
    }
    EXPECT_EQ(ParamCore::MultiType::Find("Channel"), nullptr);
}

TEST(ParamList, GivesWhatWasSetUnderTheSameTypeAndClassOnly) {
    const Ident base("Base"), other("Other");
    ParamList list;
    list.Set(base, Param<Channel>(ChannelDefn, {5}));
    EXPECT_EQ(list.Get(base, ChannelDefn).Get(), Channel{5});
    EXPECT_EQ(list.GetType(base), Type("Channel"));
    EXPECT_TRUE(list.Get(other, ChannelDefn).IsVoid());
    EXPECT_TRUE(list.GetType(other).IsNull());
    // The same class under another name, and another class under the same name.
    EXPECT_TRUE(list.Get(base, Param<Channel>::Defn("Port", {})).IsVoid());
    EXPECT_EQ(list.Get(base, Param<double>::Defn("Channel", -1.0)).Get(), -1.0);

    const ParamList copy = list;
    list.Set(base, Param<Channel>(ChannelDefn, {6}));
    EXPECT_EQ(copy.Get(base, ChannelDefn).Get(), Channel{5});
    list.Remove(base);
    EXPECT_TRUE(list.IsEmpty());
}

TEST(ParamList, CanBeAParameterItself) {
    ParamList inner;
    inner.Set(Ident("Base"), Param<Channel>(ChannelDefn, {5}));
    ParamList outer;
    outer.Set(Ident("Inner"), Param<ParamList>(ParamList::GetVoidDefn(), inner));
    EXPECT_EQ(outer.Get(Ident("Inner"), ParamList::GetVoidDefn()).Get().Get(Ident("Base"), ChannelDefn).Get(),
              Channel{5});
}

TEST(Text, PrintsWithoutItsModifiers) {
    const Text text =
        Text().AddParagraph("Almanac", Text::Emphasised).AddEndOfLine().Add("A store ").Add("for", Text::Strong);
    EXPECT_EQ(text.Print(), "Almanac\nA store for");
    ASSERT_EQ(text.GetParts().size(), 4u);
    EXPECT_EQ(text.GetParts()[0], (Text::Part{Text::Paragraph, Text::Emphasised, "Almanac"}));
    // A paragraph begins a line, but makes no empty one.
    EXPECT_EQ(Text("One").AddParagraph("Two").AddEndOfLine().AddParagraph("Three").Print(), "One\nTwo\nThree");
    EXPECT_TRUE(Text().IsEmpty());
}

}  // namespace
