// What happens to the store's almanac file when the disk, the file or the process fails.
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "gnss/platform/Clock.h"
#include "gnss/platform/Root.h"
#include "gnss/store/AlmanacStore.h"
#include "gnss/store/GNSSLink.h"
#include "tests/platform/Components.h"
#include "tests/store/AlmanacRecords.h"
#include "tests/store/Folder.h"
#include "tests/support/Random.h"

namespace {

namespace fs = std::filesystem;
using GNSS::Almanac;
using GNSS::AlmanacStore;
using tests::MakeSV;

std::shared_ptr<AlmanacStore> MakeStore() {
    return std::dynamic_pointer_cast<AlmanacStore>(AlmanacStore::TheFactory.CreateComponent());
}

struct Reader : Corvane::Component {
    Reader()
        : Component(Corvane::Ident("Reader"), 100), almanac(*this, GNSS::GNSSLink::AlmanacType, &Reader::OnAlmanac) {}
    void OnAlmanac(const Almanac&) {}
    Corvane::Response<Almanac> almanac;
};

// What a fresh store makes of a path.
Almanac Load(const std::string& root) {
    Corvane::Root tree;
    const auto store = MakeStore();
    tree.Join(store);
    store->RootPathChange(root, false);
    return *tests::Joined<Reader>(tree)->almanac.Get();
}

class AlmanacFile : public tests::Folder {
protected:
    void SetUp() override {
        Folder::SetUp();
        Corvane::Clock::SetTo(Corvane::TimeDate({2024, 2, 5}, Corvane::TimeOfDay(45296.0)));
        root_ = (folder_ / "x").string();
        path_ = root_ + ".alm";
        aside_ = path_ + ".refused-2024-02-05T12:34:56Z";
    }
    void TearDown() override {
        Corvane::Clock::UseSystem();
        Folder::TearDown();
    }
    // The bytes of a file of two satellites of each system: 2 + 2 * 96 + 74, 54 of UTC, 2 + 2 * 82.
    std::string MakeFile() {
        const auto store = MakeStore();
        store->OnFullAlmanacUpdate(tests::MakeAlmanac(2, 2));
        store->RootPathChange(root_, true);
        return ReadAll(path_);
    }

    std::string root_;
    std::string path_;
    std::string aside_;
};

bool Contains(const std::vector<std::string>& events, const std::string& text) {
    return events.size() == 1 && events[0].find(text) != std::string::npos;
}

TEST_F(AlmanacFile, DamagedFilesAreKeptAside) {
    const std::string whole = MakeFile();
    ASSERT_EQ(whole.size(), 488U);
    EXPECT_EQ(Load(root_).NmrSV(), 2);
    EXPECT_EQ(List(), std::set<std::string>{"x.alm"});
    EXPECT_TRUE(TakeEvents().empty());

    std::string dropped = whole;
    ++dropped[whole.size() - 82 + 17];  // 256 days later
    struct Case {
        std::string content;
        const char* told;
    };
    std::vector<Case> cases = {
        {dropped, "loaded were 2 GPS satellites, the ionosphere and 1 GLONASS satellite, but not 1 of 2 GLONASS sat"},
        {whole + "abc", "but not 3 bytes at the end; the file is now "},
        {std::string(1000, '\xFF'), "nothing was loaded, and the almanac stays as it is; the file is now "}};
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const char* told = "nothing was loaded, and the almanac stays as it is; the file is now ";
        if (length >= 268 && length < 322) told = "but not the UTC parameters, whatever GLONASS satellites there were";
        if (length >= 322 && length < 324) told = "but not whatever GLONASS satellites there were; the file is now ";
        cases.push_back({whole.substr(0, length), told});
    }
    for (const auto& [content, told] : cases) {
        SCOPED_TRACE(content.size());
        WriteAll(path_, content);
        const Almanac loaded = Load(root_);
        const auto events = TakeEvents();
        EXPECT_TRUE(Contains(events, told)) << (events.empty() ? "" : events[0]);
        const bool isPart = std::string(told).find("but not") != std::string::npos;
        EXPECT_EQ(loaded.NmrSV(), isPart ? 2 : 0);
        EXPECT_EQ(ReadAll(aside_), content);
        EXPECT_FALSE(fs::exists(path_));
        fs::remove(aside_);
    }
}

