#include "host/render/ClipboardSinks.h"

#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <unistd.h>

#include <gtest/gtest.h>

#include "gnss/platform/Event.h"

namespace {

using Corvane::Clipboard;

std::string Read(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

std::string LastEvent() {
    const auto events = Corvane::Event::GetKept();
    return events.empty() ? "" : events.back().GetText().str();
}

class ClipboardSinks : public testing::Test {
protected:
    ~ClipboardSinks() override { Clipboard::SetSink({}); }
};

TEST_F(ClipboardSinks, AFileHoldsTheTextInUtf8) {
    const std::string path = testing::TempDir() + "clipboard.txt";
    Clipboard::SetSink(Host::MakeFileClipboard(path));
    EXPECT_TRUE(Clipboard::Copy("Elev\tAzi\n9\xB0\t270\xB0\n"));
    EXPECT_EQ(Read(path), "Elev\tAzi\n9\u00b0\t270\u00b0\n");
    EXPECT_TRUE(Clipboard::Copy(""));
    EXPECT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(Read(path), "");
    std::filesystem::remove(path);

    Clipboard::SetSink(Host::MakeFileClipboard(testing::TempDir() + "absent/clipboard.txt"));
    EXPECT_FALSE(Clipboard::Copy("lost"));
    EXPECT_NE(LastEvent().find("absent/clipboard.txt: No such file or directory"), std::string::npos) << LastEvent();
}

TEST_F(ClipboardSinks, TheSequenceCarriesNothingOfTheTextItself) {
    // The test vectors of RFC 4648, and a text that tries to end the sequence and to command the terminal.
    for (const auto& [text, base64] : {std::pair("", ""),
                                       {"f", "Zg=="},
                                       {"fo", "Zm8="},
                                       {"foo", "Zm9v"},
                                       {"foob", "Zm9vYg=="},
                                       {"\xC2\xB0", "wrA="},
                                       {"\a\x1B\\\x1B]0;x\a", "BxtcG10wO3gH"}}) {
        EXPECT_EQ(Host::TerminalClipboardSequence(text), "\x1B]52;c;" + std::string(base64) + "\a");
    }
    const std::string most(Host::MaxTerminalClipboard, 'x');
    EXPECT_EQ(Host::TerminalClipboardSequence(most)->size(), 100'000U);
    EXPECT_FALSE(Host::TerminalClipboardSequence(most + "x"));
}

TEST_F(ClipboardSinks, ATerminalGetsTheSequence) {
    const int master = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_TRUE(master >= 0 && ::grantpt(master) == 0 && ::unlockpt(master) == 0);
    const char* device = ::ptsname(master);
    const int keepOpen = ::open(device, O_RDWR | O_NOCTTY);  // what was written is lost with the last who has it open
    Clipboard::SetSink(Host::MakeTerminalClipboard(device));
    EXPECT_TRUE(Clipboard::Copy("270\xB0"));
    std::array<char, 100> got{};
    const ssize_t size = ::read(master, got.data(), got.size());
    EXPECT_EQ(std::string(got.data(), size > 0 ? static_cast<std::size_t>(size) : 0), "\x1B]52;c;MjcwwrA=\a");
    // Too long in UTF-8, though not in Latin-1.
    EXPECT_FALSE(Clipboard::Copy(Corvane::String(Host::MaxTerminalClipboard / 2 + 1, '\xB0')));
    EXPECT_NE(LastEvent().find("too long"), std::string::npos);
    ::close(keepOpen);
    ::close(master);

    const std::string file = testing::TempDir() + "no_terminal";
    std::ofstream(file) << "kept";
    Clipboard::SetSink(Host::MakeTerminalClipboard(file));
    EXPECT_FALSE(Clipboard::Copy("x"));
    EXPECT_EQ(LastEvent(), file + ": is no terminal");
    EXPECT_EQ(Read(file), "kept");
    std::filesystem::remove(file);
}

}  // namespace
