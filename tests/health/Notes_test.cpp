// Notes, and the texts that are printed for them.
#include "gnss/health/Notes.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "gnss/health/PrintNote.h"
#include "tests/support/Random.h"

namespace {

using Corvane::String;
using GNSS::Notes;

TEST(Notes, Identity) {
    Notes notes;
    notes.AddNote(5, "plain");
    notes.AddNote(5, 3, "one parameter");
    notes.AddNote(5, 3, 0, "two");
    notes.AddNote(5, 3, 0, "again");
    EXPECT_EQ(notes.Find(Notes::Note(5, "another text")), 0);
    EXPECT_EQ(notes.Find(5, 3, -1), 1);
    EXPECT_EQ(notes.Find(5, 3, 0), 2) << "the first of the same";
    EXPECT_EQ(notes.Find(5, 0, 3), -1);
    EXPECT_TRUE(!notes[0].HasParam() && notes[1].HasParam() && !notes[1].Has2ndParam() && notes[2].Has2ndParam());

    notes.AddNotes(notes, 1000);
    ASSERT_EQ(notes.NmrNote(), 8);
    EXPECT_TRUE(notes[6].Matches(1005, 3, 0));
    EXPECT_EQ(notes[7].GetText(), "again");
    EXPECT_EQ(Notes::Note(INT32_MAX, notes[0]).GetId(), INT32_MIN + 4);
    for (const int outside : {-1, 8})
        EXPECT_TRUE(notes[outside].Matches(0, -1, -1) && notes[outside].GetText().IsEmpty());
    EXPECT_EQ(Notes::HistoryType.Print(), "Notes History Data");
}

TEST(Notes, ExtraAndMissing) {
    Notes a;
    Notes b;
    for (const int id : {4, 1, 3, 1}) a.AddNote(id, "a");
    for (const int id : {2, 3, 5}) b.AddNote(id, "b");
    const auto ids = [](const Notes& notes) {
        std::string text;
        for (const Notes::Note& note : notes) text += std::to_string(note.GetId()) + note.GetText().str() + " ";
        return text;
    };
    Notes out = a;
    EXPECT_EQ(a.GetExtra(b, out), 3);
    EXPECT_EQ(ids(out), "4a 1a 1a ");
    EXPECT_EQ(a.GetMissing(b, out), 2);
    EXPECT_EQ(ids(out), "2b 5b ");
    EXPECT_EQ(a.GetExtra(Notes(), out), 4);
    EXPECT_EQ(a.GetExtra(b, a), 3) << "into one of the two";
    EXPECT_EQ(ids(a), "4a 1a 1a ");
    EXPECT_EQ(a.GetMissing(b, b), 3);
    EXPECT_EQ(a.GetExtra(a, out), 0);
}

TEST(Notes, PrintArguments) {
    struct Row {
        const char* format;
        const char* s1;
        const char* s2;
        const char* text;
    };
    for (const Row& row : {
             Row{"%d of %d", "", "", "7 of 42"},
             Row{"%02d %s", "", "low", "07 low"},
             Row{"%s %x", "low", "", "low 2a"},
             Row{"%s/%4s|%-4s", "a", "b", "%s/%4s|%-4s"},  // more than there is
             Row{"%s/%4s|", "a", "b", "a/   b|"},
             Row{"%ld %llx", "", "", "7 2a"},
             Row{"100%% %i", "", "", "100% 7"},
             Row{"nothing", "a", "b", "nothing"},
             Row{"", "", "", ""},
             // What printf would take a number for a text, or read what is not there.
             Row{"%s", "", "", "%s"},
             Row{"%s %d", "", "b", "%s %d"},
             Row{"%d", "a", "", "%d"},
             Row{"%n", "", "", "%n"},
             Row{"%f", "", "", "%f"},
             Row{"%ls", "a", "", "%ls"},
             Row{"%lc", "", "", "%lc"},
             Row{"%lhd", "", "", "%lhd"},
             Row{"%*d", "", "", "%*d"},
             Row{"%1$d", "", "", "%1$d"},
             Row{"%-", "", "", "%-"},
             Row{"100%", "", "", "100%"},
             Row{"%5%", "", "", "%5%"},
         }) {
        Notes notes;
        notes.AddPrintNote(1, 7, 42, row.format, row.s1, row.s2);
        EXPECT_EQ(notes[0].GetText(), row.text);
        EXPECT_TRUE(notes[0].Matches(1, 7, 42));
    }

    Notes notes;
    notes.AddPrintNote(1, 7, "PRN %02d, ");
    notes.AddPrintNote(1, 7, "%d %d, ");
    notes.AddPrintNote(1, 7, "<%s>, ", "low");
    notes.AddPrintNote(1, 7, "<%s>, ", "");
    notes.AddPrintNote(1, 7, "%d", "low");
    std::string all;
    for (const Notes::Note& note : notes) all += note.Matches(1, 7, -1) ? note.GetText().str() : "another note";
    EXPECT_EQ(all, "PRN 07, %d %d, <low>, <>, %d");
}

// Each buffer has room for what it counts and 40 more, one of them for the terminator.
TEST(Notes, PrintBuffers) {
    const String longText(100, 'x');
    Notes notes;
    notes.AddPrintNote(1, 7, "%s.", longText);
    notes.AddPrintNote(1, 7, 8, "%s.", longText, "");
    notes.AddPrintNote(1, 7, "%999999999999999999999d");
    notes.AddPrintNote(1, 7, "%.999999999999999999999d");
    EXPECT_EQ(notes[0].GetText(), String(42, 'x'));
    EXPECT_EQ(notes[1].GetText(), longText + ".");
    EXPECT_EQ(notes[2].GetText(), String(62, ' '));
    EXPECT_EQ(notes[3].GetText(), String(63, '0'));
}

// Random conversions against the C library's printf, which is told only what it defines.
TEST(Notes, PrintsAsTheCLibrary) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
    std::mt19937_64 random = tests::MakeRandom();
    const auto draw = [&](int first, int last) { return std::uniform_int_distribution(first, last)(random); };
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        const char letter = "diuoxXcs"[draw(0, 7)];
        const bool isText = letter == 's';
        const bool isCharacter = letter == 'c';
        std::string format = "a%";
        for (int i = draw(0, 3); i > 0; --i) {
            const char flag = "-+ #0"[draw(0, 4)];
            if (flag == '#' && letter != 'o' && letter != 'x' && letter != 'X') continue;
            if (flag == '0' && (isText || isCharacter)) continue;
            format += flag;
        }
        if (draw(0, 1) == 0) format += std::to_string(draw(1, 60));
        if (draw(0, 1) == 0 && !isCharacter) format += "." + (draw(0, 3) == 0 ? "" : std::to_string(draw(0, 60)));
        if (!isText && !isCharacter && draw(0, 3) == 0) format += draw(0, 1) == 0 ? "h" : "hh";
        format += letter;
        format += "%%b";
        int number = draw(-20, 20);
        if (draw(0, 1) == 0) number = draw(INT32_MIN, INT32_MAX);
        if (isCharacter) number = draw(1, 255);
        const std::string text(static_cast<std::size_t>(draw(0, 30)), 't');