TEST_F(AlmanacFile, NothingThatWasNotLoadedIsReplaced) {
    // A file that is refused twice in a second, and saving after that.
    for (const char* content : {"one", "two"}) {
        WriteAll(path_, content);
        const auto store = MakeStore();
        store->RootPathChange(root_, false);
        store->OnAlmanacSV(MakeSV(1, 1.0));
        EXPECT_TRUE(fs::exists(path_));
    }
    EXPECT_EQ(ReadAll(aside_), "one");
    EXPECT_EQ(ReadAll(aside_ + "-2"), "two");
    // A folder that comes with a file after the store has looked for it.
    const auto store = MakeStore();
    store->RootPathChange((folder_ / "late" / "x").string(), false);
    store->OnAlmanacSV(MakeSV(2, 1.0));
    fs::create_directory(folder_ / "late");
    WriteAll(folder_ / "late" / "x.alm", "late");
    TakeEvents();
    store->OnAlmanacSV(MakeSV(3, 1.0));
    EXPECT_EQ(ReadAll(folder_ / "late" / "x.alm.refused-2024-02-05T12:34:56Z"), "late");
    EXPECT_EQ(TakeEvents().size(), 2U) << "of the renaming, and that saving works again";
    // And when saving there is asked for, it is replaced.
    WriteAll(folder_ / "y.alm", "old");
    store->RootPathChange((folder_ / "y").string(), true);
    EXPECT_EQ(ReadAll(folder_ / "y.alm").size(), ReadAll(folder_ / "late" / "x.alm").size());
}

// Each fault: one event, the store goes on, and the next save that can succeed does; also that at the end.
TEST_F(AlmanacFile, FailedSavesAreTriedAgain) {
    std::signal(SIGXFSZ, SIG_IGN);
    const auto limit = [](rlim_t size) {
        rlimit now{};
        getrlimit(RLIMIT_FSIZE, &now);
        now.rlim_cur = size;
        setrlimit(RLIMIT_FSIZE, &now);
    };
    const fs::path data = folder_ / "data";
    fs::create_directory(data);
    fs::permissions(folder_, fs::perms(0755));
    const struct {
        const char* reason;
        std::function<void()> breakIt;
        std::function<void()> repair;
    } faults[] = {
        {"No such file", [&] { fs::rename(data, folder_ / "away"); }, [&] { fs::rename(folder_ / "away", data); }},
        {"Not a directory", [&] { fs::rename(data, folder_ / "away"), WriteAll(data, ""); },
         [&] { fs::remove(data), fs::rename(folder_ / "away", data); }},
        {"Permission denied",
         [&] {
             fs::permissions(data, fs::perms(0555));
             if (geteuid() == 0) {
                 EXPECT_EQ(seteuid(65534), 0);
             }
         },
         [&] {
             if (getuid() == 0) {
                 EXPECT_EQ(seteuid(0), 0);
             }
             fs::permissions(data, fs::perms(0755));
         }},
        {"File too large", [&] { limit(0); }, [&] { limit(RLIM_INFINITY); }},
    };
    double seconds = 0.0;
    const std::string root = (data / "x").string();
    const auto newest = [&] {
        Almanac almanac = Load(root);
        return almanac.GetSV(almanac.Find(GNSS::PRN(1))).time.GetSeconds();
    };
    MakeStore()->RootPathChange(root, true);
    for (const auto& fault : faults) {
        SCOPED_TRACE(fault.reason);
        for (const bool atTheEnd : {false, true}) {
            auto store = MakeStore();
            store->RootPathChange(root, false);
            store->OnAlmanacSV(MakeSV(1, ++seconds));
            EXPECT_TRUE(TakeEvents().empty());
            fault.breakIt();
            store->OnAlmanacSV(MakeSV(1, ++seconds));
            store->OnAlmanacSV(MakeSV(1, ++seconds));
            const auto events = TakeEvents();
            EXPECT_TRUE(Contains(events, fault.reason)) << (events.empty() ? "none" : events.back());
            fault.repair();
            if (!atTheEnd) store->OnAlmanacSV(MakeSV(1, ++seconds));
            store.reset();
            EXPECT_TRUE(Contains(TakeEvents(), "saved again"));
            EXPECT_EQ(newest(), seconds);
        }
    }
}

