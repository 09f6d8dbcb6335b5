#include "host/run/DailyFolders.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <fcntl.h>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fmt/format.h>
#include <sys/file.h>

#include "host/report/RunFolder.h"
#include "host/run/RunCore.h"
#include "host/run/RunText.h"

namespace Host {

namespace {

constexpr const char* Source = "Run";
constexpr std::size_t MaxEarly = 1000;
// Jumps between days that begin a folder each, until so many epochs have come without one.
constexpr int MaxJumps = 10;
constexpr std::int64_t Steady = 3600;
constexpr double Pause = 600.0;  // s of the data's time, after a folder that could not be written

std::int64_t DayOf(const GNSS::GPSTime& time) {
    return std::int64_t{time.GetWeek()} * 7 +
           static_cast<std::int64_t>(std::floor(time.GetSeconds() / GNSS::GPSTime::SecsInDay));
}

// What a run has had since an earlier moment of it.
RunFacts FactsSince(const RunFacts& before, const RunFacts& now) {
    RunFacts since = now;
    for (std::size_t i = 0; i < std::min(since.inputs.size(), before.inputs.size()); ++i) {
        for (const auto count : {&RunInput::bytes, &RunInput::skipped, &RunInput::checksumFailures, &RunInput::messages,
                                 &RunInput::refused, &RunInput::undated, &RunInput::epochs, &RunInput::records})
            since.inputs[i].*count -= before.inputs[i].*count;
    }
    using Counts = FixComponent::Counts;
    for (const auto count : {&Counts::epochs, &Counts::fixes, &Counts::repeated, &Counts::outOfOrder})
        since.counts.*count -= before.counts.*count;
    return since;
}

}  // namespace

DailyFolders::DailyFolders(RunFolderOptions options, const std::optional<GNSS::ECEF>& reference)
    : options_(std::move(options)), reference_(reference) {
    std::error_code error;
    std::filesystem::create_directories(options_.folder, error);
    if (error) {
        failure_ = options_.folder + ": cannot be made: " + error.message();
        return;
    }
    lock_ = Descriptor(::open(options_.folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (lock_.IsOpen() && ::flock(lock_.Get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        failure_ = options_.folder + ": another run writes to it";
        return;
    }
    for (const std::string& kept : RunFolder::KeepLeftOvers(options_.folder))
        Say(Source, kept + ": what a run has left that did not come to its end; the last rows may be missing");
}

DailyFolders::~DailyFolders() = default;

void DailyFolders::BeginDay(const GNSS::GPSTime& time) {
    number_ = DayOf(time);
    const Corvane::Date date = time.GetDate();
    const std::string name =
        fmt::format("{}/{:04}-{:02}-{:02}", options_.folder, date.Year(), date.Month(), date.Day());
    current_ = name;
    std::error_code error;  // where it cannot be seen it cannot be made either, which is told
    for (int i = 2; std::filesystem::exists(current_, error) && !options_.overwrite; ++i)
        current_ = fmt::format("{}_{}", name, i);
    RunFolderOptions options = options_;
    options.folder = current_;
    options.skyTime.reset();
    day_.emplace(std::move(options), reference_);
    failedAt_.reset();
    if (facts_ != nullptr) day_->folder.Begin(*facts_);
    for (const RunEvent& event : std::exchange(early_, {})) OnEvent(event);
}

std::string DailyFolders::EndDay(const RunFacts& facts) {
    if (!day_) return {};
    const RunFacts since = FactsSince(before_, facts);
    before_ = facts;
    std::string failure = day_->summary.Finish(since);
    if (failure.empty()) failure = day_->folder.Finish(since);
    if (failure.empty()) {
        last_ = current_;
        lastSummary_ = PrintSummary(day_->summary.GetFigures(), day_->summary.GetSeries(), since);
    }
    day_.reset();
    return failure;
}

// Whether a day that is not the folder's begins another one. Days follow each other; and data may jump, but if they do
// so again and again, as those of two receivers that tell different years, there would be a folder for each epoch.
bool DailyFolders::IsOtherFolder(std::int64_t number) {
    const std::int64_t before = std::exchange(lastNumber_, number);
    if (number != before && number != before + 1) {
        nmrSteady_ = 0;
        if (nmrJumps_ <= MaxJumps && ++nmrJumps_ > MaxJumps)
            Say(Source, "the data jump between days to and fro, and stay in one folder");
    } else if (++nmrSteady_ >= Steady) {
        nmrJumps_ = 0;
    }
    return number != number_ && nmrJumps_ <= MaxJumps;
}

void DailyFolders::OnFix(const PublishedFix& fix) {
    const GNSS::GPSTime& time = fix.result.time;
    const std::int64_t number = DayOf(time);
    // A day that comes back, as in data that go back in time, has a folder of its own.
    const bool isOther = IsOtherFolder(number);
    if (day_ && isOther) TellFailure(EndDay(*facts_), "");
    if (!day_) {
        if (failedAt_ && std::abs((time - *failedAt_).Seconds()) < Pause) return;
        BeginDay(time);
    }
    day_->summary.OnFix(fix);
    day_->folder.OnFix(fix);
    // Said now, and not when the day has passed; what comes later may find room again.
    if (day_->folder.IsGood()) return;
    failedAt_ = time;
    TellFailure(EndDay(*facts_), "; another folder is tried in ten minutes");
}

void DailyFolders::TellFailure(const std::string& failure, const char* next) {
    if (failure.empty()) return;
    lost_ = failure;
    Say(Source, failure + next);
}

void DailyFolders::OnEvent(const RunEvent& event) {
    if (!day_) {
        if (early_.size() < MaxEarly) early_.push_back(event);
        return;
    }
    day_->summary.OnEvent(event);
    day_->folder.OnEvent(event);
}

void DailyFolders::OnReceiverFix(const ReceiverFix& fix) {
    if (day_) day_->summary.OnReceiverFix(fix);
}

std::string DailyFolders::Finish(const RunFacts& facts) {
    const bool hasDay = day_.has_value();
    const std::string failure = EndDay(facts);
    return hasDay ? failure : lost_;
}

}  // namespace Host