        std::array<char, 50> expected{};
        // NOLINTNEXTLINE(cert-err33-c): cutting is wanted.
        isText ? std::snprintf(expected.data(), expected.size(), format.c_str(), text.c_str())
               : std::snprintf(expected.data(), expected.size(), format.c_str(), number);
        const std::array<GNSS::PrintArgument, 1> arguments{isText ? GNSS::PrintArgument(std::string_view(text))
                                                                  : GNSS::PrintArgument(number)};
        EXPECT_EQ(GNSS::PrintNote(format, arguments, expected.size()), expected.data()) << format << " " << number;
    }
#pragma GCC diagnostic pop
}

// Any bytes at all are a format; what comes out fits the buffer.
TEST(Notes, PrintsAnyFormat) {
    std::mt19937_64 random = tests::MakeRandom();
    for (int round = 0; round < 50000; ++round) {
        std::string format;
        for (auto left = random() % 12; left > 0; --left) format += "%%%.*-+ #0129dsxcnlfh\xB0"[random() % 22];
        Notes notes;
        notes.AddPrintNote(1, static_cast<int>(random()), 2, format, random() % 2 == 0 ? "" : "s1", "s2");
        EXPECT_LT(notes[0].GetText().Length(), format.size() + 44);
    }
}

}  // namespace