// Reads numbers that a child has written, up to the last.
double ReadLast(int pipe, double last) {
    double value = 0.0;
    while (read(pipe, &value, sizeof value) == sizeof value) last = value;
    return last;
}

// A child that goes on saving newer and newer records, and tells of each that has been saved.
pid_t StartSaving(const std::string& root, int acknowledged, double seconds) {
    const pid_t child = fork();
    if (child != 0) return child;
    const auto store = MakeStore();
    store->RootPathChange(root, false);
    for (;;) {
        ++seconds;
        store->OnAlmanacSV(MakeSV(1 + static_cast<int>(seconds) % 32, seconds));
        if (write(acknowledged, &seconds, sizeof seconds) < 0) _exit(1);
    }
}

TEST_F(AlmanacFile, KilledAtAnyMomentKeepsTheLastSave) {
    const char* wanted = std::getenv("GNSS_TEST_KILLS");
    const int nmrKills = wanted != nullptr ? std::atoi(wanted) : 100;
    auto random = tests::MakeRandom();
    std::uniform_int_distribution<int> delay(0, 8000);  // microseconds: several saves
    {
        const auto store = MakeStore();
        store->OnFullAlmanacUpdate(tests::MakeAlmanac(32, 24));
        store->RootPathChange(root_, true);
    }
    double saved = 0.0;
    int nmrCut = 0;
    for (int i = 0; i < nmrKills; ++i) {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        const pid_t child = StartSaving(root_, ends[1], saved);
        close(ends[1]);
        // Most are killed while they save, every eighth while it starts.
        double told = saved;
        if (i % 8 != 0) {
            ASSERT_EQ(read(ends[0], &told, sizeof told), static_cast<ssize_t>(sizeof told));
        }
        std::this_thread::sleep_for(std::chrono::microseconds(delay(random)));
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
        told = ReadLast(ends[0], told);
        close(ends[0]);
        const Almanac loaded = Load(root_);
        ASSERT_TRUE(TakeEvents().empty()) << "the lock is taken over, and the file is whole";
        ASSERT_TRUE(loaded.NmrSV() == 32 && loaded.NmrGlonassSV() == 24);
        double newest = 0.0;
        for (int sv = 0; sv < 32; ++sv) newest = std::max(newest, loaded.GetSV(sv).time.GetSeconds());
        ASSERT_TRUE(newest == told || newest == told + 1.0) << newest << " after " << told << " was saved";
        nmrCut += newest != told;
        saved = newest;
    }
    EXPECT_GT(saved, nmrKills) << "saves";
    EXPECT_LE(List().size(), 3U) << "what the killed have left is cleared away";
    std::cout << nmrKills << " kills, " << saved << " saves, " << nmrCut << " of them in place but not told\n";
}

TEST_F(AlmanacFile, OneProcessAtATime) {
    const std::string whole = MakeFile();
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = StartSaving(root_, ends[1], 0.0);
    double seconds = 0.0;
    ASSERT_EQ(read(ends[0], &seconds, sizeof seconds), static_cast<ssize_t>(sizeof seconds));
    kill(child, SIGSTOP);
    waitpid(child, nullptr, WUNTRACED);
    const std::string held = ReadAll(path_);

    auto store = MakeStore();
    for (const bool save : {false, true}) {
        store->RootPathChange(root_, save);
        store->OnAlmanacSV(MakeSV(1, save ? 1e5 : 2e5));
        EXPECT_TRUE(Contains(TakeEvents(), "process " + std::to_string(child) + " uses the almanac file " + path_));
    }
    EXPECT_EQ(ReadAll(path_), held);
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    store->OnAlmanacSV(MakeSV(1, 3e5));
    EXPECT_EQ(ReadAll(path_), held) << "refused until the path is set again";
    store->RootPathChange(root_, false);
    EXPECT_TRUE(TakeEvents().empty());
    EXPECT_EQ(Load(root_).NmrSV(), 0) << "a second store of the process";
    EXPECT_TRUE(Contains(TakeEvents(), "process " + std::to_string(getpid())));
    store.reset();
    EXPECT_EQ(Load(root_).NmrSV(), 2);
    close(ends[0]);
    close(ends[1]);
}

}  // namespace
