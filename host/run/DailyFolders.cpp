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
    for (int i = 2; std::filesystem::exists(current_) && !options_.overwrite; ++i)
        current_ = fmt::format("{}_{}", name, i);
    RunFolderOptions options = options_;
    options.folder = current_;
    options.skyTime.reset();
    day_.emplace(std::move(options), reference_);
    if (!day_->folder.GetFailure().empty()) Say(Source, day_->folder.GetFailure());
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

void DailyFolders::OnFix(const PublishedFix& fix) {
    // A day that comes back, as in data that go back in time, has a folder of its own.
    if (!day_ || DayOf(fix.result.time) != number_) {
        if (day_ && facts_ != nullptr) {
            if (const std::string failure = EndDay(*facts_); !failure.empty()) Say(Source, failure);
        }
        BeginDay(fix.result.time);
    }
    day_->summary.OnFix(fix);
    day_->folder.OnFix(fix);
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
    return EndDay(facts);
}

}  // namespace Host
