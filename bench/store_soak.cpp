// A month of traffic through the stores by a replay clock: 32 GPS and 24 GLONASS satellites at their real cadence, with
// subscribers that stay, one that comes and goes, and the history of the notes. Prints the resident size of each day;
// ends with 1 when memory, a queue or the notes grow after the first day, or a calculator is without an answer.
#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <malloc.h>
#include <memory>
#include <string>
#include <string_view>
#include <unistd.h>

#include "gnss/health/NotesHistory.h"
#include "gnss/platform/Clock.h"
#include "gnss/time/GloTime.h"
#include "host/stores/StoreTree.h"
#include "host/stores/StoreWatch.h"

namespace {

using Corvane::Angle;
using Corvane::Time;
using Corvane::TimeDate;
using GNSS::Almanac;
using GNSS::GPSTime;

constexpr int Leap = 18;
constexpr int SecondsOfDay = 86400;
constexpr int Step = 6;                // s: a subframe
constexpr int Frame = 30;              // s: every satellite sends its ephemeris again
constexpr int Pages = 750;             // s: all pages of subframes 4 and 5
constexpr int GPSIssue = 7200;         // s: a new GPS ephemeris
constexpr int GlonassIssue = 1800;     // s: a new GLONASS ephemeris
constexpr double PagesOfSlot = 150.0;  // s: all GLONASS almanacs

// The sky at a second since the start. All orbits are circles of the right size; nobody compares them with others.
class Sky {
public:
    explicit Sky(Host::Navigation& navigation) : navigation_(navigation) {}

    [[nodiscard]] static GPSTime At(std::int64_t second) { return {2370, static_cast<double>(second)}; }
    [[nodiscard]] static int IODE(int prn, std::int64_t second) {
        return static_cast<int>((second / GPSIssue * 7 + prn) % 256);
    }

    // Sends what is complete at a second, a multiple of the step; satellites take turns within the frame.
    void Send(std::int64_t second) {
        const auto turn = static_cast<int>(second % Frame / Step);
        for (int prn = 1; prn <= 32; ++prn) {
            if (prn % (Frame / Step) == turn) SendGPS(prn, second);
        }
        for (int slot = 1; slot <= 24; ++slot) {
            if (slot % (Frame / Step) == turn) SendGlonass(slot, second);
        }
        if (turn == 0) SendPages(second);
    }

    std::int64_t nmrSent = 0;

private:
    void SendGPS(int prn, std::int64_t second) {
        GNSS::GPSEphemeride record;
        record.prn = prn;
        record.reference = At(second);
        const double toe = At((second / GPSIssue + 1) * GPSIssue).GetSeconds();
        record.posn.IODE = record.clock.IODC = IODE(prn, second);
        record.posn.toe = record.clock.toc = toe;
        record.posn.sqrtA = 5153.7;
        record.posn.e = 0.01;
        record.posn.i0 = Angle::FromDegrees(55.0);
        record.posn.Omega0 = Angle::FromDegrees(prn % 6 * 60.0);
        const std::int64_t issue = second / GPSIssue;
        record.posn.M0 = Angle::FromDegrees(prn * 11.0 + static_cast<double>(issue % 6) * 60.0);
        record.status.SetHealth(0);
        Send(record);
    }
    void SendGlonass(int slot, std::int64_t second) {
        const GNSS::GloTime now(At(second));
        GNSS::Glonass::Ephemeride record;
        record.slot = slot;
        record.reference = At(second);
        record.posn.day = now.GetDay();
        record.posn.frameTime = std::floor(now.GetSeconds() / Frame) * Frame;
        record.posn.tb = std::floor(now.GetSeconds() / GlonassIssue) * GlonassIssue + GlonassIssue / 2.0;
        const double angle = slot * 0.26 + record.posn.tb * 1.4e-4;
        record.posn.posn = {25471.0 * std::cos(angle), 25471.0 * std::sin(angle), 0.0};
        record.posn.vely = {-3.4 * std::sin(angle), 3.4 * std::cos(angle), 0.0};
        record.status.SetUnhealthy(false);
        ++nmrSent;
        navigation_.OnRecord(record, slot % 13 - 7);
    }
    // The almanac pages, two GPS satellites in a frame and five GLONASS satellites.
    void SendPages(std::int64_t second) {
        const auto page = static_cast<int>(second % Pages / Frame);
        for (const int prn : {page + 1, page + 26}) {
            if (prn > 32 || (prn > 25 && page > 6)) continue;
            Almanac::SV sv;
            sv.prn = prn;
            sv.time = At(second);
            sv.toa = At((second / SecondsOfDay + 1) * SecondsOfDay);
            sv.sqrtA = 5153.7;
            sv.i = Angle::FromDegrees(55.0);
            sv.M0 = Angle::FromDegrees(prn * 11.0);
            Send(sv);
        }
        const auto frame = static_cast<int>(std::fmod(static_cast<double>(second), PagesOfSlot)) / Frame;
        const GNSS::GloTime now(At(second));
        for (int slot = frame * 5 + 1; slot <= std::min(frame * 5 + 5, 24); ++slot) {
            Almanac::GlonassSV sv;
            sv.slot = slot;
            sv.time = At(second);
            sv.health = 1;
            sv.day = now.GetDay();
            sv.TLambda = slot * 1500.0;
            Send(sv);
        }
        if (page != 17) return;
        Almanac::Iono iono;
        iono.time = At(second);
        Send(iono);
        Almanac::UTC utc;
        utc.time = At(second);
        utc.WNt = utc.WNLSF = utc.time.GetWeek();
        utc.DN = 1;
        utc.DtLS = utc.DtLSF = Leap;
        Send(utc);
    }
    template <typename Record>
    void Send(const Record& record) {
        ++nmrSent;
        navigation_.OnRecord(record);
    }

