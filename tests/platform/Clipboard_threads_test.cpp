#include <atomic>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "gnss/platform/Clipboard.h"

namespace {

using Corvane::Clipboard;
using Corvane::String;

TEST(ClipboardThreads, SinksRunOneAtATimeWhileTheyAreReplaced) {
    constexpr int Copies = 2000;
    std::atomic<int> inside{0};
    std::atomic<int> overlaps{0};
    std::atomic<int> taken{0};
    const Clipboard::Sink sink = [&](const String&) {
        if (inside.fetch_add(1) != 0) ++overlaps;
        ++taken;
        --inside;
        return true;
    };
    Clipboard::SetSink(sink);
    std::atomic<int> accepted{0};
    const auto copy = [&] {
        for (int i = 0; i < Copies; ++i) {
            if (Clipboard::Copy(std::to_string(i % 10))) ++accepted;
            if (i % 16 == 0) Clipboard::SetSink(sink);
            EXPECT_LE(Clipboard::GetText().Length(), 1U);
        }
    };
    std::thread first(copy);
    std::thread second(copy);
    std::thread third(copy);
    for (std::thread* thread : {&first, &second, &third}) thread->join();
    Clipboard::SetSink(nullptr);
    EXPECT_EQ(overlaps, 0);
    EXPECT_EQ(taken, accepted);  // every copy that was accepted went out, once
    EXPECT_GT(accepted, 0);
}

}  // namespace
