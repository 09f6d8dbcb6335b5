// The history of notes: intervals, a walk through one note's life, and random epochs against a plain record of them.
#include "gnss/health/NotesHistory.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Random.h"

namespace {

using Corvane::Time;
using Corvane::TimeDate;
using GNSS::Notes;
using History = Notes::History;
using Interval = History::Interval;

// Seconds after a midnight.
TimeDate At(double seconds) {
    return TimeDate(Corvane::Date(2024, 2, 28), Corvane::TimeOfDay()) + Time(seconds);
}

TEST(NotesInterval, Intersection) {
    struct Row {
        double start, end;
        bool intersects;
    };
    const Interval interval(At(10.0), At(20.0));
    for (const Row& row : {Row{0, 5, false}, Row{0, 10, false}, Row{0, 11, true}, Row{0, 20, true}, Row{0, 30, true},
                           Row{10, 20, true}, Row{10, 15, true}, Row{15, 15, true}, Row{10, 10, false},
                           Row{15, 30, true}, Row{20, 30, false}, Row{25, 30, false}}) {
        EXPECT_EQ(interval.IsIntersect(Interval(At(row.start), At(row.end))), row.intersects)
            << row.start << " " << row.end;
    }
    EXPECT_TRUE(Interval(At(10.0)).IsIntersect(interval)) << "covered, without extent";
}

TEST(NotesInterval, Times) {
    Interval interval;
    EXPECT_FALSE(interval.IsSet());
    EXPECT_EQ(interval.GetStartString(), "");
    EXPECT_EQ(interval.GetEndString(), "");
    interval.Update(At(86400.0));
    EXPECT_TRUE(interval.IsSet() && interval.Contains(At(86400.0)));
    EXPECT_EQ(interval.GetRelPosn(At(99999.0)), 0.0);
    interval.Update(At(86410.0));
    EXPECT_EQ(interval.GetExtent(), Time(10.0));
    EXPECT_EQ(interval.GetStartString(), "2024-02-29 00:00:00");
    EXPECT_EQ(interval.GetEndString(), "2024-02-29 00:00:10");

    struct Row {
        double seconds;
        bool contained;
        double fraction;
        int cursor;
    };
    for (const Row& row : {Row{-0.5, false, 0.0, 0}, Row{0.0, true, 0.0, 0}, Row{2.5, true, 0.25, 25},
                           Row{9.96, true, 0.996, 101}, Row{10.0, true, 1.0, 101}, Row{10.5, false, 1.0, 101}}) {
        const TimeDate t = At(86400.0 + row.seconds);
        EXPECT_EQ(interval.Contains(t), row.contained) << row.seconds;
        EXPECT_NEAR(interval.GetRelPosn(t), row.fraction, 1e-9);
        EXPECT_EQ(interval.GetCursorPosn(t, 101), row.cursor) << row.seconds;
    }
    EXPECT_EQ(interval.GetCursorPosn(At(NAN), 101), 0);
    EXPECT_EQ(interval.GetTimeDate(0.25), At(86402.5));
    interval.Reset(At(5.0));
    EXPECT_TRUE(interval.GetStart() == At(5.0) && interval.GetEnd() == At(5.0));
}

// An interval in whole seconds; streams would group digits as the locale does.
std::string Print(double start, double end) {
    return " " + std::to_string(std::lround(start)) + ":" + std::to_string(std::lround(end));
}

// The whole of a history as one text.
std::string Print(const History& history) {
    std::string text;
    for (int i = 0; i < history.NmrNote(); ++i) {
        const auto& historical = history[i];
        text += std::to_string(historical.GetNote().GetId()) + historical.GetNote().GetText().str();
        text += historical.IsContinuous() ? "+" : "-";
        for (int j = 0; j < historical.NmrInterval(); ++j) {
            const Interval interval = historical.GetInterval(j);
            text += Print((interval.GetStart() - At(0.0)).Seconds(), (interval.GetEnd() - At(0.0)).Seconds());
        }
        text += "; ";
    }
    return text;
}

TEST(NotesHistory, Walk) {
    const auto make = [](std::initializer_list<int> ids, const char* text) {
        Notes notes;
        for (const int id : ids) notes.AddNote(id, text);
        return notes;
    };
    struct Row {
        double t;
        Notes notes;
        const char* history;
    };
    History history;
    History before;
    std::string printedBefore;
    for (const Row& row : {
             Row{0, {}, ""},
             Row{1, make({3, 3, 4}, "a"), "3a+ 1:1; 4a+ 1:1; "},                     // the same twice is one
             Row{2, make({3, 3}, "b"), "3a+ 1:2; 4a- 1:1; "},                        // the first text stays
             Row{3, {}, "3a- 1:2; 4a- 1:1; "},                                       // all absent
             Row{4, make({5, 4}, "c"), "3a- 1:2; 4a+ 1:1 4:4; 5c+ 4:4; "},           // one new, one back
             Row{86400 + 1, make({4}, "d"), "3a- 1:2; 4a+ 1:1 4:86401; 5c- 4:4; "},  // a day after: not yet
             Row{86400 + 2, {}, "3a- 1:2; 4a- 4:86401; 5c- 4:4; "},
             Row{86400 + 3, make({3}, "e"), "3a+ 86403:86403; 4a- 4:86401; 5c- 4:4; "},  // kept by being back
             Row{86400 + 5, make({3}, "e"), "3a+ 86403:86405; 4a- 4:86401; "},
             Row{3 * 86400, make({3}, "f"), "3a+ 86403:259200; "},
         }) {
        history.Update(At(row.t), row.notes);
        EXPECT_EQ(Print(history), row.history);
        EXPECT_EQ(history.GetLastUpdate(), At(row.t));
        EXPECT_EQ(Print(before), printedBefore) << "a copy stays as it was";
        before = history;
        printedBefore = row.history;
    }
    history.Update(At(NAN), {});
    EXPECT_EQ(Print(history), printedBefore);

    history.Update(At(3 * 86400 + 1), make({7}, "g"));
    EXPECT_EQ(history[1].GetSequence(), 1);
    EXPECT_TRUE(history[0].IsIncluded(Interval(At(0.0), At(90000.0))));
    EXPECT_FALSE(history[0].IsIncluded(Interval(At(0.0), At(86403.0))));
    EXPECT_EQ(history[2].NmrInterval(), 0);
    EXPECT_FALSE(history[2].GetLastInterval().IsSet());

    EXPECT_FALSE(history.Purge(-1, At(0.0)) || history.Purge(2, At(0.0)));
    EXPECT_TRUE(history.Purge(1, At(0.0)));
    EXPECT_FALSE(history.Purge(1, At(1e6)));
    history.Update(At(3 * 86400 + 2), make({7}, "g"));
    EXPECT_EQ(Print(history), "3a- 86403:259200; 7g+ 259202:259202; ") << "present, though its past was purged";

    history.SetTitle("Position");
    history.SetValidTime(Time::Minute);
    EXPECT_TRUE(history.GetTitle() == "Position" && history.GetValidTime() == Time::Minute);
    history.Reset();
    EXPECT_TRUE(history.NmrNote() == 0 && history.GetTitle().IsEmpty() && history.GetLastUpdate() == TimeDate::Zero &&
                history.GetValidTime() == Time::Day);
}

// Random epochs, every one of them kept; what the history must hold follows from all of them afresh each time.
TEST(NotesHistory, RandomEpochsAgainstTheirRecord) {
    constexpr double Valid = 50.0;
    struct Stretch {
        std::size_t first, last;  // epochs
        std::size_t place;        // among the notes of the first
    };
    std::mt19937_64 random = tests::MakeRandom();
    History history;
    history.SetValidTime(Time(Valid));
    std::vector<double> times;
    std::map<int, std::vector<Stretch>> stretches;
    for (std::size_t epoch = 0; epoch < 3000 && !testing::Test::HasFailure(); ++epoch) {
        times.push_back((times.empty() ? 0.0 : times.back()) +
                        (random() % 20 == 0 ? static_cast<double>(random() % 80) : 1.0));
        Notes notes;
        for (std::size_t place = random() % 5; place-- > 0;) {
            const int id = static_cast<int>(random() % 8);
            notes.AddNote(id, std::to_string(epoch));
            std::vector<Stretch>& own = stretches[id];
            if (!own.empty() && own.back().last + 1 >= epoch) {
                own.back().last = epoch;
            } else {
                own.push_back({epoch, epoch, static_cast<std::size_t>(notes.NmrNote())});
            }
        }
        history.Update(At(times.back()), notes);

        std::vector<std::pair<Stretch, std::string>> expected;
        for (const auto& [id, own] : stretches) {
            if (times[own.back().last] < times.back() - Valid) continue;
            // It has lived on since the last stretch before which it had been dropped, and kept that one's text.
            std::size_t birth = own.size() - 1;
            while (birth > 0 && times[own[birth - 1].last] >= times[own[birth].first - 1] - Valid) --birth;
            std::string text = std::to_string(id) + std::to_string(own[birth].first);
            text += own.back().last == epoch ? "+" : "-";
            for (std::size_t i = birth; i < own.size(); ++i) {
                if (times[own[i].last] < times.back() - Valid) continue;
                text += Print(times[own[i].first], times[own[i].last]);
            }
            expected.emplace_back(own[birth], text + "; ");
        }
        std::sort(expected.begin(), expected.end(), [](const auto& a, const auto& b) {
            return std::pair(a.first.first, a.first.place) < std::pair(b.first.first, b.first.place);
        });
        std::string all;
        for (const auto& note : expected) all += note.second;
        EXPECT_EQ(Print(history), all) << "epoch " << epoch;
    }
}

}  // namespace