    Host::Navigation& navigation_;
};

// Remarks of a computation that come and go: a satellite's newest issue every other epoch, for an hour of each issue.
GNSS::Notes MakeNotes(std::int64_t second) {
    GNSS::Notes notes;
    for (int prn = 1; prn <= 32; ++prn) {
        if (second % GPSIssue >= GPSIssue / 2 || second / Frame % 2 == 0) continue;
        notes.AddPrintNote(1, prn, Sky::IODE(prn, second), "G%02d: issue %d is new", "", "");
    }
    return notes;
}

std::int64_t ResidentBytes() {
    std::int64_t all = 0;
    std::int64_t resident = 0;
    std::ifstream("/proc/self/statm") >> all >> resident;
    return resident * ::sysconf(_SC_PAGESIZE);
}

class Soak {
public:
    explicit Soak(const std::string& root) {
        tree_.Join(watch_);
        watch_->SetTake([this](const Host::StoreChange&) { ++nmrHeard_; });
        for (const auto& other : others_) tree_.Join(other);
        GPSTime::SetUTCParam(Sky::At(0), Leap, Leap);
        SetClock(0);
        tree_.SetRootPath(root);
    }

    // Whether nothing has grown.
    [[nodiscard]] bool Run(int days) {
        std::printf("%4s %9s %9s %9s %9s %7s %7s %6s %9s %9s %8s\n", "day", "resident", "heap", "records", "heard",
                    "queued", "left", "notes", "intervals", "no answer", "seconds");
        for (int day = 1; day <= days; ++day) {
            const auto begin = std::chrono::steady_clock::now();
            Play(std::int64_t{day - 1} * SecondsOfDay);
            const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - begin;
            Tell(day, taken.count());
        }
        return isGood_;
    }

private:
    static constexpr double Megabyte = 1024.0 * 1024.0;
    // The allocator and the pages of the first file save settle within this.
    static constexpr std::int64_t MayGrow = std::int64_t{1} << 20;

    static void SetClock(std::int64_t second) { Corvane::Clock::SetTo((Sky::At(second) - Time(Leap)).GetTimeDate()); }

    void Play(std::int64_t from) {
        for (std::int64_t second = from; second < from + SecondsOfDay; second += Step) {
            mostQueued_ = std::max(mostQueued_, tree_.GetRoot().NmrQueued());
            tree_.AdvanceTo(Sky::At(second));
            mostLeft_ = std::max(mostLeft_, tree_.GetRoot().NmrQueued());
            SetClock(second);
            sky_.Send(second);
            if (second % Frame != 0) continue;
            notes_.Update(Sky::At(second).GetTimeDate(), MakeNotes(second));
            // The first frames are on their way until all satellites have had their turn.
            if (second - Frame >= Frame) Ask(second);
            if (second % 3600 == 0) Visit();
        }
    }
    // Positions of all satellites.
    void Ask(std::int64_t second) {
        const GPSTime t = Sky::At(second);
        for (int prn = 1; prn <= 32; ++prn) {
            GNSS::GPSEphemeride::Result result;
            if (!watch_->GPS().calculator->CalculateHealthyPosn(prn, t, result)) ++nmrUnanswered_;
        }
        for (int slot = 1; slot <= 24; ++slot) {
            GNSS::Glonass::Ephemeride::Result result;
            if (!watch_->Glonass().calculator->CalculateHealthyPosn(slot, t, result)) ++nmrUnanswered_;
        }
    }
    // One more subscriber comes, or the last one goes.
    void Visit() {
        if (visitor_) {
            tree_.GetRoot().Leave(*visitor_);
            visitor_.reset();
        } else {
            visitor_ = std::make_shared<Host::StoreWatch>();
            tree_.Join(visitor_);
        }
    }

