#include "gnss/platform/Clipboard.h"

#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Corvane::Clipboard;
using Corvane::String;

class ClipboardTest : public testing::Test {
protected:
    void TearDown() override {
        Clipboard::SetSink(nullptr);
        Clipboard::Copy("");
    }
};

TEST_F(ClipboardTest, KeepsTextInMemoryWithoutASink) {
    EXPECT_TRUE(Clipboard::Copy("one"));
    {
        Clipboard clipboard;
        ASSERT_TRUE(clipboard.IsOpen());
        clipboard.Empty();
        clipboard.SetText("two\xB0");
        EXPECT_EQ(Clipboard::GetText(), "one");  // not before it is closed
    }
    EXPECT_EQ(Clipboard::GetText(), "two\xB0");
    { const Clipboard looked; }
    EXPECT_EQ(Clipboard::GetText(), "two\xB0");
    {
        Clipboard clipboard;
        clipboard.Empty();
    }
    EXPECT_EQ(Clipboard::GetText(), "");
}

TEST_F(ClipboardTest, OnlyOneHasItOpen) {
    Clipboard first;
    Clipboard second;
    ASSERT_TRUE(first.IsOpen());
    EXPECT_FALSE(second.IsOpen());
    second.SetText("second");
    EXPECT_FALSE(second.Close());
    EXPECT_FALSE(Clipboard::Copy("third"));
    first.SetText("first");
    EXPECT_TRUE(first.Close());
    EXPECT_FALSE(first.Close());
    EXPECT_EQ(Clipboard::GetText(), "first");
    EXPECT_TRUE(Clipboard::Copy("third"));
}

TEST_F(ClipboardTest, SinkTakesTheTextOnceAndMayFail) {
    std::vector<String> taken;
    Clipboard::SetSink([&taken](const String& text) {
        taken.push_back(text);
        const Clipboard nested;  // a sink that opens the clipboard is refused, not blocked
        if (text == "throw") throw std::runtime_error("no terminal");
        return !nested.IsOpen() && text != "fail";
    });
    {
        Clipboard clipboard;
        clipboard.Empty();
        clipboard.SetText("a");
        clipboard.SetText("b");
    }
    { const Clipboard looked; }
    EXPECT_FALSE(Clipboard::Copy("fail"));
    EXPECT_FALSE(Clipboard::Copy("throw"));
    EXPECT_EQ(Clipboard::GetText(), "b");
    EXPECT_TRUE(Clipboard::Copy(""));
    EXPECT_EQ(taken, (std::vector<String>{"b", "fail", "throw", ""}));
    Clipboard::SetSink(nullptr);
    EXPECT_TRUE(Clipboard::Copy("in memory"));
    EXPECT_EQ(taken.size(), 4U);
}

}  // namespace