    void Tell(int day, double seconds) {
        int nmrIntervals = 0;
        bool areNotesPurged = true;
        const TimeDate cutoff = notes_.GetLastUpdate() - notes_.GetValidTime();
        for (int i = 0; i < notes_.NmrNote(); ++i) {
            nmrIntervals += notes_[i].NmrInterval();
            areNotesPurged = areNotesPurged && !(notes_[i].GetInterval(0).GetEnd() < cutoff);
        }
        const std::int64_t resident = ResidentBytes();
        const auto heap = static_cast<std::int64_t>(::mallinfo2().uordblks + ::mallinfo2().hblkhd);
        std::printf("%4d %6.2f MB %6.2f MB %9lld %9lld %7zu %7zu %6d %9d %9lld %8.2f\n", day,
                    static_cast<double>(resident) / Megabyte, static_cast<double>(heap) / Megabyte,
                    static_cast<long long>(sky_.nmrSent), static_cast<long long>(nmrHeard_), mostQueued_, mostLeft_,
                    notes_.NmrNote(), nmrIntervals, static_cast<long long>(nmrUnanswered_), seconds);
        std::fflush(stdout);
        if (day == 1) {
            residentOfFirst_ = resident;
            heapOfFirst_ = heap;
            notesOfFirst_ = notes_.NmrNote();
        }
        const auto check = [&](bool holds, const char* what) {
            if (!holds) std::fprintf(stderr, "store_soak: day %d: %s\n", day, what);
            isGood_ = isGood_ && holds;
        };
        check(resident <= residentOfFirst_ + MayGrow, "the resident size grows");
        check(heap <= heapOfFirst_ + MayGrow / 8, "the heap grows");
        check(mostLeft_ == 0, "queues are not drained within the step");
        check(areNotesPurged, "notes are kept beyond their validity");
        check(notes_.NmrNote() <= notesOfFirst_ + 32, "the notes grow");
        check(nmrUnanswered_ == 0, "a calculator is without an answer");
        check(nmrHeard_ > day * 100'000LL, "the subscribers hear too little");
    }

    Host::StoreTree tree_;
    Sky sky_{tree_.GetNavigation()};
    const std::shared_ptr<Host::StoreWatch> watch_ = std::make_shared<Host::StoreWatch>();
    const std::shared_ptr<Host::StoreWatch> others_[2] = {std::make_shared<Host::StoreWatch>(),
                                                          std::make_shared<Host::StoreWatch>()};
    std::shared_ptr<Host::StoreWatch> visitor_;
    GNSS::Notes::History notes_;
    std::int64_t nmrHeard_ = 0;
    std::int64_t nmrUnanswered_ = 0;
    std::size_t mostQueued_ = 0;
    std::size_t mostLeft_ = 0;
    std::int64_t residentOfFirst_ = 0;
    std::int64_t heapOfFirst_ = 0;
    int notesOfFirst_ = 0;
    bool isGood_ = true;
};

}  // namespace

int main(int argc, char** argv) {
    int days = 30;
    const std::string_view text = argc > 1 ? argv[1] : "30";
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), days);
    if (argc > 2 || error != std::errc() || end != text.data() + text.size() || days < 2 || days > 2000) {
        std::fprintf(stderr, "store_soak [DAYS]: 2 days or more, 30 without a number\n");
        return 2;
    }
    const auto folder = std::filesystem::temp_directory_path() / ("store_soak_" + std::to_string(::getpid()));
    std::filesystem::create_directories(folder);
    const bool isGood = Soak((folder / "almanac").string()).Run(days);
    std::filesystem::remove_all(folder);
    std::printf(isGood ? "flat after the first day\n" : "not good\n");
    return isGood ? 0 : 1;
}
